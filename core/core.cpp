// The core library: what operations ask of the process, the system and the OpenMP runtime.
#include <omp.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>

#include "rvpcore.h"

namespace {

// Threads that the user set; 0 while nothing is set.
std::atomic<int> threadSetting{0};

// A cache line, and enough for every vector unit.
constexpr std::size_t kAlignment = 64;

// More threads than this are granted only on a machine that has more processors.
constexpr int kThreadLimit = 64;

}  // namespace

extern "C" {

RvpStatus rvpSetNumThreads(int n) {
  if (n < 1) return rvpStatusBadArgument;
  // The runtime aborts when the system refuses a thread, so an absurd number must not reach it.
  threadSetting.store(std::min(n, std::max(kThreadLimit, omp_get_num_procs())), std::memory_order_relaxed);
  return rvpStatusOk;
}

int rvpGetNumThreads() {
  const int setting = threadSetting.load(std::memory_order_relaxed);
  if (setting != 0) return setting;
  return std::max(1, std::min(omp_get_max_threads(), omp_get_thread_limit()));
}

int ownGetNumThreads() { return rvpGetNumThreads(); }

void* rvpMalloc(std::size_t length) {
  // Rounded up to what aligned_alloc asks of a length; a length that wraps in rounding is as good as none.
  const std::size_t rounded = (length + kAlignment - 1) / kAlignment * kAlignment;
  return length == 0 || rounded < length ? nullptr : std::aligned_alloc(kAlignment, rounded);
}

void rvpFree(void* block) { std::free(block); }

RvpStatus rvpGetMaxCacheSizeB(int* pSizeByte) {
  if (pSizeByte == nullptr) return rvpStatusNullPointer;
  long largest = 0;
  for (const int level :
       {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE, _SC_LEVEL4_CACHE_SIZE}) {
    largest = std::max(largest, sysconf(level));
  }
  if (largest == 0) return rvpStatusNotSupported;
  *pSizeByte = static_cast<int>(std::min<long>(largest, INT_MAX));
  return rvpStatusOk;
}

const char* rvpGetStatusString(RvpStatus status) {
  switch (status) {
    case rvpStatusOk:
      return "success";
    case rvpStatusDivByZero:
      return "warning: the divisor of a relative norm is zero";
    case rvpStatusBufferSizeOverflow:
      return "warning: a size does not fit in 31 bits";
    case rvpStatusTooManyLines:
      return "warning: more lines were found than the array holds";
    case rvpStatusKernelNotSymmetric:
      return "warning: the right half of the kernel was rebuilt from its left half";
    case rvpStatusError:
      return "error: the operation met a case that it does not know";
    case rvpStatusBadArgument:
      return "error: an argument has a value that is not allowed";
    case rvpStatusBadSize:
      return "error: a width, height or length is below 1, or a bit offset is negative";
    case rvpStatusBadRange:
      return "error: an upper limit lies below its lower limit";
    case rvpStatusNullPointer:
      return "error: a required pointer is null";
    case rvpStatusOutOfRange:
      return "error: a value lies outside its supported range";
    case rvpStatusBadDataType:
      return "error: the operation does not have this data type";
    case rvpStatusBadStep:
      return "error: a row step is shorter than the row";
    case rvpStatusBadSpec:
      return "error: the block is not a state block of this operation";
    case rvpStatusBadThreshold:
      return "error: a threshold is below 0";
    case rvpStatusBadMaskSize:
      return "error: this mask size is not supported";
    case rvpStatusBadAnchor:
      return "error: the anchor lies outside the mask";
    case rvpStatusBadChannels:
      return "error: the number of channels is neither 1 nor 3";
    case rvpStatusBadChannelOfInterest:
      return "error: the channel of interest is not 1, 2 or 3";
    case rvpStatusBadNumChannels:
      return "error: the operation does not have this number of channels";
    case rvpStatusBadMetric:
      return "error: a chamfer metric is not positive";
    case rvpStatusStepNotMultiple:
      return "error: a row step is no multiple of the element size";
    case rvpStatusBadBorder:
      return "error: the operation does not take this border selector";
    case rvpStatusBadNorm:
      return "error: the operation does not take this norm";
    case rvpStatusBadFilterType:
      return "error: the operation does not take this derivative filter";
    case rvpStatusSizeOverflow:
      return "error: a required buffer size does not fit in 31 bits";
    case rvpStatusInPlaceNotSupported:
      return "error: source and destination are the same where they must not be";
    case rvpStatusNotSupported:
      return "error: the interface has this case but the code does not";
    default:
      return "unknown status";
  }
}

}  // extern "C"
