// A PLY file of any bytes: what matters most of it is the header.
#include "fuzz/loaded_ply.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  fuzz::run_ply(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
