// Narrow paths are UTF-8; affinity is that of the thread itself.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>

#include "core/platform.h"
#include "scanmesh/mesh.h"
#include "tests/support/files.h"

#if defined(__linux__)
#include <pthread.h>
#include <sched.h>
#endif

namespace {

using scanmesh::utf8;
using scanmesh::widen;

TEST(NarrowPaths, utf8_becomes_the_characters_that_it_means) {
  for (const std::wstring& text :
       {std::wstring(), std::wstring(L"scan.stl"), std::wstring(L"\u00E9\u07FF\u0800"),
        std::wstring(L"\u626B\u63CF/\uFFFD\uD7FF\uE000\uFFFF"),
        std::wstring(L"\U00010000\U0010FFFF")}) {
    std::wstring wide = L"before";
    ASSERT_TRUE(widen(utf8(text).c_str(), wide));
    EXPECT_EQ(wide, text);
  }
}

TEST(NarrowPaths, what_is_no_utf8_is_told) {
  for (const char* text :
       {"\x80", "a\xBF", "\xC3", "\xC3z", "\xE6\x89", "\xE6\x89z", "\xF0\x90\x80", "\xE9t\xE9",
        "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80", "\xFE", "\xFF"}) {
    std::wstring wide;
    EXPECT_FALSE(widen(text, wide)) << text;
  }
}

TEST(NarrowPaths, every_writer_takes_the_same_one) {
  Mesh_M::Mesh mesh;
  mesh.inalize();
  const std::string path = test_support::temp_path("\xE6\x89\xAB\xE6\x8F\x8F.stl");
  mesh.output_STL(path.c_str());
  FILE* const file = scanmesh::open_file(path.c_str(), "rb");
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  EXPECT_EQ(test_support::bytes_of_file(path).size(), 84U);
  std::remove(path.c_str());
}

TEST(NarrowPaths, none_is_opened_for_null) {
  EXPECT_EQ(scanmesh::open_file(static_cast<const char*>(nullptr), "rb"), nullptr);
  EXPECT_EQ(scanmesh::open_file(static_cast<const wchar_t*>(nullptr), "rb"), nullptr);
}

#if defined(__linux__)
TEST(Affinity, is_set_for_the_calling_thread_alone) {
  const auto processors = [] {
    cpu_set_t set;
    CPU_ZERO(&set);
    pthread_getaffinity_np(pthread_self(), sizeof(set), &set);
    return set;
  };
  const cpu_set_t before = processors();
  int first = 0;
  while (first < 64 && !CPU_ISSET(static_cast<std::size_t>(first), &before)) ++first;
  ASSERT_LT(first, 64);
  std::thread([&] {
    scanmesh::set_thread_affinity(0);
    cpu_set_t mine = processors();
    EXPECT_TRUE(CPU_EQUAL(&mine, &before));
    scanmesh::set_thread_affinity(uint64_t{1} << first);
    mine = processors();
    EXPECT_EQ(CPU_COUNT(&mine), 1);
    EXPECT_TRUE(CPU_ISSET(static_cast<std::size_t>(first), &mine));
  }).join();
  const cpu_set_t after = processors();
  EXPECT_TRUE(CPU_EQUAL(&after, &before));
}
#endif

}  // namespace
