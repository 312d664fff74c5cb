// Property lists in XML: a reader for just as much of XML as property lists are written in, and the
// writer.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/calendar_math.h"
#include "foundation/property_list/formats.h"
#include "foundation/property_list/property_list.h"
#include "foundation/text.h"
#include "foundation/unicode.h"
#include "foundation/yield.h"

namespace tollmere {
namespace {

constexpr std::int64_t kDaysTo2001 = DaysFromCivil(2001, 1, 1);

bool IsXmlBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::string_view Trim(std::string_view text) noexcept {
  while (!text.empty() && IsXmlBlank(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && IsXmlBlank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

void Require(bool holds) {
  if (!holds) {
    throw MalformedPropertyList();
  }
}

// All of `text` as a number; `base` 10 or 16, no sign.
std::uint64_t ParseDigits(std::string_view text, int base) {
  std::uint64_t value = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  Require(error == std::errc() && stop == text.data() + text.size());
  return value;
}

double ParseInteger(std::string_view text) {
  text = Trim(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  double magnitude = 0.0;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    magnitude = static_cast<double>(ParseDigits(text.substr(2), 16));
  } else {
    // Digits of any number: what 64 bits do not hold is the nearest double, as for every integer.
    Require(!text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos);
    magnitude = Val(text);
    Require(std::isfinite(magnitude));
  }
  return negative ? -magnitude : magnitude;
}

double ParseReal(std::string_view text) {
  text = Trim(text);
  std::string_view unsigned_text = text;
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) {
    unsigned_text.remove_prefix(1);
  }
  if (EqualsIgnoringCase(unsigned_text, "nan")) {
    return std::nan("");
  }
  if (EqualsIgnoringCase(unsigned_text, "inf") || EqualsIgnoringCase(unsigned_text, "infinity")) {
    return negative ? -HUGE_VAL : HUGE_VAL;
  }
  Require(IsNumeric(text));
  return Val(text);
}

// "2027-01-31T10:00:00Z". The numbers are counted on as they stand, so that the 32nd of a month is
// the day after its 31st.
double ParseDate(std::string_view text) {
  text = Trim(text);
  const bool negative = text.starts_with('-');
  if (negative) {
    text.remove_prefix(1);
  }
  static constexpr std::string_view kEnds = "--T::Z";
  std::int64_t numbers[kEnds.size()] = {};
  for (std::size_t i = 0; i < kEnds.size(); ++i) {
    const std::size_t end = text.find(kEnds[i]);
    Require(end != std::string_view::npos && end <= 9);
    numbers[i] = static_cast<std::int64_t>(ParseDigits(text.substr(0, end), 10));
    text.remove_prefix(end + 1);
  }
  Require(text.empty());
  const std::int64_t months = numbers[1] - 1;
  const std::int64_t year = (negative ? -numbers[0] : numbers[0]) + FloorDivide(months, 12);
  const std::int64_t month = months - FloorDivide(months, 12) * 12 + 1;
  const std::int64_t days = DaysFromCivil(year, static_cast<int>(month), numbers[2]) - kDaysTo2001;
  return static_cast<double>(days * kSecondsPerDay + numbers[3] * 3600 + numbers[4] * 60 + numbers[5]);
}

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string ParseData(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  unsigned digits = 0;
  bool padded = false;
  for (const char c : text) {
    if (IsXmlBlank(c)) {
      continue;
    }
    if (c == '=') {
      padded = true;
      continue;
    }
    const std::size_t digit = kBase64.find(c);
    Require(digit != std::string_view::npos && !padded);
    bits = bits << 6U | static_cast<std::uint32_t>(digit);
    if (++digits % 4 != 1) {
      bytes.push_back(static_cast<char>(bits >> (8U - digits % 4 * 2U) % 8U & 0xFFU));
    }
  }
  Require(digits % 4 != 1);
  return bytes;
}

class XmlReader {
 public:
  explicit XmlReader(std::string_view text) : text_(text) {}

  Ref<CFObjectMBS> ReadDocument() {
    Require(IsUtf8(text_) && text_.find('\0') == std::string_view::npos);
    Skip("\xEF\xBB\xBF");
    ReadDeclaration();
    SkipMisc(true);
    const Tag plist = ReadTag();
    Require(plist.name == "plist" && plist.kind == Tag::kOpen);
    Ref<CFObjectMBS> object = ReadObject(NextTag(), 0);
    Require(NextTag().IsEndOf("plist"));
    SkipMisc(false);
    Require(text_.empty());
    return object;
  }

 private:
  struct Tag {
    enum Kind { kOpen, kClose, kEmpty };
    std::string_view name;
    Kind kind;
    bool IsEndOf(std::string_view element) const { return kind == kClose && name == element; }
  };

  bool Skip(std::string_view expected) {
    if (!text_.starts_with(expected)) {
      return false;
    }
    text_.remove_prefix(expected.size());
    return true;
  }

  // Everything up to `end`, which is passed over.
  std::string_view Until(std::string_view end) {
    const std::size_t at = text_.find(end);
    Require(at != std::string_view::npos);
    const std::string_view passed = text_.substr(0, at);
    text_.remove_prefix(at + end.size());
    return passed;
  }

  // What stands before the first character that `ends` tells, which stays; all of it where none does.
  template <class Predicate>
  std::string_view Before(Predicate ends) {
    std::size_t at = 0;
    while (at < text_.size() && !ends(text_[at])) {
      ++at;
    }
    const std::string_view passed = text_.substr(0, at);
    text_.remove_prefix(at);
    return passed;
  }

  void SkipBlanks() {
    Before([](char c) { return !IsXmlBlank(c); });
  }

  // The text has been brought to UTF-8 by its first bytes; a declaration may not contradict it.
  void ReadDeclaration() {
    if (!text_.starts_with("<?xml") || text_.size() < 6 || !IsXmlBlank(text_[5])) {
      return;
    }
    std::string_view declaration = Until("?>");
    const std::size_t at = declaration.find("encoding");
    if (at == std::string_view::npos) {
      return;
    }
    declaration = Trim(declaration.substr(at + 8));
    Require(declaration.starts_with('='));
    declaration = Trim(declaration.substr(1));
    Require(declaration.size() >= 2 && (declaration[0] == '"' || declaration[0] == '\''));
    const std::string_view encoding = declaration.substr(1, declaration.find(declaration[0], 1) - 1);
    Require(EqualsIgnoringCase(encoding, "utf-8") || EqualsIgnoringCase(encoding, "us-ascii") ||
            EqualsIgnoringCase(Left(encoding, 6), "utf-16"));
  }

  // Blanks, comments and processing instructions, which may stand between any two tags.
  void SkipMisc(bool document_type_allowed) {
    while (true) {
      SkipBlanks();
      if (Skip("<!--")) {
        Until("-->");
      } else if (Skip("<?")) {
        Until("?>");
      } else if (document_type_allowed && Skip("<!DOCTYPE")) {
        SkipDocumentType();
        document_type_allowed = false;
      } else {
        return;
      }
    }
  }

  // Passed over unread, with the declarations that it may hold: none of them has any effect.
  void SkipDocumentType() {
    int brackets = 0;
    while (true) {
      Require(!text_.empty());
      const char c = text_.front();
      if (Skip("<!--")) {
        Until("-->");
        continue;
      }
      if (Skip("<?")) {
        Until("?>");
        continue;
      }
      text_.remove_prefix(1);
      if (c == '"' || c == '\'') {
        Until(std::string_view(&c, 1));
      } else if (c == '[') {
        ++brackets;
      } else if (c == ']') {
        --brackets;
      } else if (c == '>' && brackets <= 0) {
        return;
      }
    }
  }

  Tag NextTag() {
    SkipMisc(false);
    return ReadTag();
  }

  Tag ReadTag() {
    Require(Skip("<"));
    const bool closes = Skip("/");
    const std::string_view name =
        Before([](char c) { return c == '>' || c == '/' || c == '<' || IsXmlBlank(c); });
    Tag tag{name, closes ? Tag::kClose : Tag::kOpen};
    if (text_.starts_with('>')) [[likely]] {
      text_.remove_prefix(1);
      return tag;
    }
    SkipAttributes();
    if (!closes && Skip("/")) {
      tag.kind = Tag::kEmpty;
    }
    Require(Skip(">"));
    return tag;
  }

  void SkipAttributes() {
    for (SkipBlanks(); !text_.starts_with('>') && !text_.starts_with('/'); SkipBlanks()) {
      const std::string_view name = Trim(Until("="));
      Require(!name.empty() && name.find_first_of(" \t\r\n<>\"'/") == std::string_view::npos);
      SkipBlanks();
      const bool doubly = Skip("\"");
      Require(doubly || Skip("'"));
      Require(Until(doubly ? "\"" : "'").find('<') == std::string_view::npos);
    }
  }

  void Count() {
    Require(++count_ <= kMaxPropertyListObjects);
    Yield();
  }

  Ref<CFObjectMBS> ReadObject(const Tag& tag, std::size_t depth) {
    Require(tag.kind != Tag::kClose);
    Count();
    const std::string_view name = tag.name;
    if (name == "string") {
      return ReadScalar<CFStringMBS>(tag);
    }
    if (name == "dict") {
      return ReadDictionary(tag, depth);
    }
    if (name == "true" || name == "false") {
      Require(Trim(ReadContent(tag)).empty());
      return Flag(name == "true");
    }
    if (name == "integer") {
      return ReadScalar<CFNumberMBS>(tag);
    }
    if (name == "real") {
      return New<CFNumberMBS>(ParseReal(ReadContent(tag)));
    }
    if (name == "array") {
      return ReadArray(tag, depth);
    }
    if (name == "data") {
      return New<CFBinaryDataMBS>(ParseData(ReadContent(tag)));
    }
    Require(name == "date");
    return New<CFDateMBS>(ParseDate(ReadContent(tag)));
  }

  Ref<CFObjectMBS> ReadArray(const Tag& tag, std::size_t depth) {
    Require(depth < kMaxPropertyListDepth);
    std::vector<Ref<CFObjectMBS>> items;
    if (tag.kind == Tag::kOpen) {
      for (Tag next = NextTag(); !next.IsEndOf("array"); next = NextTag()) {
        items.push_back(ReadObject(next, depth + 1));
      }
    }
    return New<CFArrayMBS>(std::move(items));
  }

  Ref<CFObjectMBS> ReadDictionary(const Tag& tag, std::size_t depth) {
    Require(depth < kMaxPropertyListDepth);
    // The entries of all open dictionaries stand one behind the other until it is known how many there are.
    const std::size_t first = open_entries_.size();
    if (tag.kind == Tag::kOpen) {
      for (Tag next = NextTag(); !next.IsEndOf("dict"); next = NextTag()) {
        Require(next.name == "key" && next.kind != Tag::kClose);
        Count();
        Ref<CFObjectMBS> key = ReadScalar<CFStringMBS>(next);
        Ref<CFObjectMBS> value = ReadObject(NextTag(), depth + 1);
        open_entries_.emplace_back(std::move(key), std::move(value));
      }
    }
    Ref<CFObjectMBS> dictionary = dictionaries_.Make(std::span(open_entries_).subspan(first));
    open_entries_.resize(first);
    return dictionary;
  }

  // Keys, and most texts and integers, come again and again: an object that stands for the same text lately
  // is taken once more. Each text has its one place, so that no choice of texts can make the search long.
  struct RecentScalar {
    std::string_view plain;  // as it stands in the list
    Ref<CFObjectMBS> object;
  };
  static constexpr std::size_t kRecentScalars = 512;

  template <class Scalar>
  Ref<CFObjectMBS> ReadScalar(const Tag& tag) {
    if (tag.kind != Tag::kOpen) {
      return NewScalar<Scalar>({});
    }
    const std::string_view plain = PlainContent();
    const std::string_view rest = text_;
    if (!Skip("</") || !Skip(tag.name) || !Skip(">")) {
      text_ = rest;
      return NewScalar<Scalar>(ReadContent(tag, std::string(plain)));
    }
    RecentScalar& recent = recent_[PlaceOf(plain)];
    if (recent.plain != plain || !IsA<Scalar>(recent.object)) {
      recent = {plain, NewScalar<Scalar>(std::string(plain))};
    }
    return recent.object;
  }

  template <class Scalar>
  static Ref<CFObjectMBS> NewScalar(std::string content) {
    if constexpr (std::is_same_v<Scalar, CFStringMBS>) {
      return NewCFStringMBS(std::move(content));
    } else {
      return New<CFNumberMBS>(ParseInteger(content), true);
    }
  }

  static std::size_t PlaceOf(std::string_view text) noexcept {
    std::uint64_t end = 0;
    const std::size_t size = std::min(text.size(), sizeof end);
    if (size > 0) {
      std::memcpy(&end, text.data() + text.size() - size, size);
    }
    constexpr std::uint64_t kMixer = 0x9E37'79B9'7F4A'7C15;
    return static_cast<std::size_t>((end + text.size()) * kMixer >> 55U);
  }
  static_assert(kRecentScalars == std::size_t{1} << (64U - 55U));

  // What stands before the next tag, reference or line break that is not plain text.
  std::string_view PlainContent() {
    return Before([](char c) { return c == '<' || c == '&' || c == '\r'; });
  }

  // The text within an element, up to and with its end tag.
  std::string ReadContent(const Tag& tag) {
    return tag.kind == Tag::kEmpty ? std::string() : ReadContent(tag, {});
  }

  // The same, behind the `content` that has been read.
  std::string ReadContent(const Tag& tag, std::string content) {
    while (true) {
      content.append(PlainContent());
      Require(!text_.empty());
      if (Skip("&")) {
        AppendReference(Until(";"), content);
      } else if (Skip("\r")) {
        Skip("\n");
        content.push_back('\n');  // In XML every kind of line break reads as this one.
      } else if (Skip("<![CDATA[")) {
        content.append(Until("]]>"));
      } else if (Skip("<!--")) {
        Until("-->");
      } else if (Skip("<?")) {
        Until("?>");
      } else {
        Require(ReadTag().IsEndOf(tag.name));
        return content;
      }
    }
  }

  static void AppendReference(std::string_view name, std::string& content) {
    static constexpr std::pair<std::string_view, char> kEntities[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    if (name.starts_with('#')) {
      const bool hexadecimal = name.starts_with("#x");
      const std::uint64_t number = ParseDigits(name.substr(hexadecimal ? 2 : 1), hexadecimal ? 16 : 10);
      Require(number != 0 && number <= 0x10FFFF && !(number >= 0xD800 && number <= 0xDFFF));
      AppendUtf8(static_cast<char32_t>(number), content);
      return;
    }
    for (const auto& [entity, character] : kEntities) {
      if (name == entity) {
        content.push_back(character);
        return;
      }
    }
    throw MalformedPropertyList();
  }

  // The two flags are among the commonest objects: one of each will do.
  const Ref<CFObjectMBS>& Flag(bool value) {
    Ref<CFObjectMBS>& flag = flags_[value ? 1 : 0];
    if (flag == nullptr) {
      flag = New<CFBooleanMBS>(value);
    }
    return flag;
  }

  std::string_view text_;
  std::size_t count_ = 0;
  Ref<CFObjectMBS> flags_[2];
  std::array<RecentScalar, kRecentScalars> recent_;
  DictionaryMaker dictionaries_;
  std::vector<CFDictionaryListMBS::Entry> open_entries_;
};

class XmlWriter {
 public:
  explicit XmlWriter(std::size_t at_most) : at_most_(at_most) {}

  std::string Write(const CFObjectMBS& object) && {
    text_ =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n";
    WriteObject(object, 0);
    text_ += "</plist>\n";
    return std::move(text_);
  }

 private:
  bool IsFull() const noexcept { return text_.size() >= at_most_; }

  void WriteObject(const CFObjectMBS& object, std::size_t depth) {
    text_.append(depth, '\t');
    switch (object.Kind()) {
      case CFObjectMBS::TypeId::kString:
        WriteElement("string", static_cast<const CFStringMBS&>(object).str());
        break;
      case CFObjectMBS::TypeId::kNumber:
        WriteNumber(static_cast<const CFNumberMBS&>(object));
        break;
      case CFObjectMBS::TypeId::kBoolean:
        text_ += static_cast<const CFBooleanMBS&>(object).Value() ? "<true/>\n" : "<false/>\n";
        break;
      case CFObjectMBS::TypeId::kData:
        WriteElement("data", Base64(static_cast<const CFBinaryDataMBS&>(object).Str()));
        break;
      case CFObjectMBS::TypeId::kDate:
        WriteElement("date", DateText(static_cast<const CFDateMBS&>(object).AbsoluteTime()));
        break;
      case CFObjectMBS::TypeId::kArray:
        WriteArray(static_cast<const CFArrayMBS&>(object), depth);
        break;
      case CFObjectMBS::TypeId::kDictionary:
        WriteDictionary(*static_cast<const CFDictionaryMBS&>(object).List(), depth);
        break;
    }
  }

  void WriteArray(const CFArrayMBS& array, std::size_t depth) {
    text_ += "<array>\n";
    for (std::size_t i = 0; i < array.Count() && !IsFull(); ++i) {
      WriteObject(*array.Item(i), depth + 1);
    }
    text_.append(depth, '\t') += "</array>\n";
  }

  void WriteDictionary(const CFDictionaryListMBS& list, std::size_t depth) {
    text_ += "<dict>\n";
    for (std::size_t i = 0; i < list.Count() && !IsFull(); ++i) {
      text_.append(depth + 1, '\t');
      const Ref<CFObjectMBS>& key = list.Key(i);
      WriteElement("key", IsA<CFStringMBS>(key) ? Cast<CFStringMBS>(key)->str() : "");
      WriteObject(*list.Value(i), depth + 1);
    }
    text_.append(depth, '\t') += "</dict>\n";
  }

  void WriteElement(std::string_view name, std::string_view content) {
    text_.append("<").append(name).append(">");
    for (const char c : content.substr(0, std::min(content.size(), at_most_))) {
      WriteCharacter(c);
    }
    text_.append("</").append(name).append(">\n");
  }

  void WriteCharacter(char c) {
    switch (c) {
      case '<':
        text_ += "&lt;";
        break;
      case '>':
        text_ += "&gt;";
        break;
      case '&':
        text_ += "&amp;";
        break;
      case '\r':
        text_ += "&#13;";  // As it stands it would be read as a line feed.
        break;
      case '\0':
        AppendUtf8(kReplacementCharacter, text_);  // XML has no way to write it.
        break;
      default:
        text_ += c;
    }
  }

  void WriteNumber(const CFNumberMBS& number) {
    const double value = number.doubleValue();
    WriteElement(number.IsInteger() ? "integer" : "real",
                 number.IsInteger() ? Format(value, "-#") : Str(value));
  }

  static std::string DateText(double seconds) {
    constexpr double kReach = 1e15;  // Dates further away are shown as their last.
    const double held = std::isnan(seconds) ? 0.0 : std::clamp(std::floor(seconds), -kReach, kReach);
    const auto second = static_cast<std::int64_t>(held);
    const std::int64_t days = FloorDivide(second, kSecondsPerDay);
    const std::int64_t time = second - days * kSecondsPerDay;
    const CivilDate date = CivilFromDays(days + kDaysTo2001);
    const auto two = [](std::int64_t number) {
      return std::string(number < 10 ? "0" : "") + std::to_string(number);
    };
    return std::to_string(date.year) + "-" + two(date.month) + "-" + two(date.day) + "T" + two(time / 3600) +
           ":" + two(time / 60 % 60) + ":" + two(time % 60) + "Z";
  }

  std::string Base64(std::string_view bytes) const {
    bytes = bytes.substr(0, std::min(bytes.size(), at_most_));
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
      const std::string_view group = bytes.substr(at, 3);
      std::uint32_t bits = 0;
      for (std::size_t i = 0; i < 3; ++i) {
        bits = bits << 8U | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
      }
      for (std::size_t i = 0; i < 4; ++i) {
        text += i <= group.size() ? kBase64[bits >> (18U - 6U * i) & 63U] : '=';
      }
    }
    return text;
  }

  const std::size_t at_most_;
  std::string text_;
};

}  // namespace

Ref<CFObjectMBS> ParseXmlPropertyList(std::string_view text) { return XmlReader(text).ReadDocument(); }

std::string WriteXmlPropertyList(const CFObjectMBS& object, std::size_t at_most) {
  return XmlWriter(at_most).Write(object);
}

}  // namespace tollmere
