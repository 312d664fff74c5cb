#include "foundation/dictionary.h"

#include <algorithm>
#include <cstring>

namespace tollmere {
namespace {

// Up to here a search along the entries is quicker than any index.
constexpr std::size_t kSearchedCount = 32;

// The end of the text, where keys that belong together differ, and its length.
std::uint64_t MarkOf(std::string_view text) noexcept {
  std::uint64_t end = 0;
  const std::size_t size = std::min(text.size(), sizeof end);
  if (size > 0) {
    std::memcpy(&end, text.data() + text.size() - size, size);
  }
  return end ^ (std::uint64_t{text.size()} << 32U);
}

}  // namespace

Dictionary::Key::Key(std::string_view text) noexcept : mark_(MarkOf(text)), is_text_(true), text_(text) {}

Dictionary::Key::Key(const Variant& boxed) {
  if (const auto* text = boxed.If<std::string>()) {
    *this = Key(std::string_view(*text));
  } else if (const auto* number = boxed.If<std::int32_t>()) {
    number_ = *number;
    mark_ = static_cast<std::uint32_t>(*number);
  } else {
    throw IllegalCastException();
  }
}

bool Dictionary::Key::Names(const Entry& entry) const noexcept {
  return entry.mark == mark_ && (entry.text != nullptr ? is_text_ && *entry.text == text_ : !is_text_);
}

Dictionary::Dictionary(std::initializer_list<std::pair<Variant, Variant>> pairs) {
  for (const auto& [key, value] : pairs) {
    SetValue(key, value);
  }
}

const Dictionary::Entry* Dictionary::Find(const Key& key) const noexcept {
  const auto found_in = [&](const auto& index, const auto& sought) -> const Entry* {
    const auto found = index.find(sought);
    return found != index.end() ? &At(found->second) : nullptr;
  };
  if (index_ != nullptr) {
    return key.is_text_ ? found_in(index_->texts, key.text_) : found_in(index_->numbers, key.number_);
  }
  if (has_first_ && key.Names(first_)) {
    return &first_;
  }
  for (const Entry& entry : others_) {
    if (key.Names(entry)) {
      return &entry;
    }
  }
  return nullptr;
}

void Dictionary::AddToIndex(std::size_t position) {
  const Entry& entry = At(position);
  if (entry.text != nullptr) {
    index_->texts.emplace(*entry.text, position);
  } else {
    index_->numbers.emplace(static_cast<std::int32_t>(static_cast<std::uint32_t>(entry.mark)), position);
  }
}

const Variant& Dictionary::Value(const Key& key) const {
  const Entry* entry = Find(key);
  if (entry == nullptr) {
    throw KeyNotFoundException();
  }
  return entry->value;
}

void Dictionary::SetValue(const Variant& key, Variant value) {
  const Key sought(key);
  if (const Entry* entry = Find(sought)) {
    const_cast<Entry*>(entry)->value = std::move(value);  // The entry is this dictionary's own.
    return;
  }
  const auto* text = key.If<Variant::SharedText>();
  Entry added{text != nullptr ? *text : nullptr, sought.mark_, std::move(value)};
  if (!has_first_) {
    first_ = std::move(added);
    has_first_ = true;
    return;
  }
  others_.push_back(std::move(added));
  if (index_ != nullptr) {
    AddToIndex(Count() - 1);
  } else if (Count() > kSearchedCount) {
    index_ = std::make_unique<Index>();
    for (std::size_t position = 0; position < Count(); ++position) {
      AddToIndex(position);
    }
  }
}

Variant Dictionary::Lookup(const Key& key, const Variant& otherwise) const {
  const Entry* entry = Find(key);
  return entry != nullptr ? entry->value : otherwise;
}

const std::vector<Ref<Dictionary>>& VariantToDictionaryArray(const Variant& value) {
  const Ref<Object> object = VariantToObject(value);
  if (!IsA<DictionaryArray>(object)) {
    throw IllegalCastException();
  }
  return Cast<DictionaryArray>(object)->Items;  // The Variant holds the array alive.
}

}  // namespace tollmere
