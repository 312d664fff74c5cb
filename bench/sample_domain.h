// A preference domain of the benchmark's own, in a temporary folder.
#pragma once

#include <string>
#include <string_view>

#include "property_list_writer.h"

namespace tollmere {

// Writes `bytes` to the file, which must not fail.
void WriteFile(const std::string& path, std::string_view bytes);

// As long as it lives, the agent's globals are made and its preference domain is the given one, as a binary
// list or as the bytes that are given. One at a time.
class SampleDomain {
 public:
  explicit SampleDomain(const PropertyListValue::Dictionary& domain);
  explicit SampleDomain(std::string_view bytes);
  ~SampleDomain();
  SampleDomain(const SampleDomain&) = delete;
  SampleDomain& operator=(const SampleDomain&) = delete;

 private:
  std::string folder_;
};

}  // namespace tollmere
