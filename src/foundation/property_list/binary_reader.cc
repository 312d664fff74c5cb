// Binary property lists: an eight-byte head, the objects, a table of their offsets, and a trailer that says
// where the table is and which object is the top one. Objects refer to one another by their number in
// the table, all numbers are big-endian, and any reference may occur any number of times.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "foundation/property_list/formats.h"
#include "foundation/property_list/property_list.h"
#include "foundation/unicode.h"
#include "foundation/yield.h"

namespace tollmere {
namespace {

constexpr std::size_t kHeadSize = 8;
constexpr std::size_t kTrailerSize = 32;

class BinaryReader {
 public:
  explicit BinaryReader(std::string_view bytes) : bytes_(bytes) { ReadTrailer(); }

  Ref<CFObjectMBS> ReadTop() { return Read(top_, 0).object; }

 private:
  // An object that has been read, with what it counts towards the limits wherever it is referred to.
  struct Node {
    Ref<CFObjectMBS> object;
    std::uint32_t walk_count = 0;  // objects that a walk through it meets, itself included
    std::uint32_t walk_bytes = 0;  // of text and data in them, as long as they are in the file
    std::uint16_t height = 0;      // containers within one another, from this one down
    bool being_read = false;
  };

  struct Body {
    std::size_t at;
    std::uint64_t count;
  };

  void ReadTrailer() {
    if (bytes_.size() < kHeadSize + kTrailerSize) {
      throw MalformedPropertyList();
    }
    const std::size_t trailer = bytes_.size() - kTrailerSize;
    offset_size_ = static_cast<std::size_t>(Number(trailer + 6, 1));
    reference_size_ = static_cast<std::size_t>(Number(trailer + 7, 1));
    const std::uint64_t count = Number(trailer + 8, 8);
    const std::uint64_t top = Number(trailer + 16, 8);
    const std::uint64_t table = Number(trailer + 24, 8);
    Require(offset_size_ >= 1 && offset_size_ <= 8 && reference_size_ >= 1 && reference_size_ <= 8);
    Require(top < count && count <= kMaxPropertyListObjects);
    Require(table >= kHeadSize && table <= trailer && count <= (trailer - table) / offset_size_);
    table_ = static_cast<std::size_t>(table);
    top_ = static_cast<std::size_t>(top);
    nodes_.resize(static_cast<std::size_t>(count));
  }

  const Node& Read(std::size_t index, std::size_t depth) {
    Node& node = nodes_[index];  // The table never grows, so the reference stays good.
    Require(!node.being_read);   // else it contains itself
    if (node.object == nullptr) {
      node.being_read = true;
      ReadObject(node, Offset(index), depth);
      node.being_read = false;
      Yield();
    }
    Require(depth + node.height <= kMaxPropertyListDepth);
    return node;
  }

  void ReadObject(Node& node, std::size_t at, std::size_t depth) {
    const std::uint64_t marker = Number(at, 1);
    const auto kind = static_cast<unsigned>(marker >> 4U);
    const auto low = static_cast<unsigned>(marker & 15U);
    node.walk_count = 1;
    switch (kind) {
      case 0x0:
        Require(marker == 0x08 || marker == 0x09);
        node.object = Flag(marker == 0x09);
        break;
      case 0x1:
        Require(low <= 4);
        node.object = New<CFNumberMBS>(Integer(at + 1, std::size_t{1} << low), true);
        break;
      case 0x2:
        Require(low == 2 || low == 3);
        node.object = New<CFNumberMBS>(Real(at + 1, std::size_t{1} << low));
        break;
      case 0x3:
        Require(low == 3);
        node.object = New<CFDateMBS>(Real(at + 1, 8));
        break;
      case 0x4:
        node.object = New<CFBinaryDataMBS>(std::string(Content(node, BodyOf(at, low), 1)));
        break;
      case 0x5:
        node.object = New<CFStringMBS>(Ascii(Content(node, BodyOf(at, low), 1)));
        break;
      case 0x6:
        node.object =
            New<CFStringMBS>(Utf8FromUtf16(Content(node, BodyOf(at, low), 2), ByteOrder::kBigEndian));
        break;
      case 0x8:
        ReadUid(node, at, low + 1);
        break;
      case 0xA:
        ReadArray(node, BodyOf(at, low), depth);
        break;
      case 0xD:
        ReadDictionary(node, BodyOf(at, low), depth);
        break;
      default:
        throw MalformedPropertyList();
    }
  }

  // A number that stands for an object elsewhere, in the form that it has in XML.
  static void SetUid(Node& node, double value) {
    std::vector<CFDictionaryListMBS::Entry> entries;
    entries.emplace_back(NewCFStringMBS("CF$UID"), New<CFNumberMBS>(value, true));
    node.object = New<CFDictionaryMBS>(std::move(entries));
    node.walk_count = 3;
    node.height = 1;
  }

  void ReadUid(Node& node, std::size_t at, std::size_t size) {
    Require(size <= 8);
    SetUid(node, static_cast<double>(Number(at + 1, size)));
  }

  void ReadArray(Node& node, Body body, std::size_t depth) {
    const std::size_t count = CountOfReferences(body, 1, depth);
    std::vector<Ref<CFObjectMBS>> items;
    items.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      items.push_back(ReadWithin(node, body.at + i * reference_size_, depth));
    }
    node.object = New<CFArrayMBS>(std::move(items));
  }

  void ReadDictionary(Node& node, Body body, std::size_t depth) {
    const std::size_t count = CountOfReferences(body, 2, depth);
    // The entries of all open dictionaries stand one behind the other until each has all of its own.
    const std::size_t first = open_entries_.size();
    for (std::size_t i = 0; i < count; ++i) {
      Ref<CFObjectMBS> key = ReadWithin(node, body.at + i * reference_size_, depth);
      Ref<CFObjectMBS> value = ReadWithin(node, body.at + (count + i) * reference_size_, depth);
      open_entries_.emplace_back(std::move(key), std::move(value));
    }
    node.object = dictionaries_.Make(std::span(open_entries_).subspan(first));
    open_entries_.resize(first);
  }

  // The object that the reference at `at` names, as a part of `container`, which stands at `depth`.
  const Ref<CFObjectMBS>& ReadWithin(Node& container, std::size_t at, std::size_t depth) {
    const std::uint64_t index = Number(at, reference_size_);
    Require(index < nodes_.size());
    const Node& part = Read(static_cast<std::size_t>(index), depth + 1);
    container.walk_count += part.walk_count;  // Both are at most a million.
    Require(container.walk_count <= kMaxPropertyListObjects);
    container.walk_bytes += part.walk_bytes;  // Both are at most 16 MiB.
    Require(container.walk_bytes <= kMaxPropertyListBytes);
    container.height = std::max<std::uint16_t>(container.height, part.height + 1);
    return part.object;
  }

  // How many items a container with `references` references to each has, once it is sure that they
  // are there and that its depth is within the limit.
  std::size_t CountOfReferences(Body body, std::size_t references, std::size_t depth) {
    Require(depth < kMaxPropertyListDepth);
    Require(body.count <= (bytes_.size() - body.at) / (reference_size_ * references));
    // A walk meets each of them at least once, so no list within the limit has more in all its containers.
    Require(body.count * references <= references_left_);
    references_left_ -= static_cast<std::size_t>(body.count) * references;
    return static_cast<std::size_t>(body.count);
  }

  // Where the body of an object of variable size begins and how many units it has. A count of 15
  // says that the true count follows as an integer object.
  Body BodyOf(std::size_t at, unsigned low) const {
    if (low != 15) {
      return {at + 1, low};
    }
    const std::uint64_t marker = Number(at + 1, 1);
    Require(marker >> 4U == 1 && (marker & 15U) <= 3);
    const std::size_t size = std::size_t{1} << (marker & 15U);
    return {at + 2 + size, Number(at + 2, size)};
  }

  std::string_view Content(Node& node, Body body, std::size_t unit_size) {
    Require(body.at <= bytes_.size() && body.count <= (bytes_.size() - body.at) / unit_size);
    const std::string_view content = bytes_.substr(body.at, static_cast<std::size_t>(body.count) * unit_size);
    // Objects that lie over one another could each have the length of the whole file.
    Require(content.size() <= content_left_);
    content_left_ -= content.size();
    node.walk_bytes = static_cast<std::uint32_t>(content.size());
    return content;
  }

  std::size_t Offset(std::size_t index) const {
    const std::uint64_t offset = Number(table_ + index * offset_size_, offset_size_);
    Require(offset >= kHeadSize && offset < bytes_.size() - kTrailerSize);
    return static_cast<std::size_t>(offset);
  }

  // An unsigned number of 1 to 8 bytes.
  std::uint64_t Number(std::size_t at, std::size_t size) const {
    Require(at <= bytes_.size() && size <= bytes_.size() - at);
    std::uint64_t value = 0;
    const char* const first = bytes_.data() + at;
    for (std::size_t i = 0; i < size; ++i) {
      value = value << 8U | static_cast<unsigned char>(first[i]);
    }
    return value;
  }

  // Integers of 1, 2 and 4 bytes have no sign; those of 8 and 16 do.
  double Integer(std::size_t at, std::size_t size) const {
    if (size < 8) {
      return static_cast<double>(Number(at, size));
    }
    const auto high = static_cast<std::int64_t>(Number(at, 8));
    if (size == 8) {
      return static_cast<double>(high);
    }
    const std::uint64_t low = Number(at + 8, 8);
    if (high == 0 || high == -1) {  // Within 64 bits, the one case that is written, it is exact.
      return high == 0 ? static_cast<double>(low) : -static_cast<double>(~low) - 1.0;
    }
    return std::ldexp(static_cast<double>(high), 64) + static_cast<double>(low);
  }

  double Real(std::size_t at, std::size_t size) const {
    const std::uint64_t bits = Number(at, size);
    return size == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(bits)) : std::bit_cast<double>(bits);
  }

  static std::string Ascii(std::string_view text) {
    return IsUtf8(text) ? std::string(text) : RepairUtf8(text);
  }

  // The two flags are among the commonest objects: one of each will do.
  const Ref<CFObjectMBS>& Flag(bool value) {
    Ref<CFObjectMBS>& flag = flags_[value ? 1 : 0];
    if (flag == nullptr) {
      flag = New<CFBooleanMBS>(value);
    }
    return flag;
  }

  static void Require(bool holds) {
    if (!holds) {
      throw MalformedPropertyList();
    }
  }

  std::string_view bytes_;
  std::size_t content_left_ = bytes_.size();  // bytes of text and data that may still be read
  std::size_t references_left_ = kMaxPropertyListObjects;
  std::size_t offset_size_ = 0;
  std::size_t reference_size_ = 0;
  std::size_t table_ = 0;
  std::size_t top_ = 0;
  std::vector<Node> nodes_;
  std::vector<CFDictionaryListMBS::Entry> open_entries_;
  DictionaryMaker dictionaries_;
  Ref<CFObjectMBS> flags_[2];
};

}  // namespace

Ref<CFObjectMBS> ParseBinaryPropertyList(std::string_view bytes) { return BinaryReader(bytes).ReadTop(); }

}  // namespace tollmere
