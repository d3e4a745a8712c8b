// Vectors. Kernels use Highway with the one target that the compiler's flags name, chosen when the variant is built
// and never at run time. A plain loop that the compiler turns into equally good code stays a plain loop.
//
// MulAdd rounds once where the processor fuses it and twice where it does not: write Add(Mul(a, b), c).
#pragma once

#define HWY_COMPILE_ONLY_STATIC 1
#include <hwy/cache_control.h>
#include <hwy/highway.h>

namespace rvp::n8 {
namespace hn = hwy::HWY_NAMESPACE;
}
