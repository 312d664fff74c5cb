// Property lists: bytes to stored objects, and stored objects to XML.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/property_list/stored_objects.h"

namespace tollmere {

// What a property list may be at the most. Whatever is larger is refused, whole.
inline constexpr std::size_t kMaxPropertyListBytes = std::size_t{16} * 1024 * 1024;
// Arrays and dictionaries within one another.
inline constexpr std::size_t kMaxPropertyListDepth = 512;
// Objects, keys included, as a walk through the whole list meets them: an object that a binary list
// refers to twice counts twice, with all that is in it. Their texts and data, counted alike, are no longer
// than a file may be.
inline constexpr std::size_t kMaxPropertyListObjects = 1'000'000;

// The object that `bytes` hold as an XML or a binary property list, which is told by their content;
// Nil when they are no well-formed property list of either kind or go over a limit. Every input has
// one of these outcomes, in memory and time proportional to its size. Throws EndOfProcess, as Yield does.
//
// XML comes in UTF-8, or in UTF-16 where the first bytes show it. Of entities only the five predefined
// ones and character references are known; others make the list malformed. In a binary list a
// malformed text is repaired with U+FFFD; objects may lie over one another only as far as their texts and
// data together are no longer than the file.
Ref<CFObjectMBS> ParsePropertyList(std::string_view bytes, std::string* problem = nullptr);

// The object as a property list in XML. At least `at_most` bytes of it, if it has as many.
std::string WriteXmlPropertyList(const CFObjectMBS& object, std::size_t at_most);

}  // namespace tollmere
