// The manual page and the completion for bash. A build step runs them; users of other packages may.
#include <CLI/CLI.hpp>
#include <sstream>

#include "cli/command_line.h"
#include "cli/help.h"

namespace scanmesh::cli {
namespace {

// Text as troff takes it: a hyphen that can be copied, no line that begins with a request.
std::string troff(const std::string& text) {
  std::string all;
  for (const char c : text) {
    if (c == '\\') {
      all += "\\e";
    } else if (c == '-') {
      all += "\\-";
    } else if ((c == '.' || c == '\'') && all.empty()) {
      all += std::string("\\&") + c;
    } else {
      all += c;
    }
  }
  return all;
}

std::string troff_entries(const Topic& topic) {
  std::string all;
  for (const Entry& entry : topic.entries) {
    all += ".TP\n\\fB" + troff(entry.names) + "\\fR";
    if (!entry.value.empty()) all += " \\fI" + troff(entry.value) + "\\fR";
    all += "\n" + troff(entry.text) + "\n";
  }
  return all;
}

constexpr const char* kCodes =
    ".SH EXIT STATUS\n"
    ".TP\n0\nDone.\n"
    ".TP\n1\nDone, and the answer is no: not healthy, not within the tolerance, target not "
    "reached.\n"
    ".TP\n2\nThe call is wrong.\n"
    ".TP\n3\nAn input can't be read: missing, a folder, empty, no mesh, shortened.\n"
    ".TP\n4\nThe output can't be written.\n"
    ".TP\n5\nOut of memory.\n"
    ".TP\n130\nInterrupted.\n"
    ".PP\nOn all but 0 and 1 the output file is as it was.\n";

// The words of "a|b|c", none for a value of another kind.
std::string words_of(const std::string& value) {
  if (value.find('|') == std::string::npos) return "";
  std::string words = value;
  for (char& c : words) c = c == '|' ? ' ' : c;
  return words;
}

// The options of a command, and for those with words a line each.
std::string completion_case(const Topic& command, const std::string& name) {
  std::string options;
  std::string values;
  for (const Entry& entry : command.entries) {
    if (entry.positional) continue;
    std::istringstream names(entry.names);
    std::string option;
    while (std::getline(names, option, ',')) {
      options += (options.empty() ? "" : " ") + option;
      const std::string words = words_of(entry.value);
      if (!words.empty()) values += "        " + option + ") words=\"" + words + "\" ;;\n";
      if (words.empty() && !entry.value.empty()) values += "        " + option + ") return ;;\n";
    }
  }
  return "    " + name + ")\n      options=\"" + options + "\"\n      case $before in\n" + values +
         "      esac\n      ;;\n";
}

}  // namespace

std::string manual_page(const CLI::App& app, const std::string& version) {
  const Topic topic = topic_of(app);
  std::string page = ".TH SCANMESH 1 \"\" \"scanmesh " + version + "\" \"User Commands\"\n";
  page += ".SH NAME\nscanmesh \\- " + troff(topic.summary) + "\n.SH SYNOPSIS\n";
  for (const Topic& command : topic.commands) {
    page += ".B " + troff(command.usage()) + "\n.br\n";
  }
  page +=
      ".SH DESCRIPTION\n"
      "A file's content tells its format when it is read, its extension when it is written; \\- "
      "stands for standard input and output. Lengths are numbers in mesh units or, with %, of the "
      "diagonal of the mesh's box. Data goes to standard output, talk to standard error.\n"
      ".SH COMMANDS\n";
  for (const Topic& command : topic.commands) {
    page += ".SS " + troff(command.name) + "\n" + troff(command.summary) + ".\n";
    page += troff_entries(command);
    page += ".PP\nExample:\n.PP\n.RS\n.B " + troff(command.example) + "\n.RE\n";
  }
  return page + ".SH OPTIONS\n" + troff_entries(topic) + kCodes;
}

std::string bash_completion(const CLI::App& app) {
  const Topic topic = topic_of(app);
  std::string names;
  std::string cases;
  for (const Topic& command : topic.commands) {
    const std::string name = command.name.substr(topic.name.size() + 1);
    names += (names.empty() ? "" : " ") + name;
    cases += completion_case(command, name);
  }
  return "# Completion of scanmesh for bash.\n"
         "_scanmesh() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
         "  local options= words=\n"
         "  COMPREPLY=()\n"
         "  if [[ $COMP_CWORD -eq 1 ]]; then\n"
         "    COMPREPLY=($(compgen -W \"" +
         names +
         " --help --version\" -- \"$word\"))\n"
         "    return\n"
         "  fi\n"
         "  case ${COMP_WORDS[1]} in\n" +
         cases +
         "  esac\n"
         "  if [[ -n $words ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
         "  elif [[ $word == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n"
         "  else\n"
         "    compopt -o filenames 2>/dev/null\n"
         "    local IFS=$'\\n'\n"
         "    COMPREPLY=($(compgen -f -- \"$word\"))\n"
         "  fi\n"
         "}\n"
         "complete -F _scanmesh scanmesh\n";
}

void add_manual(CommandLine& line) {
  const auto kind = std::make_shared<std::string>();
  Command& command = line.add("manual", "The manual page (page) or the completion (bash)", "");
  command.argument(*kind, "KIND", "page or bash");
  command.run_by([kind, &line](Session& session) {
    if (*kind == "page") {
      session.write_output(manual_page(line.app(), SCANMESH_VERSION));
    } else if (*kind == "bash") {
      session.write_output(bash_completion(line.app()));
    } else {
      throw UsageError("\"" + *kind + "\" is none of page, bash");
    }
    return kDone;
  });
}

}  // namespace scanmesh::cli
