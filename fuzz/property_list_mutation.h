// Changes to a property list that leave it well-formed more often than changes of any byte do.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tollmere::fuzz {

// Changes the objects of a binary list and keeps its offset table and trailer behind them, with the place
// of the table put right. What is no binary list is changed anywhere. Returns the new size.
std::size_t MutateBinary(std::uint8_t* data, std::size_t size, std::size_t max_size);

// Changes the content of one element, to a value that is awkward for an alarm or by a few bytes. What has no
// such content is changed anywhere. `seed` decides what is done. Returns the new size.
std::size_t MutateXml(std::uint8_t* data, std::size_t size, std::size_t max_size, unsigned seed);

}  // namespace tollmere::fuzz
