#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/property_list/property_list.h"
#include "foundation/property_list/xml_scalars.h"
#include "foundation/text.h"
#include "foundation/unicode.h"

namespace tollmere {
namespace {

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
        WriteElement("data", XmlDataText(Shown(static_cast<const CFBinaryDataMBS&>(object).Str())));
        break;
      case CFObjectMBS::TypeId::kDate:
        WriteElement("date", XmlDateText(static_cast<const CFDateMBS&>(object).AbsoluteTime()));
        break;
      case CFObjectMBS::TypeId::kArray:
        WriteArray(static_cast<const CFArrayMBS&>(object), depth);
        break;
      case CFObjectMBS::TypeId::kDictionary:
        WriteDictionary(static_cast<const CFDictionaryMBS&>(object).List(), depth);
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
      WriteKey(*list.Key(i), depth + 1);
      WriteObject(*list.Value(i), depth + 1);
    }
    text_.append(depth, '\t') += "</dict>\n";
  }

  // A binary list can have a key that is no text. It is written as the object that it is.
  void WriteKey(const CFObjectMBS& key, std::size_t depth) {
    if (key.Kind() == CFObjectMBS::TypeId::kString) {
      text_.append(depth, '\t');
      WriteElement("key", static_cast<const CFStringMBS&>(key).str());
    } else {
      WriteObject(key, depth);
    }
  }

  // As much of a long text as the caller asks for.
  std::string_view Shown(std::string_view text) const {
    return text.substr(0, std::min(text.size(), at_most_));
  }

  void WriteElement(std::string_view name, std::string_view content) {
    text_.append("<").append(name).append(">");
    for (const char c : Shown(content)) {
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
        text_ += "&#13;";  // A plain one would be read as a line feed.
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

  const std::size_t at_most_;
  std::string text_;
};

}  // namespace

std::string WriteXmlPropertyList(const CFObjectMBS& object, std::size_t at_most) {
  return XmlWriter(at_most).Write(object);
}

}  // namespace tollmere
