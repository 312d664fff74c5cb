// Property lists: bytes to stored objects, and stored objects to XML.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/property_list/stored_objects.h"

namespace tollmere {

// The limits of a property list. A list over one of them is refused as a whole.
inline constexpr std::size_t kMaxPropertyListBytes = std::size_t{16} * 1024 * 1024;
// Arrays and dictionaries within one another.
inline constexpr std::size_t kMaxPropertyListDepth = 512;
// Objects, keys included, as a walk through the whole list meets them: an object that a binary list
// refers to twice counts twice, with all that is in it. Their texts and data, counted likewise, are at most
// kMaxPropertyListBytes.
inline constexpr std::size_t kMaxPropertyListObjects = 1'000'000;

// The object that `bytes` hold as an XML or a binary property list; their content tells which. Nil when they
// are neither, or over a limit: `problem`, if it is not null, then says which, and at which line or byte.
// Every input has one of these outcomes, in memory and time proportional to its size. Throws EndOfProcess.
//
// XML is UTF-8, or UTF-16 if the first bytes show it. Only the five predefined entities and character
// references are known; others make the list malformed. In a binary list a malformed text is repaired with
// U+FFFD, and objects may overlap only as long as their texts and data are together no longer than the file.
Ref<CFObjectMBS> ParsePropertyList(std::string_view bytes, std::string* problem = nullptr);

// The object as a property list in XML. If that is longer than `at_most` bytes, it may be cut short anywhere
// after them.
std::string WriteXmlPropertyList(const CFObjectMBS& object, std::size_t at_most);

}  // namespace tollmere
