#include "scanmesh/messages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <thread>

#include "core/messages.h"
#include "scanmesh/mesh.h"
#include "scanmesh/ply_reader.h"

namespace {

using scanmesh::Channel;
using scanmesh::Message;
using scanmesh::print_message;
using scanmesh::QuietThread;
using scanmesh::set_message_sink;

// Collects texts as long as it lives.
struct Collected {
  std::string text;
  Collected() {
    set_message_sink([this](const char* one) { text += one; });
  }
  ~Collected() { set_message_sink({}); }
};

// An operation that prints one line: the list of points is empty.
void simplify_nothing() {
  Mesh_M::Mesh mesh;
  mesh.inalize();
  mesh.Mesh_simplify(0, false);
}

TEST(Messages, a_sink_gets_what_an_operation_prints_and_the_output_nothing) {
  testing::internal::CaptureStdout();
  simplify_nothing();
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_FALSE(printed.empty());
  testing::internal::CaptureStdout();
  {
    Collected collected;
    simplify_nothing();
    EXPECT_EQ(collected.text, printed);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  testing::internal::CaptureStdout();
  simplify_nothing();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), printed);
}

TEST(Messages, each_channel_goes_to_its_stream) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (const Channel channel : {Channel::output, Channel::output_flushed, Channel::c_output}) {
    print_message(channel, "out\n");
  }
  for (const Channel channel : {Channel::error, Channel::c_error}) print_message(channel, "err\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "out\nout\nout\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "err\nerr\n");
}

TEST(Messages, readers_messages_reach_the_sink) {
  Collected collected;
  ply_reader_writer::PLY_Reader reader;
  ply_reader_writer::TriMeshData data;
  ply_reader_writer::Options options;
  std::istringstream none;
  none.setstate(std::ios::badbit);
  EXPECT_FALSE(reader.read(none, data, options));
  EXPECT_EQ(collected.text, "[PLYReader] : cannot not use stream\n");
}

TEST(Messages, a_quiet_thread_prints_nothing_while_others_do) {
  Collected collected;
  {
    const QuietThread outer;
    {
      const QuietThread inner;
      print_message(Channel::output, "a");
    }
    print_message(Channel::output, "b");
    std::thread([] { print_message(Channel::output, "other"); }).join();
  }
  print_message(Channel::output, "c");
  EXPECT_EQ(collected.text, "otherc");
}

struct Commas : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

TEST(Messages, numbers_look_as_on_the_stream) {
  Collected collected;
  const std::locale before =
      std::cout.imbue(std::locale(std::locale::classic(), std::make_unique<Commas>().release()));
  Message() << 0.5 << "\n";
  std::cout.imbue(before);
  Message() << 0.5 << "\n";
  EXPECT_EQ(collected.text, "0,5\n0.5\n");
}

}  // namespace
