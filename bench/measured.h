// What all benchmarks share.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <type_traits>

namespace tollmere {

// How many like pieces of work (days, alarms) one turn of the benchmark's loop does; figures are given for
// one of them.
inline constexpr const char* kPieces = "pieces";
// How many bytes one turn reads.
inline constexpr const char* kBytes = "bytes";

inline void SetPieces(benchmark::State& state, std::int64_t pieces) {
  state.counters[kPieces] = static_cast<double>(pieces);
}

// Makes the compiler have these values at this point: integers in registers, without a way through memory.
template <class Value, class... Others>
inline void Use(Value value, Others... others) {
  if constexpr (std::is_floating_point_v<Value>) {
    asm volatile("" : : "m"(value));
  } else {
    asm volatile("" : : "r"(value));
  }
  if constexpr (sizeof...(others) > 0) {
    Use(others...);
  }
}

// The value as something that the compiler knows nothing of.
template <class Value>
inline Value Opaque(Value value) {
  asm volatile("" : "+r"(value));
  return value;
}

}  // namespace tollmere
