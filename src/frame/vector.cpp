// Vector primitives.
#include "frame/vector.h"

#include <xmmintrin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

#include "frame/checks.h"
#include "frame/scaling.h"
#include "frame/simd.h"
#include "frame/team.h"

namespace rvp::n8 {
namespace {

constexpr int kFloatTeamElements = 4096;
constexpr int kShortTeamElements = 2048;

// Runs body(Slice) over `len` elements: on a team from `threshold` elements on.
template <class Body>
void forElementSlices(int len, int threshold, const Body& body) {
  if (len < threshold) {
    body(Slice{0, len});
  } else {
    forSlices(len, body);
  }
}

struct Lesser {
  template <class T>
  static T of(T a, T b) {
    return a < b ? a : b;
  }
};

struct Greater {
  template <class T>
  static T of(T a, T b) {
    return a > b ? a : b;
  }
};

template <class Choice, class T>
RvpStatus everyPair(const T* pSrc1, const T* pSrc2, T* pDst, unsigned len) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc1, pSrc2, pDst), faultIf(len == 0, rvpStatusBadSize)))
    return fault;
  for (std::size_t i = 0; i < len; ++i) pDst[i] = Choice::of(pSrc1[i], pSrc2[i]);
  return rvpStatusOk;
}

// Double tells every magnitude from a tie: the square is an integer n below 2^32, so a root scaled to k + 1/2 is
// either exact or, while k is below 2^15, at least a 2^-33rd of itself away from that.
std::int16_t scaledMagnitude(int re, int im, double scale) {
  const double square = static_cast<double>(re) * re + static_cast<double>(im) * im;
  return static_cast<std::int16_t>(std::lrint(std::min(std::sqrt(square) * scale, 32767.0)));
}

// MXCSR's rounding field; all bits set mean toward zero.
constexpr unsigned kRoundingBits = 0x6000;

// Float to integer in the rounding of the control word or, with kTruncate, toward zero. It is not inlined, so that
// its arithmetic stays between the writes to the control word.
template <bool kTruncate, class T>
[[gnu::noinline]] void convertScaled(const float* src, T* dst, std::ptrdiff_t len, float scale) {
  const hn::ScalableTag<float> d;
  const hn::RebindToSigned<decltype(d)> di;
  const hn::Rebind<T, decltype(d)> dn;
  const auto largest = hn::Set(d, static_cast<float>(std::numeric_limits<T>::max()));
  // Max returns its second operand for a NaN, here 0.
  const auto convert = [&](auto v) {
    const auto clamped = hn::Min(hn::Max(hn::Mul(v, hn::Set(d, scale)), hn::Zero(d)), largest);
    return hn::DemoteTo(dn, kTruncate ? hn::ConvertTo(di, clamped) : hn::NearestInt(clamped));
  };
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  std::ptrdiff_t i = 0;
  for (; i + lanes <= len; i += lanes) hn::StoreU(convert(hn::LoadU(d, src + i)), dn, dst + i);
  if (i < len) {
    HWY_ALIGN float in[hn::MaxLanes(d)] = {};
    HWY_ALIGN T out[hn::MaxLanes(d)];
    std::copy_n(src + i, len - i, in);
    hn::Store(convert(hn::Load(d, in)), dn, out);
    std::copy_n(out, len - i, dst + i);
  }
}

// 2^127 down to 2^-149, with infinity before and 0 after.
constexpr auto intfTable = [] {
  std::array<float, 279> table{};
  table[0] = std::numeric_limits<float>::infinity();
  double power = 0x1p127;
  for (std::size_t i = 1; i < table.size() - 1; ++i, power /= 2) table[i] = static_cast<float>(power);
  return table;
}();

}  // namespace

template <class T>
RvpStatus rvpsSet(T value, T* pDst, int len) {
  if (RvpStatus fault = firstFault(nullPointer(pDst), badLength(len))) return fault;
  std::fill_n(pDst, len, value);
  return rvpStatusOk;
}
template RvpStatus rvpsSet(std::uint8_t, std::uint8_t*, int);
template RvpStatus rvpsSet(std::int16_t, std::int16_t*, int);
template RvpStatus rvpsSet(std::int32_t, std::int32_t*, int);
template RvpStatus rvpsSet(float, float*, int);

template <class T>
RvpStatus rvpsCopy(const T* pSrc, T* pDst, int len) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), badLength(len))) return fault;
  std::memmove(pDst, pSrc, static_cast<std::size_t>(len) * sizeof(T));
  return rvpStatusOk;
}
template RvpStatus rvpsCopy(const std::uint8_t*, std::uint8_t*, int);
template RvpStatus rvpsCopy(const std::int16_t*, std::int16_t*, int);
template RvpStatus rvpsCopy(const float*, float*, int);

template <class T>
RvpStatus rvpsZero(T* pDst, int len) {
  return rvpsSet(T{0}, pDst, len);
}
template RvpStatus rvpsZero(std::uint8_t*, int);
template RvpStatus rvpsZero(std::int16_t*, int);
template RvpStatus rvpsZero(std::int32_t*, int);
template RvpStatus rvpsZero(float*, int);

template <class T>
RvpStatus rvpsMinEvery(const T* pSrc1, const T* pSrc2, T* pDst, unsigned len) {
  return everyPair<Lesser>(pSrc1, pSrc2, pDst, len);
}
template <class T>
RvpStatus rvpsMaxEvery(const T* pSrc1, const T* pSrc2, T* pDst, unsigned len) {
  return everyPair<Greater>(pSrc1, pSrc2, pDst, len);
}
template <class T>
RvpStatus rvpsMinEvery_I(const T* pSrc, T* pSrcDst, unsigned len) {
  return everyPair<Lesser, T>(pSrc, pSrcDst, pSrcDst, len);
}
template <class T>
RvpStatus rvpsMaxEvery_I(const T* pSrc, T* pSrcDst, unsigned len) {
  return everyPair<Greater, T>(pSrc, pSrcDst, pSrcDst, len);
}
#define RVP_EVERY_I(T)                                       \
  template RvpStatus rvpsMinEvery_I(const T*, T*, unsigned); \
  template RvpStatus rvpsMaxEvery_I(const T*, T*, unsigned);
#define RVP_EVERY(T)                                                 \
  template RvpStatus rvpsMinEvery(const T*, const T*, T*, unsigned); \
  template RvpStatus rvpsMaxEvery(const T*, const T*, T*, unsigned); \
  RVP_EVERY_I(T)
RVP_EVERY(std::uint8_t)
RVP_EVERY(std::uint16_t)
RVP_EVERY(float)
RVP_EVERY(double)
RVP_EVERY_I(std::int16_t)

RvpStatus rvpsMagnitude_32f(const float* pSrcRe, const float* pSrcIm, float* pDst, int len) {
  if (RvpStatus fault = firstFault(nullPointer(pSrcRe, pSrcIm, pDst), badLength(len))) return fault;
  forElementSlices(len, kFloatTeamElements, [&](Slice slice) {
    for (std::ptrdiff_t i : slice) pDst[i] = std::sqrt(pSrcRe[i] * pSrcRe[i] + pSrcIm[i] * pSrcIm[i]);
  });
  return rvpStatusOk;
}

RvpStatus rvpsMagnitude_16s_Sfs(const std::int16_t* pSrcRe, const std::int16_t* pSrcIm, std::int16_t* pDst, int len,
                                int scaleFactor) {
  if (RvpStatus fault = firstFault(nullPointer(pSrcRe, pSrcIm, pDst), badLength(len))) return fault;
  // Beyond these limits every magnitude but 0 saturates, or every one becomes 0.
  const double scale = std::ldexp(1.0, -std::clamp(scaleFactor, -64, 64));
  forElementSlices(len, kShortTeamElements, [&](Slice slice) {
    for (std::ptrdiff_t i : slice) pDst[i] = scaledMagnitude(pSrcRe[i], pSrcIm[i], scale);
  });
  return rvpStatusOk;
}

RvpStatus rvpsSqrt_32f(const float* pSrc, float* pDst, int len) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), badLength(len))) return fault;
  forElementSlices(len, kFloatTeamElements, [&](Slice slice) {
    for (std::ptrdiff_t i : slice) pDst[i] = std::sqrt(pSrc[i]);
  });
  return rvpStatusOk;
}

RvpStatus rvpsSqrt_32f_I(float* pSrcDst, int len) { return rvpsSqrt_32f(pSrcDst, pSrcDst, len); }

template <class T>
RvpStatus rvpsConvert_Sfs(const float* pSrc, T* pDst, int len, int roundMode, int scaleFactor) {
  if (RvpStatus fault = firstFault(nullPointer(pSrc, pDst), badLength(len))) return fault;
  const float scale = owncvGetScale_32s32f(scaleFactor);
  if (roundMode == 0) {
    convertScaled<true>(pSrc, pDst, len, scale);
  } else if (roundMode == 1) {
    convertScaled<false>(pSrc, pDst, len, scale);
  } else {
    const unsigned former = rvp_set_rc_ssx(kRoundingBits);
    convertScaled<false>(pSrc, pDst, len, scale);
    if ((former & kRoundingBits) != kRoundingBits) rvp_set_rc_ssx(former);
  }
  return rvpStatusOk;
}
template RvpStatus rvpsConvert_Sfs(const float*, std::uint8_t*, int, int, int);
template RvpStatus rvpsConvert_Sfs(const float*, std::uint16_t*, int, int, int);

RvpStatus rvpsSortAscend_64f_I(double* pSrcDst, int len) {
  if (RvpStatus fault = firstFault(nullPointer(pSrcDst), badLength(len))) return fault;
  // NaN behind all numbers makes the order a strict one, without which a sort may leave its array.
  std::sort(pSrcDst, pSrcDst + len, [](double a, double b) { return a < b || (std::isnan(b) && !std::isnan(a)); });
  return rvpStatusOk;
}

template <class T>
T* rvpsMalloc(int len) {
  constexpr int kMostElements = std::numeric_limits<int>::max() / static_cast<int>(sizeof(T));
  if (len < 1 || len > kMostElements) return nullptr;
  return static_cast<T*>(rvpMalloc(static_cast<std::size_t>(len) * sizeof(T)));
}
template float* rvpsMalloc(int);
template std::int32_t* rvpsMalloc(int);
template double* rvpsMalloc(int);

void rvpsFree(void* block) { rvpFree(block); }

float owncvGetScale_32s32f(int scaleFactor) {
  // The factor is clamped before its sign is turned, so that the least one has a negative.
  const int exponent = -std::clamp(scaleFactor, -128, 150);
  return intfTable[static_cast<std::size_t>(128 - exponent)];
}

unsigned rvp_set_rc_ssx(unsigned bits) {
  const unsigned former = _mm_getcsr();
  _mm_setcsr((former & ~kRoundingBits) | (bits & kRoundingBits));
  return former;
}

}  // namespace rvp::n8
