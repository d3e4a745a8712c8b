// What the corner measures share: their derivatives, windows of any side, and the size of the scratch.
#pragma once

#include <cstdint>
#include <type_traits>

#include "features/large_windows.h"
#include "features/structure_tensor.h"
#include "frame/checks.h"
#include "rvpcv/features.h"

namespace rvp::n8 {

// A window of even side reaches one pixel farther to the right and downwards.
constexpr WindowSpan windowSpan(int side) {
  const std::ptrdiff_t half = side / 2;
  return {half - (side % 2 == 0 ? 1 : 0), half};
}

inline RvpStatus badCornerFilter(int filterKind, RvpiMaskSize maskSize, RvpiBorderType borderType) {
  const bool known =
      filterKind == rvpFilterSobel || filterKind == rvpFilterScharr || filterKind == rvpFilterCentralDifference;
  const bool goodMask = maskSize == 33 || (maskSize == 55 && filterKind == rvpFilterSobel);
  // Three bits alone are looked at.
  const int mode = borderType & 7;
  const bool goodMode =
      mode == rvpBorderConst || mode == rvpBorderRepl || mode == rvpBorderMirror || mode == rvpBorderInMem;
  return firstFault(faultIf(!known, rvpStatusBadFilterType), faultIf(!goodMask, rvpStatusBadMaskSize),
                    faultIf(!goodMode, rvpStatusBadBorder));
}

// The selector with the bits that the corner measures look at.
constexpr Border cornerBorder(RvpiBorderType borderType) { return borderOf(borderType & (7 | kBorderAllSides)); }

// Bytes of scratch of a corner measure, whatever its border, or more than 2^31 - 1.
std::int64_t cornerBufferBytes(RvpiSize size, RvpiMaskSize maskSize, int avgWindow, int elementBytes);

template <class Kernel, class Src, class Finish>
void cornerTensors(const ExtendedImage<Src, 1>& image, int avgWindow, std::uint8_t* pBuffer, const Finish& finish) {
  const ProductRows<Kernel, Src, BeyondMemory::products> rows(image);
  const Slice all = {0, image.size.height};
  const auto run = [&](auto& window) { forTensors(window, rows, image.size.width, all, finish); };
  if (avgWindow == 1) {
    SmallWindow<Weights<1>> window;
    run(window);
  } else if (avgWindow == 3) {
    SmallWindow<Weights<1, 1, 1>> window;
    run(window);
  } else if (avgWindow == 5) {
    SmallWindow<Weights<1, 1, 1, 1, 1>> window;
    run(window);
  } else {
    const WindowSpan span = windowSpan(avgWindow);
    if constexpr (std::is_same_v<Src, std::uint8_t>) {
      if (avgWindow <= RunningWindow::mostSide(Kernel::largestOfBytes())) {
        RunningWindow window(span, image.size.width, pBuffer);
        return run(window);
      }
    }
    GroupedWindow window(span, image.size.width, pBuffer);
    run(window);
  }
}

// Calls finish(d, y, x, a, b, c) with the sums over the window.
template <class Src, class Finish>
void cornerTensors(const ExtendedImage<Src, 1>& image, int filterKind, RvpiMaskSize maskSize, int avgWindow,
                   std::uint8_t* pBuffer, const Finish& finish) {
  if (filterKind == rvpFilterScharr) {
    cornerTensors<Scharr3>(image, avgWindow, pBuffer, finish);
  } else if (filterKind == rvpFilterCentralDifference) {
    cornerTensors<CentralDifference3>(image, avgWindow, pBuffer, finish);
  } else if (maskSize == 33) {
    cornerTensors<Sobel3>(image, avgWindow, pBuffer, finish);
  } else {
    cornerTensors<Sobel5>(image, avgWindow, pBuffer, finish);
  }
}

// What turns a sum over the window into its mean.
inline float meanFactor(int avgWindow) {
  const double side = avgWindow;
  return static_cast<float>(1.0 / (side * side));
}

}  // namespace rvp::n8
