#include "cli/mesh_files.h"

#include <random>
#include <system_error>

#include "cli/platform.h"
#include "scanmesh/toolkit/steps.h"

namespace scanmesh::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kStandardInput = "standard input";

Format format_named(const std::string& name) {
  try {
    return format_of_extension(name);
  } catch (const Error& error) {
    throw UsageError(error.what());
  }
}

// The content tells the format of a mesh; points have to be asked for.
bool holds_points(const InputFile& file) {
  if (file.path == "-") return !file.from.empty() && format_named(file.from) == Format::xyz;
  std::string extension = fs::u8path(file.path).extension().u8string();
  return extension == ".xyz" || extension == ".XYZ";
}

void check_input(const InputFile& file) {
  if (file.from.empty()) return;
  format_named(file.from);
  if (file.path != "-") throw UsageError("--from is for standard input: a file's content tells");
}

[[noreturn]] void refuse(const fs::path& path, const std::string& why) {
  throw Error(ErrorCode::cannot_write, path.u8string() + " can't be written: " + why);
}

// A name beside the target, of the same extension, that nobody else takes.
fs::path staged_beside(const fs::path& target) {
  std::random_device device;
  fs::path name = target.stem();
  name += ".part-" + std::to_string(device());
  name += target.extension();
  return target.parent_path() / name;
}

}  // namespace

TriangleMesh read_as_is(const InputFile& file, Session& session) {
  check_input(file);
  if (holds_points(file)) return load_points(file, session);
  if (file.path != "-") return read_mesh(fs::u8path(file.path), session.progress());
  return parse_mesh(session.read_input(), kStandardInput);
}

Loaded load(const InputFile& file, Session& session) {
  check_input(file);
  Loaded loaded;
  loaded.mesh = file.path == "-" ? parse_mesh(session.read_input(), kStandardInput)
                                 : read_mesh(fs::u8path(file.path), session.progress());
  session.check();
  if (file.no_weld) return loaded;
  StepResult welded = weld(loaded.mesh);
  if (welded.changed == 0) return loaded;
  return {std::move(welded.mesh), welded.changed};
}

TriangleMesh load_points(const InputFile& file, Session& session) {
  check_input(file);
  if (file.path == "-") return parse_points(session.read_input(), kStandardInput);
  return read_points(fs::u8path(file.path));
}

Target::Target(const OutputFile& file, Session& session)
    : session_(session), to_output_(file.path == "-") {
  options_.text = file.text;
  options_.doubles = file.doubles;
  options_.progress = session.progress();
  if (to_output_) {
    if (file.to.empty()) throw UsageError("standard output needs a format: --to stl, for one");
    if (session.json) throw UsageError("--json and a mesh can't both go to standard output");
    format_ = format_named(file.to);
    return;
  }
  path_ = fs::u8path(file.path);
  format_ = format_of_path(path_);
  if (!file.to.empty() && format_named(file.to) != format_) {
    throw UsageError("--to " + file.to + " contradicts the extension of " + file.path);
  }
  check_file();
}

Target::~Target() {
  std::error_code ignored;
  if (!staged_.empty()) fs::remove(staged_, ignored);
}

void Target::check_file() {
  std::error_code error;
  if (fs::is_symlink(path_, error)) {
    // The link stays, what it points at becomes the result; unless that has another format's name.
    const fs::path aim = fs::weakly_canonical(path_, error);
    if (!error && aim.extension() == path_.extension()) path_ = aim;
  }
  const fs::file_status status = fs::status(path_, error);
  if (fs::is_directory(status)) refuse(path_, "it is a folder");
  if (fs::exists(status) && !fs::is_regular_file(status)) refuse(path_, "it is no regular file");
  if (fs::exists(status) && !may_write(path_)) refuse(path_, "it is read-only");
  const fs::path folder = path_.has_parent_path() ? path_.parent_path() : fs::path(".");
  if (!fs::is_directory(folder, error)) refuse(path_, "there is no such folder");
  if (!may_write(folder)) refuse(path_, "its folder is read-only");
}

void Target::stage(const TriangleMesh& mesh) {
  session_.check();
  if (to_output_) {
    bytes_ = format_mesh(mesh, format_, options_);
    return;
  }
  staged_ = staged_beside(path_);
  try {
    write_mesh(mesh, staged_, options_);
  } catch (const Error& error) {
    if (error.code() != ErrorCode::cannot_write) throw;
    // The name aside is nothing that a caller knows.
    std::string sentence = error.what();
    const std::string aside = staged_.u8string();
    if (sentence.compare(0, aside.size(), aside) == 0) {
      sentence.replace(0, aside.size(), path_.u8string());
    }
    throw Error(ErrorCode::cannot_write, sentence);
  }
}

void Target::commit() {
  if (to_output_) {
    session_.write_output(bytes_);
    return;
  }
  session_.check();
  std::error_code error;
  fs::rename(staged_, path_, error);
  if (error) refuse(path_, error.message());
  staged_.clear();
}

void deliver(Target& target, const TriangleMesh& mesh, Session& session, const Json& document,
             const std::string& text) {
  target.stage(mesh);
  session.report(document, text);
  target.commit();
}

Json document_of(const char* command, const std::string& input, const std::string& output) {
  return {{"schema", 1}, {"command", command}, {"input", input}, {"output", output}};
}

}  // namespace scanmesh::cli
