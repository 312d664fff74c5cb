#include "foundation/dictionary.h"

#include <algorithm>
#include <cstring>

namespace tollmere {
namespace {

// Up to here a search along the entries is quicker than any index.
constexpr std::size_t kSearchedCount = 32;

// Of the end of the text, where keys that belong together differ, and of its length.
std::uint32_t MarkOf(std::string_view text) noexcept {
  std::uint64_t end = 0;
  const std::size_t size = std::min(text.size(), sizeof end);
  if (size > 0) {
    std::memcpy(&end, text.data() + text.size() - size, size);
  }
  constexpr std::uint64_t kOddFactor = 0x9E37'79B9'7F4A'7C15;  // spreads every bit over the upper half
  return static_cast<std::uint32_t>((end * kOddFactor ^ text.size() * kOddFactor) >> 32U);
}

}  // namespace

Dictionary::Key::Key(std::string_view text) noexcept : mark_(MarkOf(text)), is_text_(true), text_(text) {}

Dictionary::Key::Key(const Variant& boxed) {
  if (const auto* text = boxed.If<std::string>()) {
    *this = Key(std::string_view(*text));
  } else if (const auto* number = boxed.If<std::int32_t>()) {
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
  if (first_.is_there && key.Names(first_)) {
    return &first_;
  }
  if (more_ == nullptr) {
    return nullptr;
  }
  if (more_->index != nullptr) {
    return FindIndexed(key);
  }
  for (const Entry& entry : more_->entries) {
    if (key.Names(entry)) {
      return &entry;
    }
  }
  return nullptr;
}

const Dictionary::Entry* Dictionary::FindIndexed(const Key& key) const noexcept {
  Index& index = *more_->index;
  std::size_t& last_found = index.last_found;
  for (std::size_t position = last_found; position < std::min(last_found + 2, Count()); ++position) {
    if (key.Names(At(position))) {
      last_found = position;
      return &At(position);
    }
  }
  const auto found_in = [&](const auto& positions, const auto& sought) -> const Entry* {
    const auto found = positions.find(sought);
    if (found == positions.end()) {
      return nullptr;
    }
    last_found = found->second;
    return &At(last_found);
  };
  return key.is_text_ ? found_in(index.texts, key.text_)
                      : found_in(index.numbers, static_cast<std::int32_t>(key.mark_));
}

void Dictionary::AddToIndex(std::size_t position) {
  const Entry& entry = At(position);
  if (entry.text != nullptr) {
    more_->index->texts.emplace(*entry.text, position);
  } else {
    more_->index->numbers.emplace(static_cast<std::int32_t>(entry.mark), position);
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
  Entry added{text != nullptr ? *text : nullptr, std::move(value), true, sought.mark_};
  if (!first_.is_there) {
    first_ = std::move(added);
    return;
  }
  if (more_ == nullptr) {
    more_ = std::make_unique<More>();
  }
  more_->entries.push_back(std::move(added));
  if (more_->index != nullptr) {
    AddToIndex(Count() - 1);
  } else if (Count() > kSearchedCount) {
    more_->index = std::make_unique<Index>();
    for (std::size_t position = 0; position < Count(); ++position) {
      AddToIndex(position);
    }
  }
}

void Dictionary::Reserve(std::size_t count) {
  if (count > 1) {
    if (more_ == nullptr) {
      more_ = std::make_unique<More>();
    }
    more_->entries.reserve(count - 1);
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
