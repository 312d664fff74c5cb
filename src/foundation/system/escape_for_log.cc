#include "foundation/system/debug_log.h"
#include "foundation/unicode.h"

namespace tollmere {
namespace {

bool EndsOrHidesLine(char32_t code_point) noexcept {
  return code_point < 0x20 || (code_point >= 0x7F && code_point < 0xA0) || code_point == 0x2028 ||
         code_point == 0x2029;
}

void AppendEscape(const char* prefix, std::size_t digits, unsigned value, std::string& line) {
  line += prefix;
  for (std::size_t digit = digits; digit-- > 0;) {
    line += "0123456789ABCDEF"[value >> (4 * digit) & 15U];
  }
}

}  // namespace

std::string EscapeForLog(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const DecodedCharacter character = DecodeUtf8(text.substr(at));
    const auto byte = static_cast<unsigned char>(text[at]);
    if (!character.valid) {
      AppendEscape("\\x", 2, byte, line);
    } else if (!EndsOrHidesLine(character.code_point)) {
      line.append(text.substr(at, character.length));
    } else if (byte == '\n' || byte == '\r' || byte == '\t') {
      line += byte == '\n' ? "\\n" : byte == '\r' ? "\\r" : "\\t";
    } else if (character.code_point < 0x100) {
      AppendEscape("\\x", 2, character.code_point, line);
    } else {
      AppendEscape("\\u", 4, character.code_point, line);
    }
    at += character.length;
  }
  return line;
}

}  // namespace tollmere
