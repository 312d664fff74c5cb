#include "terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cwchar>

#include "foundation/unicode.h"

namespace tollmere {
namespace {

// The C library knows the widths in every locale whose characters are Unicode.
void UseUnicodeWidths() {
  static const bool is_set = [] {
    const char* name = std::setlocale(LC_CTYPE, "");
    return (name != nullptr && MB_CUR_MAX > 1) || std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
  }();
  static_cast<void>(is_set);
}

std::size_t CharacterColumns(char32_t code_point) {
  return static_cast<std::size_t>(std::max(wcwidth(static_cast<wchar_t>(code_point)), 0));
}

const char* Setting(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

}  // namespace

Terminal FindTerminal() {
  Terminal terminal;
  if (isatty(STDOUT_FILENO) == 0) {
    return terminal;
  }
  winsize size{};
  const long named = std::strtol(Setting("COLUMNS"), nullptr, 10);
  if (named > 0 && named < 10'000) {
    terminal.width = static_cast<std::size_t>(named);
  } else if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    terminal.width = size.ws_col;
  } else {
    terminal.width = 80;
  }
  terminal.has_colours =
      *Setting("NO_COLOR") == '\0' && *Setting("TERM") != '\0' && std::string_view(Setting("TERM")) != "dumb";
  return terminal;
}

std::size_t Columns(std::string_view text) {
  UseUnicodeWidths();
  std::size_t columns = 0;
  for (std::size_t at = 0; at < text.size();) {
    const DecodedCharacter character = DecodeUtf8(text.substr(at));
    columns += CharacterColumns(character.code_point);
    at += character.length;
  }
  return columns;
}

std::string Fitted(std::string_view text, std::size_t columns) {
  if (columns == 0 || Columns(text) <= columns) {
    return std::string(text);
  }
  std::size_t taken = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const DecodedCharacter character = DecodeUtf8(text.substr(at));
    taken += CharacterColumns(character.code_point);
    if (taken + 1 > columns) {
      break;
    }
    at += character.length;
  }
  return std::string(text.substr(0, at)) + "…";
}

std::string Padded(std::string text, std::size_t columns) {
  const std::size_t taken = Columns(text);
  if (taken < columns) {
    text.append(columns - taken, ' ');
  }
  return text;
}

}  // namespace tollmere
