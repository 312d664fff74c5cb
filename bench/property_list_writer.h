// Property lists to be read by the benchmarks, written here so that what is measured is not also what made
// its input.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tollmere {

struct PropertyListValue {
  using Dictionary = std::vector<std::pair<std::string, PropertyListValue>>;
  using Array = std::vector<PropertyListValue>;

  PropertyListValue(bool flag) : value(flag) {}                         // NOLINT(google-explicit-constructor)
  PropertyListValue(int number) : value(std::int64_t{number}) {}        // NOLINT(google-explicit-constructor)
  PropertyListValue(double number) : value(number) {}                   // NOLINT(google-explicit-constructor)
  PropertyListValue(std::string text) : value(std::move(text)) {}       // NOLINT(google-explicit-constructor)
  PropertyListValue(const char* text) : value(std::string(text)) {}     // NOLINT(google-explicit-constructor)
  PropertyListValue(Array items) : value(std::move(items)) {}           // NOLINT(google-explicit-constructor)
  PropertyListValue(Dictionary entries) : value(std::move(entries)) {}  // NOLINT(google-explicit-constructor)

  std::variant<bool, std::int64_t, double, std::string, Array, Dictionary> value;
};

// With indentation, as it is written by the common writers.
std::string WriteXml(const PropertyListValue& root);
// Every scalar is written once and referred to wherever it occurs, as the common writers do.
std::string WriteBinary(const PropertyListValue& root);

}  // namespace tollmere
