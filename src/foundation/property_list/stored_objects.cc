#include "foundation/property_list/stored_objects.h"

#include <array>

#include "foundation/property_list/property_list.h"

namespace tollmere {

std::string CFObjectMBS::TypeDescription() const {
  static constexpr std::array<const char*, 7> kNames = {"CFString", "CFNumber", "CFBoolean",   "CFData",
                                                        "CFDate",   "CFArray",  "CFDictionary"};
  return kNames[static_cast<std::size_t>(Type() - 1)];
}

Ref<CFBinaryDataMBS> CFObjectMBS::XML(std::size_t at_most) const {
  return New<CFBinaryDataMBS>(WriteXmlPropertyList(*this, at_most));
}

}  // namespace tollmere
