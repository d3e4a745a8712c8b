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
  bool holds(int y, int x) const { return y >= 0 && y < height && x >= 0 && x < width; }

 private:
  std::size_t index(int y, int x) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  }
};

// Calls body(y, x) for every element, row by row.
template <class T, class Body>
void forElements(const Plane<T>& plane, const Body& body) {
  for (int y = 0; y < plane.height; ++y) {
    for (int x = 0; x < plane.width; ++x) body(y, x);
  }
}

// The plane with make(y, x) at each place.
template <class T, class Make>
Plane<T> planeOf(int width, int height, const Make& make) {
  Plane<T> plane(width, height);
  forElements(plane, [&](int y, int x) { plane.at(y, x) = static_cast<T>(make(y, x)); });
  return plane;
}

// The plane with change(element) for each element.
template <class T, class From, class Change>
Plane<T> changed(const Plane<From>& from, const Change& change) {
  return planeOf<T>(from.width, from.height, [&](int y, int x) { return change(from.at(y, x)); });
}

// The plane with combine(a, b) for each pair of elements.
template <class T, class A, class B, class Combine>
Plane<T> combined(const Plane<A>& a, const Plane<B>& b, const Combine& combine) {
  return planeOf<T>(a.width, a.height, [&](int y, int x) { return combine(a.at(y, x), b.at(y, x)); });
}

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

// Which end of each row touches an unreadable page.
enum class Cliff { none, before, behind };

// Where an image lies in memory. On a cliff, gap and shift do not count.
struct Placing {
  int gap = 0;    // Elements from a row's end to the next row.
  int shift = 0;  // Elements from a 64-byte boundary to the first pixel.
  Cliff cliff = Cliff::none;
};

// An image that notices what is done beside it. Either it lies among sentinels: before it, behind it, and in the
// gaps between its rows, and its end is the check that they are whole. A sentinel depends on its place, so that a
// copy of sentinels to another place is noticed too. Or its rows begin, or end, at a page that can be neither read
// nor written: one byte too far is a crash.
template <class T>
class Guarded {
 public:
  Guarded(const Plane<T>& content, Placing placing = {}) : width_(content.width), height_(content.height) {
    placing.cliff == Cliff::none ? layAmongSentinels(placing) : layOnCliff(placing.cliff);
    for (int y = 0; y < height_; ++y) std::memcpy(rowAt(y), content.row(y), rowBytes());
  }
  ~Guarded() {
    EXPECT_TRUE(intact());
    if (map_ != nullptr) munmap(map_, length_);
  }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  T* data() { return reinterpret_cast<T*>(first_); }
  T* row(int y) { return reinterpret_cast<T*>(rowAt(y)); }
  int step() const { return static_cast<int>(step_); }
  RvpiSize size() const { return {width_, height_}; }

  Plane<T> content() const {
    Plane<T> plane(width_, height_);
    for (int y = 0; y < height_; ++y) std::memcpy(&plane.at(y, 0), rowAt(y), rowBytes());
    return plane;
  }

  testing::AssertionResult intact() const {
    std::size_t i = 0;
    const auto watch = [&](std::size_t end) {
      while (i < end && sentinels_[i] == sentinel(i)) ++i;
      return i == end;
    };
    for (int y = 0; y < height_ && !sentinels_.empty(); ++y) {
      const auto offset = static_cast<std::size_t>(rowAt(y) - sentinels_.data());
      if (!watch(offset)) return testing::AssertionFailure() << "a byte before row " << y << " was written";
      i = offset + rowBytes();
    }
    if (!watch(sentinels_.size())) return testing::AssertionFailure() << "a byte behind the last row was written";
    return testing::AssertionSuccess();
  }

 private:
  static std::uint8_t sentinel(std::size_t i) { return static_cast<std::uint8_t>(i * 167 + 13 + (i >> 8U)); }
  std::size_t rowBytes() const { return sizeof(T) * static_cast<std::size_t>(width_); }
  std::uint8_t* rowAt(int y) const { return first_ + step_ * static_cast<std::size_t>(y); }

  void layAmongSentinels(Placing placing) {
    constexpr std::size_t kMargin = 192;
    const std::size_t shift = sizeof(T) * static_cast<std::size_t>(placing.shift);
    step_ = rowBytes() + sizeof(T) * static_cast<std::size_t>(placing.gap);
    sentinels_.resize(kMargin * 2 + 64 + shift + step_ * static_cast<std::size_t>(height_));
    for (std::size_t i = 0; i < sentinels_.size(); ++i) sentinels_[i] = sentinel(i);
    const auto start = reinterpret_cast<std::uintptr_t>(sentinels_.data()) + kMargin;
    first_ = sentinels_.data() + kMargin + (64 - start % 64) % 64 + shift;
  }

  void layOnCliff(Cliff cliff) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t open = (rowBytes() + page - 1) / page * page;
    step_ = open + page;
    length_ = page + step_ * static_cast<std::size_t>(height_);
    void* const map = mmap(nullptr, length_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) throw std::bad_alloc();
    map_ = static_cast<std::uint8_t*>(map);
    for (int y = 0; y < height_; ++y) {
      std::uint8_t* at = map_ + page + step_ * static_cast<std::size_t>(y);
      if (mprotect(at, open, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    }
    first_ = map_ + page + (cliff == Cliff::behind ? open - rowBytes() : 0);
  }

  int width_;
  int height_;
  std::size_t step_ = 0;
  std::uint8_t* first_ = nullptr;
  std::vector<std::uint8_t> sentinels_;
  std::uint8_t* map_ = nullptr;
  std::size_t length_ = 0;
};

template <class T>
struct OnCliff : Guarded<T> {
  OnCliff(const Plane<T>& content, Cliff cliff) : Guarded<T>(content, {0, 0, cliff}) {}
};

}  // namespace test
