// Texts and numbers: the conversions that the agent's logic is written in.
//
// A text is a std::string of UTF-8 or of raw bytes. The decimal forms are the same in every locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tollmere {

// The platform's line ending.
inline constexpr std::string_view EndOfLine = "\n";

// Plain decimal digits, with a minus sign if negative and no padding.
std::string Str(std::int32_t value);

// The shortest text that reads back as the same number, without an exponent for whole numbers below
// 2^53. "nan", "inf" and "-inf" for the rest, which Val does not read back.
std::string Str(double value);

// The number with which the text begins: leading blanks, a sign, digits, a point, an exponent. 0 for a
// text that does not begin with one. Hexadecimal digits, "nan" and "inf" are not numbers. A number too
// large for a double is infinite.
double Val(std::string_view text) noexcept;

// True when the whole text, but for blanks around it, is one number as Val reads it.
bool IsNumeric(std::string_view text) noexcept;

// The number in a form such as "-#.#########": a minus sign for a negative number if the mask begins with
// one, then at most one decimal for each mark after the point, rounded, without zeros at the end. A whole
// number has no point. The mask is not empty.
std::string Format(double value, std::string_view mask);

// The pieces between the delimiters, one more than there are delimiters; none of an empty text. An empty
// delimiter divides nothing.
std::vector<std::string_view> Split(std::string_view text, std::string_view delimiter);

// Calls `act` with each of these pieces, in order.
template <class Action>
void ForEachPiece(std::string_view text, std::string_view delimiter, Action act) {
  if (text.empty()) {
    return;
  }
  std::size_t at = delimiter.empty() ? std::string_view::npos : text.find(delimiter);
  while (at != std::string_view::npos) {
    act(text.substr(0, at));
    text.remove_prefix(at + delimiter.size());
    at = text.find(delimiter);
  }
  act(text);
}

// The first `count` characters, or the whole text if it is shorter. A byte that is not valid UTF-8
// counts as one character.
std::string_view Left(std::string_view text, std::size_t count) noexcept;

// Equality of texts in which the case of the letters A to Z does not count.
bool EqualsIgnoringCase(std::string_view left, std::string_view right) noexcept;

// The nearest 32-bit integer towards zero; NaN gives 0, a number beyond the range the nearest end.
std::int32_t ToInt32(double value) noexcept;

}  // namespace tollmere
