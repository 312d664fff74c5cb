#include "foundation/dictionary.h"

namespace tollmere {
namespace {

// Up to here a search along the entries is quicker than any index.
constexpr std::size_t kSearchedCount = 32;

std::variant<std::int32_t, std::string_view> View(const std::variant<std::int32_t, std::string>& key) {
  if (const auto* text = std::get_if<std::string>(&key)) {
    return std::string_view(*text);
  }
  return std::get<std::int32_t>(key);
}

}  // namespace

Dictionary::Key::Key(const Variant& boxed) {
  if (const auto* text = boxed.If<std::string>()) {
    value_ = std::string_view(*text);
  } else if (const auto* number = boxed.If<std::int32_t>()) {
    value_ = *number;
  } else {
    throw IllegalCastException();
  }
}

bool Dictionary::Key::Names(const Variant& boxed) const noexcept {
  if (const auto* text = std::get_if<std::string_view>(&value_)) {
    const auto* boxed_text = boxed.If<std::string>();
    return boxed_text != nullptr && *boxed_text == *text;
  }
  const auto* boxed_number = boxed.If<std::int32_t>();
  return boxed_number != nullptr && *boxed_number == std::get<std::int32_t>(value_);
}

bool Dictionary::KeyOrder::operator()(const OwnedKey& left, const Key& right) const noexcept {
  return View(left) < right.Value();
}

bool Dictionary::KeyOrder::operator()(const Key& left, const OwnedKey& right) const noexcept {
  return left.Value() < View(right);
}

Dictionary::Dictionary(std::initializer_list<std::pair<Variant, Variant>> pairs) {
  for (const auto& [key, value] : pairs) {
    SetValue(key, value);
  }
}

const Dictionary::Entry* Dictionary::Find(const Key& key) const noexcept {
  if (!index_.empty()) {
    const auto found = index_.find(key);
    return found != index_.end() ? &entries_[found->second] : nullptr;
  }
  for (const Entry& entry : entries_) {
    if (key.Names(entry.key)) {
      return &entry;
    }
  }
  return nullptr;
}

void Dictionary::IndexFrom(std::size_t position) {
  for (; position < entries_.size(); ++position) {
    const Variant& key = entries_[position].key;
    if (const auto* text = key.If<std::string>()) {
      index_.emplace(*text, position);
    } else if (const auto* number = key.If<std::int32_t>()) {
      index_.emplace(*number, position);
    }
  }
}

const Variant& Dictionary::Value(const Key& key) const {
  const Entry* entry = Find(key);
  if (entry == nullptr) {
    throw KeyNotFoundException();
  }
  return entry->value;
}

void Dictionary::SetValue(Variant key, Variant value) {
  if (const Entry* entry = Find(Key(key))) {
    entries_[static_cast<std::size_t>(entry - entries_.data())].value = std::move(value);
    return;
  }
  entries_.push_back({std::move(key), std::move(value)});
  if (!index_.empty()) {
    IndexFrom(entries_.size() - 1);
  } else if (entries_.size() > kSearchedCount) {
    IndexFrom(0);
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
