/**
 * @file
 * Pyramid layers: the next smaller and the next larger level of an image.
 */
#ifndef RVPCV_PYRAMID_LAYER_H
#define RVPCV_PYRAMID_LAYER_H

#include "pyramid.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup pyramidlayer Pyramid layers
 * @details
 * Down computes the next smaller level of an image, up the next larger one, at any rate above 1 and up to 10. Both
 * take a symmetric kernel of odd size, as `1 4 6 4 1`; which sizes go together is told in @ref pyramid. Let `k` be
 * the kernel, `c = kerSize / 2` its centre, `S = k[c] + 2 * (k[0] + ... + k[c-1])`, and let outside pixels be
 * mirrored about the edge pixels, back and forth where the kernel is longer than the image.
 *
 * **Kernels.** Only the left half and the centre count. `Init` divides by S; a kernel with S = 0 (or, in 32f, of
 * magnitude up to 1.1754944e-38) is taken as it stands. For integer images the coefficients are 16-bit integers
 * with 13 fractional bits:
 *
 *     32f:         k[i] / S
 *     down 8u/16u: trunc(k[i] * 2^14 / S) >> 1
 *     up 8u/16u:   trunc((4 * k[i]) / (2 * S) * 8192 + 0.5) >> 1     in float up to the truncation
 *
 * **Down.** First the image is filtered, along the rows, then along the columns; `>>` rounds down:
 *
 *     8u:  row = sum k * p >> 8,  filtered = sum k * row >> 15    both saturated to 16 bits
 *     16u: row = sum k * p >> 10, filtered = sum k * row >> 13    32-bit sums, then sums of any size
 *     32f: both sums from the centre outwards, the two samples of a coefficient added first
 *
 * so that integers keep 3 fractional bits. Sums of 32 bits wrap, which takes coefficients of several times S.
 * Filtered 16u samples are limited to 2^30 in magnitude. Then it is sampled at multiples of the rate:
 *
 *     rate from 1.99998 to 2.00002: filtered(2x, 2y), at most the last column and row
 *     else, along each row and then along each column, in float, for integers truncated:
 *       p = x * rate, i = trunc(p), f = p - i
 *       f * filtered(i + 1) + (1 - f) * filtered(i),     or filtered(i) where there is no i + 1
 *
 * and integers become `(value + 4) >> 3`, saturated. With the kernel `1 4 6 4 1` at rate 2 and 8u that is
 * `(sum of products + 128) >> 8`, without any intermediate rounding. An image of one level keeps it, with kernels
 * whose normalised coefficients are exact.
 *
 * **Up.** Every source sample spreads over the destination, and what arrives is divided by the weight that arrived,
 * so that a destination sample is a weighted mean, at the edges too. With `e = trunc(c / rate + 0.5)` source sample
 * s, from -e to n + e - 1, lies at `p = s * rate`, `b = trunc(p + 100) - 100`, `f = p - b`, and gives sample `b +
 * t`
 *
 *     f = 0: weight k[c+t]                                for t from -c to c, without the ends where k[0] is 0
 *     else:  weight f * k[c+t-1] + (1 - f) * k[c+t]       for t from 1 - c to c
 *
 * Rows first, then columns. All is 32-bit float, sums in ascending order of s. Where the weights of a sample come
 * to w, with |w| above 1.1754944e-38, the sum is multiplied by r = 1 / w (32f) or r = 32768 / w (8u, 16u), and
 * otherwise by w itself: a sample that no weight reaches is 0. Integers are narrowed by
 *
 *     along rows:    trunc(sum * r + 128) >> 8
 *     along columns: trunc(sum * r + 2097152) >> 22, saturated to the pixel's range
 *
 * At rate 2 with `1 4 6 4 1` weights alternate between 1 6 1 and 4 4.
 *
 * **Memory.** The caller gives a block for the state, and frees it after the last use. It holds pointers to itself,
 * so it may be neither moved nor copied. Nothing is allocated. A block serves one call at a time.
 *
 * **Threads.** Down opens a team for large images, of as many threads as the block has room for. Up runs on the
 * caller's thread. Results do not depend on the number of threads.
 *
 * **Source.** P. J. Burt, E. H. Adelson, "The Laplacian pyramid as a compact image code", IEEE Transactions on
 * Communications 31 (1983), for rate 2.
 * @{
 */

/** State block of a down layer. */
typedef struct RvpiPyramidDownState RvpiPyramidDownState;
/** State block of an up layer. */
typedef struct RvpiPyramidUpState RvpiPyramidUpState;

/** How a down or an up layer finds values between samples. One of ::RvpiPyramidModeCode. */
typedef int32_t RvpiPyramidMode;

/** The modes of a layer. */
enum RvpiPyramidModeCode {
  rvpiPyramidLinear = 2 /**< Linear interpolation, the only mode. */
};

/** @name Size of a down layer's state
 *  @{ */
/**
 * Tells how much memory a down layer needs. For an image that is larger than the kernel in both directions it grows
 * with the size of the team from within which it is called. A size that would pass 31 bits is given as 2147483647,
 * which serves all the same.
 *
 * @param roiSize Size of the largest source, in pixels: of the pyramid's full image, for all its levels.
 * @param kerSize Length of the kernel; odd, and at least 3.
 * @param pStateSize Receives the size of the state block, in bytes.
 * @param pBufferSize Receives the size of the scratch memory of Init, in bytes: `8 * max(width, height)`.
 * @param rate Above 1 and at most 10.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `rate` is not above 1, or above 10, or `kerSize` is below 3 or even.
 */
RVP_API RvpStatus rvpiPyramidLayerDownGetSize_8u_C1R(RvpiSize roiSize, int kerSize, int* pStateSize,
                                                     int* pBufferSize, float rate);
/** @copydoc rvpiPyramidLayerDownGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownGetSize_8u_C3R(RvpiSize roiSize, int kerSize, int* pStateSize,
                                                     int* pBufferSize, float rate);
/** @copydoc rvpiPyramidLayerDownGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownGetSize_16u_C1R(RvpiSize roiSize, int kerSize, int* pStateSize,
                                                      int* pBufferSize, float rate);
/** @copydoc rvpiPyramidLayerDownGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownGetSize_16u_C3R(RvpiSize roiSize, int kerSize, int* pStateSize,
                                                      int* pBufferSize, float rate);
/** @copydoc rvpiPyramidLayerDownGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownGetSize_32f_C1R(RvpiSize roiSize, int kerSize, int* pStateSize,
                                                      int* pBufferSize, float rate);
/** @copydoc rvpiPyramidLayerDownGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownGetSize_32f_C3R(RvpiSize roiSize, int kerSize, int* pStateSize,
                                                      int* pBufferSize, float rate);
/** @} */

/** @name State of a down layer
 *  @{ */
/**
 * Fills the state block of a down layer. See @ref pyramidlayer.
 *
 * @param ppState Receives `pMem`.
 * @param roiSize Size of the largest source, in pixels, as given to `GetSize`.
 * @param rate Above 1 and at most 10.
 * @param pKernel The kernel; not needed after the call.
 * @param kerSize Length of the kernel; odd, and at least 3.
 * @param mode ::rvpiPyramidLinear.
 * @param pMem Memory of the size that `GetSize` tells, at any address.
 * @param pBuffer Scratch memory of the size that `GetSize` tells, at any address. Free for other use after the
 * call; may be null if the image is not larger than the kernel in both directions.
 * @return ::rvpStatusOk, ::rvpStatusKernelNotSymmetric or the first of the errors below.
 * @retval rvpStatusKernelNotSymmetric Warning: the kernel's halves differ (in 32f by more than 1.1754944e-38). The
 * state is complete, with the right half rebuilt from the left.
 * @retval rvpStatusBadArgument `mode` is not 2; after ::rvpStatusBadSize also: `rate` is not above 1, or above 10,
 * or `kerSize` is below 3 or even.
 * @retval rvpStatusNullPointer A pointer is null that is needed.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiPyramidLayerDownInit_8u_C1R(RvpiPyramidDownState** ppState, RvpiSize roiSize, float rate,
                                                  const int16_t* pKernel, int kerSize, RvpiPyramidMode mode,
                                                  uint8_t* pMem, uint8_t* pBuffer);
/** @copydoc rvpiPyramidLayerDownInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownInit_8u_C3R(RvpiPyramidDownState** ppState, RvpiSize roiSize, float rate,
                                                  const int16_t* pKernel, int kerSize, RvpiPyramidMode mode,
                                                  uint8_t* pMem, uint8_t* pBuffer);
/** @copydoc rvpiPyramidLayerDownInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownInit_16u_C1R(RvpiPyramidDownState** ppState, RvpiSize roiSize, float rate,
                                                   const int16_t* pKernel, int kerSize, RvpiPyramidMode mode,
                                                   uint8_t* pMem, uint8_t* pBuffer);
/** @copydoc rvpiPyramidLayerDownInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownInit_16u_C3R(RvpiPyramidDownState** ppState, RvpiSize roiSize, float rate,
                                                   const int16_t* pKernel, int kerSize, RvpiPyramidMode mode,
                                                   uint8_t* pMem, uint8_t* pBuffer);
/** @copydoc rvpiPyramidLayerDownInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownInit_32f_C1R(RvpiPyramidDownState** ppState, RvpiSize roiSize, float rate,
                                                   const float* pKernel, int kerSize, RvpiPyramidMode mode,
                                                   uint8_t* pMem, uint8_t* pBuffer);
/** @copydoc rvpiPyramidLayerDownInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDownInit_32f_C3R(RvpiPyramidDownState** ppState, RvpiSize roiSize, float rate,
                                                   const float* pKernel, int kerSize, RvpiPyramidMode mode,
                                                   uint8_t* pMem, uint8_t* pBuffer);
/** @} */

/** @name Down
 *  @{ */
/**
 * Computes the next smaller level. See @ref pyramidlayer for the formula.
 *
 * One state serves all levels of a pyramid from its full image down. Source and destination must not overlap.
 *
 * @param pSrc First pixel of the level.
 * @param srcStep Row step of the level, in bytes; at least a row, and a multiple of the element size.
 * @param srcRoi Size of the level, in pixels.
 * @param pDst First pixel of the next smaller level.
 * @param dstStep Row step of the next smaller level, in bytes; at least a row, and a multiple of the element size.
 * @param dstRoi Size of the next smaller level, in pixels. If the size given to Init is larger than the kernel in
 * both directions and a level of that pyramid is as high as `srcRoi`, it is the size of the level after that one;
 * among levels of the same height the one as wide as `srcRoi` counts, else the first. Otherwise it is what
 * ::rvpiGetPyramidDownROI gives for `srcRoi`.
 * @param pState The state, made for the same type and number of channels.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` of `srcRoi` is below 1; after the state's rate, `dstRoi` is not the
 * size that goes with `srcRoi`; as the last check, the state's memory is too small for a source of this size.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple A step is no multiple of the element size.
 * @retval rvpStatusBadArgument The state's rate is not above 1, or above 10; after `dstRoi` also: the state was
 * not filled by Init, or for another type.
 */
RVP_API RvpStatus rvpiPyramidLayerDown_8u_C1R(const uint8_t* pSrc, int srcStep, RvpiSize srcRoi, uint8_t* pDst,
                                              int dstStep, RvpiSize dstRoi, RvpiPyramidDownState* pState);
/** @copydoc rvpiPyramidLayerDown_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDown_8u_C3R(const uint8_t* pSrc, int srcStep, RvpiSize srcRoi, uint8_t* pDst,
                                              int dstStep, RvpiSize dstRoi, RvpiPyramidDownState* pState);
/** @copydoc rvpiPyramidLayerDown_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDown_16u_C1R(const uint16_t* pSrc, int srcStep, RvpiSize srcRoi, uint16_t* pDst,
                                               int dstStep, RvpiSize dstRoi, RvpiPyramidDownState* pState);
/** @copydoc rvpiPyramidLayerDown_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDown_16u_C3R(const uint16_t* pSrc, int srcStep, RvpiSize srcRoi, uint16_t* pDst,
                                               int dstStep, RvpiSize dstRoi, RvpiPyramidDownState* pState);
/** @copydoc rvpiPyramidLayerDown_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDown_32f_C1R(const float* pSrc, int srcStep, RvpiSize srcRoi, float* pDst,
                                               int dstStep, RvpiSize dstRoi, RvpiPyramidDownState* pState);
/** @copydoc rvpiPyramidLayerDown_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerDown_32f_C3R(const float* pSrc, int srcStep, RvpiSize srcRoi, float* pDst,
                                               int dstStep, RvpiSize dstRoi, RvpiPyramidDownState* pState);
/** @} */

/** @name Size of an up layer's state
 *  @{ */
/**
 * Tells how much memory an up layer needs: with `k` the kernel's length, `h = k / 2`, `m` the larger side and `c`
 * the number of channels,
 *
 *     P = (width + 2h) * (height + 2h),  Q = (k + width - 1) * (k + height - 1)
 *     32f: 4c * P + 2 * (4k + 4c * (k + Q + m - 1) + 128) + 32
 *     8u:  2c * P + 2 * (2k + 4c * (Q + 2 * (k + m) - 2) + 128) + 32
 *     16u: as 8u with c in place of the first 2c
 *
 * A size that would pass 31 bits is given as 2147483647, which serves all the same.
 *
 * @param roiSize Size of the largest destination, in pixels.
 * @param kerSize Length of the kernel; odd, and at least 3.
 * @param pStateSize Receives the size of the state block, in bytes.
 * @param rate Above 1 and at most 10.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer `pStateSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `rate` is not above 1, or above 10, or `kerSize` is below 3 or even.
 */
RVP_API RvpStatus rvpiPyramidLayerUpGetSize_8u_C1R(RvpiSize roiSize, int kerSize, int* pStateSize, float rate);
/** @copydoc rvpiPyramidLayerUpGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpGetSize_8u_C3R(RvpiSize roiSize, int kerSize, int* pStateSize, float rate);
/** @copydoc rvpiPyramidLayerUpGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpGetSize_16u_C1R(RvpiSize roiSize, int kerSize, int* pStateSize, float rate);
/** @copydoc rvpiPyramidLayerUpGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpGetSize_16u_C3R(RvpiSize roiSize, int kerSize, int* pStateSize, float rate);
/** @copydoc rvpiPyramidLayerUpGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpGetSize_32f_C1R(RvpiSize roiSize, int kerSize, int* pStateSize, float rate);
/** @copydoc rvpiPyramidLayerUpGetSize_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpGetSize_32f_C3R(RvpiSize roiSize, int kerSize, int* pStateSize, float rate);
/** @} */

/** @name State of an up layer
 *  @{ */
/**
 * Fills the state block of an up layer. See @ref pyramidlayer.
 *
 * @param ppState Receives `pMem`.
 * @param roiSize Size of the largest destination, in pixels, as given to `GetSize`.
 * @param rate Above 1 and at most 10.
 * @param pKernel The kernel; not needed after the call.
 * @param kerSize Length of the kernel; odd, and at least 3.
 * @param mode ::rvpiPyramidLinear.
 * @param pMem Memory of the size that `GetSize` tells, at any address.
 * @return ::rvpStatusOk, ::rvpStatusKernelNotSymmetric or the first of the errors below.
 * @retval rvpStatusKernelNotSymmetric Warning: the kernel's halves differ (in 32f by more than 1.1754944e-38). The
 * state is complete, with the right half rebuilt from the left.
 * @retval rvpStatusBadArgument `mode` is not 2; after ::rvpStatusBadSize also: `rate` is not above 1, or above 10,
 * or `kerSize` is below 3 or even.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiPyramidLayerUpInit_8u_C1R(RvpiPyramidUpState** ppState, RvpiSize roiSize, float rate,
                                                const int16_t* pKernel, int kerSize, RvpiPyramidMode mode,
                                                uint8_t* pMem);
/** @copydoc rvpiPyramidLayerUpInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpInit_8u_C3R(RvpiPyramidUpState** ppState, RvpiSize roiSize, float rate,
                                                const int16_t* pKernel, int kerSize, RvpiPyramidMode mode,
                                                uint8_t* pMem);
/** @copydoc rvpiPyramidLayerUpInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpInit_16u_C1R(RvpiPyramidUpState** ppState, RvpiSize roiSize, float rate,
                                                 const int16_t* pKernel, int kerSize, RvpiPyramidMode mode,
                                                 uint8_t* pMem);
/** @copydoc rvpiPyramidLayerUpInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpInit_16u_C3R(RvpiPyramidUpState** ppState, RvpiSize roiSize, float rate,
                                                 const int16_t* pKernel, int kerSize, RvpiPyramidMode mode,
                                                 uint8_t* pMem);
/** @copydoc rvpiPyramidLayerUpInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpInit_32f_C1R(RvpiPyramidUpState** ppState, RvpiSize roiSize, float rate,
                                                 const float* pKernel, int kerSize, RvpiPyramidMode mode,
                                                 uint8_t* pMem);
/** @copydoc rvpiPyramidLayerUpInit_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUpInit_32f_C3R(RvpiPyramidUpState** ppState, RvpiSize roiSize, float rate,
                                                 const float* pKernel, int kerSize, RvpiPyramidMode mode,
                                                 uint8_t* pMem);
/** @} */

/** @name Up
 *  @{ */
/**
 * Computes the next larger level. See @ref pyramidlayer for the formula.
 *
 * Source and destination must not overlap.
 *
 * @param pSrc First pixel of the level.
 * @param srcStep Row step of the level, in bytes; at least a row, and a multiple of the element size.
 * @param srcRoi Size of the level, in pixels.
 * @param pDst First pixel of the next larger level.
 * @param dstStep Row step of the next larger level, in bytes; at least a row, and a multiple of the element size.
 * @param dstRoi Size of the next larger level, in pixels; between the two sizes that ::rvpiGetPyramidUpROI gives
 * for `srcRoi`.
 * @param pState The state, made for the same type and number of channels, and for a destination of at least this
 * size. One made for a smaller size serves as well where its memory is large enough.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` of `srcRoi` is below 1; after the state's rate, `dstRoi` is not a
 * size that goes with `srcRoi`; as the last check, the state's memory is too small for a destination of this size.
 * @retval rvpStatusBadStep A step is shorter than the row.
 * @retval rvpStatusStepNotMultiple A step is no multiple of the element size.
 * @retval rvpStatusBadArgument The state's rate is not above 1, or above 10; after `dstRoi` also: the state was
 * made for another type.
 */
RVP_API RvpStatus rvpiPyramidLayerUp_8u_C1R(const uint8_t* pSrc, int srcStep, RvpiSize srcRoi, uint8_t* pDst,
                                            int dstStep, RvpiSize dstRoi, RvpiPyramidUpState* pState);
/** @copydoc rvpiPyramidLayerUp_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUp_8u_C3R(const uint8_t* pSrc, int srcStep, RvpiSize srcRoi, uint8_t* pDst,
                                            int dstStep, RvpiSize dstRoi, RvpiPyramidUpState* pState);
/** @copydoc rvpiPyramidLayerUp_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUp_16u_C1R(const uint16_t* pSrc, int srcStep, RvpiSize srcRoi, uint16_t* pDst,
                                             int dstStep, RvpiSize dstRoi, RvpiPyramidUpState* pState);
/** @copydoc rvpiPyramidLayerUp_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUp_16u_C3R(const uint16_t* pSrc, int srcStep, RvpiSize srcRoi, uint16_t* pDst,
                                             int dstStep, RvpiSize dstRoi, RvpiPyramidUpState* pState);
/** @copydoc rvpiPyramidLayerUp_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUp_32f_C1R(const float* pSrc, int srcStep, RvpiSize srcRoi, float* pDst,
                                             int dstStep, RvpiSize dstRoi, RvpiPyramidUpState* pState);
/** @copydoc rvpiPyramidLayerUp_8u_C1R */
RVP_API RvpStatus rvpiPyramidLayerUp_32f_C3R(const float* pSrc, int srcStep, RvpiSize srcRoi, float* pDst,
                                             int dstStep, RvpiSize dstRoi, RvpiPyramidUpState* pState);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
