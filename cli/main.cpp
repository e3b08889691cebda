#include "cli/command_line.h"
#include "cli/platform.h"

int main(int count, char** values) {
  scanmesh::cli::Session session;
  scanmesh::cli::CommandLine line(session);
  return line.run(scanmesh::cli::arguments(count, values));
}
