#include "foundation/dictionary.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace tollmere {
namespace {

// Up to here a search along the entries is quicker than any index.
constexpr std::size_t kSearchedCount = 32;

}  // namespace

Dictionary::Key::Key(const Variant& boxed) {
  if (const auto* text = boxed.If<std::string>()) {
    name_ = std::string_view(*text);
  } else if (const auto* number = boxed.If<std::int32_t>()) {
    name_ = *number;
  } else {
    throw IllegalCastException();
  }
}

Dictionary::Dictionary(std::initializer_list<std::pair<Variant, Variant>> pairs) {
  for (const auto& [key, value] : pairs) {
    SetValue(key, value);
  }
}

const Dictionary::Entry* Dictionary::Find(const Key& key) const noexcept {
  if (index_ != nullptr) {
    const auto found = index_->find(key);
    return found != index_->end() ? &entries_[found->second] : nullptr;
  }
  for (const Entry& entry : entries_) {
    if (key == entry.key) {
      return &entry;
    }
  }
  return nullptr;
}

const Variant& Dictionary::Value(const Key& key) const {
  const Entry* entry = Find(key);
  if (entry == nullptr) {
    throw KeyNotFoundException();
  }
  return entry->value;
}

void Dictionary::SetValue(const Variant& key, Variant value) {
  if (const Entry* entry = Find(key)) {
    const_cast<Entry*>(entry)->value = std::move(value);  // The entry is this dictionary's own.
    return;
  }
  entries_.push_back({key, std::move(value)});
  if (index_ != nullptr) {
    index_->emplace(entries_.back().key, entries_.size() - 1);
  } else if (entries_.size() > kSearchedCount) {
    index_ = std::make_unique<std::map<Key, std::size_t>>();
    for (std::size_t position = 0; position < entries_.size(); ++position) {
      index_->emplace(entries_[position].key, position);
    }
  }
}

Variant Dictionary::Lookup(const Key& key, const Variant& otherwise) const {
  const Entry* entry = Find(key);
  return entry != nullptr ? entry->value : otherwise;
}

std::vector<Ref<Dictionary>> VariantToDictionaryArray(const Variant& value) {
  const Ref<Object> object = VariantToObject(value);
  if (!IsA<DictionaryArray>(object)) {
    throw IllegalCastException();
  }
  return Cast<DictionaryArray>(object)->Items;
}

}  // namespace tollmere
