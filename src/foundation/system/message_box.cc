#include "foundation/system/message_box.h"

#include <langinfo.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foundation/system/child_process.h"
#include "foundation/system/debug_log.h"
#include "foundation/system/event_loop.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kQuietTime = 60 * kSecond;

bool HasDisplay() noexcept {
  const auto is_set = [](const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
  };
  return is_set("WAYLAND_DISPLAY") || is_set("DISPLAY");
}

std::string ReplaceEach(std::string_view text, char sought, std::string_view replacement) {
  std::string result;
  for (const char c : text) {
    if (c == sought) {
      result += replacement;
    } else {
      result += c;
    }
  }
  return result;
}

std::vector<std::string> ZenityArguments(const std::string& text) {
  return {"--error", "--no-markup", "--text=" + text};
}

// kdialog interprets HTML and backslash sequences, so it gets HTML in which neither can occur.
std::vector<std::string> KdialogArguments(const std::string& text) {
  std::string html = ReplaceEach(text, '&', "&amp;");
  html = ReplaceEach(html, '<', "&lt;");
  html = ReplaceEach(html, '>', "&gt;");
  html = ReplaceEach(html, '\\', "&#92;");
  return {"--error", "<qt><p style=\"white-space: pre-wrap\">" + html + "</p></qt>"};
}

// By default xmessage reads Latin-1 and cuts long lines off.
std::vector<std::string> XmessageArguments(const std::string& text) {
  return {"-center", "-xrm", "*international: true", "-xrm", "*message*wrap: word", text};
}

struct BoxProgram {
  const char* name;
  std::vector<std::string> (*arguments)(const std::string& text);
};

constexpr BoxProgram kBoxPrograms[] = {
    {"zenity", ZenityArguments}, {"kdialog", KdialogArguments}, {"xmessage", XmessageArguments}};

// In a locale of another encoding the programs refuse or garble text that is not ASCII.
bool HasUtf8Locale() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  const bool is_utf8 = locale != nullptr && std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  if (locale != nullptr) {
    freelocale(locale);
  }
  return is_utf8;
}

ProgramEnd Run(const BoxProgram& box, const std::string& text) {
  std::vector<std::string> arguments = box.arguments(text);
  if (HasUtf8Locale()) {
    return RunAndWait(box.name, arguments);
  }
  arguments.insert(arguments.begin(), {"LC_ALL=C.UTF-8", box.name});
  return RunAndWait("env", arguments);
}

// A box that is closed by a key or by its window's button ends with status 1 or 2. So do zenity and xmessage
// without a display, but they say so; kdialog is ended by a signal then. Other faults have other statuses.
bool WasShown(const ProgramEnd& end) noexcept {
  return end.status >= 0 && end.status <= 2 && end.errors.find("open display") == std::string::npos;
}

// True when the user has seen the box.
bool ShowBox(const std::string& text) {
  if (!HasDisplay()) {
    return false;
  }
  const auto* const installed =
      std::find_if(std::begin(kBoxPrograms), std::end(kBoxPrograms),
                   [](const BoxProgram& box) { return !FindAlongPath(box.name).empty(); });
  if (installed == std::end(kBoxPrograms)) {
    return false;
  }
  // A display that cannot be opened is not tried again at once.
  static std::int64_t no_box_before = 0;
  if (MonotonicClock() < no_box_before) {
    return false;
  }
  const bool shown = WasShown(Run(*installed, text));
  if (!shown) {
    no_box_before = MonotonicClock() + kQuietTime;
  }
  return shown;
}

// Each line of the text is a line of the log. All but the first are indented, so that none can be mistaken
// for a line of the agent's own.
void WriteToStandardError(std::string_view text) {
  std::string_view indent;
  for (const std::string_view line : Split(text, EndOfLine)) {
    System::DebugLog(std::string(indent) + std::string(line));
    indent = "    ";
  }
}

// The texts that standard error has just been given.
class RecentTexts {
 public:
  // True when `text` has not been noted within the quiet time; it is now. A flood of different texts says no
  // more than its first thousand, and takes no more memory.
  bool Note(const std::string& text) {
    constexpr std::size_t kMostNoted = 1000;
    const std::int64_t now = MonotonicClock();
    std::erase_if(noted_, [&](const auto& noted) { return now - noted.second >= kQuietTime; });
    return noted_.size() < kMostNoted && noted_.try_emplace(std::hash<std::string>()(text), now).second;
  }

 private:
  std::unordered_map<std::size_t, std::int64_t> noted_;  // when, by the text's hash
};

}  // namespace

void MsgBox(const std::string& text) {
  static RecentTexts recent_texts;
  if (!ShowBox(text) && recent_texts.Note(text)) {
    WriteToStandardError(text);
  }
}

}  // namespace tollmere
