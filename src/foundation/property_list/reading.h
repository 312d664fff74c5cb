// What the two readers behind ParsePropertyList share.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/property_list/property_list.h"
#include "foundation/property_list/stored_objects.h"

namespace tollmere {

// Thrown at the first fault of a list.
struct MalformedPropertyList {
  const char* limit = nullptr;  // the limit that the list is over; null: it is malformed
  std::string place;            // "line 3", "byte 40"
};

// Throws MalformedPropertyList, with the limit if it is not null.
[[noreturn]] void ThrowMalformed(const char* limit);

inline void Require(bool holds, const char* limit = nullptr) {
  if (!holds) [[unlikely]] {
    ThrowMalformed(limit);
  }
}

// The limits of one list, and its flags.
class PropertyListBuilder {
 public:
  // Objects as a walk through the whole list meets them.
  void CountObjects(std::size_t count) {
    objects_ += count;
    Require(objects_ <= kMaxPropertyListObjects, "1,000,000 objects");
  }
  std::size_t Objects() const noexcept { return objects_; }

  // Bytes of text and data in these objects.
  void CountBytes(std::size_t count) {
    bytes_ += count;
    Require(bytes_ <= kMaxPropertyListBytes, "16 MiB of texts");
  }
  std::size_t Bytes() const noexcept { return bytes_; }

  // `depth` is how many arrays and dictionaries lie within one another.
  static void CheckDepth(std::size_t depth) { Require(depth <= kMaxPropertyListDepth, "512 levels"); }

  // One object for each of the two flags, which are among the most common objects.
  const Ref<CFObjectMBS>& Flag(bool value) {
    Ref<CFObjectMBS>& flag = flags_[value ? 1 : 0];
    if (flag == nullptr) {
      flag = New<CFBooleanMBS>(value);
    }
    return flag;
  }

 private:
  std::size_t objects_ = 0;
  std::size_t bytes_ = 0;
  Ref<CFObjectMBS> flags_[2];
};

// `text` is UTF-8 with line feeds as line breaks. Throws MalformedPropertyList, with its place.
Ref<CFObjectMBS> ParseXmlPropertyList(std::string_view text);
// `bytes` begin with "bplist". Throws MalformedPropertyList, with its place.
Ref<CFObjectMBS> ParseBinaryPropertyList(std::string_view bytes);

}  // namespace tollmere
