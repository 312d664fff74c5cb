#include "foundation/unicode.h"

#include <cstdint>
#include <cstring>

namespace tollmere {
namespace {

constexpr DecodedCharacter kBadByte{kReplacementCharacter, 1, false};

unsigned ByteAt(std::string_view text, std::size_t at) noexcept {
  return static_cast<unsigned char>(text[at]);
}

bool IsSurrogate(char32_t code_point) noexcept { return code_point >= 0xD800 && code_point <= 0xDFFF; }

// Runs of plain ASCII are the common case and are passed over eight bytes at a time.
std::size_t AsciiRun(std::string_view text, std::size_t from) noexcept {
  constexpr std::uint64_t kHighBits = 0x8080'8080'8080'8080;
  std::uint64_t bytes = 0;
  for (; from + sizeof bytes <= text.size(); from += sizeof bytes) {
    std::memcpy(&bytes, text.data() + from, sizeof bytes);
    if ((bytes & kHighBits) != 0) {
      break;
    }
  }
  while (from < text.size() && ByteAt(text, from) < 0x80) {
    ++from;
  }
  return from;
}

}  // namespace

DecodedCharacter DecodeUtf8(std::string_view text) noexcept {
  const unsigned lead = ByteAt(text, 0);
  if (lead < 0x80) {
    return {lead, 1, true};
  }
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
    return kBadByte;
  }
  char32_t code_point = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned next = ByteAt(text, i);
    if ((next & 0xC0U) != 0x80) {
      return kBadByte;
    }
    code_point = code_point << 6U | (next & 0x3FU);
  }
  const bool overlong = (length == 3 && code_point < 0x800) || (length == 4 && code_point < 0x10000);
  if (overlong || code_point > 0x10FFFF || IsSurrogate(code_point)) {
    return kBadByte;
  }
  return {code_point, length, true};
}

std::size_t ValidUtf8Length(std::string_view text) noexcept {
  std::size_t at = AsciiRun(text, 0);
  while (at < text.size()) {
    const DecodedCharacter character = DecodeUtf8(text.substr(at));
    if (!character.valid) {
      break;
    }
    at = AsciiRun(text, at + character.length);
  }
  return at;
}

std::string RepairUtf8(std::string_view text) {
  std::string repaired;
  repaired.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const DecodedCharacter character = DecodeUtf8(text.substr(at));
    AppendUtf8(character.code_point, repaired);
    at += character.length;
  }
  return repaired;
}

void AppendUtf8(char32_t code_point, std::string& text) {
  const auto append = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (code_point < 0x80) {
    append(code_point);
  } else if (code_point < 0x800) {
    append(0xC0 | code_point >> 6);
    append(0x80 | (code_point & 0x3F));
  } else if (code_point < 0x10000) {
    append(0xE0 | code_point >> 12);
    append(0x80 | (code_point >> 6 & 0x3F));
    append(0x80 | (code_point & 0x3F));
  } else {
    append(0xF0 | code_point >> 18);
    append(0x80 | (code_point >> 12 & 0x3F));
    append(0x80 | (code_point >> 6 & 0x3F));
    append(0x80 | (code_point & 0x3F));
  }
}

std::string Utf8FromUtf16(std::string_view bytes, ByteOrder order) {
  const std::size_t high = order == ByteOrder::kBigEndian ? 0 : 1;
  const auto unit = [&](std::size_t at) -> char32_t {
    return ByteAt(bytes, at + high) << 8U | ByteAt(bytes, at + 1 - high);
  };
  std::string text;
  text.reserve(bytes.size() / 2);
  std::size_t at = 0;
  while (at + 2 <= bytes.size()) {
    char32_t code_point = unit(at);
    at += 2;
    if (IsSurrogate(code_point)) {
      const char32_t low = code_point < 0xDC00 && at + 2 <= bytes.size() ? unit(at) : 0;
      if (low >= 0xDC00 && low <= 0xDFFF) {
        code_point = 0x10000 + ((code_point - 0xD800) << 10U) + (low - 0xDC00);
        at += 2;
      } else {
        code_point = kReplacementCharacter;
      }
    }
    AppendUtf8(code_point, text);
  }
  if (at < bytes.size()) {
    AppendUtf8(kReplacementCharacter, text);
  }
  return text;
}

}  // namespace tollmere
