// Images for tests: what they hold is known, what lies around them is watched.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "rvpcv/types.h"

namespace test {

// An image of known elements with no memory around it: sources and expectations. Channels count as columns.
template <class T>
struct Plane {
  int width = 0;
  int height = 0;
  std::vector<T> elements;

  Plane() = default;
  Plane(int w, int h, T value = T{})
      : width(w), height(h), elements(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), value) {}
  T& at(int y, int x) { return elements[index(y, x)]; }
  const T& at(int y, int x) const { return elements[index(y, x)]; }
  const T* row(int y) const { return elements.data() + index(y, 0); }

 private:
  std::size_t index(int y, int x) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  }
};

// Random elements over the whole range of an integer type, or for float between -1000 and 1000 in eighths, where
// sums and products show every rounding. With `specials`, one float in eight is a zero of either sign, an infinity
// or NaN.
template <class T>
Plane<T> randomPlane(int width, int height, unsigned seed, bool specials = false) {
  Plane<T> plane(width, height);
  std::minstd_rand engine(seed * 2654435761U + 1U);
  for (T& element : plane.elements) {
    const auto bits = static_cast<std::uint64_t>(engine()) * 48271U;
    if constexpr (std::is_floating_point_v<T>) {
      static constexpr T kSpecials[] = {T{0},
                                        -T{0},
                                        -T{0},
                                        std::numeric_limits<T>::infinity(),
                                        -std::numeric_limits<T>::infinity(),
                                        std::numeric_limits<T>::quiet_NaN()};
      element = static_cast<T>(static_cast<int>(bits >> 8U & 0x3FFFU) - 0x2000) / T{8} + T{1} / T{3};
      if (specials && bits % 8 == 0) element = kSpecials[(bits >> 3U) % 6];
    } else {
      element = static_cast<T>(bits >> 7U);
    }
  }
  return plane;
}

// Where an image lies in memory.
struct Placing {
  int gap = 0;    // Elements from a row's end to the next row.
  int shift = 0;  // Elements from a 64-byte boundary to the first pixel.
};

// An image among sentinels: before it, behind it, and in the gaps between its rows. A sentinel depends on its
// place, so that a copy of sentinels to another place is noticed too.
template <class T>
class Guarded {
 public:
  Guarded(const Plane<T>& content, Placing placing = {})
      : width_(content.width),
        height_(content.height),
        stepElements_(content.width + placing.gap),
        bytes_(kMargin * 2 + 64 +
               sizeof(T) *
                   static_cast<std::size_t>(placing.shift + stepElements_ * static_cast<std::ptrdiff_t>(height_))) {
    for (std::size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = sentinel(i);
    const auto start = reinterpret_cast<std::uintptr_t>(bytes_.data()) + kMargin;
    first_ = kMargin + (64 - start % 64) % 64 + sizeof(T) * static_cast<std::size_t>(placing.shift);
    for (int y = 0; y < height_; ++y)
      std::memcpy(row(y), content.row(y), sizeof(T) * static_cast<std::size_t>(width_));
  }

  T* data() { return row(0); }
  int step() const { return static_cast<int>(sizeof(T)) * stepElements_; }
  RvpiSize size() const { return {width_, height_}; }

  Plane<T> content() const {
    Plane<T> plane(width_, height_);
    for (int y = 0; y < height_; ++y)
      std::memcpy(&plane.at(y, 0), bytes_.data() + offset(y), sizeof(T) * static_cast<std::size_t>(width_));
    return plane;
  }

  testing::AssertionResult intact() const {
    const std::size_t rowBytes = sizeof(T) * static_cast<std::size_t>(width_);
    std::size_t i = 0;
    const auto watch = [&](std::size_t end) {
      while (i < end && bytes_[i] == sentinel(i)) ++i;
      return i == end;
    };
    for (int y = 0; y < height_; ++y) {
      if (!watch(offset(y))) return testing::AssertionFailure() << "a byte before row " << y << " was written";
      i = offset(y) + rowBytes;
    }
    if (!watch(bytes_.size())) return testing::AssertionFailure() << "a byte behind the last row was written";
    return testing::AssertionSuccess();
  }

 private:
  static constexpr std::size_t kMargin = 192;
  static std::uint8_t sentinel(std::size_t i) { return static_cast<std::uint8_t>(i * 167 + 13 + (i >> 8U)); }
  std::size_t offset(int y) const {
    return first_ + sizeof(T) * static_cast<std::size_t>(stepElements_) * static_cast<std::size_t>(y);
  }
  T* row(int y) { return reinterpret_cast<T*>(bytes_.data() + offset(y)); }

  int width_;
  int height_;
  int stepElements_;
  std::vector<std::uint8_t> bytes_;
  std::size_t first_ = 0;
};

// Which end of each row touches an unreadable page.
enum class Cliff { before, behind };

// An image whose every row begins, or ends, at a page that can be neither read nor written: one byte too far is a
// crash.
template <class T>
class OnCliff {
 public:
  OnCliff(const Plane<T>& content, Cliff cliff) : width_(content.width), height_(content.height) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t rowBytes = sizeof(T) * static_cast<std::size_t>(width_);
    const std::size_t open = (rowBytes + page - 1) / page * page;
    step_ = open + page;
    length_ = page + step_ * static_cast<std::size_t>(height_);
    map_ = static_cast<std::uint8_t*>(mmap(nullptr, length_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (map_ == MAP_FAILED) throw std::bad_alloc();
    first_ = page + (cliff == Cliff::behind ? open - rowBytes : 0);
    for (int y = 0; y < height_; ++y) {
      std::uint8_t* at = map_ + page + step_ * static_cast<std::size_t>(y);
      if (mprotect(at, open, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
      std::memcpy(row(y), content.row(y), rowBytes);
    }
  }
  ~OnCliff() { munmap(map_, length_); }
  OnCliff(const OnCliff&) = delete;
  OnCliff& operator=(const OnCliff&) = delete;

  T* data() { return row(0); }
  int step() const { return static_cast<int>(step_); }
  RvpiSize size() const { return {width_, height_}; }

  Plane<T> content() {
    Plane<T> plane(width_, height_);
    for (int y = 0; y < height_; ++y)
      std::memcpy(&plane.at(y, 0), row(y), sizeof(T) * static_cast<std::size_t>(width_));
    return plane;
  }

 private:
  T* row(int y) { return reinterpret_cast<T*>(map_ + first_ + step_ * static_cast<std::size_t>(y)); }

  int width_;
  int height_;
  std::size_t step_ = 0;
  std::size_t length_ = 0;
  std::size_t first_ = 0;
  std::uint8_t* map_ = nullptr;
};

}  // namespace test
