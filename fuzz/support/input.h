// What a fuzz target draws from the fuzzer's bytes. All draws are small: an image of a few pixels meets every
// branch that a large one does, and thousands are tried a second.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "support/images.h"
#include "support/sweep.h"

namespace fuzz {

class Input {
 public:
  Input(const std::uint8_t* bytes, std::size_t count) : bytes_(bytes, count) {}

  int between(int least, int greatest) { return bytes_.ConsumeIntegralInRange(least, greatest); }
  bool flag() { return bytes_.ConsumeBool(); }
  // Any value of the type; a float may be an infinity or NaN.
  template <class T>
  T any() {
    if constexpr (std::is_floating_point_v<T>) {
      static_assert(sizeof(T) == 4);
      const auto bits = bytes_.ConsumeIntegral<std::uint32_t>();
      T value;
      std::memcpy(&value, &bits, sizeof value);
      return value;
    } else {
      return bytes_.ConsumeIntegral<T>();
    }
  }
  template <class T, std::size_t kCount>
  T oneOf(const T (&values)[kCount]) {
    return values[between(0, static_cast<int>(kCount) - 1)];
  }

  template <class Values>
  const auto& oneOf(const Values& values) {
    return values[static_cast<std::size_t>(between(0, static_cast<int>(std::size(values)) - 1))];
  }
  // Runs body for one of these types, a template argument.
  template <class... T, class Body>
  void withOneOf(const Body& body) {
    withOneOf(testing::Types<T...>(), body);
  }
  template <class... T, class Body>
  void withOneOf(testing::Types<T...>, const Body& body) {
    int number = between(0, int{sizeof...(T)} - 1);
    (void)((number-- == 0 && (body.template operator()<T>(), true)) || ...);
  }

  int width() { return between(1, 70); }
  int height() { return between(1, 24); }
  RvpiSize size() {
    const int columns = width();
    return {columns, height()};
  }
  test::Placing placing() {
    const int gap = between(0, 5), shift = between(0, 7);
    return {gap, shift, oneOf({test::Cliff::none, test::Cliff::none, test::Cliff::before, test::Cliff::behind})};
  }
  // Bytes from a 64-byte boundary to a block that may begin anywhere.
  int shift() { return between(0, 63); }

  test::Cliff cliff() { return flag() ? test::Cliff::before : test::Cliff::behind; }
  // Any mode that most operations take, with any side flags.
  RvpiBorderType border() {
    const RvpiBorderType mode = oneOf({0, 1, 3, 6});
    return mode == rvpBorderInMem ? mode : mode | between(0, 15) << 4;
  }
  test::Shape shape() {
    const RvpiSize extent = size();
    const test::Placing place = placing();
    const int threads = between(1, 3);
    return {extent.width, extent.height, place, threads, any<std::uint16_t>()};
  }

  // Two or three values only, so that there are regions and plateaus; noise over the whole range of the type; or
  // pixels from the input itself.
  template <class T>
  test::Plane<T> plane(int width, int height) {
    const int kind = between(0, 3);
    const auto seed = any<std::uint16_t>();
    test::Plane<T> plane = test::randomPlane<T>(width, height, seed, kind == 2);
    if (kind == 0) {
      const T values[] = {any<T>(), any<T>(), T{}};
      const test::Plane<std::uint8_t> choice = test::randomPlane<std::uint8_t>(width, height, seed);
      for (std::size_t i = 0; i < plane.elements.size(); ++i) plane.elements[i] = values[choice.elements[i] % 3];
    } else if (kind == 1) {
      for (T& element : plane.elements) element = any<T>();
    }
    return plane;
  }

 private:
  FuzzedDataProvider bytes_;
};

// What each target defines.
void run(Input& input);

}  // namespace fuzz
