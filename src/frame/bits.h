// Bits of a word.
#pragma once

#include <bit>
#include <cstdint>

namespace rvp::n8 {

// How many bits are set.
inline int bitCount(std::uint64_t word) {
#ifdef __POPCNT__
  return std::popcount(word);
#else
  // In place of a call to the compiler's own function: sums of 2, 4 and 8 bits, and then of the eight bytes.
  word -= word >> 1 & 0x5555555555555555U;
  word = (word & 0x3333333333333333U) + (word >> 2 & 0x3333333333333333U);
  word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0FU;
  return static_cast<int>(word * 0x0101010101010101U >> 56);
#endif
}

}  // namespace rvp::n8
