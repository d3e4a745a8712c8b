// One pass over the rows. What a pixel becomes depends on all pixels before it, so that a pass in bands would have
// to wait for the band above. Regions are mostly of one label: blocks of pixels that equal all their neighbours are
// passed over at the speed of the memory, which a team would not raise.
#include "segment/boundaries.h"

#include <algorithm>
#include <cstddef>

#include "frame/checks.h"
#include "frame/views.h"
#include "rvpcv/segment.h"

namespace rvp::n8 {
namespace {

// Pixels that are tested at once: two vectors of bytes.
constexpr std::ptrdiff_t kBlock = 32;

// Whether the pixels from `here` on equal the pixels before them and above them. It is asked only where these
// exist.
template <bool kDiagonals, class Label>
bool isUniform(const Label* here, const Label* above) {
  unsigned differs = 0;
  for (std::ptrdiff_t x = 0; x < kBlock; ++x) {
    differs |= static_cast<unsigned>(here[x] ^ here[x - 1]) | static_cast<unsigned>(here[x] ^ above[x]);
    if constexpr (kDiagonals)
      differs |= static_cast<unsigned>(here[x] ^ above[x - 1]) | static_cast<unsigned>(here[x] ^ above[x + 1]);
  }
  return differs == 0;
}

// `takesLater(x, y, earlierX, earlierY)` tells which of two pixels becomes the boundary.
template <bool kDiagonals, class Label, class Choice>
class BoundaryPass {
 public:
  BoundaryPass(Label* marker, int step, RvpiSize size, Label val, const Choice& takesLater)
      : marker_(marker),
        step_(step),
        width_(size.width),
        height_(size.height),
        val_(val),
        takesLater_(takesLater) {}

  void run() const {
    for (std::ptrdiff_t y = 0; y < height_; ++y) {
      const Label* here = row(marker_, step_, y);
      // In the first row the row itself stands in for the one above: only blocks of one label pass.
      const Label* above = row(marker_, step_, std::max<std::ptrdiff_t>(y - 1, 0));
      visit(0, y);
      for (std::ptrdiff_t x = 1; x < width_;) {
        // The block is followed by a pixel, of which the last one above is the upper right neighbour.
        if (x + kBlock < width_ && isUniform<kDiagonals>(here + x, above + x)) {
          x += kBlock;
          continue;
        }
        for (const std::ptrdiff_t last = std::min(x + kBlock, width_); x < last; ++x) visit(x, y);
      }
    }
  }

 private:
  void visit(std::ptrdiff_t x, std::ptrdiff_t y) const {
    if (row(marker_, step_, y)[x] == val_ || (x > 0 && settle(x, y, x - 1, y)) || y == 0) return;
    if (settle(x, y, x, y - 1)) return;
    if constexpr (kDiagonals) {
      if (x > 0 && settle(x, y, x - 1, y - 1)) return;
      if (x + 1 < width_) settle(x, y, x + 1, y - 1);
    }
  }

  // Whether the later pixel, which is no boundary yet, becomes one.
  bool settle(std::ptrdiff_t x, std::ptrdiff_t y, std::ptrdiff_t earlierX, std::ptrdiff_t earlierY) const {
    Label& later = row(marker_, step_, y)[x];
    Label& earlier = row(marker_, step_, earlierY)[earlierX];
    if (earlier == val_ || earlier == later) return false;
    const bool takesLater = takesLater_(x, y, earlierX, earlierY);
    (takesLater ? later : earlier) = val_;
    return takesLater;
  }

  Label* marker_;
  int step_;
  std::ptrdiff_t width_;
  std::ptrdiff_t height_;
  Label val_;
  const Choice& takesLater_;
};

template <class Label, class Choice>
void mark(Label* marker, int step, RvpiSize size, Label val, bool use4, const Choice& takesLater) {
  if (use4) {
    BoundaryPass<false, Label, Choice>(marker, step, size, val, takesLater).run();
  } else {
    BoundaryPass<true, Label, Choice>(marker, step, size, val, takesLater).run();
  }
}

template <class Label>
RvpStatus boundSegments(Label* pMarker, int markerStep, RvpiSize roiSize, Label val, RvpiConnectivity norm) {
  if (RvpStatus fault = firstFault(nullPointer(pMarker), badSize(roiSize),
                                   shortStep<Label>(roiSize.width, markerStep), oddStep<Label>(markerStep),
                                   faultIf(norm != rvpConnect8 && norm != rvpConnect4, rvpStatusBadArgument)))
    return fault;
  ownBound(pMarker, markerStep, roiSize, val, norm == rvpConnect4);
  return rvpStatusOk;
}

}  // namespace

template <class Label>
void ownBound(Label* pMarker, int markerStep, RvpiSize roiSize, Label val, bool use4) {
  mark(pMarker, markerStep, roiSize, val, use4,
       [](std::ptrdiff_t, std::ptrdiff_t, std::ptrdiff_t, std::ptrdiff_t) { return true; });
}

template <class Label, class Cost>
void ownBoundSegments(Label* pMarker, int markerStep, const Cost* pCost, std::ptrdiff_t costStep, RvpiSize roiSize,
                      Label val, bool use4) {
  const auto costAt = [=](std::ptrdiff_t x, std::ptrdiff_t y) {
    return reinterpret_cast<const Cost*>(reinterpret_cast<const char*>(pCost) + y * costStep)[x];
  };
  mark(pMarker, markerStep, roiSize, val, use4,
       [&](std::ptrdiff_t x, std::ptrdiff_t y, std::ptrdiff_t earlierX, std::ptrdiff_t earlierY) {
         return costAt(earlierX, earlierY) <= costAt(x, y);
       });
}

template void ownBound(std::uint8_t*, int, RvpiSize, std::uint8_t, bool);
template void ownBound(std::uint16_t*, int, RvpiSize, std::uint16_t, bool);
template void ownBoundSegments(std::uint8_t*, int, const std::int32_t*, std::ptrdiff_t, RvpiSize, std::uint8_t,
                               bool);
template void ownBoundSegments(std::uint16_t*, int, const std::int32_t*, std::ptrdiff_t, RvpiSize, std::uint16_t,
                               bool);
template void ownBoundSegments(std::uint16_t*, int, const CountedLevel*, std::ptrdiff_t, RvpiSize, std::uint16_t,
                               bool);

}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiBoundSegments_8u_C1IR(uint8_t* pMarker, int markerStep, RvpiSize roiSize, uint8_t val,
                                    RvpiConnectivity norm) {
  return rvp::n8::boundSegments(pMarker, markerStep, roiSize, val, norm);
}

RvpStatus rvpiBoundSegments_16u_C1IR(uint16_t* pMarker, int markerStep, RvpiSize roiSize, uint16_t val,
                                     RvpiConnectivity norm) {
  return rvp::n8::boundSegments(pMarker, markerStep, roiSize, val, norm);
}

}  // extern "C"
