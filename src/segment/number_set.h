// A set of numbers below a limit, from which the next number is found in no time however far away it is.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace rvp::n8 {

// A bit for each number; in each level above, one for each 64 bits that tells whether any of them is set. A number
// that comes into an empty set and goes again before the next one comes, as those of a narrow way do, touches none.
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
      lengths_[levelCount_++] = static_cast<std::size_t>(limit);
      words += limit;
    } while (limit > 1);
  }

  void insert(std::ptrdiff_t number) {
    const auto at = static_cast<std::size_t>(number);
    std::uint64_t& word = levels_[0][at / 64];
    if (word != 0) {
      word |= std::uint64_t{1} << (at % 64);
    } else {
      insertFar(at);
    }
  }

  void erase(std::ptrdiff_t number) {
    if (number == only_) {
      only_ = -1;
      return;
    }
    auto at = static_cast<std::size_t>(number);
    for (int level = 0; level < levelCount_; ++level, at /= 64) {
      std::uint64_t& word = levels_[level][at / 64];
      word &= ~(std::uint64_t{1} << (at % 64));
      if (word != 0) return;
    }
  }

  // The first number from here on, upwards or else downwards; -1 if there is none.
  template <bool kUp>
  std::ptrdiff_t next(std::ptrdiff_t from) const {
    if (only_ >= 0) return (kUp ? only_ >= from : only_ <= from) ? only_ : -1;
    for (int level = 0; level < levelCount_; ++level) {
      const auto at = static_cast<std::size_t>(from);  // -1 becomes the greatest, and is behind the end too
      if (at / 64 >= lengths_[level]) return -1;
      constexpr std::uint64_t kAll = ~std::uint64_t{0};
      const std::uint64_t word = levels_[level][at / 64] & (kUp ? kAll << (at % 64) : kAll >> (63 - at % 64));
      if (word != 0) {
        std::size_t found = 64 * (at / 64) + nearest<kUp>(word);
        while (level-- > 0) found = 64 * found + nearest<kUp>(levels_[level][found]);
        return static_cast<std::ptrdiff_t>(found);
      }
      from = static_cast<std::ptrdiff_t>(at / 64) + (kUp ? 1 : -1);
    }
    return -1;
  }

 private:
  static constexpr int kMostLevels = 5;

  static std::ptrdiff_t wordsOf(std::ptrdiff_t numbers) { return (numbers + 63) / 64; }

  // A number whose word is 0, as of a set that may be empty. Seldom: what calls insert stays short without it.
  [[gnu::noinline]] void insertFar(std::size_t at) {
    if (only_ < 0 && levels_[levelCount_ - 1][0] == 0) {
      only_ = static_cast<std::ptrdiff_t>(at);
      return;
    }
    if (only_ >= 0) setBits(static_cast<std::size_t>(only_));
    only_ = -1;
    setBits(at);
  }

  void setBits(std::size_t at) {
    for (int level = 0; level < levelCount_; ++level, at /= 64) {
      std::uint64_t& word = levels_[level][at / 64];
      const bool none = word == 0;
      word |= std::uint64_t{1} << (at % 64);
      if (!none) return;
    }
  }

  template <bool kUp>
  static std::size_t nearest(std::uint64_t word) {
    return static_cast<std::size_t>(kUp ? std::countr_zero(word) : 63 - std::countl_zero(word));
  }

  std::ptrdiff_t only_ = -1;  // The only number, of which no bit tells, or -1.
  int levelCount_ = 0;
  std::uint64_t* levels_[kMostLevels];
  std::size_t lengths_[kMostLevels];
};

}  // namespace rvp::n8
