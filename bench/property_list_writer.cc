#include "property_list_writer.h"

#include <bit>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <string_view>

namespace tollmere {
namespace {

using Array = PropertyListValue::Array;
using Dictionary = PropertyListValue::Dictionary;

class XmlText {
 public:
  void operator()(bool flag) { Line(flag ? "<true/>" : "<false/>"); }
  void operator()(std::int64_t number) { Line("<integer>" + std::to_string(number) + "</integer>"); }
  void operator()(double number) { Line("<real>" + std::to_string(number) + "</real>"); }
  void operator()(const std::string& text) { Line("<string>" + text + "</string>"); }
  void operator()(const Array& items) {
    Line("<array>");
    ++depth_;
    for (const PropertyListValue& item : items) {
      std::visit(*this, item.value);
    }
    --depth_;
    Line("</array>");
  }
  void operator()(const Dictionary& entries) {
    Line("<dict>");
    ++depth_;
    for (const auto& [key, item] : entries) {
      Line("<key>" + key + "</key>");
      std::visit(*this, item.value);
    }
    --depth_;
    Line("</dict>");
  }
  std::string& Text() { return text_; }

 private:
  // The sample's texts hold nothing that would have to be escaped.
  void Line(std::string_view line) { text_.append(depth_, '\t').append(line).append("\n"); }

  std::size_t depth_ = 0;
  std::string text_;
};

void AppendNumber(std::uint64_t number, std::size_t size, std::string& bytes) {
  for (std::size_t i = size; i-- > 0;) {
    bytes.push_back(static_cast<char>(number >> (8 * i) & 0xFFU));
  }
}

void AppendMarker(unsigned kind, std::size_t count, std::string& bytes) {
  bytes.push_back(static_cast<char>(kind << 4U | (count < 15 ? count : 15)));
  if (count >= 15) {
    bytes.push_back('\x12');  // The count follows in four bytes.
    AppendNumber(count, 4, bytes);
  }
}

class BinaryObjects {
 public:
  std::size_t operator()(bool flag) { return Scalar(flag ? "\x09" : "\x08"); }
  std::size_t operator()(std::int64_t number) {
    std::string bytes;
    const bool small = number >= 0 && number < 256;
    bytes.push_back(small ? '\x10' : '\x13');
    AppendNumber(static_cast<std::uint64_t>(number), small ? 1 : 8, bytes);
    return Scalar(std::move(bytes));
  }
  std::size_t operator()(double number) {
    std::string bytes = "\x23";
    AppendNumber(std::bit_cast<std::uint64_t>(number), 8, bytes);
    return Scalar(std::move(bytes));
  }
  std::size_t operator()(const std::string& text) {
    std::string bytes;
    AppendMarker(5, text.size(), bytes);
    return Scalar(bytes + text);
  }
  std::size_t operator()(const Array& items) {
    const std::size_t index = Add({});
    std::vector<std::size_t> references;
    for (const PropertyListValue& item : items) {
      references.push_back(std::visit(*this, item.value));
    }
    SetContainer(index, 0xA, items.size(), references);
    return index;
  }
  std::size_t operator()(const Dictionary& entries) {
    const std::size_t index = Add({});
    std::vector<std::size_t> references;
    for (const auto& [key, item] : entries) {
      references.push_back((*this)(key));
    }
    for (const auto& [key, item] : entries) {
      references.push_back(std::visit(*this, item.value));
    }
    SetContainer(index, 0xD, entries.size(), references);
    return index;
  }

  std::string List() const {
    constexpr std::size_t kOffsetSize = 4;
    std::string bytes = "bplist00";
    std::string table;
    for (const std::string& object : objects_) {
      AppendNumber(bytes.size(), kOffsetSize, table);
      bytes += object;
    }
    const std::size_t table_at = bytes.size();
    bytes += table;
    bytes.append(6, '\0');
    AppendNumber(kOffsetSize, 1, bytes);
    AppendNumber(kReferenceSize, 1, bytes);
    AppendNumber(objects_.size(), 8, bytes);
    AppendNumber(0, 8, bytes);  // the top object
    AppendNumber(table_at, 8, bytes);
    return bytes;
  }

 private:
  static constexpr std::size_t kReferenceSize = 3;

  std::size_t Add(std::string bytes) {
    objects_.push_back(std::move(bytes));
    return objects_.size() - 1;
  }

  std::size_t Scalar(std::string bytes) {
    const auto [known, is_new] = scalars_.try_emplace(std::move(bytes), objects_.size());
    if (is_new) {
      objects_.push_back(known->first);
    }
    return known->second;
  }

  void SetContainer(std::size_t index, unsigned kind, std::size_t count,
                    const std::vector<std::size_t>& references) {
    AppendMarker(kind, count, objects_[index]);
    for (const std::size_t reference : references) {
      AppendNumber(reference, kReferenceSize, objects_[index]);
    }
  }

  std::vector<std::string> objects_;
  std::map<std::string, std::size_t> scalars_;
};

}  // namespace

std::string WriteXml(const PropertyListValue& root) {
  XmlText text;
  std::visit(text, root.value);
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + text.Text() + "</plist>\n";
}

std::string WriteBinary(const PropertyListValue& root) {
  BinaryObjects objects;
  std::visit(objects, root.value);
  return objects.List();
}

}  // namespace tollmere
