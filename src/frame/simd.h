// Vectors. Kernels use Highway with the one target that the compiler's flags name, chosen when the variant is built
// and never at run time. A plain loop that the compiler turns into equally good code stays a plain loop.
//
// MulAdd rounds once where the processor fuses it and twice where it does not: write Add(Mul(a, b), c).
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#define HWY_COMPILE_ONLY_STATIC 1
#include <hwy/cache_control.h>
#include <hwy/highway.h>
#include <immintrin.h>

namespace rvp::n8 {
namespace hn = hwy::HWY_NAMESPACE;

// Elements before the first place from `dst` on where an aligned vector of `lanes` elements fits.
template <class T>
std::ptrdiff_t elementsToVector(const T* dst, std::ptrdiff_t lanes) {
  const auto misplaced =
      static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(dst) / sizeof(T)) & (lanes - 1);
  return misplaced == 0 ? 0 : lanes - misplaced;
}

// Bytes of a line of the caches.
inline constexpr std::size_t kLineBytes = 64;

// Asks for the line that holds the byte `bytes` after `at`, which may lie behind the image.
inline void prefetch(const void* at, std::uintptr_t bytes) {
  // No pointer to there may be formed by addition, but an address there is no fault for a prefetch.
  // NOLINTNEXTLINE(performance-no-int-to-ptr): nothing is read through it.
  hwy::Prefetch(reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(at) + bytes));
}

// Asks for the lines of `count` elements, `bytes` after `at`.
template <class T>
void prefetchLines(const T* at, std::ptrdiff_t count, std::uintptr_t bytes) {
  const auto length = static_cast<std::uintptr_t>(count) * sizeof(T);
  for (std::uintptr_t line = 0; line < length; line += kLineBytes) prefetch(at, bytes + line);
}

// Calls body(d, x) for the elements first to last - 1: with whole vectors of T as long as they fit, then with four
// lanes, then with one. The tag d tells how many, so that one body serves a row to its very end and touches nothing
// behind it.
template <class T, class Body>
HWY_INLINE void forVectors(std::ptrdiff_t first, std::ptrdiff_t last, const Body& body) {
  const auto whole = [&](auto d) {
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (; first + lanes <= last; first += lanes) body(d, first);
  };
  whole(hn::ScalableTag<T>());
  whole(hn::CappedTag<T, 4>());
  whole(hn::CappedTag<T, 1>());
}

// Calls body(d, x) for vectors that cover the elements 0 to count - 1, the last one overlapping the one before;
// where not even one vector fits, as forVectors does. For bodies that may see an element twice.
template <class T, class Body>
void coverWithVectors(std::ptrdiff_t count, const Body& body) {
  const hn::ScalableTag<T> d;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  if (count < lanes) return forVectors<T>(0, count, body);
  std::ptrdiff_t x = 0;
  for (; x + lanes <= count; x += lanes) body(d, x);
  if (x < count) body(d, count - lanes);
}

// The nearest integers, ties to even, of floats below 2^31; what lies below -2^31 gives -2^31. Highway's NearestInt
// has no upper limit, at several times the cost.
template <class V>
HWY_INLINE auto nearestInt(V v) {
  using Result = hn::Vec<hn::RebindToSigned<hn::DFromV<V>>>;
  if constexpr (sizeof(v.raw) == 32) {
    return Result{_mm256_cvtps_epi32(v.raw)};
  } else {
    return Result{_mm_cvtps_epi32(v.raw)};
  }
}

// Floats below 2^31 in magnitude rounded toward zero; all others give -2^31.
template <class V>
HWY_INLINE auto truncatedInt(V v) {
  using Result = hn::Vec<hn::RebindToSigned<hn::DFromV<V>>>;
  if constexpr (sizeof(v.raw) == 32) {
    return Result{_mm256_cvttps_epi32(v.raw)};
  } else {
    return Result{_mm_cvttps_epi32(v.raw)};
  }
}

// Sums of the products of neighbouring bytes, unsigned ones and signed ones, saturated to the 16-bit lanes of d.
template <class D, class U, class I>
HWY_INLINE hn::Vec<D> multipliedBytePairs(D, U bytes, I factors) {
  if constexpr (sizeof(bytes.raw) == 32) {
    return hn::Vec<D>{_mm256_maddubs_epi16(bytes.raw, factors.raw)};
  } else {
    return hn::Vec<D>{_mm_maddubs_epi16(bytes.raw, factors.raw)};
  }
}

// The highest bit of each byte, the first byte's lowest: of a mask as a vector, one bit for each byte of a lane.
template <class V>
HWY_INLINE std::uint32_t byteBits(V v) {
  const auto bytes = hn::BitCast(hn::Repartition<std::uint8_t, hn::DFromV<V>>(), v);
  if constexpr (sizeof(bytes.raw) == 32) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes.raw));
  } else {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes.raw));
  }
}

// Of every 16 bytes, floats kFirst and kSecond of `a` and then those of `b`.
template <int kFirst, int kSecond, class V>
HWY_INLINE V pickedFloats(V a, V b) {
  constexpr int kPick = kFirst | kSecond << 2 | kFirst << 4 | kSecond << 6;
  if constexpr (sizeof(a.raw) == 32) {
    return V{_mm256_shuffle_ps(a.raw, b.raw, kPick)};
  } else {
    return V{_mm_shuffle_ps(a.raw, b.raw, kPick)};
  }
}

// Two whole vectors of 32-bit integers, one behind the other, narrowed to the 16-bit type T and saturated.
template <class T, class V>
HWY_INLINE auto narrowPair(V low, V high) {
  using Result = hn::Vec<hn::Repartition<T, hn::DFromV<V>>>;
  if constexpr (sizeof(low.raw) == 32) {
    const auto packed =
        std::is_signed_v<T> ? _mm256_packs_epi32(low.raw, high.raw) : _mm256_packus_epi32(low.raw, high.raw);
    return Result{_mm256_permute4x64_epi64(packed, 0xD8)};  // quarters 0, 2, 1, 3
  } else if constexpr (std::is_signed_v<T>) {
    return Result{_mm_packs_epi32(low.raw, high.raw)};
  } else {
    // SSSE3 has no unsigned narrowing: the range moves down by half and back.
    const hn::DFromV<V> d;
    const auto half = hn::Set(d, 0x8000);
    const hn::RebindToUnsigned<hn::Repartition<T, decltype(d)>> dT;
    return hn::Xor(Result{_mm_packs_epi32(hn::Sub(low, half).raw, hn::Sub(high, half).raw)}, hn::Set(dT, 0x8000));
  }
}

}  // namespace rvp::n8
