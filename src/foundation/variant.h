// One value of a dynamic kind.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "foundation/object.h"

namespace tollmere {

// Holds a string, a 32-bit integer, a double, a boolean, a reference to an object, or Nil. The boxing
// functions below make one and name its kind. The conversions read one, whatever its kind.
class Variant {
 public:
  // Copies of a Variant share its text, which nobody changes.
  using SharedText = std::shared_ptr<const std::string>;

  Variant() = default;  // Nil

  bool IsNil() const noexcept { return std::holds_alternative<std::monostate>(value_); }

  // The value if it is of that kind, else null. A Nil reference is never held: it is boxed as Nil.
  template <class Kind>
  const Kind* If() const noexcept {
    if constexpr (std::is_same_v<Kind, std::string>) {
      const SharedText* text = std::get_if<SharedText>(&value_);
      return text != nullptr ? text->get() : nullptr;
    } else {
      return std::get_if<Kind>(&value_);
    }
  }

 private:
  friend Variant StringToVariant(std::string);
  friend Variant StringToVariant(std::shared_ptr<const std::string>) noexcept;
  friend Variant Int32ToVariant(std::int32_t) noexcept;
  friend Variant DoubleToVariant(double) noexcept;
  friend Variant BooleanToVariant(bool) noexcept;
  friend Variant ObjectToVariant(Ref<Object>) noexcept;

  using Value = std::variant<std::monostate, SharedText, std::int32_t, double, bool, Ref<Object>>;

  explicit Variant(Value value) noexcept : value_(std::move(value)) {}

  Value value_;
};

Variant StringToVariant(std::string value);
// Shares the text, which is not null.
Variant StringToVariant(std::shared_ptr<const std::string> value) noexcept;
Variant Int32ToVariant(std::int32_t value) noexcept;
Variant DoubleToVariant(double value) noexcept;
Variant BooleanToVariant(bool value) noexcept;
Variant ObjectToVariant(Ref<Object> value) noexcept;

// The text; of a number its Str, of a boolean "True" or "False"; empty for an object and for Nil.
std::string VariantToString(const Variant& value);
// The integer; of a double its whole part, held within 32 bits, NaN giving 0; of a text its Val likewise;
// of a boolean 1 or 0; 0 for an object and for Nil.
std::int32_t VariantToInt32(const Variant& value) noexcept;
// The double; of an integer the same number, of a text its Val, of a boolean 1 or 0; 0 for the rest.
double VariantToDouble(const Variant& value) noexcept;
// The boolean; of a number whether it differs from 0, as NaN does; of a text False for "", "false",
// "no", "off" in any case and for what reads as 0, else True; False for an object and for Nil.
bool VariantToBoolean(const Variant& value) noexcept;
// The object, or Nil for every other kind.
Ref<Object> VariantToObject(const Variant& value) noexcept;

// The text of a Variant, as VariantToString gives it.
inline std::string CStr(const Variant& value) { return VariantToString(value); }
// True for an integer, a double, and a text that reads as a number from end to end.
bool IsNumeric(const Variant& value) noexcept;

// True for "", "false", "no" and "off", in any case.
bool IsFalseWord(std::string_view text) noexcept;

}  // namespace tollmere
