// A reader for as much of XML as property lists are written in.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/property_list/reading.h"
#include "foundation/property_list/xml_scalars.h"
#include "foundation/text.h"
#include "foundation/unicode.h"
#include "foundation/yield.h"

namespace tollmere {
namespace {

class XmlReader {
 public:
  explicit XmlReader(std::string_view text) : whole_(text), text_(text) {}

  Ref<CFObjectMBS> Read() {
    try {
      return ReadDocument();
    } catch (MalformedPropertyList& malformed) {
      const std::string_view passed = whole_.substr(0, whole_.size() - text_.size());
      malformed.place = "line " + std::to_string(1 + std::count(passed.begin(), passed.end(), '\n'));
      throw;
    }
  }

 private:
  Ref<CFObjectMBS> ReadDocument() {
    RequireCharacters();
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

  // XML has neither bytes that are not UTF-8 nor NUL.
  void RequireCharacters() {
    const std::size_t valid = std::min(ValidUtf8Length(text_), text_.find('\0'));
    if (valid < text_.size()) {
      text_.remove_prefix(valid);
      Require(false);
    }
  }

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

  // What stands before `end`. Skips both.
  std::string_view Until(std::string_view end) {
    const std::size_t at = text_.find(end);
    Require(at != std::string_view::npos);
    const std::string_view passed = text_.substr(0, at);
    text_.remove_prefix(at + end.size());
    return passed;
  }

  // What stands before the first character for which `ends` is true, or everything. Skips it.
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

  // The first bytes have decided the encoding; the declaration must not contradict them.
  void ReadDeclaration() {
    if (!text_.starts_with("<?xml") || text_.size() < 6 || !IsXmlBlank(text_[5])) {
      return;
    }
    std::string_view declaration = Until("?>");
    const std::size_t at = declaration.find("encoding");
    if (at == std::string_view::npos) {
      return;
    }
    declaration = TrimXml(declaration.substr(at + 8));
    Require(declaration.starts_with('='));
    declaration = TrimXml(declaration.substr(1));
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

  // Skipped unread, with the declarations in it: none of them has any effect.
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
      const std::string_view name = TrimXml(Until("="));
      Require(!name.empty() && name.find_first_of(" \t\r\n<>\"'/") == std::string_view::npos);
      SkipBlanks();
      const bool doubly = Skip("\"");
      Require(doubly || Skip("'"));
      Require(Until(doubly ? "\"" : "'").find('<') == std::string_view::npos);
    }
  }

  Ref<CFObjectMBS> ReadObject(const Tag& tag, std::size_t depth) {
    Require(tag.kind != Tag::kClose);
    builder_.CountObjects(1);
    Yield();
    const std::string_view name = tag.name;
    if (name == "string") {
      return ReadScalar<CFStringMBS>(tag);
    }
    if (name == "dict") {
      return ReadDictionary(tag, depth);
    }
    if (name == "true" || name == "false") {
      Require(TrimXml(ReadContent(tag)).empty());
      return builder_.Flag(name == "true");
    }
    if (name == "integer") {
      return ReadScalar<CFNumberMBS>(tag);
    }
    if (name == "real") {
      return New<CFNumberMBS>(ParseXmlReal(ReadContent(tag)));
    }
    if (name == "array") {
      return ReadArray(tag, depth);
    }
    if (name == "data") {
      return New<CFBinaryDataMBS>(ParseXmlData(ReadContent(tag)));
    }
    Require(name == "date");
    return New<CFDateMBS>(ParseXmlDate(ReadContent(tag)));
  }

  Ref<CFObjectMBS> ReadArray(const Tag& tag, std::size_t depth) {
    PropertyListBuilder::CheckDepth(depth + 1);
    std::vector<Ref<CFObjectMBS>> items;
    if (tag.kind == Tag::kOpen) {
      for (Tag next = NextTag(); !next.IsEndOf("array"); next = NextTag()) {
        items.push_back(ReadObject(next, depth + 1));
      }
    }
    return New<CFArrayMBS>(std::move(items));
  }

  Ref<CFObjectMBS> ReadDictionary(const Tag& tag, std::size_t depth) {
    PropertyListBuilder::CheckDepth(depth + 1);
    const auto first = static_cast<std::ptrdiff_t>(entries_.size());
    if (tag.kind == Tag::kOpen) {
      for (Tag next = NextTag(); !next.IsEndOf("dict"); next = NextTag()) {
        Require(next.name == "key" && next.kind != Tag::kClose);
        builder_.CountObjects(1);
        Ref<CFObjectMBS> key = ReadScalar<CFStringMBS>(next);
        Ref<CFObjectMBS> value = ReadObject(NextTag(), depth + 1);
        entries_.emplace_back(std::move(key), std::move(value));
      }
    }
    const auto own = entries_.begin() + first;
    auto dictionary = New<CFDictionaryMBS>(std::vector<CFDictionaryListMBS::Entry>(
        std::make_move_iterator(own), std::make_move_iterator(entries_.end())));
    entries_.erase(own, entries_.end());
    return dictionary;
  }

  // Keys, and most texts and integers, occur again and again, so a recent object for the same text is used
  // once more. Each text has one place in the table, so that no choice of texts can make the search long.
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
      return New<CFNumberMBS>(ParseXmlInteger(content), true);
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

  // What stands before the next tag or reference.
  std::string_view PlainContent() {
    return Before([](char c) { return c == '<' || c == '&'; });
  }

  // The text within an element, up to and with its end tag.
  std::string ReadContent(const Tag& tag) {
    return tag.kind == Tag::kEmpty ? std::string() : ReadContent(tag, {});
  }

  // The same, appended to the `content` that has been read.
  std::string ReadContent(const Tag& tag, std::string content) {
    while (true) {
      content.append(PlainContent());
      Require(!text_.empty());
      if (Skip("&")) {
        AppendReference(Until(";"), content);
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
      const std::uint64_t number = ParseXmlDigits(name.substr(hexadecimal ? 2 : 1), hexadecimal ? 16 : 10);
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
    ThrowMalformed(nullptr);
  }

  const std::string_view whole_;
  std::string_view text_;  // what of it has not been read
  PropertyListBuilder builder_;
  // Of the dictionaries that are being read, each behind those of the one that it lies in. A dictionary gets
  // them once their number is known.
  std::vector<CFDictionaryListMBS::Entry> entries_;
  std::array<RecentScalar, kRecentScalars> recent_;
};

}  // namespace

Ref<CFObjectMBS> ParseXmlPropertyList(std::string_view text) { return XmlReader(text).Read(); }

}  // namespace tollmere
