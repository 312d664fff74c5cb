// What the preference service hands out: typed objects, immutable once made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/object.h"

namespace tollmere {

class CFBinaryDataMBS;

// Base of all stored objects. They may be shared between the store's view and its readers.
class CFObjectMBS : public Object {
 public:
  enum class TypeId : std::int32_t { kString = 1, kNumber, kBoolean, kData, kDate, kArray, kDictionary };

  // The numeric type identifier, 1 to 7.
  std::int32_t Type() const noexcept { return static_cast<std::int32_t>(type_); }
  // "CFString", "CFNumber", "CFBoolean", "CFData", "CFDate", "CFArray" or "CFDictionary".
  std::string TypeDescription() const;
  // The object written as a property list in XML. If that is longer than `at_most` bytes, it may be cut short
  // anywhere after them.
  Ref<CFBinaryDataMBS> XML(std::size_t at_most = std::numeric_limits<std::size_t>::max()) const;

  TypeId Kind() const noexcept { return type_; }

 protected:
  explicit CFObjectMBS(TypeId type) noexcept : type_(type) {}

 private:
  const TypeId type_;
};

// A text, in UTF-8.
class CFStringMBS final : public CFObjectMBS {
 public:
  explicit CFStringMBS(std::string text) : CFObjectMBS(TypeId::kString), text_(std::move(text)) {}
  const std::string& str() const noexcept { return text_; }

 private:
  const std::string text_;
};

// The text without a copy of it: it lives as long as the object.
inline std::shared_ptr<const std::string> SharedText(const Ref<CFObjectMBS>& holder,
                                                     const CFStringMBS& text) {
  return {holder.Pointer(), &text.str()};
}

inline Ref<CFStringMBS> NewCFStringMBS(std::string text) { return New<CFStringMBS>(std::move(text)); }

// A number of whatever stored width.
class CFNumberMBS final : public CFObjectMBS {
 public:
  explicit CFNumberMBS(double value, bool is_integer = false) noexcept
      : CFObjectMBS(TypeId::kNumber), value_(value), is_integer_(is_integer) {}
  double doubleValue() const noexcept { return value_; }
  // Stored as an integer. A stored integer beyond 2^53 is the nearest double.
  bool IsInteger() const noexcept { return is_integer_; }

 private:
  const double value_;
  const bool is_integer_;
};

class CFBooleanMBS final : public CFObjectMBS {
 public:
  explicit CFBooleanMBS(bool value) noexcept : CFObjectMBS(TypeId::kBoolean), value_(value) {}
  bool Value() const noexcept { return value_; }

 private:
  const bool value_;
};

class CFBinaryDataMBS final : public CFObjectMBS {
 public:
  explicit CFBinaryDataMBS(std::string bytes) : CFObjectMBS(TypeId::kData), bytes_(std::move(bytes)) {}
  // All its bytes.
  const std::string& Str() const noexcept { return bytes_; }

 private:
  const std::string bytes_;
};

// A moment in seconds since 1 January 2001, 00:00:00 UTC; any double.
class CFDateMBS final : public CFObjectMBS {
 public:
  explicit CFDateMBS(double seconds) noexcept : CFObjectMBS(TypeId::kDate), seconds_(seconds) {}
  double AbsoluteTime() const noexcept { return seconds_; }

 private:
  const double seconds_;
};

class CFArrayMBS final : public CFObjectMBS {
 public:
  explicit CFArrayMBS(std::vector<Ref<CFObjectMBS>> items)
      : CFObjectMBS(TypeId::kArray), items_(std::move(items)) {}
  std::size_t Count() const noexcept { return items_.size(); }
  // `index` is below Count.
  const Ref<CFObjectMBS>& Item(std::size_t index) const noexcept { return items_[index]; }

 private:
  const std::vector<Ref<CFObjectMBS>> items_;
};

// The entries of a dictionary in the order in which they are stored. A key may occur twice: the later
// entry is the one that counts.
class CFDictionaryListMBS {
 public:
  using Entry = std::pair<Ref<CFObjectMBS>, Ref<CFObjectMBS>>;
  explicit CFDictionaryListMBS(std::vector<Entry> entries) : entries_(std::move(entries)) {}
  std::size_t Count() const noexcept { return entries_.size(); }
  // `index` is below Count. A key is any stored object; almost always it is a CFStringMBS.
  const Ref<CFObjectMBS>& Key(std::size_t index) const noexcept { return entries_[index].first; }
  const Ref<CFObjectMBS>& Value(std::size_t index) const noexcept { return entries_[index].second; }

 private:
  const std::vector<Entry> entries_;
};

class CFDictionaryMBS final : public CFObjectMBS {
 public:
  explicit CFDictionaryMBS(std::vector<CFDictionaryListMBS::Entry> entries)
      : CFObjectMBS(TypeId::kDictionary), list_(std::move(entries)) {}
  const CFDictionaryListMBS& List() const noexcept { return list_; }

 private:
  const CFDictionaryListMBS list_;
};

}  // namespace tollmere
