// What --help prints, and what manual page and completion are made of: all from the definitions.
#ifndef SCANMESH_CLI_HELP_H
#define SCANMESH_CLI_HELP_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace scanmesh::cli {

struct Entry {
  std::string names;  // "-q,--quiet", "IN"
  std::string value;  // "N", "a|b", empty for a flag
  std::string text;
  bool positional = false;
  bool required = false;
  bool many = false;
};

struct Topic {
  std::string name;  // "scanmesh info"
  std::string summary;
  std::string example;
  std::vector<Entry> entries;
  std::vector<Topic> commands;

  std::string usage() const;
};

// Commands that are left out of lists are left out here.
Topic topic_of(const CLI::App& app);
std::string help_of(const CLI::App& app);
std::string manual_page(const CLI::App& app, const std::string& version);
std::string bash_completion(const CLI::App& app);

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_HELP_H
