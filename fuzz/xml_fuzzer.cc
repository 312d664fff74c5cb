// Property lists in XML: whatever the bytes, they are refused, or give objects that hold together.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "property_list_checks.h"
#include "property_list_mutation.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
  return seed % 4 == 0 ? tollmere::fuzz::MutateXml(data, size, max_size, seed)
                       : LLVMFuzzerMutate(data, size, max_size);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (!bytes.starts_with("bplist")) {
    tollmere::fuzz::CheckPropertyList(bytes);
  }
  return 0;
}
