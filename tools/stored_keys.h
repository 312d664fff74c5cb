// The keys of the store that are read, and what is expected below them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

namespace tollmere {

enum class ValueKind { kFlag, kNumber, kText, kDays, kMoment, kFlags, kData, kArray };

struct StoredKey {
  std::string_view name;
  ValueKind kind;
  // Of a number: what it may be, beside kAny where `or_any` says so, and by which kinds of alarm it is read.
  std::int32_t first = 0;
  std::int32_t last = 0;
  bool or_any = false;
  unsigned read_by = 0;  // bit n: by AlarmType n
  // Of flags: how many, and the key below each of them.
  std::int32_t flags = 0;
  std::string_view flag_key = {};
};

std::span<const StoredKey> AlarmKeys();
std::span<const StoredKey> DomainKeys();

// The one of that name, else null.
const StoredKey* FindKey(std::span<const StoredKey> keys, std::string_view name);

// The name among `names` that is most like a text which is none of them; empty where none is like it.
std::string_view CloseName(std::string_view text, std::span<const std::string_view> names);

}  // namespace tollmere
