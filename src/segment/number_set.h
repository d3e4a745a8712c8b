// A set of numbers below a limit, from which the next number is found in no time however far away it is.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace rvp::n8 {

// A bit for each number; in each level above, one for each 64 bits that tells whether any of them is set.
class NumberSet {
 public:
  static std::ptrdiff_t bytes(std::ptrdiff_t limit) {
    std::ptrdiff_t words = 0;
    do words += limit = wordsOf(limit);
    while (limit > 1);
    return words * static_cast<std::ptrdiff_t>(sizeof(std::uint64_t));
  }

  // Empty. The limit is up to 2^30, and the memory is aligned to 8 bytes.
  NumberSet(std::uint8_t* memory, std::ptrdiff_t limit) {
    std::memset(memory, 0, static_cast<std::size_t>(bytes(limit)));
    auto* words = reinterpret_cast<std::uint64_t*>(memory);
    do {
      limit = wordsOf(limit);
      levels_[levelCount_] = words;
      lengths_[levelCount_++] = limit;
      words += limit;
    } while (limit > 1);
  }

  void insert(std::ptrdiff_t number) {
    for (int level = 0; level < levelCount_; ++level, number /= 64) {
      std::uint64_t& word = levels_[level][number / 64];
      const bool none = word == 0;
      word |= std::uint64_t{1} << (number % 64);
      if (!none) return;
    }
  }

  void erase(std::ptrdiff_t number) {
    for (int level = 0; level < levelCount_; ++level, number /= 64) {
      std::uint64_t& word = levels_[level][number / 64];
      word &= ~(std::uint64_t{1} << (number % 64));
      if (word != 0) return;
    }
  }

  // The first number from here on, upwards or else downwards; -1 if there is none.
  template <bool kUp>
  std::ptrdiff_t next(std::ptrdiff_t from) const {
    for (int level = 0; level < levelCount_; ++level) {
      if (from < 0 || from / 64 >= lengths_[level]) return -1;
      constexpr std::uint64_t kAll = ~std::uint64_t{0};
      const std::uint64_t word = levels_[level][from / 64] & (kUp ? kAll << (from % 64) : kAll >> (63 - from % 64));
      from /= 64;
      if (word != 0) {
        from = 64 * from + nearest<kUp>(word);
        while (level-- > 0) from = 64 * from + nearest<kUp>(levels_[level][from]);
        return from;
      }
      from += kUp ? 1 : -1;
    }
    return -1;
  }

 private:
  static constexpr int kMostLevels = 5;

  static std::ptrdiff_t wordsOf(std::ptrdiff_t numbers) { return (numbers + 63) / 64; }

  template <bool kUp>
  static int nearest(std::uint64_t word) {
    return kUp ? std::countr_zero(word) : 63 - std::countl_zero(word);
  }

  int levelCount_ = 0;
  std::uint64_t* levels_[kMostLevels];
  std::ptrdiff_t lengths_[kMostLevels];
};

}  // namespace rvp::n8
