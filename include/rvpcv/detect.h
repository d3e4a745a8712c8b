/**
 * @file
 * Object detection: summed-area tables, and what is made of them.
 */
#ifndef RVPCV_DETECT_H
#define RVPCV_DETECT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup integral Summed-area tables
 *
 * Tables from which the sum of any rectangle of an image is four reads away (F. Crow, Summed-area tables for
 * texture mapping, 1984; the tilted ones: R. Lienhart and J. Maydt, An extended set of Haar-like features, 2002).
 *
 * **Upright.** For a region of `w` x `h` pixels `s` the table has `w + 1` columns and `h + 1` rows:
 *
 *     T(r, c) = val + sum of s(i, j) for i < r, j < c
 *
 * so that row 0 and column 0 hold the start value `val`. The pixels of rows `t` to `b - 1` and columns `l` to `r -
 * 1` add up to `T(b, r) - T(t, r) - T(b, l) + T(t, l)`. For the pixels `1 2 / 3 4` and `val` 0 the table is `0 0 0
 * / 0 1 3 / 0 4 10`.
 *
 * **Tilted.** The table has `w + 2` columns and `h + 2` rows, of which rows 0 and 1 hold `val`. Row `i + 2` is made
 * from row `i` of the region, with `s(i, w)` = 0:
 *
 *     T(i+2, 0)   = T(i+1, 1)
 *     T(i+2, x)   = s(i, x-1) + s(i, x) + T(i+1, x-1) + T(i+1, x+1) - T(i, x)    for x from 1 to w
 *     T(i+2, w+1) = T(i+1, w)
 *
 * A cell so sums up the wedge of pixels that opens upwards from it at 45 degrees.
 *
 * **Squares.** The `Sqr` operations fill a second table of the same kind with the squares of the pixels; its start
 * value is `sqrVal`.
 *
 * **Types and rounding.** The first type of a name is the source's, the second the table's, the third that of the
 * table of squares; where there is none, squares have the table's type. Sums in `32s` wrap at 32 bits. In the
 * upright tables a cell is the cell above plus the running sum of its row, which is an integer of 32 bits for `32s`
 * and `32f`, and exact for `64f`; so one addition per cell rounds. In ::rvpiIntegral_32f_C1R the running sum is a
 * float to which the pixels are added from left to right. A tilted `32f` cell is `T(i+1, x-1) - T(i, x) + T(i+1,
 * x+1) + s(i, x-1) + s(i, x)`, formed in double in this order and rounded to float; a tilted `64f` cell is the
 * exact sum of the two squares, `+ T(i+1, x-1) - T(i, x) + T(i+1, x+1)`.
 *
 * **Parameters.** Steps are in bytes. A source step is at least the row's length; a table's is at least the length
 * of its own row, of `w + 1` or `w + 2` cells, and a multiple of the cell's size; the step of a `32f` source is a
 * multiple of 4. No pointer may be null, and no image may overlap another.
 *
 * **Statuses**, in the order of checking:
 * 1. ::rvpStatusNullPointer: a pointer is null.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1.
 * 3. ::rvpStatusBadStep: a step is shorter than its row.
 * 4. ::rvpStatusStepNotMultiple: a step is no multiple of 4, or 8 for `64f`; not asked of an `8u` source.
 *
 * **Memory and threads.** Nothing is allocated, and everything happens on the caller's thread.
 * @{
 */

/** @name Upright table
 *  @{ */
/**
 * Fills an upright table. See @ref integral for the formulas, the limits and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First cell of the table.
 * @param dstStep Row step of the table, in bytes.
 * @param roiSize Size of the region, in pixels; the table is larger.
 * @param val Start value.
 */
RVP_API RvpStatus rvpiIntegral_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                         RvpiSize roiSize, int32_t val);
RVP_API RvpStatus rvpiIntegral_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                         RvpiSize roiSize, float val);
/** @} */

/**
 * Fills an upright table of a float image; its start value is 0. See @ref integral for the formulas, the limits and
 * the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First cell of the table.
 * @param dstStep Row step of the table, in bytes.
 * @param roiSize Size of the region, in pixels; the table is larger.
 */
RVP_API RvpStatus rvpiIntegral_32f_C1R(const float* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize);

/** @name Upright tables of values and squares
 *  @{ */
/**
 * Fills an upright table of the pixels and one of their squares. See @ref integral for the formulas, the limits and
 * the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First cell of the table.
 * @param dstStep Row step of the table, in bytes.
 * @param pSqr First cell of the table of squares.
 * @param sqrStep Row step of the table of squares, in bytes.
 * @param roiSize Size of the region, in pixels; the table is larger.
 * @param val Start value.
 * @param sqrVal Start value of the squares.
 */
RVP_API RvpStatus rvpiSqrIntegral_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                            int32_t* pSqr, int sqrStep, RvpiSize roiSize, int32_t val,
                                            int32_t sqrVal);
RVP_API RvpStatus rvpiSqrIntegral_8u32s64f_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                               double* pSqr, int sqrStep, RvpiSize roiSize, int32_t val,
                                               double sqrVal);
RVP_API RvpStatus rvpiSqrIntegral_8u32f64f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                               double* pSqr, int sqrStep, RvpiSize roiSize, float val,
                                               double sqrVal);
/** @} */

/** @name Tilted table
 *  @{ */
/**
 * Fills a tilted table. See @ref integral for the formulas, the limits and the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First cell of the table.
 * @param dstStep Row step of the table, in bytes.
 * @param roiSize Size of the region, in pixels; the table is larger.
 * @param val Start value.
 */
RVP_API RvpStatus rvpiTiltedIntegral_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                               RvpiSize roiSize, int32_t val);
RVP_API RvpStatus rvpiTiltedIntegral_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                               RvpiSize roiSize, float val);
/** @} */

/** @name Tilted tables of values and squares
 *  @{ */
/**
 * Fills a tilted table of the pixels and one of their squares. See @ref integral for the formulas, the limits and
 * the statuses.
 *
 * @param pSrc First pixel of the source.
 * @param srcStep Row step of the source, in bytes.
 * @param pDst First cell of the table.
 * @param dstStep Row step of the table, in bytes.
 * @param pSqr First cell of the table of squares.
 * @param sqrStep Row step of the table of squares, in bytes.
 * @param roiSize Size of the region, in pixels; the table is larger.
 * @param val Start value.
 * @param sqrVal Start value of the squares.
 */
RVP_API RvpStatus rvpiTiltedSqrIntegral_8u32s_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                                  int32_t* pSqr, int sqrStep, RvpiSize roiSize, int32_t val,
                                                  int32_t sqrVal);
RVP_API RvpStatus rvpiTiltedSqrIntegral_8u32s64f_C1R(const uint8_t* pSrc, int srcStep, int32_t* pDst, int dstStep,
                                                     double* pSqr, int sqrStep, RvpiSize roiSize, int32_t val,
                                                     double sqrVal);
RVP_API RvpStatus rvpiTiltedSqrIntegral_8u32f64f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep,
                                                     double* pSqr, int sqrStep, RvpiSize roiSize, float val,
                                                     double sqrVal);
/** @} */

/** @} */

/**
 * @defgroup rectstddev Standard deviation in a sliding rectangle
 *
 * For each output pixel (i, j), at column i of row j, the standard deviation of the pixels in a rectangle whose
 * place is `rect` plus (i, j). With `S` and `S2` the rectangle's sums from the table of values and the table of
 * squares:
 *
 *     mean = S / area,  variance = max(S2 / area - mean * mean, 0),  result = sqrt(variance)
 *
 * For the pixels 1, 2, 3 and 6 in a rectangle of 2 x 2, `S` = 12, `S2` = 50 and the result is `sqrt(3.5)`.
 *
 * With `rect` = (x, y, w, h) and `T(r, c)` the cell of row r and column c of a table of @ref integral:
 *
 * |          | upright                                           | tilted                                       |
 * | -------- | ------------------------------------------------- | -------------------------------------------- |
 * | `A`      | `T(y + j, x + i)`                                 | `T(x + y + j, x - y + i)`                    |
 * | `B`      | `T(y + j, x + w + i)`                             | `T(x + y + w + j, x - y + w + i)`            |
 * | `C`      | `T(y + h + j, x + i)`                             | `T(x + y + w + h + j, x - y + w - h + i)`    |
 * | `D`      | `T(y + h + j, x + w + i)`                         | `T(x + y + h + j, x - y - h + i)`            |
 * | `S`, `S2` | `D - B + (A - C)`                                | `A - B + (C - D)`                            |
 * | `area`   | `w * h`                                           | `2 * w * h`                                  |
 *
 * The area is formed in 32 bits. The steps are rounded as follows, each operation by itself:
 *
 * | operation                          | arithmetic                                                              |
 * | ---------------------------------- | ----------------------------------------------------------------------- |
 * | ::rvpiRectStdDev_32s_C1RSfs        | sums wrap at 32 bits; then float; root in double, times `2^-scaleFactor`,
 * plus 0.5, truncated | | ::rvpiTiltedRectStdDev_32s_C1RSfs  | likewise, with the root rounded to float before it
 * is scaled            | | ::rvpiRectStdDev_32s32f_C1R        | `S` wraps at 32 bits; cells of squares are rounded
 * to float before they are subtracted; all in float | | ::rvpiTiltedRectStdDev_32s32f_C1R  | `S` wraps at 32 bits;
 * mean in float; `S2` and variance in double, rounded to float, rooted | | ::rvpiRectStdDev_32f_C1R           | `S`
 * in float, `S2` in double; both times `1 / area` in double; variance in double, rounded to float, rooted | |
 * ::rvpiTiltedRectStdDev_32f_C1R     | likewise, with divisions by `area`                                      |
 *
 * A scaled result that does not fit in 32 bits is -2147483648. The scale uses the low five bits of `scaleFactor`'s
 * magnitude. A table of floats that holds NaN gives NaN.
 *
 * **Parameters.** Steps are in bytes. With `n` = `width + x + w` (upright) or `width + x + y + w + h - 1` (tilted)
 * the step of a table is at least `n` cells and a multiple of the cell's size, that of the result at least `4 *
 * width` and a multiple of 4. `rect` lies at or right and below of the output pixel: `x` and `y` are at least 0,
 * `w` and `h` at least 1. The tables must reach to the last row and column that the corners above name; those of a
 * tilted rectangle also reach to the left, so that `x - y - h` should not be below 0. No pointer may be null. The
 * result may not overlap a table.
 *
 * **Statuses**, in the order of checking:
 * 1. ::rvpStatusNullPointer: a pointer is null.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1.
 * 3. ::rvpStatusBadStep: a step is below its limit.
 * 4. ::rvpStatusStepNotMultiple: a step is no multiple of 4, or 8 for a table of `64f`.
 * 5. ::rvpStatusBadSize: `rect` is out of its limits.
 *
 * **Memory and threads.** Nothing is allocated. ::rvpiRectStdDev_32f_C1R shares out its rows to a team of up to
 * ::rvpGetNumThreads threads, at most 32 and at most one for each 1024 pixels; the result does not depend on their
 * number. The others stay on the caller's thread.
 * @{
 */

/**
 * Standard deviation in an upright rectangle, as a scaled integer. See @ref rectstddev for the formulas, the limits
 * and the statuses.
 *
 * @param pSrc First cell of the table of values.
 * @param srcStep Row step of the table of values, in bytes.
 * @param pSqr First cell of the table of squares.
 * @param sqrStep Row step of the table of squares, in bytes.
 * @param pDst First pixel of the result.
 * @param dstStep Row step of the result, in bytes.
 * @param roiSize Size of the result, in pixels.
 * @param rect The rectangle, relative to the output pixel.
 * @param scaleFactor The result is multiplied by 2 to the power of minus this; -31 to 31.
 */
RVP_API RvpStatus rvpiRectStdDev_32s_C1RSfs(const int32_t* pSrc, int srcStep, const int32_t* pSqr, int sqrStep,
                                            int32_t* pDst, int dstStep, RvpiSize roiSize, RvpiRect rect,
                                            int scaleFactor);

/** @name Standard deviation in an upright rectangle
 *  @{ */
/**
 * Standard deviation in an upright rectangle. See @ref rectstddev for the formulas, the limits and the statuses.
 *
 * @param pSrc First cell of the table of values.
 * @param srcStep Row step of the table of values, in bytes.
 * @param pSqr First cell of the table of squares.
 * @param sqrStep Row step of the table of squares, in bytes.
 * @param pDst First pixel of the result.
 * @param dstStep Row step of the result, in bytes.
 * @param roiSize Size of the result, in pixels.
 * @param rect The rectangle, relative to the output pixel.
 */
RVP_API RvpStatus rvpiRectStdDev_32s32f_C1R(const int32_t* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                            float* pDst, int dstStep, RvpiSize roiSize, RvpiRect rect);
RVP_API RvpStatus rvpiRectStdDev_32f_C1R(const float* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                         float* pDst, int dstStep, RvpiSize roiSize, RvpiRect rect);
/** @} */

/**
 * Standard deviation in a tilted rectangle, as a scaled integer. See @ref rectstddev for the formulas, the limits
 * and the statuses.
 *
 * @param pSrc First cell of the table of values.
 * @param srcStep Row step of the table of values, in bytes.
 * @param pSqr First cell of the table of squares.
 * @param sqrStep Row step of the table of squares, in bytes.
 * @param pDst First pixel of the result.
 * @param dstStep Row step of the result, in bytes.
 * @param roiSize Size of the result, in pixels.
 * @param rect The rectangle, relative to the output pixel.
 * @param scaleFactor The result is multiplied by 2 to the power of minus this; -31 to 31.
 */
RVP_API RvpStatus rvpiTiltedRectStdDev_32s_C1RSfs(const int32_t* pSrc, int srcStep, const int32_t* pSqr,
                                                  int sqrStep, int32_t* pDst, int dstStep, RvpiSize roiSize,
                                                  RvpiRect rect, int scaleFactor);

/** @name Standard deviation in a tilted rectangle
 *  @{ */
/**
 * Standard deviation in a tilted rectangle. See @ref rectstddev for the formulas, the limits and the statuses.
 *
 * @param pSrc First cell of the table of values.
 * @param srcStep Row step of the table of values, in bytes.
 * @param pSqr First cell of the table of squares.
 * @param sqrStep Row step of the table of squares, in bytes.
 * @param pDst First pixel of the result.
 * @param dstStep Row step of the result, in bytes.
 * @param roiSize Size of the result, in pixels.
 * @param rect The rectangle, relative to the output pixel.
 */
RVP_API RvpStatus rvpiTiltedRectStdDev_32s32f_C1R(const int32_t* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                                  float* pDst, int dstStep, RvpiSize roiSize, RvpiRect rect);
RVP_API RvpStatus rvpiTiltedRectStdDev_32f_C1R(const float* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                               float* pDst, int dstStep, RvpiSize roiSize, RvpiRect rect);
/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
