#include "foundation/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "foundation/system/debug_log.h"
#include "foundation/unicode.h"
#include "support/files.h"

namespace tollmere::testing {
namespace {

using namespace std::string_literals;

TEST(TextTest, NumbersToTextAndBack) {
  for (const auto& row : Table("number_texts.txt")) {
    const double value = std::strtod(row[0].c_str(), nullptr);
    EXPECT_EQ(Str(value), row[1]);
    EXPECT_EQ(Format(value, "-#.#########"), row[2]) << row[0];
  }
  for (const auto& row : Table("numbers.txt")) {
    const std::string text = row[0].substr(1, row[0].size() - 2);
    EXPECT_EQ(Val(text), std::strtod(row[1].c_str(), nullptr)) << text;
    EXPECT_EQ(IsNumeric(std::string_view(text)), row[2] == "yes") << text;
  }
  EXPECT_EQ(ToInt32(-7.9), -7);
  EXPECT_EQ(ToInt32(1e10), 2147483647);
  EXPECT_EQ(ToInt32(-HUGE_VAL), -2147483647 - 1);
  EXPECT_EQ(ToInt32(std::nan("")), 0);
}

TEST(TextTest, PiecesAndEquality) {
  using Pieces = std::vector<std::string_view>;
  EXPECT_EQ(Split("", ","), Pieces());
  EXPECT_EQ(Split(",a,", ","), Pieces({"", "a", ""}));
  EXPECT_EQ(Split("a::b", "::"), Pieces({"a", "b"}));
  EXPECT_EQ(Split("ab", ""), Pieces({"ab"}));
  EXPECT_EQ(Left("äöü", 2), "äö");
  EXPECT_EQ(Left("\xE4\xF6", 1), "\xE4");
  EXPECT_EQ(Left("ab", 7), "ab");
  EXPECT_TRUE(EqualsIgnoringCase("AZ://", "az://"));
  EXPECT_FALSE(EqualsIgnoringCase("file:/", "file://"));
  EXPECT_FALSE(EqualsIgnoringCase("[", "{"));  // no letters, though as far apart as a letter's two cases
}

TEST(TextTest, Utf16) {
  EXPECT_EQ(Utf8FromUtf16("\xD8\x3D\xDE\0\0\x41\xD8\0\xDC\0"s, ByteOrder::kBigEndian), "😀A\U00010000");
  EXPECT_EQ(Utf8FromUtf16("\xD8\x3D\0\x41\xDC\0\xDC\0\xDB\xFF\xDB\xFF\xDC"s, ByteOrder::kBigEndian),
            "\uFFFDA\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(Utf8FromUtf16("\xE4\0\0"s, ByteOrder::kLittleEndian), "ä\uFFFD");
}

// One call is one line in the log, whatever an alarm is called.
TEST(TextTest, Utf8AndWhatIsNone) {
  for (const auto& row : Table("utf8.txt")) {
    EXPECT_EQ(std::to_string(ValidUtf8Length(row[0])), row[1]) << row[2];
    EXPECT_EQ(EscapeForLog(row[0]), row[2]);
  }
  EXPECT_EQ(ValidUtf8Length(std::string_view("ä").substr(0, 1)),
            0U);  // What lies behind the text is none of it.
}

}  // namespace
}  // namespace tollmere::testing
