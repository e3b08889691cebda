#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <locale>
#include <memory>
#include <sstream>
#include <string>

#include "scanmesh/internal.h"
#include "tests/support/shapes.h"

namespace {

using scanmesh::TextCursor;
using test_support::Random;

// In a buffer of exactly its size, so that a sanitizer sees a step too far.
class Exact {
 public:
  explicit Exact(const std::string& text) : bytes_(new char[text.size()]), size_(text.size()) {
    std::memcpy(bytes_.get(), text.data(), size_);
  }
  TextCursor cursor() const { return {bytes_.get(), bytes_.get() + size_}; }
  std::size_t left(const TextCursor& cursor) const {
    return static_cast<std::size_t>(bytes_.get() + size_ - cursor.at());
  }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_;
};

std::istringstream classic(const std::string& text) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  return stream;
}

// How many characters a stream has left, whatever its state.
std::size_t left(std::istringstream& stream) {
  return static_cast<std::size_t>(std::max<std::streamsize>(0, stream.rdbuf()->in_avail()));
}

void compare_real(const std::string& text) {
  const Exact exact(text);
  TextCursor cursor = exact.cursor();
  std::istringstream stream = classic(text);
  float wanted = 0;
  stream >> wanted;
  const float got = cursor.real();
  ASSERT_EQ(cursor.failed(), stream.fail()) << text;
  ASSERT_EQ(exact.left(cursor), left(stream)) << text;
  ASSERT_EQ(std::memcmp(&got, &wanted, sizeof(got)), 0) << text << ": " << got << ", " << wanted;
}

void compare_integer(const std::string& text) {
  const Exact exact(text);
  TextCursor cursor = exact.cursor();
  std::istringstream stream = classic(text);
  int wanted = 0;
  stream >> wanted;
  ASSERT_EQ(cursor.integer(), wanted) << text;
  ASSERT_EQ(cursor.failed(), stream.fail()) << text;
  ASSERT_EQ(exact.left(cursor), left(stream)) << text;
}

TEST(TextCursor, takes_numbers_as_a_stream_takes_them) {
  for (const char* text : {"1.5",
                           " 0.25 ",
                           "-0",
                           "+7.5e2,",
                           "1e",
                           "1e+",
                           ".5",
                           "5.",
                           ".",
                           "-",
                           "+-1",
                           "1.2.3",
                           "1-2",
                           "1e5-3",
                           "nan",
                           "inf",
                           "-inf",
                           "0x10",
                           "1,5",
                           "1e39",
                           "-1e39",
                           "1e-46",
                           "1e-45",
                           "7e-46",
                           "3.4028235e38",
                           "3.4028236e38",
                           "340282356779733661637539395458142568447",
                           "1e400",
                           "0e999999999999",
                           "1e-400",
                           "00012.50",
                           "\t\v\f\r\n8",
                           "abc",
                           "",
                           "   ",
                           "1.e3",
                           ".e3",
                           "16777217",
                           "16777219",
                           "33554434.5",
                           "0.1000000000000000055511151231257827",
                           "1E+02"}) {
    compare_real(text);
  }
  for (const char* text :
       {"12", "-12", "+12", " 0012 ", "2147483647", "2147483648", "-2147483648", "-2147483649",
        "99999999999999999999999", "1.5", "-", "", " ", "0x10", "7,", "-99999999999999999999999"}) {
    compare_integer(text);
  }
}

TEST(TextCursor, real_gives_the_nearest_float_for_numbers_of_every_length_and_size) {
  Random random(5);
  for (int i = 0; i < 150000; ++i) {
    uint32_t bits = static_cast<uint32_t>(random.next());
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    if (!std::isfinite(value)) continue;
    char text[80];
    std::snprintf(text, sizeof(text), "%.*g", 1 + random.below(20), static_cast<double>(value));
    compare_real(text);
    std::snprintf(text, sizeof(text), "%.*f", random.below(12),
                  static_cast<double>(1000 * random.signed_unit()));
    compare_real(text);
  }
}

// The hard cases: exactly between two floats, and a hair beside.
TEST(TextCursor, real_is_right_next_to_the_middle_between_two_floats) {
  Random random(6);
  for (int i = 0; i < 100000; ++i) {
    const uint32_t whole = 0x4B000000U - (static_cast<uint32_t>(random.below(30)) << 23) +
                           static_cast<uint32_t>(random.below(1 << 23));
    float low = 0;
    std::memcpy(&low, &whole, sizeof(low));
    const float high = std::nextafter(low, std::numeric_limits<float>::infinity());
    const double middle = (static_cast<double>(low) + static_cast<double>(high)) / 2;
    char text[120];
    std::snprintf(text, sizeof(text), "%.40f", middle);
    compare_real(text);
    std::snprintf(text, sizeof(text), "%.15g", middle);
    compare_real(text);
    std::snprintf(text, sizeof(text), "%.17g", std::nextafter(middle, 0.0));
    compare_real(text);
  }
}

TEST(TextCursor, random_characters_are_taken_as_a_stream_takes_them) {
  Random random(7);
  const std::string letters = "0123456789..eE+-  \nx,";
  for (int i = 0; i < 100000; ++i) {
    std::string text;
    for (int k = random.below(12); k >= 0; --k) {
      text += letters[static_cast<std::size_t>(random.below(static_cast<int>(letters.size())))];
    }
    compare_real(text);
    compare_integer(text);
  }
}

TEST(TextCursor, stays_failed_once_it_has_failed) {
  const Exact exact("x 5 6");
  TextCursor cursor = exact.cursor();
  EXPECT_EQ(cursor.integer(), 0);
  EXPECT_TRUE(cursor.failed());
  EXPECT_EQ(cursor.integer(), 0);
  EXPECT_EQ(cursor.real(), 0);
  EXPECT_EQ(cursor.word(), "");
}

TEST(TextCursor, skips_to_the_end_of_the_line_and_not_beyond) {
  const Exact exact("one two\r\nthree\nfour");
  TextCursor cursor = exact.cursor();
  EXPECT_EQ(cursor.word(), "one");
  cursor.skip_line();
  EXPECT_EQ(*cursor.at(), '\r');
  EXPECT_EQ(cursor.word(), "three");
  cursor.skip_line();
  EXPECT_EQ(*cursor.at(), '\n');
  EXPECT_FALSE(cursor.touched_end());
  EXPECT_EQ(cursor.word(), "four");
  EXPECT_TRUE(cursor.touched_end());
}

}  // namespace
