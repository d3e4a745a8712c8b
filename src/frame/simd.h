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

}  // namespace rvp::n8
