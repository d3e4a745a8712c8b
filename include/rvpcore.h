/**
 * @file
 * The core library: threads, aligned memory, cache size and status texts.
 */
#ifndef RVPCORE_H
#define RVPCORE_H

#include <stddef.h>

#include "rvpcv/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup core Core library
 *
 * `librvpcore.so.9.0`: what the operations ask of their surroundings. All functions may be called from any thread.
 * @{
 */

/**
 * Sets how many threads an operation may use.
 *
 * The setting holds for the whole process, for calls that begin after it. A size function of a threaded operation
 * includes one share a thread, so the number must not grow between that function and the operation.
 *
 * @param n Number of threads, at least 1; 1 means that operations stay on the caller's thread. A number above 64
 * and above the number of processors counts as the larger of those two.
 * @retval rvpStatusOk The number is set.
 * @retval rvpStatusBadArgument `n` is below 1; the former setting stays.
 */
RVP_API RvpStatus rvpSetNumThreads(int n);

/**
 * Tells how many threads an operation may use.
 *
 * @return What ::rvpSetNumThreads set; without a setting, the limit of the OpenMP runtime of the calling thread,
 *         which follows `OMP_NUM_THREADS`, `OMP_THREAD_LIMIT` and the processors that the process may use. At
 * least 1.
 */
RVP_API int rvpGetNumThreads(void);

/**
 * The same number as ::rvpGetNumThreads, under the name by which the library's operations ask for it.
 *
 * @return The number of threads, at least 1.
 */
RVP_API int ownGetNumThreads(void);

/**
 * Allocates memory.
 *
 * @param length Bytes. A negative number that was converted to `size_t` is refused like any length that no block
 *               can have.
 * @return A block whose address is a multiple of 64, to be given back with ::rvpFree; null if `length` is 0 or the
 *         memory is not to be had.
 */
RVP_API void* rvpMalloc(size_t length);

/**
 * Gives back a block of ::rvpMalloc.
 *
 * @param block The block, or null, which does nothing.
 */
RVP_API void rvpFree(void* block);

/**
 * Tells the size of the largest cache.
 *
 * @param[out] pSizeByte Bytes of the largest cache of the processor, at most 2^31 - 1. Untouched on an error.
 * @retval rvpStatusOk The size is written.
 * @retval rvpStatusNullPointer `pSizeByte` is null.
 * @retval rvpStatusNotSupported The system does not tell the size.
 */
RVP_API RvpStatus rvpGetMaxCacheSizeB(int* pSizeByte);

/**
 * Puts a status into words.
 *
 * @param status Any value.
 * @return A constant text: one of its own for each status of ::RvpStatusCode, and one for all other values.
 */
RVP_API const char* rvpGetStatusString(RvpStatus status);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
