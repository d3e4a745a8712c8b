/**
 * @file
 * A mixture of Gaussians for every pixel of a video: what moves, and what it moves in front of.
 */
#ifndef RVPCV_BACKGROUND_H
#define RVPCV_BACKGROUND_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @addtogroup background Gaussian-mixture background
 * @details
 * Every pixel of a video with three channels of 8 bits has a few modes: colours that it tends to show. A mode has a
 * weight, the share of frames in which it was seen; a mean, one value a channel; and one variance for all channels.
 * The heaviest modes, up to a cumulative weight of `backgroundWeight`, are the background. Each frame is compared
 * with the modes and then learnt.
 *
 * **Learning rate.** `n` counts the frames, from 1 on. With `learningRate` 0 or more and `n` above 1, `alpha` is
 * `learningRate`; else it is `1 / min(2 * n, historyLength)`. It is rounded to float. With it,
 * `keep = 1 - alpha` and `prune = weightDecay * alpha`, the product formed in double and rounded to float.
 *
 * **One pixel** `p`. All is float, each operation rounded by itself, in the order of the formulas. The modes stand
 * in the order of falling weight; `total` starts at 0, `live` as the number of modes.
 *
 *     for m from 0 while m < live:
 *       w = weight[m] * keep - prune
 *       if no mode has absorbed p yet:
 *         d = mean[m] - p;  D = d0 * d0 + d1 * d1 + d2 * d2
 *         if total < backgroundWeight and backgroundMatch * variance[m] > D: p is background
 *         if updateMatch * variance[m] > D, the mode absorbs p:
 *           w = w + alpha;  rho = alpha / w
 *           mean[m] = mean[m] - d * rho
 *           variance[m] = min(max(variance[m] + (D - variance[m]) * rho, minVariance), maxVariance)
 *           the mode moves before all modes next to it whose weight is not above w
 *       if prune > w: w = 0, live = live - 1
 *       else:         total = total + w
 *       the mode's weight becomes w
 *     the first `live` weights are divided by total, unless that is 0
 *
 * If a mode absorbed the pixel, dropped modes stay in the count with a weight of 0. If none did, the count becomes
 * `live`, and `p` begins a mode of its own with the variance `initialVariance`: one more, or in the last one's
 * place if there are `modeCount` already. A mode that is alone has the weight 1. Otherwise the new one has `alpha`,
 * the others' weights are multiplied by `keep`, and it moves before all modes next to it whose weight is not above
 * `alpha`.
 *
 * **Mask.** 0 for background. Otherwise 255, or `shadowLabel` where, with `shadowEnabled` not 0, the pixel is a
 * darker version of a background mode:
 *
 *     c = 0
 *     for each mode, from the first:
 *       a = p . mean;  b = mean . mean
 *       if b = 0: the pixel is 255
 *       if b >= a and a >= shadowRatio * b:
 *         r = a / b;  E = |mean * r - p|^2
 *         if backgroundMatch * variance * r * r > E: the pixel is shadowLabel
 *       c = c + weight
 *       if c > backgroundWeight: the pixel is 255
 *
 * In the first frame there is no background yet. With the shadow test it so reads as shadow all over, but for black
 * pixels, which are 255; without the test it is 255.
 *
 * **Memory.** One block at any address, of the size that ::rvpiFGMMGetBufferSize_8u_C3R tells; it may be neither
 * moved nor copied. Nothing is allocated. A pixel has at most 255 modes, however large `modeCount` is.
 *
 * **Threads.** All runs on the caller's thread. One block serves one call at a time.
 *
 * **Sources.** Z. Zivkovic, "Improved adaptive Gaussian mixture model for background subtraction", ICPR 2004; Z.
 * Zivkovic, F. van der Heijden, "Efficient adaptive density estimation per image pixel for the task of background
 * subtraction", Pattern Recognition Letters 27 (2006). The test for shadows: A. Prati, I. Mikic, M. M. Trivedi, R.
 * Cucchiara, "Detecting moving shadows", IEEE Transactions on Pattern Analysis and Machine Intelligence 25 (2003).
 * @{
 */

/** How a scene is learnt. There are no default values; those in brackets suit 8-bit video of usual noise. */
typedef struct {
  uint32_t historyLength; /**< Frames behind the automatic learning rate (500). */
  uint32_t modeCount;     /**< Modes that a pixel may have (5). Only ::rvpiFGMMForeground_8u_C3R reads it here. */
  float initialVariance;  /**< Variance of a new mode (15). */
  float minVariance;      /**< Lower limit of a variance (4). */
  float maxVariance;      /**< Upper limit of a variance (75). */
  float backgroundMatch;  /**< Squared distance, in variances, within which a mode makes a pixel background (16). */
  float backgroundWeight; /**< Cumulative weight of the modes that form the background (0.9). */
  float updateMatch;      /**< Squared distance, in variances, within which a mode absorbs a pixel (9). */
  float weightDecay;      /**< Extra decay of weights, as a multiple of the learning rate (0.05). */
  uint8_t shadowLabel;    /**< Value of a shadow in the mask (127). */
  uint8_t shadowEnabled;  /**< 0: no test for shadows. */
  float shadowRatio;      /**< Least ratio of a shadow's brightness to its mode's (0.5). */
} RvpFGMMModel;

/** The block of a video. What it holds is the library's matter. */
typedef struct RvpFGMMState RvpFGMMState;

/**
 * Tells the size of the block of a video.
 *
 * With `P` the number of pixels, `n` = `modeCount`, and `r(x)` the next multiple of 32, it is
 * `r(8 * P * n) + r(12 * P * n) + r(12 * width * n) + r(P) + 416` bytes.
 *
 * @param roiSize Size of a frame, in pixels.
 * @param modeCount Modes that a pixel may have; at least 1.
 * @param pBufferSize Receives the size in bytes.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer `pBufferSize` is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `modeCount` is below 1.
 * @retval rvpStatusSizeOverflow The size does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFGMMGetBufferSize_8u_C3R(RvpiSize roiSize, int modeCount, int* pBufferSize);

/**
 * Makes a block for a new video: no pixel has a mode.
 *
 * @param roiSize Size of a frame, in pixels.
 * @param modeCount Modes that a pixel may have; at least 1. It counts, not the one in `pModel`.
 * @param pModel How the scene is learnt. It is copied.
 * @param pState The block, of the size that ::rvpiFGMMGetBufferSize_8u_C3R tells, at any address.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadSize `width` or `height` is below 1.
 * @retval rvpStatusBadArgument `modeCount` is below 1.
 * @retval rvpStatusSizeOverflow A block of this kind does not fit in 31 bits.
 */
RVP_API RvpStatus rvpiFGMMInit_8u_C3R(RvpiSize roiSize, int modeCount, const RvpFGMMModel* pModel,
                                      RvpFGMMState* pState);

/**
 * Writes the foreground mask of a frame and learns the frame. See @ref background for the formulas.
 *
 * Frame and mask must not overlap. Steps are not compared with rows. A pixel's modes are found by its number, `y *
 * width + x`: the size should be the one that the block was made for.
 *
 * @param pSrc First pixel of the frame, three channels.
 * @param srcStep Row step of the frame, in bytes; at least 1.
 * @param pDst First pixel of the mask, one channel.
 * @param dstStep Row step of the mask, in bytes; at least 1.
 * @param roiSize Size of the frame, in pixels.
 * @param pState A block that ::rvpiFGMMInit_8u_C3R has made.
 * @param pModel Replaces all parameters from this frame on; null to keep them. Modes are stored pixel by pixel,
 * `modeCount` of them each, and another `modeCount` finds the same numbers shared out in this new way; it belongs
 * with a new Init. With 0, no pixel has modes, and the mask is 255.
 * @param learningRate Weight of this frame, 0 to 1; below 0 for the automatic rate, which the first frame has
 * always.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer `pSrc`, `pDst` or `pState` is null.
 * @retval rvpStatusBadStep A step is below 1.
 * @retval rvpStatusBadSize `width` or `height` is below 1; as the last check, the frame has more pixels than those
 * that the block was made for.
 * @retval rvpStatusBadArgument `pModel` has a `modeCount` above the one that the block was made for.
 */
RVP_API RvpStatus rvpiFGMMForeground_8u_C3R(const uint8_t* pSrc, int srcStep, uint8_t* pDst, int dstStep,
                                            RvpiSize roiSize, RvpFGMMState* pState, const RvpFGMMModel* pModel,
                                            double learningRate);

/**
 * Draws the background: for each pixel the weighted mean of its modes, from the first until their cumulative weight
 * `W` is above `backgroundWeight`. With `S` the sum of `mean * weight`, the pixel is `S * (1 / W)`, limited to 0 to
 * 255 and rounded to the nearest integer, ties to even. A pixel without weights is black.
 *
 * @param pDst First pixel of the picture, three channels.
 * @param dstStep Row step of the picture, in bytes; at least 1.
 * @param roiSize Size of a frame, in pixels.
 * @param pState A block that ::rvpiFGMMInit_8u_C3R has made.
 * @return ::rvpStatusOk or the first of the statuses below.
 * @retval rvpStatusNullPointer A pointer is null.
 * @retval rvpStatusBadStep `dstStep` is below 1.
 * @retval rvpStatusBadSize `width` or `height` is below 1, or the frame has more pixels than those that the block
 * was made for.
 */
RVP_API RvpStatus rvpiFGMMBackground_8u_C3R(uint8_t* pDst, int dstStep, RvpiSize roiSize,
                                            const RvpFGMMState* pState);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
