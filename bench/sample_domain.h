// The preference domains that the benchmarks read. make_lists.py writes them when the benchmarks are built.
#pragma once

#include <string>

namespace tollmere {

// The bytes of the domain's file.
std::string DomainBytes(const std::string& name);

// As long as it lives, the agent's globals are made and its preference domain is the named one. One at a
// time.
class SampleDomain {
 public:
  explicit SampleDomain(const std::string& name);
  ~SampleDomain();
  SampleDomain(const SampleDomain&) = delete;
  SampleDomain& operator=(const SampleDomain&) = delete;
};

}  // namespace tollmere
