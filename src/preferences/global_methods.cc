#include "preferences/global_methods.h"

#include <cmath>

#include "foundation/system/message_box.h"
#include "foundation/text.h"
#include "foundation/yield.h"

namespace tollmere::GlobalMethods {
namespace {

// The first line ends with `named_end` if the value has a name, and is `unnamed` if not.
void ReportFailure(const Ref<CFObjectMBS>& obj, std::string_view name, std::string_view named_end,
                   std::string_view unnamed) {
  constexpr std::size_t kShownCharacters = 512;
  constexpr std::size_t kMostBytesInCharacter = 4;
  const std::string description = obj->TypeDescription();
  const Ref<CFBinaryDataMBS> xml = obj->XML(kShownCharacters * kMostBytesInCharacter);
  std::string text;
  if (!name.empty()) {
    text.append("Failed to convert the CFObject \"").append(name).append("\"").append(named_end);
  } else {
    text.append(unnamed);
  }
  text.append(EndOfLine).append(EndOfLine);
  text.append("Type: ").append(description).append(EndOfLine);
  text.append("Type ID: ").append(Str(obj->Type())).append(EndOfLine);
  text.append("XML: ").append(Left(xml->Str(), kShownCharacters));
  MsgBox(text);
}

}  // namespace

bool CBool(const Variant& v) {
  const std::string t = VariantToString(v);
  if (IsFalseWord(t)) {
    return false;
  }
  return !(IsNumeric(v) && VariantToDouble(v) == 0.0);  // For a text this is its Val.
}

bool ToBooleanZDN(const Ref<CFObjectMBS>& obj, std::string_view name) {
  if (IsA<CFStringMBS>(obj)) {
    return CBool(StringToVariant(Cast<CFStringMBS>(obj)->str()));
  }
  if (IsA<CFNumberMBS>(obj)) {
    return CBool(DoubleToVariant(Cast<CFNumberMBS>(obj)->doubleValue()));
  }
  if (IsA<CFBooleanMBS>(obj)) {
    return Cast<CFBooleanMBS>(obj)->Value();
  }
  ReportFailure(obj, name, " into a boolean",
                "CFObjectMBS.ToBooleanZDN() was not able to convert an object to a boolean.");
  return false;
}

std::string ToStringZDN(const Ref<CFObjectMBS>& obj, std::string_view name) {
  if (IsA<CFStringMBS>(obj)) {
    return Cast<CFStringMBS>(obj)->str();
  }
  if (IsA<CFNumberMBS>(obj)) {
    // The lower limit is one short of the smallest 32-bit integer, and is meant to be.
    const double x = Cast<CFNumberMBS>(obj)->doubleValue();
    return x == std::round(x) && x >= -2147483647.0 && x <= 2147483647.0 ? Str(x) : Format(x, "-#.#########");
  }
  if (IsA<CFBooleanMBS>(obj)) {
    return CStr(BooleanToVariant(Cast<CFBooleanMBS>(obj)->Value()));
  }
  ReportFailure(obj, name, " into a string!",
                "CFObjectMBS.ToStringZDN() was not able to convert an object to a string.");
  return {};
}

std::vector<double> SplitDoubleArrayZDN(std::string_view text, std::string_view delimiter) {
  std::vector<double> numbers;
  ForEachPiece(text, delimiter, [&](std::string_view piece) {
    numbers.push_back(Val(piece));
    Yield();
  });
  return numbers;
}

}  // namespace tollmere::GlobalMethods
