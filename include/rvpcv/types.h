/**
 * @file
 * The types, status values and selectors that every family shares.
 */
#ifndef RVPCV_TYPES_H
#define RVPCV_TYPES_H

#include <stdint.h>

#if defined(__GNUC__)
#define RVP_API __attribute__((visibility("default"))) /**< Marks a name that the library exports. */
#else
#define RVP_API
#endif

/**
 * @defgroup types Types, statuses and selectors
 *
 * An image argument is a triple: a pointer to the first pixel of the region of interest, a row step in bytes, and
 * a size in pixels that all images of the call share. The pixel at column x of row y lies at byte offset
 * `y * step + x * sizeof(pixel)`. Channels are interleaved. A step may be larger than the row, and a region may
 * start anywhere inside a larger image; pointers need the alignment of the element and no more. Nothing outside the
 * region is written, and nothing outside it is read except where a border mode says so.
 * @{
 */

/**
 * Result of an operation: 0 for success, a negative error, or a positive warning. One of ::RvpStatusCode.
 *
 * An error means that nothing was touched. A warning means that all results are there and defined.
 * ::rvpGetStatusString puts a status into words.
 */
typedef int32_t RvpStatus;

/** Every status that the library returns. */
enum RvpStatusCode {
  rvpStatusOk = 0,                  /**< Success. */
  rvpStatusDivByZero = 6,           /**< Warning: the divisor of a relative norm was zero; the result is NaN for
                                         0 over 0 and an infinity otherwise. */
  rvpStatusBufferSizeOverflow = 12, /**< Warning: a size does not fit in 31 bits; it was written all the same. */
  rvpStatusTooManyLines = 33, /**< Warning: more lines were found than the array holds; it is full and valid. */
  rvpStatusKernelNotSymmetric = 38, /**< Warning: the right half of the kernel was rebuilt from its left half. */
  rvpStatusError = -2,         /**< The last resort of a family: a case that its checks should have excluded. */
  rvpStatusBadArgument = -5,   /**< A numeric or enumerated argument has a value that is not allowed. */
  rvpStatusBadSize = -6,       /**< A width, height or length below 1, or a negative bit offset. */
  rvpStatusBadRange = -7,      /**< An upper limit lies below its lower limit. */
  rvpStatusNullPointer = -8,   /**< A required pointer is null. */
  rvpStatusOutOfRange = -11,   /**< A value lies outside its supported range. */
  rvpStatusBadDataType = -12,  /**< The family does not have this data type. */
  rvpStatusBadStep = -14,      /**< A row step is shorter than the row. */
  rvpStatusBadSpec = -17,      /**< The block is not a state block of this operation. */
  rvpStatusBadThreshold = -18, /**< A threshold below 0. */
  rvpStatusBadMaskSize = -33,  /**< A mask selector or mask dimension that is not supported. */
  rvpStatusBadAnchor = -34,    /**< The anchor lies outside the mask. */
  rvpStatusBadChannels = -47,  /**< A number of channels other than 1 or 3. */
  rvpStatusBadChannelOfInterest = -52,  /**< The channel of interest is not 1, 2 or 3. */
  rvpStatusBadNumChannels = -53,        /**< The family does not have this number of channels. */
  rvpStatusBadMetric = -56,             /**< A chamfer metric that is not positive. */
  rvpStatusStepNotMultiple = -108,      /**< A row step is no multiple of the element size. */
  rvpStatusBadBorder = -225,            /**< The family does not take this border selector. */
  rvpStatusBadNorm = -229,              /**< The family does not take this norm. */
  rvpStatusBadFilterType = -230,        /**< The family does not take this derivative filter. */
  rvpStatusSizeOverflow = -232,         /**< A required buffer size does not fit in 31 bits. */
  rvpStatusInPlaceNotSupported = -9997, /**< Source and destination are the same where they must not be. */
  rvpStatusNotSupported = -9999         /**< The case exists in the interface but not in the code. */
};

/** Size of a region in pixels. Passed by value. */
typedef struct {
  int32_t width;  /**< Columns. */
  int32_t height; /**< Rows. */
} RvpiSize;

/** Position of a pixel. */
typedef struct {
  int32_t x; /**< Column. */
  int32_t y; /**< Row. */
} RvpiPoint;

/** Position between pixels. */
typedef struct {
  float x; /**< Column; pixel centres are whole numbers. */
  float y; /**< Row; pixel centres are whole numbers. */
} RvpiPoint32f;

/** Rectangle of pixels. */
typedef struct {
  int32_t x;      /**< Leftmost column. */
  int32_t y;      /**< Topmost row. */
  int32_t width;  /**< Columns. */
  int32_t height; /**< Rows. */
} RvpiRect;

/** Element type, for size functions that take it as an argument. One of ::RvpDataTypeCode. */
typedef int32_t RvpDataType;

/** The element types. */
enum RvpDataTypeCode {
  rvp8u = 1,   /**< Unsigned 8-bit. */
  rvp16u = 5,  /**< Unsigned 16-bit. */
  rvp16s = 7,  /**< Signed 16-bit. */
  rvp32s = 11, /**< Signed 32-bit. */
  rvp32f = 13, /**< 32-bit float. */
  rvp64f = 19  /**< 64-bit float. */
};

/** Square mask: 33 stands for 3x3 and 55 for 5x5. */
typedef int32_t RvpiMaskSize;

/**
 * Where the pixels outside a region come from: one mode of ::RvpiBorderMode, to which modes 0, 1 and 3 may add any
 * of the in-memory side flags. A flagged side reads the pixels that lie in memory beside the region, and the mode
 * serves the other sides: `rvpBorderRepl | rvpBorderInMemLeft` reads on the left and replicates elsewhere. The
 * caller guarantees that a flagged side has as many pixels in memory as the mask's extent needs.
 *
 * For a row `a b c d`:
 *
 * | mode              | left of it | the row   | right of it |
 * | ----------------- | ---------- | --------- | ----------- |
 * | ::rvpBorderConst  | `v v v`    | `a b c d` | `v v v`     |
 * | ::rvpBorderRepl   | `a a a`    | `a b c d` | `d d d`     |
 * | ::rvpBorderMirror | `d c b`    | `a b c d` | `c b a`     |
 */
typedef int32_t RvpiBorderType;

/** The modes and side flags of ::RvpiBorderType. */
enum RvpiBorderMode {
  rvpBorderConst = 0,        /**< A constant, `borderValue`. */
  rvpBorderRepl = 1,         /**< The nearest pixel of the region's edge. */
  rvpBorderMirror = 3,       /**< Reflection about the edge pixel, which is not repeated. It goes back and forth as
                                  often as it takes when the border is wider than the region. */
  rvpBorderMirrorEdge = 4,   /**< Reflection about the outer side of the edge pixel, which is repeated. Taken by
                                  derivative filters inside the library, and by no operation of the interface. */
  rvpBorderInMem = 6,        /**< Nothing is made up: all four sides are read from memory. */
  rvpBorderInMemTop = 16,    /**< Side flag: rows above the region are read from memory. */
  rvpBorderInMemBottom = 32, /**< Side flag: rows below the region are read from memory. */
  rvpBorderInMemLeft = 64,   /**< Side flag: columns to the left of the region are read from memory. */
  rvpBorderInMemRight = 128  /**< Side flag: columns to the right of the region are read from memory. */
};

/** Which pixels count as neighbours. One of ::RvpiNeighbours. */
typedef int32_t RvpiConnectivity;

/** The kinds of neighbours. */
enum RvpiNeighbours {
  rvpConnect8 = 0, /**< The eight pixels around: diagonals too. */
  rvpConnect4 = 1  /**< The pixels above, below, left and right. */
};

/** @} */

#endif
