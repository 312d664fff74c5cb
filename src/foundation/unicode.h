// UTF-8 and UTF-16, one code point at a time.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tollmere {

// Stands for a bad byte or half of a surrogate pair.
inline constexpr char32_t kReplacementCharacter = 0xFFFD;

struct DecodedCharacter {
  char32_t code_point;  // kReplacementCharacter where `valid` is false
  std::size_t length;   // bytes read; 1 for a byte that begins no character
  bool valid;
};

// The character at the start of `text`, which must not be empty. Overlong forms, surrogates and code
// points above U+10FFFF are not valid.
DecodedCharacter DecodeUtf8(std::string_view text) noexcept;

// How many bytes stand before the first one that is not valid UTF-8.
std::size_t ValidUtf8Length(std::string_view text) noexcept;

// The text with every bad byte replaced by U+FFFD.
std::string RepairUtf8(std::string_view text);

// `code_point` is a Unicode scalar value.
void AppendUtf8(char32_t code_point, std::string& text);

enum class ByteOrder { kBigEndian, kLittleEndian };

// UTF-16 turned into UTF-8. Lone halves of a pair, and an odd last byte, become U+FFFD.
std::string Utf8FromUtf16(std::string_view bytes, ByteOrder order);

}  // namespace tollmere
