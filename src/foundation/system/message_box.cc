#include "foundation/system/message_box.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
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

// zenity turns backslash sequences in its text into characters.
std::vector<std::string> ZenityArguments(const std::string& text) {
  return {"--error", "--no-markup", "--text=" + ReplaceEach(text, '\\', "\\\\")};
}

// kdialog takes what looks like HTML for HTML, and backslash sequences for characters: so it is given HTML
// in which neither can occur.
std::vector<std::string> KdialogArguments(const std::string& text) {
  std::string html = ReplaceEach(text, '&', "&amp;");
  html = ReplaceEach(html, '<', "&lt;");
  html = ReplaceEach(html, '>', "&gt;");
  html = ReplaceEach(html, '\\', "&#92;");
  return {"--error", "<qt><p style=\"white-space: pre-wrap\">" + html + "</p></qt>"};
}

std::vector<std::string> XmessageArguments(const std::string& text) { return {"-center", text}; }

struct BoxProgram {
  const char* name;
  std::vector<std::string> (*arguments)(const std::string& text);
};

constexpr BoxProgram kBoxPrograms[] = {
    {"zenity", ZenityArguments}, {"kdialog", KdialogArguments}, {"xmessage", XmessageArguments}};

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
  static std::int64_t no_box_before = 0;
  const std::int64_t start = MonotonicClock();
  if (start < no_box_before) {
    return false;
  }
  const int status = RunAndWait(installed->name, installed->arguments(text));
  // A box that was closed and one that could not be shown may end with the same status; but no one
  // reads and closes a box within a second. A display that is not there is not tried at every text.
  const bool shown = status == 0 || (status > 0 && MonotonicClock() - start >= kSecond);
  if (!shown) {
    no_box_before = start + kQuietTime;
  }
  return shown;
}

// Each line of the text on a line of its own, all but the first set in, so that none of them can be
// taken for a line of the log.
void WriteToStandardError(std::string_view text) {
  std::string_view indent;
  for (const std::string_view line : Split(text, EndOfLine)) {
    System::DebugLog(std::string(indent) + std::string(line));
    indent = "    ";
  }
}

// The texts that standard error has just been given, oldest first.
class RecentTexts {
 public:
  // True when `text` has not been noted within the quiet time; it is now.
  bool Note(const std::string& text) {
    const std::int64_t now = MonotonicClock();
    std::erase_if(noted_, [&](const Noted& noted) { return now - noted.when >= kQuietTime; });
    if (std::any_of(noted_.begin(), noted_.end(), [&](const Noted& noted) { return noted.text == text; })) {
      return false;
    }
    constexpr std::size_t kMostNoted = 16;
    if (noted_.size() == kMostNoted) {
      noted_.erase(noted_.begin());
    }
    noted_.push_back({text, now});
    return true;
  }

 private:
  struct Noted {
    std::string text;
    std::int64_t when;
  };
  std::vector<Noted> noted_;
};

}  // namespace

void MsgBox(const std::string& text) {
  static RecentTexts recent_texts;
  if (!ShowBox(text) && recent_texts.Note(text)) {
    WriteToStandardError(text);
  }
}

}  // namespace tollmere
