// The argument checks, each kind written once. A check answers rvpStatusOk or its fault; an operation lists its
// checks in the order in which their faults count and returns the first. No check reads a pixel.
#pragma once

#include "frame/views.h"
#include "rvpcv/types.h"

namespace rvp::n8 {

inline RvpStatus faultIf(bool condition, RvpStatus fault) { return condition ? fault : RvpStatus{rvpStatusOk}; }

// The first fault of a list of checks.
template <class... Status>
RvpStatus firstFault(Status... checks) {
  RvpStatus fault = rvpStatusOk;
  static_cast<void>(((fault = checks, fault != rvpStatusOk) || ...));
  return fault;
}

template <class... Pointer>
RvpStatus nullPointer(const Pointer*... pointers) {
  return faultIf(((pointers == nullptr) || ...), rvpStatusNullPointer);
}

inline RvpStatus badSize(RvpiSize size) { return faultIf(size.width < 1 || size.height < 1, rvpStatusBadSize); }

inline RvpStatus badLength(int len) { return faultIf(len < 1, rvpStatusBadSize); }

// A step below the row's length in bytes, where the length wraps at 32 bits. Unless it wrapped, zero and negative
// steps are refused.
template <class T, int kChannels = 1, class... Step>
RvpStatus shortStep(int width, Step... steps) {
  const int rowBytes = wrappedProduct(width, static_cast<int>(sizeof(T)) * kChannels);
  return faultIf(((steps < rowBytes) || ...), rvpStatusBadStep);
}

// A step below the bytes of a row of bits.
template <class... Step>
RvpStatus shortBitStep(int width, Step... steps) {
  const int rowBytes = static_cast<int>((std::int64_t{width} + 7) / 8);
  return faultIf(((steps < rowBytes) || ...), rvpStatusBadStep);
}

// A step that is no multiple of the element's size; of the size alone, whatever the number of channels.
template <class T, class... Step>
RvpStatus oddStep(Step... steps) {
  static_assert((sizeof(T) & (sizeof(T) - 1)) == 0, "the test on the steps' common low bits needs a power of two");
  return faultIf(((steps | ...) & static_cast<int>(sizeof(T) - 1)) != 0, rvpStatusStepNotMultiple);
}

// What primitives and border copies ask of a step, and nothing more.
template <class... Step>
RvpStatus stepBelowOne(Step... steps) {
  return faultIf(((steps < 1) || ...), rvpStatusBadStep);
}

}  // namespace rvp::n8
