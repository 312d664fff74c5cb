// Key/value store with Variant keys and values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/object.h"
#include "foundation/region.h"
#include "foundation/variant.h"

namespace tollmere {

// A key was asked for that the dictionary does not have.
class KeyNotFoundException final : public RuntimeException {
 public:
  const char* what() const noexcept override { return "KeyNotFoundException"; }
};

// Keys are texts, which differ by case, and 32-bit integers; a Variant of another kind is no key and
// throws IllegalCastException. A stored value may be Nil and still counts as present.
class Dictionary final : public Object {
  struct Entry;

 public:
  using Allocator = RegionAllocator<Dictionary>;

  // Of several pairs with the same key the last one holds.
  explicit Dictionary(std::initializer_list<std::pair<Variant, Variant>> pairs = {});

  // A key as it is looked up: a view of a text or of a boxed key, copied by none of these calls.
  class Key {
   public:
    Key(std::string_view text) noexcept;                             // NOLINT(google-explicit-constructor)
    Key(const char* text) noexcept : Key(std::string_view(text)) {}  // NOLINT(google-explicit-constructor)
    Key(const Variant& boxed);  // NOLINT(google-explicit-constructor): a key may come as any of these.

   private:
    friend class Dictionary;

    bool Names(const Entry& entry) const noexcept;

    // Equal keys have equal marks; of unequal texts few have, and a number is its own mark.
    std::uint32_t mark_ = 0;
    bool is_text_ = false;
    std::string_view text_;
  };

  bool HasKey(const Key& key) const noexcept { return Find(key) != nullptr; }

  // The stored value. Throws KeyNotFoundException where there is none.
  const Variant& Value(const Key& key) const;

  // Adds the key, or replaces its value.
  void SetValue(const Variant& key, Variant value);

  // The stored value, or null when the key is absent; good until the dictionary is next changed.
  const Variant* If(const Key& key) const noexcept {
    const Entry* entry = Find(key);
    return entry != nullptr ? &entry->value : nullptr;
  }

  // The stored value, or `otherwise` when the key is absent.
  Variant Lookup(const Key& key, const Variant& otherwise) const;

  std::size_t Count() const noexcept {
    return static_cast<std::size_t>(first_.is_there) + (more_ != nullptr ? more_->entries.size() : 0);
  }
  // Makes room for that many entries at once.
  void Reserve(std::size_t count);

 private:
  // A reload fills and reads millions of these: the members behind the value lie in what would be its
  // padding.
  struct Entry {
    Variant::SharedText text;  // null where the key is a number
    [[no_unique_address]] Variant value;
    bool is_there = false;
    std::uint32_t mark = 0;  // of the key
  };

  // Where each key stands. Ordered, so that no choice of keys can make it slow.
  struct Index {
    std::map<std::string, std::size_t, std::less<>> texts;
    std::map<std::int32_t, std::size_t> numbers;
    // Where the entry stands that was last found. It is often asked for again, and then the one behind it.
    std::size_t last_found = 0;
  };

  // What stands behind the first entry, in the order of its arrival.
  struct More {
    static void* operator new(std::size_t size) { return AllocateInRegion(size); }
    static void operator delete(void* block, std::size_t size) noexcept { FreeInRegion(block, size); }

    std::vector<Entry, RegionAllocator<Entry>> entries;
    std::unique_ptr<Index> index;  // A small dictionary is simply searched, only a large one has an index.
  };

  const Entry& At(std::size_t position) const noexcept {
    return position == 0 ? first_ : more_->entries[position - 1];
  }
  const Entry* Find(const Key& key) const noexcept;
  const Entry* FindIndexed(const Key& key) const noexcept;
  void AddToIndex(std::size_t position);

  // Most dictionaries have but one entry, which therefore lies in the dictionary itself.
  Entry first_;
  std::unique_ptr<More> more_;
};

// An array of dictionaries as a Variant can hold it.
class DictionaryArray final : public Object {
 public:
  std::vector<Ref<Dictionary>> Items;
};

// The array that a Variant holds. Throws IllegalCastException for every other kind of value.
const std::vector<Ref<Dictionary>>& VariantToDictionaryArray(const Variant& value);

}  // namespace tollmere
