#include "cli/help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace scanmesh::cli {
namespace {

constexpr std::size_t kIndent = 26;
constexpr std::size_t kWidth = 80;

Entry entry_of(const CLI::Option& option) {
  Entry entry;
  entry.positional = option.get_positional();
  entry.names = option.get_name(entry.positional, !entry.positional);
  entry.text = option.get_description();
  entry.required = option.get_required();
  entry.many = option.get_expected_max() > 1;
  const bool takes_value = option.get_items_expected_max() > 0;
  if (!entry.positional && takes_value) entry.value = option.get_type_name();
  return entry;
}

// The text in lines that begin where the column does.
std::string in_column(const std::string& text) {
  std::istringstream words(text);
  std::string all;
  std::string word;
  std::size_t at = kIndent;
  while (words >> word) {
    if (at > kIndent && at + 1 + word.size() > kWidth) {
      all += "\n" + std::string(kIndent, ' ');
      at = kIndent;
    } else if (at > kIndent) {
      all += " ";
      ++at;
    }
    all += word;
    at += word.size();
  }
  return all;
}

std::string row(const std::string& head, const std::string& text) {
  std::string line = "  " + head;
  if (line.size() + 2 > kIndent) {
    line += "\n" + std::string(kIndent, ' ');
  } else {
    line.append(kIndent - line.size(), ' ');
  }
  return line + in_column(text) + "\n";
}

std::string rows(const Topic& topic, bool positional) {
  std::string all;
  for (const Entry& entry : topic.entries) {
    if (entry.positional != positional) continue;
    const std::string value = entry.value.empty() ? "" : " " + entry.value;
    all += row(entry.names + value, entry.text);
  }
  return all.empty() ? all : (positional ? "\nArguments:\n" : "\nOptions:\n") + all;
}

}  // namespace

std::string Topic::usage() const {
  std::string line = name;
  if (!commands.empty()) line += " COMMAND";
  for (const Entry& entry : entries) {
    if (!entry.positional) continue;
    const std::string word = entry.names + (entry.many ? "..." : "");
    line += entry.required ? " " + word : " [" + word + "]";
  }
  return line + " [OPTIONS]";
}

Topic topic_of(const CLI::App& app) {
  Topic topic;
  const CLI::App* const parent = app.get_parent();
  topic.name = (parent == nullptr ? "" : parent->get_name() + " ") + app.get_name();
  topic.summary = app.get_description();
  topic.example = app.get_footer();
  for (const CLI::Option* option : app.get_options()) {
    // A group without a name is how the parser hides.
    if (!option->get_group().empty()) topic.entries.push_back(entry_of(*option));
  }
  // What is a command's own comes first, what all have comes last.
  const auto common = std::find_if(topic.entries.begin(), topic.entries.end(),
                                   [](const Entry& entry) { return !entry.positional; });
  const auto own = std::find_if(common, topic.entries.end(),
                                [](const Entry& entry) { return entry.names == "--threads"; });
  if (own != topic.entries.end()) std::rotate(common, own + 1, topic.entries.end());
  for (const CLI::App* command :
       app.get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); })) {
    topic.commands.push_back(topic_of(*command));
  }
  return topic;
}

std::string help_of(const CLI::App& app) {
  const Topic topic = topic_of(app);
  std::string all = topic.summary + "\n\nUsage: " + topic.usage() + "\n" + rows(topic, true);
  if (!topic.commands.empty()) all += "\nCommands:\n";
  for (const Topic& command : topic.commands) {
    all += row(command.name.substr(topic.name.size() + 1), command.summary);
  }
  all += rows(topic, false);
  if (all.find(" LENGTH") != std::string::npos) {
    all += "\nA LENGTH is a number in mesh units, or a share of the diagonal: 5%\n";
  }
  return topic.example.empty() ? all : all + "\nExample:\n  " + topic.example + "\n";
}

}  // namespace scanmesh::cli
