// Exact comparison of results, and a digest of everything compared.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "support/images.h"

namespace test {

// Adds bytes to the running test's digest. The digests of both variants are compared after the tests: whatever a
// test looks at must have the same bytes in both.
void addToDigest(const void* bytes, std::size_t count);

// The same bits; any NaN equals any other, as which one comes out of two is the processor's choice.
template <class T>
bool sameElement(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  }
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
testing::AssertionResult same(const Plane<T>& expected, const Plane<T>& actual) {
  if (expected.width != actual.width || expected.height != actual.height)
    return testing::AssertionFailure() << "sizes differ";
  for (int y = 0; y < expected.height; ++y) {
    for (int x = 0; x < expected.width; ++x) {
      T element = actual.at(y, x);
      if (!sameElement(expected.at(y, x), element))
        return testing::AssertionFailure()
               << "row " << y << ", column " << x << ": expected " << testing::PrintToString(expected.at(y, x))
               << ", got " << testing::PrintToString(element);
      if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(element)) element = std::numeric_limits<T>::quiet_NaN();
      }
      addToDigest(&element, sizeof(T));
    }
  }
  return testing::AssertionSuccess();
}

template <class T>
testing::AssertionResult same(const Plane<T>& expected, const Guarded<T>& actual) {
  return same(expected, actual.content());
}

}  // namespace test
