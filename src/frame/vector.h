// Vector primitives: operations on `len` elements in memory. A template bears the common stem of its typed forms;
// the forms that exist are listed at its declaration. Pointers are checked first, then the length.
#pragma once

#include <cstdint>

#include "rvpcv/types.h"

namespace rvp::n8 {

// Every element becomes `value`. 8u, 16s, 32s, 32f.
template <class T>
RvpStatus rvpsSet(T value, T* pDst, int len);

// 8u, 16s, 32f.
template <class T>
RvpStatus rvpsCopy(const T* pSrc, T* pDst, int len);

// Every element becomes 0. 8u, 16s, 32s, 32f.
template <class T>
RvpStatus rvpsZero(T* pDst, int len);

// The lesser, or the greater, of each pair. In float the result is the second operand where one of the two is NaN
// or both are zeros. The count is unsigned: 0 alone is refused. 8u, 16u, 32f, 64f; in place also 16s.
template <class T>
RvpStatus rvpsMinEvery(const T* pSrc1, const T* pSrc2, T* pDst, unsigned len);
template <class T>
RvpStatus rvpsMaxEvery(const T* pSrc1, const T* pSrc2, T* pDst, unsigned len);
template <class T>
RvpStatus rvpsMinEvery_I(const T* pSrc, T* pSrcDst, unsigned len);
template <class T>
RvpStatus rvpsMaxEvery_I(const T* pSrc, T* pSrcDst, unsigned len);

// sqrt(re * re + im * im), each operation rounded by itself to float. A square beyond the range of float gives
// infinity. On a team from 4096 elements on.
RvpStatus rvpsMagnitude_32f(const float* pSrcRe, const float* pSrcIm, float* pDst, int len);

// The magnitude times 2^-scaleFactor, rounded to the nearest 16-bit integer and saturated; a magnitude is either a
// whole number or irrational, and a half that scaling makes of a whole one goes to the even neighbour. On a team
// from 2048 elements on.
RvpStatus rvpsMagnitude_16s_Sfs(const std::int16_t* pSrcRe, const std::int16_t* pSrcIm, std::int16_t* pDst, int len,
                                int scaleFactor);

// Square roots; a negative element gives NaN. On a team from 4096 elements on.
RvpStatus rvpsSqrt_32f(const float* pSrc, float* pDst, int len);
RvpStatus rvpsSqrt_32f_I(float* pSrcDst, int len);

// Each element times 2^-scaleFactor as an integer, saturated; NaN gives 0. roundMode 1 rounds to nearest, ties to
// even; any other rounds toward zero. 8u, 16u.
template <class T>
RvpStatus rvpsConvert_Sfs(const float* pSrc, T* pDst, int len, int roundMode, int scaleFactor);

// Ascending order; NaN counts as greater than any number, and equal elements are not told apart.
RvpStatus rvpsSortAscend_64f_I(double* pSrcDst, int len);

// atan2(pSrc1[i], pSrc2[i]) in radians, with an error of at most 2^-21 of the result, or of one denormal step.
// Signs, zeros, infinities and NaN behave as in the C library. The same bits on every processor.
RvpStatus rvpsAtan2_32f_A21(const float* pSrc1, const float* pSrc2, float* pDst, int len);

// A block of `len` elements from the core library, or null if `len` is below 1 or the block would pass 2^31 - 1
// bytes. 32f, 32s, 64f.
template <class T>
T* rvpsMalloc(int len);
void rvpsFree(void* block);

// 2^-scaleFactor as a float; infinity below a factor of -127, and 0 above 149.
float owncvGetScale_32s32f(int scaleFactor);

// Sets the rounding bits (0x6000) of the floating-point control word to those of `bits`; returns the former word.
unsigned rvp_set_rc_ssx(unsigned bits);

}  // namespace rvp::n8
