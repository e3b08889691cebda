// What the command needs of the operating system, for Linux and Windows.
#ifndef SCANMESH_CLI_PLATFORM_H
#define SCANMESH_CLI_PLATFORM_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace scanmesh::cli {

// The arguments after the program's name, as UTF-8.
std::vector<std::string> arguments(int count, char** values);

// A private handle on standard output, -1 where that is closed. What anything else prints there
// afterwards is lost: data stays data. Streams that are closed are opened on nothing, so that no
// file takes their place.
int take_standard_output();

// As read(2) and write(2): the bytes moved, 0 at the end of input, -1 with errno. A signal ends
// them with EINTR.
std::ptrdiff_t read_input(char* bytes, std::size_t count);
std::ptrdiff_t write_to(int handle, const char* bytes, std::size_t count);
bool close_handle(int handle);

bool standard_error_is_terminal();
bool may_write(const std::filesystem::path& path);

// From now on interrupts are noted; a second one ends the process. A reader that goes away and a
// limit on file sizes are failures of writing, not signals.
void listen_for_interrupts();
bool interrupted();

}  // namespace scanmesh::cli

#endif  // SCANMESH_CLI_PLATFORM_H
