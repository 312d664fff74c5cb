// The two readers behind ParsePropertyList.
#pragma once

#include <string_view>

#include "foundation/stored_objects.h"

namespace tollmere {

// What a reader throws at the first fault; ParsePropertyList answers it with Nil.
struct MalformedPropertyList {};

// `text` is UTF-8. Throws MalformedPropertyList.
Ref<CFObjectMBS> ParseXmlPropertyList(std::string_view text);
// `bytes` begin with "bplist". Throws MalformedPropertyList.
Ref<CFObjectMBS> ParseBinaryPropertyList(std::string_view bytes);

}  // namespace tollmere
