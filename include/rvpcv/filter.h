/**
 * @file
 * Borders and linear filters.
 */
#ifndef RVPCV_FILTER_H
#define RVPCV_FILTER_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup pipelines Row and column filter pipelines
 * @details
 * A separable filter in two stages that meet in arrays of row pointers. The row stage filters rows of an image
 * along the row and puts each where its pointer in `ppDst` says. The column stage takes rows through `ppSrc`,
 * filters across them and writes an image. Between the two the caller keeps as many rows as it likes: a whole
 * image, or a ring of `kernelSize` rows and a few more, through which an image of any height streams.
 *
 * With `k` the kernel, `n` its size and `a` the anchor, and each channel by itself:
 *
 *     row stage:     ppDst[y][x]  = sum over i from 0 to n - 1 of k[i] * src(x + i - a, y)
 *     column stage:  dst(x, y)    = sum over i from 0 to n - 1 of k[i] * ppSrc[y + i][x]
 *
 * The kernel is not reversed: `k[0]` meets the leftmost or topmost pixel of the window. So a row `10 20 40 80`,
 * replicated beyond its ends, the kernel `-1 0 1` and anchor 1 give `10 30 60 40`.
 *
 * **Border.** The row stage takes `src` beyond columns 0 to `width - 1` from `borderType`: ::rvpBorderConst,
 * ::rvpBorderRepl, ::rvpBorderMirror or ::rvpBorderInMem, the first three with any side flags. Only left and right
 * matter: on a side in memory, `a` pixels left of the region or `n - 1 - a` right of it are read. `borderValue` is
 * read by the constant mode alone. The column stage has no border: output row y uses `ppSrc[y]` to
 * `ppSrc[y + n - 1]`, so `ppSrc` has `height + n - 1` entries, and a caller repeats pointers at the image's edges
 * as the border asks:
 *
 *     for (int i = 0; i < height + n - 1; ++i)  // replicated rows, anchor a
 *       ppSrc[i] = rows[min(max(i - a, 0), height - 1)];
 *
 * **Arithmetic.** The same bits on every processor and for every number of threads, alignment and place in the row;
 * only the sign and payload of a NaN are open.
 *
 * | form                                       | sum                                | result              |
 * | ------------------------------------------ | ---------------------------------- | ------------------- |
 * | `32f`                                      | in float                           | the sum             |
 * | `8u16s`, `16s`, `16u`, `16s8u`, `16s8s`    | in float, of divided coefficients  | rounded, saturated  |
 * | `Low_16s`                                  | in 16-bit integers that wrap       | `sum * f >> 14`     |
 *
 * - Rounding is to the nearest integer, ties to even.
 * - Sums in float go through the taps in ascending order, each multiplication and each addition rounded by itself.
 *   Divided coefficients are `(float)k[i] * (1.0f / (float)divisor)` in the row stage, and
 *   `(float)k[i] * (float)(1.0 / divisor)` in the column stage.
 * - The `32f` column stage has an order of its own for kernels of 3 and 5 taps that read the same from both ends:
 *   `r[1] * k[1] + (r[0] + r[2]) * k[0]`, and
 *   `r[2] * k[2] + (r[1] + r[3]) * k[1] + (r[0] + r[4]) * k[0]` from the left.
 * - The `Low` forms give up range for speed: sums are 16-bit and wrap, and nothing tests whether kernel and data
 * fit. `f` is the integer nearest to `16384.0 / divisor`, ties to even; the product has 32 bits, the shift keeps
 * the sign, and of the result the low 16 bits are stored. With `divisor` 1 that is the sum itself: 40000 gives
 * -25536. A divisor of 32768 and more in magnitude makes `f` and all results 0.
 *
 * **Parameters.** `srcStep` and `dstStep` are in bytes, at least the row's bytes, and a multiple of the element's
 * size. `kernelSize` is at least 1 and `xAnchor` 0 to `kernelSize - 1`. `divisor` is not 0, and in the row stage of
 * `16u` it is positive. No pointer may be null. Rows have `width` pixels, stand anywhere, aligned to the element,
 * and need not be in order. A row may stand in `ppSrc` several times. Rows in `ppDst` must not overlap when the
 * call has a team; on one thread, rows are done from top to bottom and a later one overwrites an earlier one. No
 * destination may overlap a source.
 *
 * **Memory.** `pBuffer` may start at any address. It has the size that the operation's `GetBufferSize` told for the
 * same region and kernel size and not fewer threads than ::rvpGetNumThreads says at the call; what it held is lost.
 * Nothing is allocated. Reported sizes are formed in 32 bits, which holds as long as
 * `threads * (8 * (height + kernelSize) + ...)` stays below 2^31 bytes.
 *
 * **Threads.** From `32768 * threads` pixels on, the rows are shared out to a team of ::rvpGetNumThreads threads.
 * The `16u` forms and the `32f` column stage always run on the caller's thread, and so does the row stage of
 * `16s_C1R` with kernels of up to 3 taps.
 *
 * Both stages take one row per call if need be. The column stage is fastest with a few rows, from four on, as
 * neighbouring output rows share their sources.
 *
 * **Statuses of the row stage**, in the order of checking:
 * 1. ::rvpStatusNullPointer: `pSrc`, `ppDst`, `pKernel` or `pBuffer` is null.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1.
 * 3. ::rvpStatusNullPointer: one of the `height` pointers in `ppDst` is null; then, `borderValue` is null.
 * 4. ::rvpStatusBadSize: `kernelSize` is below 1.
 * 5. ::rvpStatusBadAnchor: `xAnchor` is not 0 to `kernelSize - 1`.
 * 6. ::rvpStatusBadStep: `srcStep` is shorter than the row.
 * 7. ::rvpStatusStepNotMultiple: `srcStep` is no multiple of the element's size.
 * 8. ::rvpStatusBadArgument: `divisor` is 0, or negative in `16u`.
 * 9. ::rvpStatusBadBorder: `borderType` is none of the above.
 *
 * **Statuses of the column stage**, in the order of checking:
 * 1. ::rvpStatusNullPointer: `ppSrc`, `pDst` or `pKernel` is null.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1.
 * 3. ::rvpStatusNullPointer: one of the `height + kernelSize - 1` pointers in `ppSrc` is null.
 * 4. ::rvpStatusBadSize: `kernelSize` is below 1.
 * 5. ::rvpStatusBadStep: `dstStep` is shorter than the row.
 * 6. ::rvpStatusStepNotMultiple: `dstStep` is no multiple of the element's size.
 * 7. ::rvpStatusNullPointer: `pBuffer` is null.
 * 8. ::rvpStatusBadArgument: `divisor` is 0.
 *
 * **Statuses of the size functions**, in the order of checking:
 * 1. ::rvpStatusNullPointer: `pBufferSize` is null.
 * 2. ::rvpStatusBadSize: `width`, `height` or `kernelSize` is below 1.
 * @{
 */

/** @name Row stage of float images, one channel
 *  Sums along the row, in float
 *  @{ */
/**
 * Filters rows of an image along the row. See @ref pipelines for the formula, the limits and the statuses.
 *
 * @param pSrc First pixel of the source region.
 * @param srcStep Row step of the source, in bytes.
 * @param ppDst Pointers to the first pixels of `height` rows that take the results.
 * @param roiSize Size of the region, in pixels.
 * @param pKernel `kernelSize` coefficients.
 * @param kernelSize Number of coefficients.
 * @param xAnchor Index of the coefficient that meets the pixel at the output's own column.
 * @param borderType What lies left and right of the region.
 * @param borderValue The constant that ::rvpBorderConst stands for.
 * @param pBuffer Scratch.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiFilterRowBorderPipeline_32f_C1R(const float* pSrc, int srcStep, float* const* ppDst,
                                                      RvpiSize roiSize, const float* pKernel, int kernelSize,
                                                      int xAnchor, RvpiBorderType borderType, float borderValue,
                                                      uint8_t* pBuffer);
/** @} */

/** @name Row stage of integer images, one channel
 *  Sums along the row, divided
 *  @{ */
/**
 * Filters rows of an image along the row and divides the sums. See @ref pipelines for the formula, the limits and
 * the statuses.
 *
 * @param pSrc First pixel of the source region.
 * @param srcStep Row step of the source, in bytes.
 * @param ppDst Pointers to the first pixels of `height` rows that take the results.
 * @param roiSize Size of the region, in pixels.
 * @param pKernel `kernelSize` coefficients.
 * @param kernelSize Number of coefficients.
 * @param xAnchor Index of the coefficient that meets the pixel at the output's own column.
 * @param borderType What lies left and right of the region.
 * @param borderValue The constant that ::rvpBorderConst stands for.
 * @param divisor Divides the sums.
 * @param pBuffer Scratch.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiFilterRowBorderPipeline_8u16s_C1R(const uint8_t* pSrc, int srcStep, int16_t* const* ppDst,
                                                        RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                        int xAnchor, RvpiBorderType borderType, uint8_t borderValue,
                                                        int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterRowBorderPipeline_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* const* ppDst,
                                                      RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                      int xAnchor, RvpiBorderType borderType, int16_t borderValue,
                                                      int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterRowBorderPipeline_16u_C1R(const uint16_t* pSrc, int srcStep, uint16_t* const* ppDst,
                                                      RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                      int xAnchor, RvpiBorderType borderType, uint16_t borderValue,
                                                      int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterRowBorderPipeline_Low_16s_C1R(const int16_t* pSrc, int srcStep, int16_t* const* ppDst,
                                                          RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                          int xAnchor, RvpiBorderType borderType,
                                                          int16_t borderValue, int divisor, uint8_t* pBuffer);
/** @} */

/** @name Row stage of float images, three channels
 *  Sums along the row, in float
 *  @{ */
/**
 * Filters rows of an image along the row. See @ref pipelines for the formula, the limits and the statuses.
 *
 * @param pSrc First pixel of the source region.
 * @param srcStep Row step of the source, in bytes.
 * @param ppDst Pointers to the first pixels of `height` rows that take the results.
 * @param roiSize Size of the region, in pixels.
 * @param pKernel `kernelSize` coefficients.
 * @param kernelSize Number of coefficients.
 * @param xAnchor Index of the coefficient that meets the pixel at the output's own column.
 * @param borderType What lies left and right of the region.
 * @param borderValue The constant that ::rvpBorderConst stands for, one element a channel.
 * @param pBuffer Scratch.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiFilterRowBorderPipeline_32f_C3R(const float* pSrc, int srcStep, float* const* ppDst,
                                                      RvpiSize roiSize, const float* pKernel, int kernelSize,
                                                      int xAnchor, RvpiBorderType borderType,
                                                      const float* borderValue, uint8_t* pBuffer);
/** @} */

/** @name Row stage of integer images, three channels
 *  Sums along the row, divided
 *  @{ */
/**
 * Filters rows of an image along the row and divides the sums. See @ref pipelines for the formula, the limits and
 * the statuses.
 *
 * @param pSrc First pixel of the source region.
 * @param srcStep Row step of the source, in bytes.
 * @param ppDst Pointers to the first pixels of `height` rows that take the results.
 * @param roiSize Size of the region, in pixels.
 * @param pKernel `kernelSize` coefficients.
 * @param kernelSize Number of coefficients.
 * @param xAnchor Index of the coefficient that meets the pixel at the output's own column.
 * @param borderType What lies left and right of the region.
 * @param borderValue The constant that ::rvpBorderConst stands for, one element a channel.
 * @param divisor Divides the sums.
 * @param pBuffer Scratch.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiFilterRowBorderPipeline_8u16s_C3R(const uint8_t* pSrc, int srcStep, int16_t* const* ppDst,
                                                        RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                        int xAnchor, RvpiBorderType borderType,
                                                        const uint8_t* borderValue, int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterRowBorderPipeline_16s_C3R(const int16_t* pSrc, int srcStep, int16_t* const* ppDst,
                                                      RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                      int xAnchor, RvpiBorderType borderType,
                                                      const int16_t* borderValue, int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterRowBorderPipeline_16u_C3R(const uint16_t* pSrc, int srcStep, uint16_t* const* ppDst,
                                                      RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                      int xAnchor, RvpiBorderType borderType,
                                                      const uint16_t* borderValue, int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterRowBorderPipeline_Low_16s_C3R(const int16_t* pSrc, int srcStep, int16_t* const* ppDst,
                                                          RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                          int xAnchor, RvpiBorderType borderType,
                                                          const int16_t* borderValue, int divisor,
                                                          uint8_t* pBuffer);
/** @} */

/** @name Column stage to float images
 *  Sums across the rows, in float
 *  @{ */
/**
 * Filters rows across, into an image. See @ref pipelines for the formula, the limits and the statuses.
 *
 * @param ppSrc Pointers to the first pixels of `height + kernelSize - 1` rows.
 * @param pDst First pixel of the destination region.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pKernel `kernelSize` coefficients.
 * @param kernelSize Number of coefficients.
 * @param pBuffer Scratch.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiFilterColumnPipeline_32f_C1R(const float* const* ppSrc, float* pDst, int dstStep,
                                                   RvpiSize roiSize, const float* pKernel, int kernelSize,
                                                   uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_32f_C3R(const float* const* ppSrc, float* pDst, int dstStep,
                                                   RvpiSize roiSize, const float* pKernel, int kernelSize,
                                                   uint8_t* pBuffer);
/** @} */

/** @name Column stage to integer images
 *  Sums across the rows, divided
 *  @{ */
/**
 * Filters rows across, into an image, and divides the sums. See @ref pipelines for the formula, the limits and the
 * statuses.
 *
 * @param ppSrc Pointers to the first pixels of `height + kernelSize - 1` rows.
 * @param pDst First pixel of the destination region.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pKernel `kernelSize` coefficients.
 * @param kernelSize Number of coefficients.
 * @param divisor Divides the sums.
 * @param pBuffer Scratch.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiFilterColumnPipeline_16s_C1R(const int16_t* const* ppSrc, int16_t* pDst, int dstStep,
                                                   RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                   int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_16s_C3R(const int16_t* const* ppSrc, int16_t* pDst, int dstStep,
                                                   RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                   int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_16u_C1R(const uint16_t* const* ppSrc, uint16_t* pDst, int dstStep,
                                                   RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                   int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_16u_C3R(const uint16_t* const* ppSrc, uint16_t* pDst, int dstStep,
                                                   RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                   int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_16s8u_C1R(const int16_t* const* ppSrc, uint8_t* pDst, int dstStep,
                                                     RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                     int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_16s8u_C3R(const int16_t* const* ppSrc, uint8_t* pDst, int dstStep,
                                                     RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                     int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_16s8s_C1R(const int16_t* const* ppSrc, int8_t* pDst, int dstStep,
                                                     RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                     int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_16s8s_C3R(const int16_t* const* ppSrc, int8_t* pDst, int dstStep,
                                                     RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                     int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_Low_16s_C1R(const int16_t* const* ppSrc, int16_t* pDst, int dstStep,
                                                       RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                       int divisor, uint8_t* pBuffer);
RVP_API RvpStatus rvpiFilterColumnPipeline_Low_16s_C3R(const int16_t* const* ppSrc, int16_t* pDst, int dstStep,
                                                       RvpiSize roiSize, const int16_t* pKernel, int kernelSize,
                                                       int divisor, uint8_t* pBuffer);
/** @} */

/** @name Scratch of the row stage
 *  Bytes of `pBuffer`
 *  @{ */
/**
 * Tells how much scratch the row stage needs, with as many threads as ::rvpGetNumThreads says. See @ref pipelines
 * for the statuses.
 *
 * @param roiSize Size of the region, in pixels.
 * @param kernelSize Number of coefficients.
 * @param pBufferSize Takes the number of bytes.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_32f_C1R(RvpiSize roiSize, int kernelSize,
                                                                   int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_32f_C3R(RvpiSize roiSize, int kernelSize,
                                                                   int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_8u16s_C1R(RvpiSize roiSize, int kernelSize,
                                                                     int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_8u16s_C3R(RvpiSize roiSize, int kernelSize,
                                                                     int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_16s_C1R(RvpiSize roiSize, int kernelSize,
                                                                   int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_16s_C3R(RvpiSize roiSize, int kernelSize,
                                                                   int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_16u_C1R(RvpiSize roiSize, int kernelSize,
                                                                   int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_16u_C3R(RvpiSize roiSize, int kernelSize,
                                                                   int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_Low_16s_C1R(RvpiSize roiSize, int kernelSize,
                                                                       int* pBufferSize);
RVP_API RvpStatus rvpiFilterRowBorderPipelineGetBufferSize_Low_16s_C3R(RvpiSize roiSize, int kernelSize,
                                                                       int* pBufferSize);
/** @} */

/** @name Scratch of the column stage
 *  Bytes of `pBuffer`
 *  @{ */
/**
 * Tells how much scratch the column stage needs, with as many threads as ::rvpGetNumThreads says. See @ref
 * pipelines for the statuses.
 *
 * @param roiSize Size of the region, in pixels.
 * @param kernelSize Number of coefficients.
 * @param pBufferSize Takes the number of bytes.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_32f_C1R(RvpiSize roiSize, int kernelSize, int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_32f_C3R(RvpiSize roiSize, int kernelSize, int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_16s_C1R(RvpiSize roiSize, int kernelSize, int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_16s_C3R(RvpiSize roiSize, int kernelSize, int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_16u_C1R(RvpiSize roiSize, int kernelSize, int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_16u_C3R(RvpiSize roiSize, int kernelSize, int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_16s8u_C1R(RvpiSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_16s8u_C3R(RvpiSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_16s8s_C1R(RvpiSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_16s8s_C3R(RvpiSize roiSize, int kernelSize,
                                                                  int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_Low_16s_C1R(RvpiSize roiSize, int kernelSize,
                                                                    int* pBufferSize);
RVP_API RvpStatus rvpiFilterColumnPipelineGetBufferSize_Low_16s_C3R(RvpiSize roiSize, int kernelSize,
                                                                    int* pBufferSize);
/** @} */

/** @} */

/**
 * @addtogroup lowpass Smoothing by a plain sum
 * @details
 * The sum of a pixel's neighbourhood, 3x3 or 5x5, every coefficient 1. With `r` of 1 or 2 and `p` the source
 * extended by its border,
 *
 *     dst(x, y) = sum over j from -r to r of (sum over i from -r to r of p(x + i, y + j))
 *
 * A row of ones so becomes a row of 9, or of 25. The terms of a row are added in ascending order; the rows' sums
 * `s(j)` are added as `s(0) + (s(-1) + s(1))`, and for 5x5 as `(s(0) + (s(-1) + s(1))) + (s(-2) + s(2))`. Each
 * operation is rounded to float by itself. No sum is carried from pixel to pixel: the error of a result is at most
 * 8 (3x3: 4) roundings of sums over its own neighbourhood, and NaN or infinity reaches only the pixels whose
 * neighbourhood contains it.
 *
 * **Memory.** The caller gives the scratch, at any address; it grows with the width and the number of threads, not
 * with the height. Nothing is allocated.
 * @{
 */

/**
 * Tells how much scratch ::rvpiFilterLowpassBorder_32f_C1R needs.
 *
 * @param roiSize Size of the region, in pixels.
 * @param mask 33 for 3x3, 55 for 5x5.
 * @param[out] pBufferSize Bytes of scratch: as many rows of sums as the mask has, for each of ::rvpGetNumThreads
 *             threads. That number must not grow between this call and the operation. Untouched on an error.
 * @retval rvpStatusOk The size is written.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadMaskSize `mask` is neither 33 nor 55.
 * @retval rvpStatusSizeOverflow The size does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFilterLowpassGetBufferSize_32f_C1R(RvpiSize roiSize, RvpiMaskSize mask, int* pBufferSize);

/**
 * Smooths an image by the plain sum over a mask; see @ref lowpass for the formula.
 *
 * From 256 rows on, the rows are shared out to a team with at least 128 rows for each thread and at most
 * ::rvpGetNumThreads threads; the result does not depend on their number.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First pixel of the destination, which must not overlap the source or what its border reads.
 * @param dstStep Row step of the destination, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param mask 33 for 3x3, 55 for 5x5.
 * @param borderType ::rvpBorderConst, ::rvpBorderRepl, ::rvpBorderMirror or ::rvpBorderInMem, with side flags. A
 *        side in memory needs 1 (3x3) or 2 (5x5) pixels there.
 * @param borderValue The pixels outside, for ::rvpBorderConst alone.
 * @param pBuffer Scratch of ::rvpiFilterLowpassGetBufferSize_32f_C1R, at any address.
 * @retval rvpStatusOk The image is smoothed.
 * @retval rvpStatusNullPointer `pSrc`, `pDst` or `pBuffer` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadStep A step is below `4 * width`.
 * @retval rvpStatusStepNotMultiple A step is no multiple of 4.
 * @retval rvpStatusBadMaskSize `mask` is neither 33 nor 55.
 * @retval rvpStatusBadArgument `borderType` is none of the above.
 */
RVP_API RvpStatus rvpiFilterLowpassBorder_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep,
                                                  RvpiSize roiSize, RvpiMaskSize mask, RvpiBorderType borderType,
                                                  float borderValue, uint8_t* pBuffer);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
