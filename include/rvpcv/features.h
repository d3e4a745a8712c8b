/**
 * @file
 * Edges, corners and lines.
 */
#ifndef RVPCV_FEATURES_H
#define RVPCV_FEATURES_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A derivative filter. One of ::RvpiDerivativeFilter. */
typedef int32_t RvpiFilterKind;

/** The derivative filters. */
enum RvpiDerivativeFilter {
  rvpFilterSobel = 2,            /**< Sobel, 3x3 or 5x5. */
  rvpFilterScharr = 5,           /**< Scharr, 3x3. */
  rvpFilterCentralDifference = 8 /**< The difference of a pixel's two neighbours; for corners alone. */
};

/** How a gradient is measured. One of ::RvpiGradientNorm. */
typedef int32_t RvpiNormKind;

/** The norms of a gradient. */
enum RvpiGradientNorm {
  rvpNormL1 = 2, /**< `|dx| + |dy|` */
  rvpNormL2 = 4  /**< `sqrt(dx * dx + dy * dy)` */
};

/**
 * @addtogroup canny Canny edges
 * @details
 * Edges one pixel wide: 255 where there is an edge, 0 elsewhere. After J. Canny, "A computational approach to edge
 * detection", IEEE Transactions on Pattern Analysis and Machine Intelligence 8 (1986).
 *
 * **Magnitude.** Each pixel has a gradient (dx, dy), with dx growing to the right and dy downwards, and a magnitude
 * `m`, set to 0 if it does not pass the low threshold:
 *
 * | source of the gradient       | magnitude                                    | passes if  |
 * | ---------------------------- | -------------------------------------------- | ---------- |
 * | ::rvpiCanny_32f8u_C1R        | `|dx| + |dy|`                                | `m >= low` |
 * | ::rvpiCanny_16s8u_C1R        | `|dx| + |dy|`, see below                     | `m > low`  |
 * | ::rvpiCannyBorder_8u_C1R, L1 | `|dx| + |dy|`                                | `m > low`  |
 * | ::rvpiCannyBorder_8u_C1R, L2 | `sqrt(dx * dx + dy * dy)`, rounded to float  | `m > low`  |
 *
 * For 16-bit gradients both thresholds are cut to integers. Sums saturate at 65535 in whole blocks of eight columns
 * from the start of a row; in the columns that are left they can reach 65536.
 *
 * **Thinning.** The direction of the gradient falls into one of four sectors, each with two neighbours along it.
 * With `ax`, `ay` the absolute derivatives, `t` of 0.41421357 and `u` of 2.4142137 in float:
 *
 * | sector (first that holds)        | first neighbour | second neighbour | is a maximum if                |
 * | -------------------------------- | --------------- | ---------------- | ------------------------------ |
 * | `u * ax < ay`                    | (x, y - 1)      | (x, y + 1)       | `m > first and m >= second`    |
 * | `ay < t * ax`                    | (x - 1, y)      | (x + 1, y)       | `m > first and m >= second`    |
 * | dx and dy have the same sign     | (x - 1, y - 1)  | (x + 1, y + 1)   | `m > first and m > second`     |
 * | otherwise                        | (x + 1, y - 1)  | (x - 1, y + 1)   | `m > first and m > second`     |
 *
 * So of a plateau along an axis the leftmost or topmost pixel stays, and of one along a diagonal none. Outside the
 * image all magnitudes are 0. In ::rvpiCannyBorder_8u_C1R the product `u * ax` is `ax + ax + t * ax`. In
 * ::rvpiCanny_16s8u_C1R the columns behind the last whole group of four from a row's start take the tangents in
 * double. The sign of a zero counts as it stands.
 *
 * **Hysteresis.** A maximum with `m > high` is an edge; a maximum that touches an edge at one of its eight
 * neighbours is one, too. A threshold that is NaN is never passed by an integer magnitude; thresholds that are
 * equal are allowed.
 *
 * **Memory and threads.** The scratch holds a byte and a stack entry for each pixel, and three rows of magnitudes.
 * It may stand at any address, needs no preparation, and serves one call at a time. Nothing is allocated. The calls
 * run on the caller's thread.
 * @{
 */

/**
 * Tells how much scratch ::rvpiCanny_16s8u_C1R and ::rvpiCanny_32f8u_C1R need.
 *
 * With `n` of `(width + 2) * (height + 2)`, the size is `5 * n + 16 * width + 160` if width and height are below
 * 65533, and `9 * n + 16 * width + 160` otherwise, in 32-bit arithmetic: regions whose size would not fit wrap and
 * cannot be worked on.
 *
 * @param roiSize Size of the region, in pixels.
 * @param[out] pBufferSize Bytes of scratch. Untouched on an error.
 * @retval rvpStatusOk The size is written.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 */
RVP_API RvpStatus rvpiCannyGetSize(RvpiSize roiSize, int* pBufferSize);

/**
 * Tells how much scratch ::rvpiCannyBorder_8u_C1R needs.
 *
 * With `k` of 2 for a 3x3 mask and 4 for 5x5, `W` of `width + k`, `n` of `W * (height + k)` and all terms rounded
 * up to multiples of 32, the size is `16 * W + n + 4 * n + 64`, and `n` once more if a side is shorter than the
 * mask; in 32-bit arithmetic, which wraps.
 *
 * @param roiSize Size of the region, in pixels.
 * @param filterKind Has no influence.
 * @param maskSize 33 or 55.
 * @param normKind Has no influence.
 * @param[out] pBufferSize Bytes of scratch. Untouched on an error.
 * @retval rvpStatusOk The size is written.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadMaskSize `maskSize` is neither 33 nor 55.
 */
RVP_API RvpStatus rvpiCannyBorderGetSize(RvpiSize roiSize, RvpiFilterKind filterKind, RvpiMaskSize maskSize,
                                         RvpiNormKind normKind, int* pBufferSize);

/** @name Edges from derivatives
 *  @{ */
/**
 * Finds edges from the x and y derivatives of an image. See @ref canny.
 *
 * @param pSrcDx First pixel of the x derivative, right minus left.
 * @param srcDxStep Its row step, in bytes.
 * @param pSrcDy First pixel of the y derivative, below minus above.
 * @param srcDyStep Its row step, in bytes.
 * @param pDstEdges First pixel of the edge image, which must not overlap the derivatives.
 * @param dstEdgeStep Its row step, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pBuffer Scratch of ::rvpiCannyGetSize.
 * @param lowThreshold Low threshold, at least 0.
 * @param highThreshold High threshold, at least the low one.
 * @retval rvpStatusOk The edges are written.
 * @retval rvpStatusNullPointer `pSrcDx`, `pSrcDy`, `pDstEdges` or `pBuffer` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is shorter than its row.
 * @retval rvpStatusStepNotMultiple The step of a derivative is no multiple of its element.
 * @retval rvpStatusBadArgument `lowThreshold` is below 0 or above `highThreshold`.
 */
RVP_API RvpStatus rvpiCanny_16s8u_C1R(const int16_t* pSrcDx, int srcDxStep, const int16_t* pSrcDy, int srcDyStep,
                                      uint8_t* pDstEdges, int dstEdgeStep, RvpiSize roiSize, uint8_t* pBuffer,
                                      float lowThreshold, float highThreshold);
RVP_API RvpStatus rvpiCanny_32f8u_C1R(const float* pSrcDx, int srcDxStep, const float* pSrcDy, int srcDyStep,
                                      uint8_t* pDstEdges, int dstEdgeStep, RvpiSize roiSize, uint8_t* pBuffer,
                                      float lowThreshold, float highThreshold);
/** @} */

/**
 * Finds edges in an image. See @ref canny.
 *
 * The derivative along x is the difference of columns, smoothed down the rows, and along y the same turned round:
 * differences (-1, 0, 1) with smoothing (1, 2, 1) for Sobel 3x3 and (3, 10, 3) for Scharr; (-1, -2, 0, 2, 1) with
 * (1, 4, 6, 4, 1) for Sobel 5x5. They are exact.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes; not checked.
 * @param pDst First pixel of the edge image. It may be the source.
 * @param dstStep Row step of the edge image, in bytes; not checked.
 * @param roiSize Size of the region, in pixels.
 * @param filterKind ::rvpFilterSobel or ::rvpFilterScharr.
 * @param maskSize 33, or 55 for Sobel.
 * @param borderType ::rvpBorderConst, ::rvpBorderRepl or ::rvpBorderInMem, with side flags; other bits count for
 *        nothing. ::rvpBorderInMem with flags reads those sides alone, and the others are constant. A side in
 * memory needs 1 (3x3) or 2 (5x5) pixels there. A region with a side shorter than the mask has `borderValue` on all
 * sides whatever the selector says.
 * @param borderValue The pixels outside.
 * @param normKind ::rvpNormL1 or ::rvpNormL2.
 * @param pBuffer Scratch of ::rvpiCannyBorderGetSize.
 * @param lowThreshold Low threshold, at least 0.
 * @param highThreshold High threshold, at least the low one.
 * @retval rvpStatusOk The edges are written.
 * @retval rvpStatusBadMaskSize Scharr with 5x5, or `maskSize` is neither 33 nor 55.
 * @retval rvpStatusNullPointer `pSrc`, `pDst` or `pBuffer` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `filterKind` or `normKind` is none of the above, or `lowThreshold` is below 0 or
 * above `highThreshold`.
 * @retval rvpStatusBadBorder The mode of `borderType` is none of the above.
 */
RVP_API RvpStatus rvpiCannyBorder_8u_C1R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                         RvpiSize roiSize, RvpiFilterKind filterKind, RvpiMaskSize maskSize,
                                         RvpiBorderType borderType, uint8_t borderValue, RvpiNormKind normKind,
                                         uint8_t* pBuffer, float lowThreshold, float highThreshold);

/** @} */

/** Derivatives for the eigenvalue measures. One of ::RvpiTensorKernel. */
typedef int32_t RvpiKernelKind;

/** The derivatives of the eigenvalue measures. */
enum RvpiTensorKernel {
  rvpKernelSobel = 0,       /**< Sobel: dx is right minus left, dy above minus below. */
  rvpKernelScharr = 1,      /**< Scharr: dx is right minus left, dy below minus above. */
  rvpKernelSobelNegated = 2 /**< Sobel with the opposite dx. */
};

/**
 * @addtogroup eigenvalues Eigenvalues of the structure tensor
 * @details
 * How an image varies around a pixel: the tensor `(a b; b c)` holds the sums, over a window of 3x3 or 5x5 pixels,
 * of `dx * dx`, `dx * dy` and `dy * dy`. Two large eigenvalues mark a corner, a large one and a small one an edge.
 * The smaller eigenvalue as a measure of corners is due to J. Shi and C. Tomasi, "Good features to track", CVPR
 * (1994).
 *
 * **Derivatives** are those of @ref canny : differences (-1, 0, 1) smoothed by (1, 2, 1), or (3, 10, 3) for
 * ::rvpKernelScharr; with `apertureSize` 5, (-1, -2, 0, 2, 1) smoothed by (1, 4, 6, 4, 1). Each product is rounded
 * to float, and so is each addition: along a row of the window in ascending order, then down its columns with the
 * centre first, as in @ref lowpass.
 *
 * **Scale.** `s = 1 / (255 << (2 * apertureSize - 2))`, that is 1/4080 or 1/65280, times 0.6125 for Scharr.
 *
 * **rvpiMinEigenVal** writes one float a pixel, the smaller eigenvalue:
 *
 *     ((a + c) - sqrt((a - c)^2 + 4 * b^2)) * (s * 0.5)
 *
 * **rvpiEigenValsVecs** writes six floats a pixel: the larger eigenvalue l1, the smaller one l2, the unit vector
 * (x1, y1) of l1 and the unit vector (x2, y2) of l2. With `a`, `b`, `c` multiplied by `s` first,
 * `r = sqrt(4 * b * b + (a - c)^2)` and `t = max(a, c) * 0.01`:
 *
 *     l1 = ((a + c) + r) * 0.5            l2 = ((a + c) - r) * 0.5
 *     if t > min(a, c) or t > a * c - b * b:  all six are 0
 *     else if t > |b|:                        the vectors are (1, 0) and (0, 1)
 *     else with q = b for Scharr, -b for both Sobel kinds:
 *       (x1, y1) = (q, l1 - a) / max(1.1920929e-7, |(q, l1 - a)|)
 *       (x2, y2) = (q, l2 - a) / max(1.1920929e-7, |(q, l2 - a)|)
 *
 * With y downwards, the vectors of ::rvpKernelSobel and ::rvpKernelScharr are the tensor's eigenvectors; those of
 * ::rvpKernelSobelNegated are mirrored. In a flat image all values and vectors are 0.
 *
 * **Borders.** The forms without a border argument use ::rvpBorderRepl. The others take ::rvpBorderConst,
 * ::rvpBorderRepl, ::rvpBorderMirror or ::rvpBorderInMem with side flags. The source is extended by the selector
 * for the derivatives; a side in memory needs `apertureSize / 2` pixels there. The products are then extended in
 * turn: with 0 for ::rvpBorderConst, by the mode on the sides that are made up, and by the nearest product on the
 * sides that are in memory.
 *
 * **Parameters.** Source and destination must not overlap. A step is in bytes, at least as long as the row
 * (`24 * width` for six floats a pixel), and a multiple of 4 for float images. The scratch may stand at any
 * address.
 *
 * **Statuses**, in the order of checking:
 * 1. ::rvpStatusNullPointer: `pSrc`, `pDst` or `pBuffer` is null.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1.
 * 3. ::rvpStatusBadStep: a step is shorter than its row.
 * 4. ::rvpStatusStepNotMultiple: the step of a float image is no multiple of 4.
 * 5. ::rvpStatusBadArgument: `kernelKind` is none of ::RvpiTensorKernel; ::rvpStatusBadSize: `apertureSize` is not
 * 3 or 5, or not 3 for ::rvpKernelScharr.
 * 6. ::rvpStatusBadSize: `avgWindow` is neither 3 nor 5.
 * 7. ::rvpStatusBadBorder: the mode of `borderType`, its low four bits, is none of the above; then
 *    ::rvpStatusBadArgument: a bit above the side flags is set.
 *
 * **Memory and threads.** The size functions report room for five planes of the image and the filters' scratch.
 * Nothing is allocated. From 256 rows on, the rows are shared out to a team with at least 128 rows for each thread;
 * the result does not depend on their number.
 * @{
 */

/** @name Scratch sizes
 *  @{ */
/**
 * Tells how much scratch an operation needs, in 32-bit arithmetic that wraps for regions beyond 2 GiB.
 *
 * @param roiSize Size of the region, in pixels.
 * @param apertureSize Side of the derivatives' mask, 3 or 5.
 * @param avgWindow Side of the window, 3 or 5.
 * @param[out] pBufferSize Bytes of scratch. Untouched on an error. The number of threads must not grow between this
 *             call and the operation.
 * @retval rvpStatusOk The size is written.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1, or `apertureSize` or `avgWindow` is neither 3 nor 5.
 * @retval rvpStatusSizeOverflow The filters' scratch does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiMinEigenValGetBufferSize_8u32f_C1R(RvpiSize roiSize, int apertureSize, int avgWindow,
                                                         int* pBufferSize);
RVP_API RvpStatus rvpiMinEigenValGetBufferSize_32f_C1R(RvpiSize roiSize, int apertureSize, int avgWindow,
                                                       int* pBufferSize);
RVP_API RvpStatus rvpiEigenValsVecsGetBufferSize_8u32f_C1R(RvpiSize roiSize, int apertureSize, int avgWindow,
                                                           int* pBufferSize);
RVP_API RvpStatus rvpiEigenValsVecsGetBufferSize_32f_C1R(RvpiSize roiSize, int apertureSize, int avgWindow,
                                                         int* pBufferSize);
/** @} */

/** @name Smaller eigenvalue
 *  @{ */
/**
 * Writes the smaller eigenvalue of each pixel. See @ref eigenvalues for the formula, the limits and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the destination.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param kernelKind One of ::RvpiTensorKernel.
 * @param apertureSize Side of the derivatives' mask, 3 or 5.
 * @param avgWindow Side of the window, 3 or 5.
 * @param pBuffer Scratch of the size function of the same types.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiMinEigenVal_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                            RvpiSize roiSize, RvpiKernelKind kernelKind, int apertureSize,
                                            int avgWindow, uint8_t* pBuffer);
RVP_API RvpStatus rvpiMinEigenVal_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                          RvpiSize roiSize, RvpiKernelKind kernelKind, int apertureSize,
                                          int avgWindow, uint8_t* pBuffer);
/** @} */

/** @name Smaller eigenvalue with a border
 *  @{ */
/**
 * Writes the smaller eigenvalue of each pixel. See @ref eigenvalues for the formula, the limits and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the destination.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param kernelKind One of ::RvpiTensorKernel.
 * @param apertureSize Side of the derivatives' mask, 3 or 5.
 * @param avgWindow Side of the window, 3 or 5.
 * @param borderType A border mode with side flags.
 * @param borderValue The pixels outside, for ::rvpBorderConst alone.
 * @param pBuffer Scratch of the size function of the same types.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiMinEigenValBorder_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiKernelKind kernelKind, int apertureSize,
                                                  int avgWindow, RvpiBorderType borderType, uint8_t borderValue,
                                                  uint8_t* pBuffer);
RVP_API RvpStatus rvpiMinEigenValBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                RvpiSize roiSize, RvpiKernelKind kernelKind, int apertureSize,
                                                int avgWindow, RvpiBorderType borderType, float borderValue,
                                                uint8_t* pBuffer);
/** @} */

/** @name Eigenvalues and eigenvectors
 *  @{ */
/**
 * Writes both eigenvalues and their vectors, six floats a pixel. See @ref eigenvalues for the formula, the limits
 * and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the destination.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param kernelKind One of ::RvpiTensorKernel.
 * @param apertureSize Side of the derivatives' mask, 3 or 5.
 * @param avgWindow Side of the window, 3 or 5.
 * @param pBuffer Scratch of the size function of the same types.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiEigenValsVecs_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                              RvpiSize roiSize, RvpiKernelKind kernelKind, int apertureSize,
                                              int avgWindow, uint8_t* pBuffer);
RVP_API RvpStatus rvpiEigenValsVecs_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                            RvpiSize roiSize, RvpiKernelKind kernelKind, int apertureSize,
                                            int avgWindow, uint8_t* pBuffer);
/** @} */

/** @name Eigenvalues and eigenvectors with a border
 *  @{ */
/**
 * Writes both eigenvalues and their vectors, six floats a pixel. See @ref eigenvalues for the formula, the limits
 * and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the destination.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param kernelKind One of ::RvpiTensorKernel.
 * @param apertureSize Side of the derivatives' mask, 3 or 5.
 * @param avgWindow Side of the window, 3 or 5.
 * @param borderType A border mode with side flags.
 * @param borderValue The pixels outside, for ::rvpBorderConst alone.
 * @param pBuffer Scratch of the size function of the same types.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiEigenValsVecsBorder_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                    RvpiSize roiSize, RvpiKernelKind kernelKind, int apertureSize,
                                                    int avgWindow, RvpiBorderType borderType, uint8_t borderValue,
                                                    uint8_t* pBuffer);
RVP_API RvpStatus rvpiEigenValsVecsBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiKernelKind kernelKind, int apertureSize,
                                                  int avgWindow, RvpiBorderType borderType, float borderValue,
                                                  uint8_t* pBuffer);
/** @} */

/** @} */

/**
 * @addtogroup harris Harris corners
 * @details
 * The corner response of C. Harris and M. Stephens, "A combined corner and edge detector", Alvey Vision Conference
 * (1988): large and positive at corners, negative along edges, small in flat areas. With `a`, `b`, `c` the means of
 * `dx * dx`, `dx * dy` and `dy * dy` over a window of `avgWindow` by `avgWindow` pixels,
 *
 *     dst = (a * c - b * b - (a + c) * (k * (a + c))) * s,   s = avgWindow^4 * scale
 *
 * so that scale 1 gives the response of the sums. Each operation is rounded to float by itself; a mean is the sum
 * over the window times `1 / avgWindow^2`, rounded once. The fourth power is taken in unsigned 32-bit arithmetic,
 * its product with the scale in double.
 *
 * **Derivatives** are those of @ref canny for ::rvpFilterSobel, 3x3 or 5x5, and ::rvpFilterScharr, 3x3. For
 * ::rvpFilterCentralDifference, with mask 33, dx is the right minus the left neighbour and dy the one above minus
 * the one below.
 *
 * **Window.** The offsets of an odd window reach from `-avgWindow / 2` to `avgWindow / 2`, of an even one from
 * `1 - avgWindow / 2` to `avgWindow / 2`. The time grows with the logarithm of `avgWindow`.
 *
 * **Sums.** Sums of floats are made of the terms of their window alone, so that NaN or infinity reaches only the
 * windows that contain it. A term is rounded into a sum at most `2.5 * log2(avgWindow) + 5` times along the row and
 * `avgWindow - 1` times down the columns. The order of the additions down the columns of a window other than 1, 3
 * and 5 follows from the row's number in the region. Of bytes, such windows are summed exactly and rounded to float
 * once as long as `avgWindow^2 * m^2` is below 2^31, where `m` is the largest derivative: up to 45 for Sobel 3x3 (m
 * is 1020), 11 for Scharr (4080) and 181 for the central difference (255).
 *
 * **Borders.** The mode is in the low three bits: ::rvpBorderConst, ::rvpBorderRepl, ::rvpBorderMirror or
 * ::rvpBorderInMem, with side flags; other bits count for nothing. The source is extended for the derivatives; then
 * the products are extended for the window by the same mode, with 0 for ::rvpBorderConst. On a side in memory the
 * products beyond it are made from the pixels there: with `r` of 1 (3x3) or 2 (5x5), `r + avgWindow / 2` pixels
 * must be in memory, and one less to the left and above for an even window.
 *
 * **Memory and threads.** The scratch may stand at any address. Nothing is allocated. The calls run on the caller's
 * thread.
 * @{
 */

/**
 * Tells how much scratch ::rvpiHarrisCorner_8u32f_C1R and ::rvpiHarrisCorner_32f_C1R need, with any border.
 *
 * @param roiSize Size of the region, in pixels.
 * @param maskSize 33 or 55.
 * @param avgWindow Side of the window, at least 1.
 * @param dataType Type of the source, ::rvp8u or ::rvp32f.
 * @param numChannels 1.
 * @param[out] pBufferSize Bytes of scratch. Untouched on an error.
 * @retval rvpStatusOk The size is written.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1. As the last check, `avgWindow` is 0; a
 *         negative one gives ::rvpStatusBadMaskSize.
 * @retval rvpStatusBadMaskSize `maskSize` is neither 33 nor 55.
 * @retval rvpStatusBadDataType `dataType` is neither ::rvp8u nor ::rvp32f.
 * @retval rvpStatusBadNumChannels `numChannels` is not 1.
 * @retval rvpStatusSizeOverflow The size does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiHarrisCornerGetBufferSize(RvpiSize roiSize, RvpiMaskSize maskSize, int avgWindow,
                                                RvpDataType dataType, int numChannels, int* pBufferSize);

/** @name Corner response
 *  @{ */
/**
 * Writes the corner response of each pixel. See @ref harris.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the response, which must not overlap the source.
 * @param dstStep Row step of the response, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param filterKind One of ::RvpiDerivativeFilter.
 * @param maskSize 33, or 55 for ::rvpFilterSobel.
 * @param avgWindow Side of the window, at least 1.
 * @param k Weight of the squared trace; 0.04 to 0.06 is usual.
 * @param scale Factor of the response.
 * @param borderType A border mode with side flags.
 * @param borderValue The pixels outside, for ::rvpBorderConst alone.
 * @param pBuffer Scratch of ::rvpiHarrisCornerGetBufferSize.
 * @retval rvpStatusOk The response is written.
 * @retval rvpStatusNullPointer `pSrc`, `pDst` or `pBuffer` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1; after ::rvpStatusBadBorder also: `avgWindow` is below 1.
 * @retval rvpStatusStepNotMultiple The step of a float image is no multiple of 4.
 * @retval rvpStatusBadFilterType `filterKind` is none of ::RvpiDerivativeFilter.
 * @retval rvpStatusBadMaskSize `maskSize` is neither 33, nor 55 for ::rvpFilterSobel.
 * @retval rvpStatusBadBorder The mode of `borderType` is none of the above.
 * @retval rvpStatusBadStep A step is negative; steps are not compared with rows.
 * @retval rvpStatusInPlaceNotSupported `pSrc` equals `pDst`, in the `32f` form.
 */
RVP_API RvpStatus rvpiHarrisCorner_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                             RvpiSize roiSize, RvpiFilterKind filterKind, RvpiMaskSize maskSize,
                                             int avgWindow, float k, float scale, RvpiBorderType borderType,
                                             uint8_t borderValue, uint8_t* pBuffer);
RVP_API RvpStatus rvpiHarrisCorner_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                           RvpiSize roiSize, RvpiFilterKind filterKind, RvpiMaskSize maskSize,
                                           int avgWindow, float k, float scale, RvpiBorderType borderType,
                                           float borderValue, uint8_t* pBuffer);
/** @} */
/** @} */

/**
 * @addtogroup suppression Line suppression
 * @details
 * Thins out feature pixels: those on a line go, those on a corner stay. The measure is the squared trace of the
 * structure tensor over its determinant, as in D. G. Lowe, "Distinctive image features from scale-invariant
 * keypoints", International Journal of Computer Vision 60 (2004), taken of first derivatives.
 * @{
 */

/**
 * Tells how much scratch ::rvpiLineSuppression_8u_C1R needs: exactly ::rvpiHarrisCornerGetBufferSize, with the same
 * arguments and statuses.
 *
 * @param roiSize Size of the region, in pixels.
 * @param maskSize 33 or 55.
 * @param avgWindow Side of the window, at least 1.
 * @param dataType ::rvp8u, or ::rvp32f, which is not used.
 * @param numChannels 1.
 * @param[out] pBufferSize Bytes of scratch. Untouched on an error.
 * @return The first status that applies, in the order of ::rvpiHarrisCornerGetBufferSize.
 */
RVP_API RvpStatus rvpiLineSuppressionGetBufferSize(RvpiSize roiSize, RvpiMaskSize maskSize, int avgWindow,
                                                   RvpDataType dataType, int numChannels, int* pBufferSize);

/**
 * Keeps the feature pixels that do not lie on a line.
 *
 * With `a`, `b`, `c` the means of @ref harris, in float,
 *
 *     dst = 0 if (a + c) * (a + c) > (a * c - b * b) * threshold, and the pixel of pFeature otherwise
 *
 * The comparison is strict, so that flat areas keep their features. A corner whose eigenvalues have the ratio `r`
 * stays from a threshold of `(r + 1)^2 / r` on. Derivatives, window, borders, memory and threads are those of @ref
 * harris.
 *
 * @param pSrc First pixel of the image.
 * @param srcStep Row step of the image, in bytes.
 * @param pFeature First pixel of the features.
 * @param featureStep Row step of the features, in bytes.
 * @param pDst First pixel of the destination, which must not overlap the image or the features.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param filterKind One of ::RvpiDerivativeFilter.
 * @param maskSize 33, or 55 for ::rvpFilterSobel.
 * @param avgWindow Side of the window, at least 1.
 * @param threshold Any float.
 * @param borderType A border mode with side flags.
 * @param borderValue The pixels outside, for ::rvpBorderConst alone.
 * @param pBuffer Scratch of ::rvpiLineSuppressionGetBufferSize, for ::rvp8u.
 * @retval rvpStatusOk The features are written.
 * @retval rvpStatusNullPointer `pSrc`, `pFeature`, `pDst` or `pBuffer` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1; after ::rvpStatusBadBorder also: `avgWindow` is below 1.
 * @retval rvpStatusBadFilterType `filterKind` is none of ::RvpiDerivativeFilter.
 * @retval rvpStatusBadMaskSize `maskSize` is neither 33, nor 55 for ::rvpFilterSobel.
 * @retval rvpStatusBadBorder The mode of `borderType` is none of @ref harris.
 * @retval rvpStatusBadStep A step is negative; steps are not compared with rows.
 * @retval rvpStatusInPlaceNotSupported `pFeature` equals `pDst`.
 */
RVP_API RvpStatus rvpiLineSuppression_8u_C1R(const uint8_t* pSrc, int srcStep, const uint8_t* pFeature,
                                             int featureStep, uint8_t* pDst, int dstStep, RvpiSize roiSize,
                                             RvpiFilterKind filterKind, RvpiMaskSize maskSize, int avgWindow,
                                             float threshold, RvpiBorderType borderType, uint8_t borderValue,
                                             uint8_t* pBuffer);

/** @} */

/** The neighbourhood of a peak. One of ::RvpiPeakNeighbourhood. */
typedef int32_t RvpiPeakNorm;

/** The neighbourhoods of a peak. */
enum RvpiPeakNeighbourhood {
  rvpPeakSquare = 0, /**< All eight neighbours. */
  rvpPeakCross = 1   /**< The neighbours above, below, left and right. */
};

/**
 * @addtogroup peaks Peaks
 * @details
 * Lists the local extrema of an image in raster order, from the left to the right and from the top downwards.
 *
 * A pixel `v` is a peak if `|v|` is above the threshold, and
 * - `v` is positive and the maximum of its neighbourhood, or
 * - `v` is 0 or negative and the minimum of its neighbourhood.
 *
 * The neighbourhood includes the pixel, so that every pixel of a plateau is a peak. In the float form `v` counts as
 * the extreme when it differs from it by at most 1.1754944e-38; infinities never do. In the integer form -2^31,
 * whose absolute value is no integer of 32 bits, is never a peak.
 * @{
 */

/** @name Scratch of the search
 *  @{ */
/**
 * Tells how much scratch the search for peaks needs: `(((width + 5) >> 2) << 7) | 32` bytes, in 32-bit arithmetic.
 *
 * @param width Width of the region, in pixels.
 * @param[out] pBufferSize Bytes of scratch. Untouched on an error.
 * @retval rvpStatusOk The size is written.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` is below 1.
 */
RVP_API RvpStatus rvpiFindPeaks3x3GetBufferSize_32f_C1R(int width, int* pBufferSize);
RVP_API RvpStatus rvpiFindPeaks3x3GetBufferSize_32s_C1R(int width, int* pBufferSize);
/** @} */

/** @name Search
 *  @{ */
/**
 * Lists the peaks of an image. See @ref peaks. Nothing is allocated; the call runs on the caller's thread.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param[out] pPeak The peaks, in coordinates of the region.
 * @param maxPeakCount Number of peaks that the list can hold, at least 1. The search ends when it is full.
 * @param[out] pPeakCount Number of peaks found.
 * @param norm ::rvpPeakSquare or ::rvpPeakCross.
 * @param border How far from every edge a peak has to be, from 1 to half the width and half the height. Half of an
 *        even width leaves no column.
 * @param pBuffer Scratch of the size function of the same type.
 * @param threshold What the absolute value of a peak has to exceed.
 * @retval rvpStatusOk The peaks are listed, all or as many as the list holds.
 * @retval rvpStatusNullPointer `pSrc`, `pPeak`, `pPeakCount` or `pBuffer` is null.
 * @retval rvpStatusBadSize `height`, `width`, `maxPeakCount` or `border` is below 1, or `border` is above half the
 *         width or half the height.
 * @retval rvpStatusBadStep `srcStep` is below `4 * width`.
 * @retval rvpStatusStepNotMultiple `srcStep` is no multiple of 4.
 * @retval rvpStatusBadArgument `norm` is none of ::RvpiPeakNeighbourhood.
 */
RVP_API RvpStatus rvpiFindPeaks3x3_32f_C1R(const float* pSrc, int srcStep, RvpiSize roiSize, RvpiPoint* pPeak,
                                           int maxPeakCount, int* pPeakCount, RvpiPeakNorm norm, int border,
                                           uint8_t* pBuffer, float threshold);
RVP_API RvpStatus rvpiFindPeaks3x3_32s_C1R(const int32_t* pSrc, int srcStep, RvpiSize roiSize, RvpiPoint* pPeak,
                                           int maxPeakCount, int* pPeakCount, RvpiPeakNorm norm, int border,
                                           uint8_t* pBuffer, int32_t threshold);
/** @} */
/** @} */

#ifdef __cplusplus
}
#endif

#endif
