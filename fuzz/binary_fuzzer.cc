// Binary property lists: whatever the bytes, they are refused, or give objects that hold together.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "property_list_checks.h"
#include "property_list_mutation.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
  return seed % 2 == 0 ? tollmere::fuzz::MutateBinary(data, size, max_size)
                       : LLVMFuzzerMutate(data, size, max_size);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // The head is given: nothing is to be learnt from what lacks it.
  constexpr std::string_view kHead = "bplist00";
  if (size >= kHead.size()) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    bytes.replace(0, kHead.size(), kHead);
    tollmere::fuzz::CheckPropertyList(bytes);
  }
  return 0;
}
