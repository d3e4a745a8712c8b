// Vectors. Kernels use Highway with the one target that the compiler's flags name, chosen when the variant is built
// and never at run time. A plain loop that the compiler turns into equally good code stays a plain loop.
//
// MulAdd rounds once where the processor fuses it and twice where it does not: write Add(Mul(a, b), c).
#pragma once

#include <cstddef>
#include <cstdint>

#define HWY_COMPILE_ONLY_STATIC 1
#include <hwy/cache_control.h>
#include <hwy/highway.h>

namespace rvp::n8 {
namespace hn = hwy::HWY_NAMESPACE;

// Elements before the first place from `dst` on where an aligned vector of `lanes` elements fits.
template <class T>
std::ptrdiff_t elementsToVector(const T* dst, std::ptrdiff_t lanes) {
  const auto misplaced =
      static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(dst) / sizeof(T)) & (lanes - 1);
  return misplaced == 0 ? 0 : lanes - misplaced;
}

// Calls body(d, x) for the elements first to last - 1: with whole vectors of T as long as they fit, then with four
// lanes, then with one. The tag d tells how many, so that one body serves a row to its very end and touches nothing
// behind it.
template <class T, class Body>
void forVectors(std::ptrdiff_t first, std::ptrdiff_t last, const Body& body) {
  const auto whole = [&](auto d) {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (; first + lanes <= last; first += lanes) body(d, first);
  };
  whole(hn::ScalableTag<T>());
  whole(hn::CappedTag<T, 4>());
  whole(hn::CappedTag<T, 1>());
}

}  // namespace rvp::n8
