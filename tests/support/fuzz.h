// Checks of what is drawn from bytes. Each family has one, FUZZ(family, input) { ... }, beside its tests and with
// their references. A fuzzer looks for bytes that make it fail, and the test program tries those kept in
// fuzz/corpus.
//
// All draws are small: an image of a few pixels meets every branch that a large one does, and thousands are tried a
// second.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

#include "support/images.h"
#include "support/sweep.h"

namespace test {

class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  int between(int least, int greatest) {
    const auto values = static_cast<std::uint32_t>(greatest) - static_cast<std::uint32_t>(least) + 1;
    const std::uint32_t drawn = values <= 256 ? any<std::uint8_t>() : any<std::uint32_t>();
    return static_cast<int>(static_cast<std::uint32_t>(least) + drawn % values);
  }
  bool flag() { return (any<std::uint8_t>() & 1) != 0; }
  // Any value of the type; a float may be an infinity or NaN. Zero where there are no bytes left.
  template <class T>
  T any() {
    std::array<std::uint8_t, sizeof(T)> bytes = {};
    const std::size_t count = std::min(sizeof(T), bytes_.size());
    std::copy_n(bytes_.begin(), count, bytes.begin());
    bytes_ = bytes_.subspan(count);
    return std::bit_cast<T>(bytes);
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
  Placing placing() {
    const int gap = between(0, 5), shift = between(0, 7);
    return {gap, shift, oneOf({Cliff::none, Cliff::none, Cliff::before, Cliff::behind})};
  }
  // Bytes from a 64-byte boundary to a block that may begin anywhere.
  int shift() { return between(0, 63); }

  Cliff cliff() { return flag() ? Cliff::before : Cliff::behind; }
  // Any mode that most operations take, with any side flags.
  RvpiBorderType border() {
    const RvpiBorderType mode = oneOf({0, 1, 3, 6});
    return mode == rvpBorderInMem ? mode : mode | between(0, 15) << 4;
  }
  Shape shape() {
    const RvpiSize extent = size();
    const Placing place = placing();
    const int threads = between(1, 3);
    return {extent.width, extent.height, place, threads, any<std::uint16_t>()};
  }

  // Two or three values only, so that there are regions and plateaus; noise over the whole range of the type; or
  // pixels from the input itself.
  template <class T>
  Plane<T> plane(int width, int height) {
    const int kind = between(0, 3);
    const auto seed = any<std::uint16_t>();
    Plane<T> plane = randomPlane<T>(width, height, seed, kind == 2);
    if (kind == 0) {
      const T values[] = {any<T>(), any<T>(), T{}};
      const Plane<std::uint8_t> choice = randomPlane<std::uint8_t>(width, height, seed);
      for (std::size_t i = 0; i < plane.elements.size(); ++i) plane.elements[i] = values[choice.elements[i] % 3];
    } else if (kind == 1) {
      for (T& element : plane.elements) element = any<T>();
    }
    return plane;
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

// Made once for each family, by the program that tries it: see fuzz/main.cpp and seeds.cpp.
struct Drawn {
  using Check = void (*)(Input& input);
  Drawn(const char* family, Check check);
};

}  // namespace test

#define FUZZ(family, input)                           \
  void checkDrawn(test::Input& input);                \
  const test::Drawn drawnFamily{#family, checkDrawn}; \
  void checkDrawn(test::Input& input)
