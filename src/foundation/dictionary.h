// Key/value store with Variant keys and values.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <variant>
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
 public:
  // Of several pairs with the same key the last one holds.
  explicit Dictionary(std::initializer_list<std::pair<Variant, Variant>> pairs = {});

  // A key as it is looked up: a view of a text or of a boxed key, which has to outlive the call.
  class Key {
   public:
    Key(std::string_view text) noexcept : name_(text) {}               // NOLINT(google-explicit-constructor)
    Key(const char* text) noexcept : name_(std::string_view(text)) {}  // NOLINT(google-explicit-constructor)
    Key(const Variant& boxed);                                         // NOLINT(google-explicit-constructor)

    auto operator<=>(const Key&) const = default;  // NOLINT(modernize-use-nullptr): a mistake of the check

   private:
    std::variant<std::int32_t, std::string_view> name_;
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

  std::size_t Count() const noexcept { return entries_.size(); }
  // Makes room for that many entries at once.
  void Reserve(std::size_t count) { entries_.reserve(count); }

 private:
  struct Entry {
    Variant key;
    Variant value;
  };

  const Entry* Find(const Key& key) const noexcept;

  std::vector<Entry> entries_;  // in the order of their arrival
  // Where each key stands in entries_; null while there are few entries, which are searched one by one.
  // Ordered, so that no choice of keys can make it slow.
  std::unique_ptr<std::map<Key, std::size_t>> index_;
};

// An array of dictionaries as a Variant can hold it.
class DictionaryArray final : public Object {
 public:
  std::vector<Ref<Dictionary>> Items;
};

// The array that a Variant holds. Throws IllegalCastException for every other kind of value.
std::vector<Ref<Dictionary>> VariantToDictionaryArray(const Variant& value);

}  // namespace tollmere
