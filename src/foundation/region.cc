#include "foundation/region.h"

#include <cstdint>
#include <new>

namespace tollmere {
namespace {

// It watches over the general heap's blocks, and would take a region for one of them.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kUnderAddressSanitizer = true;
#elif defined(__has_feature)
constexpr bool kUnderAddressSanitizer = __has_feature(address_sanitizer);
#else
constexpr bool kUnderAddressSanitizer = false;
#endif

constexpr std::size_t kRegionBytes = 65'536;
constexpr std::size_t kMostKeptRegions = 1024;

// Larger blocks are the general heap's: there are few, and where they lie makes no difference.
constexpr std::size_t kMostBlockBytes = kUnderAddressSanitizer ? 0 : kRegionBytes / 4;

// The head of a region, which stands at a multiple of its size: so a block's address tells its region.
struct Region {
  std::size_t used = sizeof(Region);  // bytes, from the head on
  std::size_t blocks = 0;             // that have not been given back
  Region* next_unused = nullptr;
};

constinit Region* current = nullptr;  // from which blocks are cut
constinit Region* unused = nullptr;
constinit std::size_t unused_count = 0;

constexpr std::size_t Rounded(std::size_t size) noexcept {
  return (size + alignof(double) - 1) / alignof(double) * alignof(double);
}

Region* RegionOf(void* block) noexcept {
  void* const head = static_cast<char*>(block) - reinterpret_cast<std::uintptr_t>(block) % kRegionBytes;
  return static_cast<Region*>(head);
}

Region* TakeRegion() {
  void* place = unused;
  if (place != nullptr) {
    unused = unused->next_unused;
    --unused_count;
  } else {
    place = ::operator new (kRegionBytes, std::align_val_t{kRegionBytes});
  }
  return new (place) Region;
}

void ReleaseRegion(Region* region) noexcept {
  if (region == current) {
    region->used = sizeof(Region);
  } else if (unused_count < kMostKeptRegions) {
    region->next_unused = unused;
    unused = region;
    ++unused_count;
  } else {
    ::operator delete (region, std::align_val_t{kRegionBytes});
  }
}

}  // namespace

void* AllocateInRegion(std::size_t size) {
  if (size > kMostBlockBytes) {
    return ::operator new(size);
  }
  size = Rounded(size);
  if (current == nullptr || size > kRegionBytes - current->used) {
    current = TakeRegion();
  }
  void* const block = reinterpret_cast<char*>(current) + current->used;
  current->used += size;
  ++current->blocks;
  return block;
}

void FreeInRegion(void* block, std::size_t size) noexcept {
  if (size > kMostBlockBytes) {
    ::operator delete(block);
    return;
  }
  Region* const region = RegionOf(block);
  if (--region->blocks == 0) {
    ReleaseRegion(region);
  } else if (static_cast<char*>(block) + Rounded(size) == reinterpret_cast<char*>(region) + region->used) {
    region->used -= Rounded(size);  // What was made last and lived for a moment only takes no room.
  }
}

}  // namespace tollmere
