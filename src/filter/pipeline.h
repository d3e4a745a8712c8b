// What the two stages of the filter pipelines have in common beside their arithmetic: how the work is shared out to
// a team, and how much scratch they report.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/checks.h"
#include "frame/team.h"
#include "frame/views.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

// Scratch of an operation, in bytes. An operation that may have a team reports a share for each thread, and for
// each thread an array of row pointers and what it takes to align both.
struct PipelineScratch {
  std::int64_t share;
  bool team;

  // In 64 bits: the sizes that are reported wrap at 32, which takes images and kernels of many million rows and
  // taps.
  std::int64_t ofThread(RvpiSize roiSize, int kernelSize) const {
    constexpr int kAlignment = 32;
    constexpr int kRowPointer = 8;
    return team ? kAlignment + kRowPointer * (std::int64_t{roiSize.height} + kernelSize) + share : share;
  }

  int reported(RvpiSize roiSize, int kernelSize) const {
    return static_cast<int>(ofThread(roiSize, kernelSize) * (team ? owncvGetMaxNumThreads() : 1));
  }
};

// A null pointer among `count` row pointers.
template <class T>
RvpStatus nullRow(T* const* rows, int count) {
  return faultIf(count > 0 && std::any_of(rows, rows + count, [](const T* row) { return row == nullptr; }),
                 rvpStatusNullPointer);
}

// The body of every size function. shareOf() is asked after the checks.
template <class ShareOf>
RvpStatus pipelineBufferSize(RvpiSize roiSize, int kernelSize, int* pBufferSize, bool team,
                             const ShareOf& shareOf) {
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize), badLength(kernelSize))) return fault;
  *pBufferSize = PipelineScratch{shareOf(), team}.reported(roiSize, kernelSize);
  return rvpStatusOk;
}

// The first place from `at` on where an element may stand; the block that a caller gives may start anywhere.
template <class T>
T* alignedTo(std::uint8_t* at) {
  const std::uintptr_t missing = -reinterpret_cast<std::uintptr_t>(at) & (alignof(T) - 1);
  return reinterpret_cast<T*>(at + missing);
}

// Runs body(Slice) over the rows, on a team if the operation has one and each of its threads gets enough pixels.
template <class Body>
void forPipelineSlices(RvpiSize roiSize, bool team, const Body& body) {
  constexpr int kPixelsOfThread = 1 << 15;
  if (team) {
    forRowSlices(roiSize, wrappedProduct(owncvGetMaxNumThreads(), kPixelsOfThread), body);
  } else {
    body(Slice{0, roiSize.height});
  }
}

}  // namespace rvp::n8
