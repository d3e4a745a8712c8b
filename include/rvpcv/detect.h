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
 * @addtogroup integral Summed-area tables
 * @details
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
 * @return The first status that applies, in the order that the family's text lists.
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
 * @return The first status that applies, in the order that the family's text lists.
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
 * @return The first status that applies, in the order that the family's text lists.
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
 * @return The first status that applies, in the order that the family's text lists.
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
 * @return The first status that applies, in the order that the family's text lists.
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
 * @addtogroup rectstddev Standard deviation in a sliding rectangle
 * @details
 * For each output pixel (i, j), at column i of row j, the standard deviation of the pixels in a rectangle whose
 * place is `rect` plus (i, j). With `S` and `S2` the rectangle's sums from the table of values and the table of
 * squares:
 *
 *     mean = S / area,  variance = max(S2 / area - mean * mean, 0),  result = sqrt(variance)
 *
 * For the pixels 1, 2, 3 and 6 in a rectangle of 2 x 2, `S` = 12, `S2` = 50 and the result is `sqrt(3.5)`.
 *
 * With `rect` = (x, y, w, h) and `T(r, c)` the cell of row r and column c of a table (see @ref integral),
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
 * - ::rvpiRectStdDev_32s_C1RSfs: sums wrap at 32 bits; then float; the root in double, times `2^-scaleFactor`, plus
 *   0.5, truncated.
 * - ::rvpiTiltedRectStdDev_32s_C1RSfs: likewise, with the root rounded to float before it is scaled.
 * - ::rvpiRectStdDev_32s32f_C1R: `S` wraps at 32 bits; cells of squares are rounded to float before they are
 *   subtracted; all in float.
 * - ::rvpiTiltedRectStdDev_32s32f_C1R: `S` wraps at 32 bits; the mean in float; `S2` and the variance in double,
 *   rounded to float, rooted.
 * - ::rvpiRectStdDev_32f_C1R: `S` in float, `S2` in double; both times `1 / area` in double; the variance in
 * double, rounded to float, rooted.
 * - ::rvpiTiltedRectStdDev_32f_C1R: likewise, with divisions by `area`.
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
 *
 * **Source.** The deviation of a window from two tables: P. Viola and M. Jones, Rapid object detection using a
 * boosted cascade of simple features, 2001.
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
 * @return The first status that applies, in the order that the family's text lists.
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
 * @return The first status that applies, in the order that the family's text lists.
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
 * @return The first status that applies, in the order that the family's text lists.
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
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiTiltedRectStdDev_32s32f_C1R(const int32_t* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                                  float* pDst, int dstStep, RvpiSize roiSize, RvpiRect rect);
RVP_API RvpStatus rvpiTiltedRectStdDev_32f_C1R(const float* pSrc, int srcStep, const double* pSqr, int sqrStep,
                                               float* pDst, int dstStep, RvpiSize roiSize, RvpiRect rect);
/** @} */

/** @} */

/**
 * @addtogroup haar Haar cascades
 * @details
 * A cascade classifier after P. Viola and M. Jones (Rapid object detection using a boosted cascade of simple
 * features, 2001), with the tilted features of R. Lienhart and J. Maydt (2002). A block holds one stage. The apply
 * functions test it at every pixel that a mask selects and clear the pixels that fail, so that a cascade is a call
 * for each stage with one mask.
 *
 * With `T` a table of @ref integral at the pixel, `norm` the pixel of the normalising image, usually of
 * @ref rectstddev, and `c0` to `c3` the corners (x, y) of a rectangle:
 *
 *     R     = T(c0.y, c0.x) - T(c1.y, c1.x) - T(c2.y, c2.x) + T(c3.y, c3.x)
 *     F     = sum of R * weight                                  over the rectangles of a classifier
 *     stage = sum of (F < threshold * norm ? val1 : val2)        over the classifiers
 *
 * A pixel whose `stage` is below the stage's threshold is cleared. So a sum equal to its limit takes `val2`, and a
 * stage equal to its threshold passes. With one classifier of the rectangles (0, 0, 4, 4) of weight -1 and
 * (1, 1, 2, 2) of weight 4, a flat image has `F` = 0 everywhere.
 *
 * | corners                      | `c0`                   | `c1`          | `c2`               | `c3`             |
 * | ---------------------------- | ---------------------- | ------------- | ------------------ | ---------------- |
 * | upright (x, y, w, h)         | `x+w, y+h`             | `x, y+h`      | `x+w, y`           | `x, y`           |
 * | tilted                       | `x+w-h, y+w+h`         | `x-h, y+h`    | `x+w, y+w`         | `x, y`           |
 * | tilted afterwards, `flag` 0  | `x, y+h`               | `x-h, y`      | `x+w, y+h-w`       | `x+w-h, y-w`     |
 *
 * **Blocks.** ::rvpiHaarClassifierGetSize tells the bytes, an Init function fills them; the memory is the caller's
 * and is aligned to 8 bytes. A block holds pointers into itself and may be neither moved nor copied. It keeps
 * nothing of the arrays it was made from. The upright Init functions store the classifiers of two rectangles first,
 * then those of three, then all others, each in the caller's order; the tilted ones keep the caller's order. This
 * is the order of the sums. Blocks of `_32s` belong to the `Sfs` functions, blocks of `_32f` to the others. An Init
 * that refuses a rectangle leaves a block without classifiers.
 *
 * **Rounding.** With float blocks everything is float, each operation rounded by itself; with a table of `32s`, `R`
 * is an integer, which wraps at 32 bits and is converted to float. In the `Sfs` functions `R` and the stage's sum
 * wrap at 32 bits; `F` has 64 bits, is shifted left by `-scaleFactor`, and is compared with the 64-bit product of
 * threshold and norm.
 *
 * **Windows.** At a selected pixel all corners of the stage must lie in the table, also after tilting. Steps are
 * not tested for that. Cells of other pixels' windows may be read where the table has them.
 *
 * **Mixed.** The `Mixed` functions take an upright and a tilted table, whose origin is moved by one row and one
 * column, and read for each classifier the one that it belongs to. The plain ones read their only table for all.
 *
 * **Statuses of the apply functions**, in the order of checking:
 * 1. ::rvpStatusNullPointer: a pointer is null.
 * 2. ::rvpStatusBadSize: `width` or `height` is below 1.
 * 3. ::rvpStatusBadStep: the step of a table or of the normalising image is below `4 * width`, or that of the mask
 *    below `width`.
 * 4. ::rvpStatusStepNotMultiple: the step of a table or of the normalising image is no multiple of 4.
 * 5. ::rvpStatusBadArgument: `scaleFactor` is above 0.
 * 6. ::rvpStatusNullPointer: in the plain functions, the block has no scratch area, as after a refused Init.
 *
 * **Memory and threads.** Nothing is allocated, and everything happens on the caller's thread. The plain apply
 * functions write to the block, which so serves one call at a time.
 * @{
 */

/** The block of a stage. It begins with ::RvpiHaarClassifierHeader_32s or ::RvpiHaarClassifierHeader_32f. */
typedef struct RvpiHaarClassifier RvpiHaarClassifier;

/** The head of a block of integers. */
typedef struct {
  int32_t classifierCount; /**< Weak classifiers. */
  int32_t featureCount;    /**< Rectangles of all classifiers. */
  void* pClassifiers;      /**< The first classifier's record. */
  int32_t boundX;          /**< Least x of a rectangle. */
  int32_t boundY;          /**< Least y of a rectangle. */
  int32_t boundWidth;      /**< Greatest x + width, less `boundX`; the first rectangle's width, less `boundX`, if no
                                rectangle reaches further than `boundX` and that. */
  int32_t boundHeight;     /**< Likewise down. */
  int32_t tiltMark;        /**< Bit 0: a rectangle has been tilted. */
  int32_t featureTotal;    /**< Rectangles of all classifiers. */
  int32_t pairCount;       /**< Classifiers of two rectangles. */
  int32_t smallCount;      /**< Classifiers of two or three rectangles. */
  void* pScratch;          /**< Room for a call, at a multiple of 64. */
} RvpiHaarClassifierHeader_32s;

/** The head of a block of floats. */
typedef struct {
  int32_t classifierCount; /**< Weak classifiers. */
  int32_t featureCount;    /**< Rectangles of all classifiers. */
  void* pClassifiers;      /**< The first classifier's record. */
  int32_t boundX;          /**< As in ::RvpiHaarClassifierHeader_32s. */
  int32_t boundY;          /**< Likewise. */
  int32_t boundWidth;      /**< Likewise. */
  int32_t boundHeight;     /**< Likewise. */
  int32_t tiltMark;        /**< Bit 0: a rectangle has been tilted. */
  int32_t pairCount;       /**< Classifiers of two rectangles. */
  int32_t smallCount;      /**< Classifiers of two or three rectangles. */
  int32_t featureTotal;    /**< Rectangles of all classifiers. */
  int32_t allMinusOne;     /**< 1 if the first weight of every classifier truncates to -1, else 0. */
  void* pScratch;          /**< Room for a call, at a multiple of 64. */
} RvpiHaarClassifierHeader_32f;

/**
 * Tells the size of a block.
 *
 * For `L` classifiers with `S` rectangles in all it is `32 * L + 52 * S + 128` bytes for ::rvp32s and
 * `44 * L + 60 * S + 512` bytes for ::rvp32f.
 *
 * @param dataType ::rvp32s or ::rvp32f.
 * @param roiSize Size of the image; it is checked and has no other effect.
 * @param pNum Number of rectangles of each classifier.
 * @param length Number of classifiers.
 * @param pSize Where the size in bytes goes.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `length`, `width`, `height` or a number of rectangles is below 1.
 * @retval rvpStatusBadDataType `dataType` is neither of the two.
 * @retval rvpStatusSizeOverflow The size does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiHaarClassifierGetSize(RvpDataType dataType, RvpiSize roiSize, const int* pNum, int length,
                                            int* pSize);

/** @name Upright stage
 *  @{ */
/**
 * Fills a block with upright rectangles. See @ref haar for the order of the classifiers.
 *
 * @param pState The block, of the size that ::rvpiHaarClassifierGetSize tells.
 * @param pFeature The rectangles of the first classifier, then those of the second, and so on.
 * @param pWeight The weight of each rectangle.
 * @param pThreshold The threshold of each classifier.
 * @param pVal1 The value of each classifier below its threshold.
 * @param pVal2 The value of each classifier otherwise.
 * @param pNum Number of rectangles of each classifier.
 * @param length Number of classifiers.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `length` or a number of rectangles is below 1.
 * @retval rvpStatusBadArgument A rectangle's x or y is below 0, or its width or height below 1. The
 * block has been written to.
 */
RVP_API RvpStatus rvpiHaarClassifierInit_32s(RvpiHaarClassifier* pState, const RvpiRect* pFeature,
                                             const int32_t* pWeight, const int32_t* pThreshold,
                                             const int32_t* pVal1, const int32_t* pVal2, const int* pNum,
                                             int length);
RVP_API RvpStatus rvpiHaarClassifierInit_32f(RvpiHaarClassifier* pState, const RvpiRect* pFeature,
                                             const float* pWeight, const float* pThreshold, const float* pVal1,
                                             const float* pVal2, const int* pNum, int length);
/** @} */

/** @name Tilted stage
 *  @{ */
/**
 * Fills a block with tilted rectangles. See @ref haar for the order of the classifiers.
 *
 * @param pState The block, of the size that ::rvpiHaarClassifierGetSize tells.
 * @param pFeature The rectangles of the first classifier, then those of the second, and so on.
 * @param pWeight The weight of each rectangle.
 * @param pThreshold The threshold of each classifier.
 * @param pVal1 The value of each classifier below its threshold.
 * @param pVal2 The value of each classifier otherwise.
 * @param pNum Number of rectangles of each classifier.
 * @param length Number of classifiers.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `length` or a number of rectangles is below 1.
 * @retval rvpStatusBadArgument A rectangle's x or y is below 0, or its width or height below 1, or its x + 1 below
 * its height. The
 * block has been written to.
 */
RVP_API RvpStatus rvpiTiltedHaarClassifierInit_32s(RvpiHaarClassifier* pState, const RvpiRect* pFeature,
                                                   const int32_t* pWeight, const int32_t* pThreshold,
                                                   const int32_t* pVal1, const int32_t* pVal2, const int* pNum,
                                                   int length);
RVP_API RvpStatus rvpiTiltedHaarClassifierInit_32f(RvpiHaarClassifier* pState, const RvpiRect* pFeature,
                                                   const float* pWeight, const float* pThreshold,
                                                   const float* pVal1, const float* pVal2, const int* pNum,
                                                   int length);
/** @} */

/** @name Size of a stage
 *  @{ */
/**
 * Tells how far the rectangles reach: the largest x of a corner `c2` and the largest y of a corner `c0`.
 *
 * @param pState The block.
 * @param pSize Where the size goes; 0 by 0 for a block without classifiers.
 * @retval rvpStatusNullPointer A pointer is null.
 */
RVP_API RvpStatus rvpiGetHaarClassifierSize_32s(const RvpiHaarClassifier* pState, RvpiSize* pSize);
RVP_API RvpStatus rvpiGetHaarClassifierSize_32f(const RvpiHaarClassifier* pState, RvpiSize* pSize);
/** @} */

/** @name Tilting
 *  @{ */
/**
 * Tilts the rectangles of some classifiers of a block that has none tilted yet. See @ref haar for the corners.
 *
 * @param pMask One byte for each classifier in the order in which the caller gave them; any value but zero selects.
 * @param flag Not zero for the corners of the tilted stage, zero for the other ones.
 * @param pState The block.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadArgument The block has tilted rectangles.
 */
RVP_API RvpStatus rvpiTiltHaarFeatures_32s(const uint8_t* pMask, int flag, RvpiHaarClassifier* pState);
RVP_API RvpStatus rvpiTiltHaarFeatures_32f(const uint8_t* pMask, int flag, RvpiHaarClassifier* pState);
/** @} */

/** @name Test of a stage
 *  @{ */
/**
 * Tests a stage at the selected pixels. See @ref haar for the formulas, the limits and the statuses.
 *
 * @param pSrc The table at the first pixel.
 * @param srcStep Row step of the table, in bytes.
 * @param pNorm First pixel of the normalising image.
 * @param normStep Row step of the normalising image, in bytes.
 * @param pMask First pixel of the mask; pixels that fail become zero.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pPositive Where the number of pixels goes that passed.
 * @param threshold Threshold of the stage.
 * @param pState The block.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiApplyHaarClassifier_32f_C1R(const float* pSrc, int srcStep, const float* pNorm, int normStep,
                                                  uint8_t* pMask, int maskStep, RvpiSize roiSize, int* pPositive,
                                                  float threshold, RvpiHaarClassifier* pState);
RVP_API RvpStatus rvpiApplyHaarClassifier_32s32f_C1R(const int32_t* pSrc, int srcStep, const float* pNorm,
                                                     int normStep, uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                                     int* pPositive, float threshold, RvpiHaarClassifier* pState);
/** @} */

/**
 * Tests a stage at the selected pixels, in integers. See @ref haar for the formulas, the limits and the statuses.
 *
 * @param pSrc The table at the first pixel.
 * @param srcStep Row step of the table, in bytes.
 * @param pNorm First pixel of the normalising image.
 * @param normStep Row step of the normalising image, in bytes.
 * @param pMask First pixel of the mask; pixels that fail become zero.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pPositive Where the number of pixels goes that passed.
 * @param threshold Threshold of the stage.
 * @param pState The block.
 * @param scaleFactor Sums are shifted left by minus this before they are compared; at most 0.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiApplyHaarClassifier_32s_C1RSfs(const int32_t* pSrc, int srcStep, const int32_t* pNorm,
                                                     int normStep, uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                                     int* pPositive, int32_t threshold, RvpiHaarClassifier* pState,
                                                     int scaleFactor);

/** @name Test of a stage of upright and tilted features
 *  @{ */
/**
 * Tests a stage of upright and tilted features at the selected pixels. See @ref haar for the formulas, the limits
 * and the statuses.
 *
 * @param pSrc The upright table at the first pixel.
 * @param srcStep Row step of the upright table, in bytes.
 * @param pTilt The tilted table at the first pixel.
 * @param tiltStep Row step of the tilted table, in bytes.
 * @param pNorm First pixel of the normalising image.
 * @param normStep Row step of the normalising image, in bytes.
 * @param pMask First pixel of the mask; pixels that fail become zero.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pPositive Where the number of pixels goes that passed.
 * @param threshold Threshold of the stage.
 * @param pState The block.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiApplyMixedHaarClassifier_32f_C1R(const float* pSrc, int srcStep, const float* pTilt,
                                                       int tiltStep, const float* pNorm, int normStep,
                                                       uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                                       int* pPositive, float threshold, RvpiHaarClassifier* pState);
RVP_API RvpStatus rvpiApplyMixedHaarClassifier_32s32f_C1R(const int32_t* pSrc, int srcStep, const int32_t* pTilt,
                                                          int tiltStep, const float* pNorm, int normStep,
                                                          uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                                          int* pPositive, float threshold,
                                                          RvpiHaarClassifier* pState);
/** @} */

/**
 * Tests a stage of upright and tilted features at the selected pixels, in integers. See @ref haar for the formulas,
 * the limits and the statuses.
 *
 * @param pSrc The upright table at the first pixel.
 * @param srcStep Row step of the upright table, in bytes.
 * @param pTilt The tilted table at the first pixel.
 * @param tiltStep Row step of the tilted table, in bytes.
 * @param pNorm First pixel of the normalising image.
 * @param normStep Row step of the normalising image, in bytes.
 * @param pMask First pixel of the mask; pixels that fail become zero.
 * @param maskStep Row step of the mask, in bytes.
 * @param roiSize Size of the region, in pixels.
 * @param pPositive Where the number of pixels goes that passed.
 * @param threshold Threshold of the stage.
 * @param pState The block.
 * @param scaleFactor Sums are shifted left by minus this before they are compared; at most 0.
 * @return The first status that applies, in the order that the family's text lists.
 */
RVP_API RvpStatus rvpiApplyMixedHaarClassifier_32s_C1RSfs(const int32_t* pSrc, int srcStep, const int32_t* pTilt,
                                                          int tiltStep, const int32_t* pNorm, int normStep,
                                                          uint8_t* pMask, int maskStep, RvpiSize roiSize,
                                                          int* pPositive, int32_t threshold,
                                                          RvpiHaarClassifier* pState, int scaleFactor);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
