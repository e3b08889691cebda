// Opening a scan, against other mesh libraries.
#include <cstdio>

#include "peers/contestants.h"

int main(int argc, char** argv) {
  const peers::Arguments arguments = peers::parse_arguments(argc, argv);
  for (const std::string& file : arguments.files) {
    const auto outcomes = peers::compare(peers::load_contestants(file), arguments.rounds);
    std::printf("Opening %lld faces, median of %d:\n\n%s\n", outcomes.front().faces,
                arguments.rounds, peers::ratio_table(outcomes).c_str());
    if (outcomes.front().faces < 0) return 1;
  }
  return arguments.files.empty() ? 2 : 0;
}
