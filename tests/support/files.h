// Files of the tests, in the test's own temporary directory.
#ifndef SCANMESH_TESTS_SUPPORT_FILES_H
#define SCANMESH_TESTS_SUPPORT_FILES_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/shapes.h"

namespace test_support {

// One name per test and process, so that tests and whole suites may run side by side.
inline std::string temp_path(const std::string& name) {
  const testing::TestInfo* const info = testing::UnitTest::GetInstance()->current_test_info();
  std::string test = std::string(info->test_suite_name()) + "." + info->name();
  std::replace(test.begin(), test.end(), '/', '-');  // of tests with parameters
  return testing::TempDir() + std::to_string(getpid()) + "." + test + "." + name;
}

inline std::string bytes_of_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A stream over these bytes, as a host would have opened it.
inline FILE* open_bytes(const std::string& bytes) {
  const std::string path = temp_path("input");
  write_file(path, bytes);
  FILE* const stream = std::fopen(path.c_str(), "rb");
  std::remove(path.c_str());  // the stream keeps it
  return stream;
}

template <typename T>
void append_value(std::string& bytes, T value) {
  char raw[sizeof(T)];
  std::memcpy(raw, &value, sizeof(T));
  bytes.append(raw, sizeof(T));
}

// Binary STL of a soup, with zero normals and a header that begins like an ASCII file.
inline std::string binary_stl(const Soup& soup, int count = -1) {
  std::string bytes = "solid of sorts";
  bytes.resize(80, ' ');
  append_value(bytes, count < 0 ? static_cast<int32_t>(soup.triangles.size()) : count);
  for (const auto& t : soup.triangles) {
    for (int i = 0; i < 3; ++i) append_value(bytes, 0.0F);
    for (const int corner : t) {
      const Vec3f& p = soup.points[static_cast<std::size_t>(corner)];
      append_value(bytes, p.x);
      append_value(bytes, p.y);
      append_value(bytes, p.z);
    }
    append_value(bytes, static_cast<uint16_t>(0xFFFF));
  }
  return bytes;
}

}  // namespace test_support

#endif  // SCANMESH_TESTS_SUPPORT_FILES_H
