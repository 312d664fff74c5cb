// Conversions of stored objects into plain values.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/object.h"
#include "foundation/property_list/stored_objects.h"
#include "foundation/variant.h"

namespace tollmere {

// A source of random numbers. One is made at start-up and kept. Nothing uses it.
class Random final : public Object {};

namespace GlobalMethods {

inline Ref<Random> MasterRandom;

// False for an empty text, for "false", "no" and "off" in any case, and for what reads as the number 0; True
// for everything else.
bool CBool(const Variant& v);

// A stored text, number or boolean as a boolean. For any other kind a message box tells the user, with
// `name` if that is not empty, and the result is False. Nil throws NilObjectException.
bool ToBooleanZDN(const Ref<CFObjectMBS>& obj, std::string_view name);

// A stored text, number or boolean as a text. For any other kind a message box as above, and the empty text.
std::string ToStringZDN(const Ref<CFObjectMBS>& obj, std::string_view name);

// The number with which each piece of the text begins, or 0.0 for a piece that begins with none.
std::vector<double> SplitDoubleArrayZDN(std::string_view text, std::string_view delimiter);

}  // namespace GlobalMethods
}  // namespace tollmere
