#include "foundation/variant.h"

#include <utility>

#include "foundation/text.h"

namespace tollmere {

Variant StringToVariant(std::string value) {
  return StringToVariant(std::make_shared<const std::string>(std::move(value)));
}
Variant StringToVariant(std::shared_ptr<const std::string> value) noexcept {
  return Variant(std::move(value));
}
Variant Int32ToVariant(std::int32_t value) noexcept { return Variant(value); }
Variant DoubleToVariant(double value) noexcept { return Variant(value); }
Variant BooleanToVariant(bool value) noexcept { return Variant(value); }
Variant ObjectToVariant(Ref<Object> value) noexcept {
  return value != nullptr ? Variant(std::move(value)) : Variant();
}

std::string VariantToString(const Variant& value) {
  if (const auto* text = value.If<std::string>()) {
    return *text;
  }
  if (const auto* number = value.If<double>()) {
    return Str(*number);
  }
  if (const auto* number = value.If<std::int32_t>()) {
    return Str(*number);
  }
  if (const auto* flag = value.If<bool>()) {
    return *flag ? "True" : "False";
  }
  return {};
}

double VariantToDouble(const Variant& value) noexcept {
  if (const auto* number = value.If<double>()) {
    return *number;
  }
  if (const auto* number = value.If<std::int32_t>()) {
    return *number;
  }
  if (const auto* flag = value.If<bool>()) {
    return *flag ? 1.0 : 0.0;
  }
  if (const auto* text = value.If<std::string>()) {
    return Val(*text);
  }
  return 0.0;
}

std::int32_t VariantToInt32(const Variant& value) noexcept { return ToInt32(VariantToDouble(value)); }

bool VariantToBoolean(const Variant& value) noexcept {
  if (const auto* flag = value.If<bool>()) {
    return *flag;
  }
  if (const auto* text = value.If<std::string>()) {
    return !IsFalseWord(*text) && !(IsNumeric(*text) && Val(*text) == 0.0);
  }
  return VariantToDouble(value) != 0.0;
}

Ref<Object> VariantToObject(const Variant& value) noexcept {
  const auto* object = value.If<Ref<Object>>();
  return object != nullptr ? *object : Ref<Object>();
}

bool IsNumeric(const Variant& value) noexcept {
  const auto* text = value.If<std::string>();
  return text != nullptr ? IsNumeric(std::string_view(*text))
                         : value.If<double>() != nullptr || value.If<std::int32_t>() != nullptr;
}

bool IsFalseWord(std::string_view text) noexcept {
  return text.empty() || EqualsIgnoringCase(text, "false") || EqualsIgnoringCase(text, "no") ||
         EqualsIgnoringCase(text, "off");
}

}  // namespace tollmere
