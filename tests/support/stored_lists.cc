#include "support/stored_lists.h"

#include <cstdlib>
#include <map>
#include <sstream>

#include "foundation/property_list/property_list.h"
#include "foundation/text.h"
#include "launch/engine.h"
#include "preferences/core_preferences.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/process_end.h"
#include "support/test_clock.h"
#include "watch/app.h"

namespace tollmere::testing {
namespace {

std::string Element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name + ">";
}

std::string Value(const std::string& key, const std::string& text) {
  static const std::map<std::string, std::string> kFlagKeys = {
      {"WeeklyDays", "WeeklyDayEnabled"},
      {"WeeklyDaysRelative", "WeeklyDayRelativeEnabled"},
      {"WeeklyDaysRelativeOccurences", "WeeklyDayRelativeOccurEnabled"}};
  if (const auto flag_key = kFlagKeys.find(key); flag_key != kFlagKeys.end()) {
    std::string items;
    for (const std::string& item : Parts(text, ",")) {
      items += Element("key", "x" + item) + Element("dict", Element("key", flag_key->second) + "<true/>");
    }
    return Element("dict", items);
  }
  if (key == "LastRungDateTime") {
    return Element("real", Str(TotalSeconds(text)));
  }
  if (key == "Exclusions") {
    std::string list;
    for (const std::string& day : Parts(text, ",")) {
      list += (list.empty() ? "" : ",") + Str(TotalSeconds(day));
    }
    return Element("string", list);
  }
  if (text == "true" || text == "false") {
    return "<" + text + "/>";
  }
  const char* const number = text.find_first_of(".e") != text.npos ? "real" : "integer";
  return Element(IsNumeric(std::string_view(text)) ? number : "string", text);
}

}  // namespace

std::string StoredXml(std::string_view words) {
  std::istringstream stream{std::string(words)};
  std::string xml;
  for (std::string word; stream >> word;) {
    const std::string key = word.substr(0, word.find('='));
    xml += word.front() == '<' ? word : Element("key", key) + Value(key, word.substr(key.size() + 1));
  }
  return Element("dict", xml);
}

std::string ListXml(const std::vector<std::string>& alarms, std::string_view more_words) {
  std::string list;
  for (const std::string& alarm : alarms) {
    list += StoredXml(alarm);
  }
  const std::string more = StoredXml(more_words);
  return "<plist><dict><key>Alarms</key>" + Element("array", list) + more.substr(6) + "</plist>";
}

std::string LocationXml(const std::string& location) {
  const std::string xml = New<CFBinaryDataMBS>(location)->XML()->Str();
  const std::size_t data = xml.find("<data>");
  return "<key>LastExeLocation</key>" + xml.substr(data, xml.find('\n', data) - data);
}

Ref<Dictionary> Stored(std::string_view words) {
  const Ref<CFObjectMBS> object = ParsePropertyList(Element("plist", StoredXml(words)));
  return CorePreferencesModified::RBDictFromCFDict(Cast<CFDictionaryMBS>(object)->List());
}

Ref<TLMAlarm> AlarmOf(std::string_view words) {
  Ref<TLMAlarm> alarm = TLMAlarm::Make();
  alarm->SetDictionary(Stored(words));
  return alarm;
}

void StoreTest::SetUp() {
  if (std::getenv("OWN_VIEW") == nullptr && Engine::IsRunning()) {
    GTEST_SKIP() << "Tollmere runs on this machine, and there are no namespaces to keep it from the test";
  }
  setenv("XDG_CONFIG_HOME", folder_.Path().c_str(), 1);
  setenv("HOME", folder_.Path().c_str(), 1);
  TearDown();
  App().Event_Open();
  TakeLog();
}

void StoreTest::TearDown() {
  setenv("TZ", "UTC", 1);
  ProcessEndOfTests::TakeBack();
  ReleaseGlobals();
}

}  // namespace tollmere::testing
