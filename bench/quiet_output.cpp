#include "quiet_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace bench {

QuietOutput::QuietOutput() {
  std::cout.flush();
  std::fflush(stdout);
  saved_ = dup(STDOUT_FILENO);
  const int nowhere = open("/dev/null", O_WRONLY);
  if (nowhere >= 0) {
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
  }
}

QuietOutput::~QuietOutput() {
  std::cout.flush();
  std::fflush(stdout);
  if (saved_ >= 0) {
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
  }
}

}  // namespace bench
