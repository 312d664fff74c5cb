// Binary property lists: an eight-byte head, the objects, a table of their offsets, and a trailer that says
// where the table is and which object is the top one. Objects refer to one another by their number in
// the table, all numbers are big-endian, and any reference may occur any number of times.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "foundation/property_list/reading.h"
#include "foundation/unicode.h"
#include "foundation/yield.h"

namespace tollmere {
namespace {

constexpr std::size_t kHeadSize = 8;
constexpr std::size_t kTrailerSize = 32;

// Written out, since compilers turn this into one load, but a loop into eight.
std::uint64_t BigEndian64(const char* first) noexcept {
  const auto byte = [first](unsigned i) {
    return std::uint64_t{static_cast<unsigned char>(first[i])} << (56U - 8U * i);
  };
  return byte(0) | byte(1) | byte(2) | byte(3) | byte(4) | byte(5) | byte(6) | byte(7);
}

class BinaryReader {
 public:
  explicit BinaryReader(std::string_view bytes) : bytes_(bytes) {}

  Ref<CFObjectMBS> ReadTop() {
    try {
      ReadTrailer();
      builder_.CountObjects(1);
      return Read(top_, 0).object;
    } catch (MalformedPropertyList& malformed) {
      malformed.place = "byte " + std::to_string(at_);
      throw;
    }
  }

 private:
  // An object that has been read, with what it counts towards the limits wherever it is referred to.
  struct Node {
    Ref<CFObjectMBS> object;
    std::uint32_t objects = 0;  // that a walk through it meets, itself included
    std::uint32_t bytes = 0;    // of text and data in them, in the form that they have in the file
    std::uint16_t height = 0;   // containers within one another, from this one down
    bool being_read = false;
  };

  // Where the content of an object begins, and how many units it has.
  struct Body {
    std::size_t at;
    std::uint64_t count;
  };

  void ReadTrailer() {
    Require(bytes_.size() >= kHeadSize + kTrailerSize);
    const std::size_t trailer = bytes_.size() - kTrailerSize;
    at_ = trailer;
    offset_size_ = static_cast<std::size_t>(Number(trailer + 6, 1));
    reference_size_ = static_cast<std::size_t>(Number(trailer + 7, 1));
    const std::uint64_t count = Number(trailer + 8, 8);
    const std::uint64_t top = Number(trailer + 16, 8);
    const std::uint64_t table = Number(trailer + 24, 8);
    Require(offset_size_ >= 1 && offset_size_ <= 8 && reference_size_ >= 1 && reference_size_ <= 8);
    Require(top < count && table >= kHeadSize && table <= trailer &&
            count <= (trailer - table) / offset_size_);
    PropertyListBuilder().CountObjects(static_cast<std::size_t>(count));
    table_ = static_cast<std::size_t>(table);
    top_ = static_cast<std::size_t>(top);
    nodes_.resize(static_cast<std::size_t>(count));
  }

  // The caller has counted the object as one.
  const Node& Read(std::size_t index, std::size_t depth) {
    Node& node = nodes_[index];  // The table never grows, so the reference stays good.
    Require(!node.being_read);   // It would contain itself.
    if (node.object == nullptr) {
      const std::size_t objects_before = builder_.Objects() - 1;
      const std::size_t bytes_before = builder_.Bytes();
      node.being_read = true;
      at_ = Offset(index);
      ReadObject(node, at_, depth);
      node.being_read = false;
      Yield();
      node.objects = static_cast<std::uint32_t>(builder_.Objects() - objects_before);
      node.bytes = static_cast<std::uint32_t>(builder_.Bytes() - bytes_before);
    } else {
      builder_.CountObjects(node.objects - 1);
      builder_.CountBytes(node.bytes);
    }
    PropertyListBuilder::CheckDepth(depth + node.height);
    return node;
  }

  void ReadObject(Node& node, std::size_t at, std::size_t depth) {
    const std::uint64_t marker = Number(at, 1);
    const auto kind = static_cast<unsigned>(marker >> 4U);
    const auto low = static_cast<unsigned>(marker & 15U);
    switch (kind) {
      case 0x0:
        Require(marker == 0x08 || marker == 0x09);
        node.object = builder_.Flag(marker == 0x09);
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
        node.object = New<CFBinaryDataMBS>(std::string(Content(BodyOf(at, low), 1)));
        break;
      case 0x5:
        node.object = New<CFStringMBS>(Ascii(Content(BodyOf(at, low), 1)));
        break;
      case 0x6:
        node.object = New<CFStringMBS>(Utf8FromUtf16(Content(BodyOf(at, low), 2), ByteOrder::kBigEndian));
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
        ThrowMalformed(nullptr);
    }
  }

  // A number that stands for an object elsewhere, in the form that it has in XML.
  void ReadUid(Node& node, std::size_t at, std::size_t size) {
    Require(size <= 8);
    builder_.CountObjects(2);
    std::vector<CFDictionaryListMBS::Entry> entries;
    entries.emplace_back(NewCFStringMBS("CF$UID"),
                         New<CFNumberMBS>(static_cast<double>(Number(at + 1, size)), true));
    node.object = New<CFDictionaryMBS>(std::move(entries));
    node.height = 1;
  }

  void ReadArray(Node& node, Body body, std::size_t depth) {
    const std::size_t count = CountReferences(body, 1, depth);
    node.height = 1;
    std::vector<Ref<CFObjectMBS>> items;
    items.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      items.push_back(ReadWithin(node, body.at + i * reference_size_, depth));
    }
    node.object = New<CFArrayMBS>(std::move(items));
  }

  void ReadDictionary(Node& node, Body body, std::size_t depth) {
    const std::size_t count = CountReferences(body, 2, depth);
    node.height = 1;
    std::vector<CFDictionaryListMBS::Entry> entries;
    entries.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      const Ref<CFObjectMBS>& key = ReadWithin(node, body.at + i * reference_size_, depth);
      const Ref<CFObjectMBS>& value = ReadWithin(node, body.at + (count + i) * reference_size_, depth);
      entries.emplace_back(key, value);
    }
    node.object = New<CFDictionaryMBS>(std::move(entries));
  }

  // The object that the reference at `at` names, as a part of `container`, which stands at `depth`.
  const Ref<CFObjectMBS>& ReadWithin(Node& container, std::size_t at, std::size_t depth) {
    const std::uint64_t index = Number(at, reference_size_);
    Require(index < nodes_.size());
    const Node& part = Read(static_cast<std::size_t>(index), depth + 1);
    container.height = std::max<std::uint16_t>(container.height, part.height + 1);
    return part.object;
  }

  // How many items a container with `references` references to each has. It counts them as objects before any
  // memory is taken for them.
  std::size_t CountReferences(Body body, std::size_t references, std::size_t depth) {
    PropertyListBuilder::CheckDepth(depth + 1);
    Require(body.count <= (bytes_.size() - body.at) / (reference_size_ * references));
    builder_.CountObjects(static_cast<std::size_t>(body.count) * references);
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

  std::string_view Content(Body body, std::size_t unit_size) {
    Require(body.at <= bytes_.size() && body.count <= (bytes_.size() - body.at) / unit_size);
    const std::string_view content = bytes_.substr(body.at, static_cast<std::size_t>(body.count) * unit_size);
    // Overlapping objects could each have the length of the whole file.
    Require(content.size() <= content_left_);
    content_left_ -= content.size();
    builder_.CountBytes(content.size());
    return content;
  }

  std::size_t Offset(std::size_t index) const {
    const std::uint64_t offset = Number(table_ + index * offset_size_, offset_size_);
    Require(offset >= kHeadSize && offset < bytes_.size() - kTrailerSize);
    return static_cast<std::size_t>(offset);
  }

  // An unsigned number of 1 to 8 bytes. None stands within the last 7 bytes of a file, so 8 can always be
  // read.
  std::uint64_t Number(std::size_t at, std::size_t size) const {
    Require(at <= bytes_.size() && bytes_.size() - at >= sizeof(std::uint64_t));
    return BigEndian64(bytes_.data() + at) >> (64U - 8U * size);
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
    if (high == 0 || high == -1) {  // Within 64 bits, which is what programs write, the result is exact.
      return high == 0 ? static_cast<double>(low) : -static_cast<double>(~low) - 1.0;
    }
    return std::ldexp(static_cast<double>(high), 64) + static_cast<double>(low);
  }

  double Real(std::size_t at, std::size_t size) const {
    const std::uint64_t bits = Number(at, size);
    return size == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(bits)) : std::bit_cast<double>(bits);
  }

  static std::string Ascii(std::string_view text) {
    return ValidUtf8Length(text) == text.size() ? std::string(text) : RepairUtf8(text);
  }

  std::string_view bytes_;
  std::size_t content_left_ = bytes_.size();  // bytes of text and data that may still be read
  std::size_t at_ = 0;                        // of the object that was begun last
  std::size_t offset_size_ = 0;
  std::size_t reference_size_ = 0;
  std::size_t table_ = 0;
  std::size_t top_ = 0;
  std::vector<Node> nodes_;
  PropertyListBuilder builder_;
};

}  // namespace

Ref<CFObjectMBS> ParseBinaryPropertyList(std::string_view bytes) { return BinaryReader(bytes).ReadTop(); }

}  // namespace tollmere
