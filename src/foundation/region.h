// Memory for objects that are made together and released together.
#pragma once

#include <cstddef>

namespace tollmere {

// A block of `size` bytes for an object that wants no more alignment than a double, cut from a large region
// right behind the block before it. Throws std::bad_alloc. One thread uses this.
//
// The alarm list and the dictionaries that it comes from are made anew every second. A general heap hands out
// again what it was given back, in an order that soon has nothing to do with theirs; every step along a long
// list then waits for the memory. Here they always lie in the order in which they were made.
//
// A region is used again once all its blocks have been given back, and one block that stays keeps all 64 KiB
// of it. So nothing belongs here that outlives by long what was made at the same time.
void* AllocateInRegion(std::size_t size);
// Gives back a block of that size.
void FreeInRegion(void* block, std::size_t size) noexcept;

// Lets containers and shared objects lie in regions.
template <class T>
struct RegionAllocator {
  static_assert(alignof(T) <= alignof(double));
  using value_type = T;

  RegionAllocator() noexcept = default;
  template <class U>
  RegionAllocator(const RegionAllocator<U>&) noexcept {
  }  // NOLINT(google-explicit-constructor): allocators convert.

  T* allocate(std::size_t count) { return static_cast<T*>(AllocateInRegion(count * sizeof(T))); }
  void deallocate(T* block, std::size_t count) noexcept { FreeInRegion(block, count * sizeof(T)); }

  template <class U>
  bool operator==(const RegionAllocator<U>&) const noexcept {
    return true;
  }
};

}  // namespace tollmere
