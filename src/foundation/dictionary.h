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

    // Equal keys have equal marks; of unequal ones few have.
    std::uint64_t mark_ = 0;
    bool is_text_ = false;
    std::int32_t number_ = 0;
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

  std::size_t Count() const noexcept { return has_first_ ? 1 + others_.size() : 0; }
  // Makes room for that many entries at once.
  void Reserve(std::size_t count) { others_.reserve(count > 0 ? count - 1 : 0); }

 private:
  struct Entry {
    Variant::SharedText text;  // null where the key is a number, which then is the mark
    std::uint64_t mark = 0;
    Variant value;
  };

  // Where each key stands. Ordered, so that no choice of keys can make it slow.
  struct Index {
    std::map<std::string, std::size_t, std::less<>> texts;
    std::map<std::int32_t, std::size_t> numbers;
  };

  const Entry& At(std::size_t position) const noexcept {
    return position == 0 ? first_ : others_[position - 1];
  }
  const Entry* Find(const Key& key) const noexcept;
  void AddToIndex(std::size_t position);

  // In the order of their arrival. Most dictionaries have but one entry, which therefore lies in the
  // dictionary itself; while there is none it has no key. A small dictionary is simply searched, only a large
  // one has an index.
  bool has_first_ = false;
  Entry first_;
  std::vector<Entry> others_;
  std::unique_ptr<Index> index_;
};

// An array of dictionaries as a Variant can hold it.
class DictionaryArray final : public Object {
 public:
  std::vector<Ref<Dictionary>> Items;
};

// The array that a Variant holds. Throws IllegalCastException for every other kind of value.
const std::vector<Ref<Dictionary>>& VariantToDictionaryArray(const Variant& value);

}  // namespace tollmere
