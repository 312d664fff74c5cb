#include "foundation/dictionary.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace tollmere {
namespace {

// Up to here a search along the entries is quicker than any index.
constexpr std::size_t kSearchedCount = 32;

// A hash of the text's end, where keys that belong together differ, and of its length.
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

Dictionary::Key::Key(std::string_view text) noexcept : is_text_(true), mark_(MarkOf(text)), text_(text) {}

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
  if (index_ == nullptr) {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return key.Names(entry); });
    return found != entries_.end() ? &*found : nullptr;
  }
  const auto find_in = [&](const auto& positions, const auto& sought) {
    const auto found = positions.find(sought);
    return found != positions.end() ? &entries_[found->second] : nullptr;
  };
  return key.is_text_ ? find_in(index_->texts, key.text_) : find_in(index_->numbers, key.mark_);
}

void Dictionary::AddToIndex(std::size_t position) {
  const Entry& entry = entries_[position];
  if (entry.text != nullptr) {
    index_->texts.emplace(*entry.text, position);
  } else {
    index_->numbers.emplace(entry.mark, position);
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
  entries_.push_back({text != nullptr ? *text : nullptr, sought.mark_, std::move(value)});
  if (index_ != nullptr) {
    AddToIndex(entries_.size() - 1);
  } else if (entries_.size() > kSearchedCount) {
    index_ = std::make_unique<Index>();
    for (std::size_t position = 0; position < entries_.size(); ++position) {
      AddToIndex(position);
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
