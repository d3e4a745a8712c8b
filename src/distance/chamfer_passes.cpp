// A forward and a backward raster pass: every pixel becomes the least of its start value and, over the moves of the
// mask that come from a pixel already passed, that pixel's value plus the cost of the move. Pixels outside the
// image take no part. The start value of the forward pass is 0 at a seed and the farthest distance elsewhere; that
// of the backward pass is the result of the forward pass.
//
// Within a row each pixel waits for its left neighbour, and a sum of floats depends on the order of its additions.
// So a row is not cut into vectors. A vector holds one pixel of each of several rows instead, every row lagging a
// few columns behind the row above it, so that all that a pixel needs is done by then:
//
//   row 0   . . . . . . . . . . . . x
//   row 1   . . . . . . x
//   row 2   x                            (lag 6)
//
// Sixteen rows make a band. The values of a step lie side by side in a ring of steps, with the pixels of the two
// rows above the band before them. The row above, seen from every lane, is then the same memory one element
// earlier, and the row above that two elements earlier. Values are floats whatever the image's type: whole numbers
// up to 2 * 65535 are exact.
#include "distance/chamfer_passes.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/simd.h"
#include "frame/views.h"

namespace rvp::n8 {
namespace {

using Lanes = hn::CappedTag<float, 8>;
using Vector = hn::Vec<Lanes>;
using Quad = hn::FixedTag<float, 4>;
constexpr std::ptrdiff_t kLanes = hn::MaxLanes(Lanes());

constexpr std::ptrdiff_t kBandRows = 16;
constexpr std::ptrdiff_t kVectors = kBandRows / kLanes;
// Columns between a row and the row above. A knight's move needs 3; the rest gives a value time to reach the cache,
// since a load that straddles two stores has to wait for both.
constexpr std::ptrdiff_t kLag = 6;
// How far a step looks back: two rows, and two columns.
constexpr std::ptrdiff_t kHistory = 2 * kLag + 2;
// Steps between two exchanges with the image.
constexpr std::ptrdiff_t kChunkSteps = 64;
// Where a step's sixteen values lie within its two cache lines.
constexpr std::ptrdiff_t kPlace = 16;
constexpr std::ptrdiff_t kStepFloats = kPlace + kBandRows;

// The start value of a place beyond the image.
constexpr float kOutside = std::numeric_limits<float>::infinity();

struct alignas(64) Workspace {
  float start[kChunkSteps][kBandRows];
  float steps[kHistory + kChunkSteps][kStepFloats];
};

// An image as one of the passes meets it: rows and columns count in the order of the pass.
template <class T, bool kForward>
struct PassView {
  T* first;
  int step;
  std::ptrdiff_t width;
  std::ptrdiff_t height;

  T* pixel(std::ptrdiff_t r, std::ptrdiff_t c) const {
    return row(first, step, kForward ? r : height - 1 - r) + (kForward ? c : width - 1 - c);
  }
  // The pixels c to c + 3 of a row, in the order of their addresses.
  T* quad(std::ptrdiff_t r, std::ptrdiff_t c) const { return pixel(r, kForward ? c : c + 3); }
  // The place of pixel c + e within such a quad.
  static constexpr std::ptrdiff_t place(std::ptrdiff_t e) { return kForward ? e : 3 - e; }

  bool hasColumn(std::ptrdiff_t c) const { return c >= 0 && c < width; }
  float valueOr(float outside, std::ptrdiff_t r, std::ptrdiff_t c) const {
    return r >= 0 && hasColumn(c) ? static_cast<float>(*pixel(r, c)) : outside;
  }
};

template <class T>
hn::Vec<Quad> loadQuad(const T* from) {
  if constexpr (std::is_same_v<T, float>) {
    return hn::LoadU(Quad(), from);
  } else {
    const hn::RebindToSigned<Quad> d32;
    return hn::ConvertTo(Quad(), hn::PromoteTo(d32, hn::LoadU(hn::Rebind<T, Quad>(), from)));
  }
}

void storeQuad(hn::Vec<Quad> v, float* to) { hn::StoreU(v, Quad(), to); }

// Integers go by way of scalars: below SSE4.1 there is no narrowing to unsigned 16 bits.
template <class T>
void storeQuad(hn::Vec<Quad> v, T* to) {
  alignas(16) float values[4];
  hn::Store(v, Quad(), values);
  for (int e = 0; e < 4; ++e) to[e] = static_cast<T>(values[e]);
}

// One quad for each block of a vector: from, or to, where(first lane of the block).
template <class D, class Where>
hn::Vec<D> loadQuads(D d, const Where& where) {
  if constexpr (hn::MaxLanes(D()) == 4) {
    return loadQuad(where(0));
  } else {
    return hn::Combine(d, loadQuad(where(4)), loadQuad(where(0)));
  }
}

template <class D, class Where>
void storeQuads(D, hn::Vec<D> v, const Where& where) {
  if constexpr (hn::MaxLanes(D()) == 4) {
    storeQuad(v, where(0));
  } else {
    storeQuad(hn::LowerHalf(v), where(0));
    storeQuad(hn::UpperHalf(Quad(), v), where(4));
  }
}

// Rows of four pixels become columns, and columns rows, in each block of four lanes.
void transpose(Vector (&v)[4]) {
  const Lanes d;
  const Vector even02 = hn::InterleaveLower(d, v[0], v[2]);
  const Vector even13 = hn::InterleaveLower(d, v[1], v[3]);
  const Vector odd02 = hn::InterleaveUpper(d, v[0], v[2]);
  const Vector odd13 = hn::InterleaveUpper(d, v[1], v[3]);
  v[0] = hn::InterleaveLower(d, even02, even13);
  v[1] = hn::InterleaveUpper(d, even02, even13);
  v[2] = hn::InterleaveLower(d, odd02, odd13);
  v[3] = hn::InterleaveUpper(d, odd02, odd13);
}

// A band of rows from `top` on during one pass. Lane i is at column t - kLag * i in step t.
template <class T, bool kForward>
class Band {
 public:
  Band(const PassView<T, kForward>& view, std::ptrdiff_t top, Workspace& space)
      : view_(view), top_(top), rows_(std::min(kBandRows, view.height - top)), space_(space) {}

  template <ChamferMoves kMoves>
  void run(const ChamferMask& mask) {
    for (auto& step : space_.steps) std::fill_n(step + kPlace, kBandRows, kFarthest<T>);
    loadRowsAbove(-kHistory, kHistory);
    const std::ptrdiff_t lastLag = kLag * (rows_ - 1);
    for (std::ptrdiff_t t = 0; t < view_.width + lastLag; t += kChunkSteps) {
      loadRowsAbove(t, kChunkSteps);
      loadStart(t);
      if (rows_ == kBandRows && t >= lastLag && t + kChunkSteps <= view_.width) {
        takeSteps<kMoves, false>(mask);
      } else {
        takeSteps<kMoves, true>(mask);
      }
      storeResult(t);
      std::memmove(space_.steps[0], space_.steps[kChunkSteps], sizeof(space_.steps[0]) * kHistory);
    }
  }

 private:
  // Before the lanes of step t: the pixels of the two rows above that lanes -1 and -2 would be at.
  void loadRowsAbove(std::ptrdiff_t t, std::ptrdiff_t count) {
    float(*step)[kStepFloats] = space_.steps + (t < 0 ? 0 : kHistory);
    for (std::ptrdiff_t e = 0; e < count; ++e) {
      step[e][kPlace - 1] = view_.valueOr(kFarthest<T>, top_ - 1, t + e + kLag);
      step[e][kPlace - 2] = view_.valueOr(kFarthest<T>, top_ - 2, t + e + 2 * kLag);
    }
  }

  // Whether all the pixels of four steps and one vector of lanes, from step t and the lane on, are in the image.
  bool isWhole(std::ptrdiff_t t, std::ptrdiff_t lane) const {
    return lane + kLanes <= rows_ && t + 3 - kLag * lane < view_.width && t - kLag * (lane + kLanes - 1) >= 0;
  }

  // Calls whole(e, lane) for every tile of four steps and one vector of lanes that is whole, and single(e, lane, r,
  // c) for every place of the other tiles. `e` counts steps from t on.
  template <class Whole, class Single>
  void forTiles(std::ptrdiff_t t, const Whole& whole, const Single& single) const {
    for (std::ptrdiff_t lane = 0; lane < kBandRows; lane += kLanes) {
      for (std::ptrdiff_t e = 0; e < kChunkSteps; e += 4) {
        if (isWhole(t + e, lane)) {
          whole(e, lane);
        } else {
          for (std::ptrdiff_t i = lane; i < lane + kLanes; ++i) {
            for (std::ptrdiff_t k = e; k < e + 4; ++k) single(k, i, top_ + i, t + k - kLag * i);
          }
        }
      }
    }
  }

  void loadStart(std::ptrdiff_t t) {
    forTiles(
        t,
        [&](std::ptrdiff_t e, std::ptrdiff_t lane) {
          Vector v[4];
          for (std::ptrdiff_t i = 0; i < 4; ++i) {
            v[i] = loadQuads(Lanes(), [&](std::ptrdiff_t block) {
              const std::ptrdiff_t at = lane + block + i;
              return view_.quad(top_ + at, t + e - kLag * at);
            });
          }
          transpose(v);
          for (std::ptrdiff_t k = 0; k < 4; ++k) hn::Store(v[view_.place(k)], Lanes(), space_.start[e + k] + lane);
        },
        [&](std::ptrdiff_t e, std::ptrdiff_t lane, std::ptrdiff_t r, std::ptrdiff_t c) {
          space_.start[e][lane] = r < view_.height ? view_.valueOr(kOutside, r, c) : kOutside;
        });
  }

  void storeResult(std::ptrdiff_t t) const {
    const float(*result)[kStepFloats] = space_.steps + kHistory;
    forTiles(
        t,
        [&](std::ptrdiff_t e, std::ptrdiff_t lane) {
          Vector v[4];
          for (std::ptrdiff_t k = 0; k < 4; ++k)
            v[view_.place(k)] = hn::Load(Lanes(), result[e + k] + kPlace + lane);
          transpose(v);
          for (std::ptrdiff_t i = 0; i < 4; ++i) {
            storeQuads(Lanes(), v[i], [&](std::ptrdiff_t block) {
              const std::ptrdiff_t at = lane + block + i;
              return view_.quad(top_ + at, t + e - kLag * at);
            });
          }
        },
        [&](std::ptrdiff_t e, std::ptrdiff_t lane, std::ptrdiff_t r, std::ptrdiff_t c) {
          if (r < view_.height && view_.hasColumn(c)) *view_.pixel(r, c) = static_cast<T>(result[e][kPlace + lane]);
        });
  }

  // One pixel of each row per step. A place beyond the image keeps the farthest distance, and so takes no part.
  template <ChamferMoves kMoves, bool kEdge>
  void takeSteps(const ChamferMask& mask) {
    const Lanes d;
    const Vector axis = hn::Set(d, mask.axis);
    const Vector diagonal = hn::Set(d, mask.diagonal);
    const Vector knight = hn::Set(d, mask.knight);
    const Vector doubleAxis = hn::Set(d, mask.doubleAxis);
    // Along the first row of the first pass the only step is that of one pixel.
    Vector acrossTwo[kVectors];
    for (Vector& cost : acrossTwo) cost = doubleAxis;
    if (kForward && top_ == 0) {
      const Vector never = hn::Set(d, std::numeric_limits<float>::infinity());
      acrossTwo[0] = hn::IfThenElse(hn::FirstN(d, 1), never, doubleAxis);
    }
    const Vector doubleDiagonal = hn::Set(d, mask.doubleDiagonal);
    Vector left[kVectors];
    for (std::ptrdiff_t j = 0; j < kVectors; ++j)
      left[j] = hn::Load(d, space_.steps[kHistory - 1] + kPlace + j * kLanes);
    for (std::ptrdiff_t t = 0; t < kChunkSteps; ++t) {
      for (std::ptrdiff_t j = 0; j < kVectors; ++j) {
        float* at = space_.steps[kHistory + t] + kPlace + j * kLanes;
        const auto above = [&](std::ptrdiff_t dx) { return hn::LoadU(d, at + (dx - kLag) * kStepFloats - 1); };
        const auto twoAbove = [&](std::ptrdiff_t dx) {
          return hn::LoadU(d, at + (dx - 2 * kLag) * kStepFloats - 2);
        };
        const Vector start = hn::Load(d, space_.start[t] + j * kLanes);
        Vector best = hn::Min(start, hn::Add(above(0), axis));
        if constexpr (kMoves >= ChamferMoves::diagonal)
          best = hn::Min(best, hn::Add(hn::Min(above(-1), above(1)), diagonal));
        if constexpr (kMoves >= ChamferMoves::knight) {
          const Vector least = hn::Min(hn::Min(above(-2), above(2)), hn::Min(twoAbove(-1), twoAbove(1)));
          best = hn::Min(best, hn::Add(least, knight));
        }
        if constexpr (kMoves >= ChamferMoves::twoSteps) {
          const Vector leftLeft = hn::Load(d, at - 2 * kStepFloats);
          best = hn::Min(best, hn::Min(hn::Add(leftLeft, acrossTwo[j]), hn::Add(twoAbove(0), doubleAxis)));
          best = hn::Min(best, hn::Add(hn::Min(twoAbove(-2), twoAbove(2)), doubleDiagonal));
        }
        best = hn::Min(best, hn::Add(left[j], axis));
        if constexpr (kEdge)
          best = hn::IfThenElse(hn::Eq(start, hn::Set(d, kOutside)), hn::Set(d, kFarthest<T>), best);
        hn::Store(best, d, at);
        left[j] = best;
      }
    }
  }

  PassView<T, kForward> view_;
  std::ptrdiff_t top_;
  std::ptrdiff_t rows_;
  Workspace& space_;
};

template <ChamferMoves kMoves, class T>
void bothPasses(const std::uint8_t* src, int srcStep, T* dst, int dstStep, RvpiSize size, const ChamferMask& mask) {
  Workspace space;
  const PassView<T, true> forward{dst, dstStep, size.width, size.height};
  for (std::ptrdiff_t top = 0; top < size.height; top += kBandRows) {
    for (std::ptrdiff_t y = top; y < std::min<std::ptrdiff_t>(top + kBandRows, size.height); ++y) {
      const std::uint8_t* srcRow = row(src, srcStep, y);
      T* dstRow = row(dst, dstStep, y);
      for (std::ptrdiff_t x = 0; x < size.width; ++x)
        dstRow[x] = srcRow[x] != 0 ? std::numeric_limits<T>::max() : T{0};
    }
    Band<T, true>(forward, top, space).template run<kMoves>(mask);
  }
  const PassView<T, false> backward{dst, dstStep, size.width, size.height};
  for (std::ptrdiff_t top = 0; top < size.height; top += kBandRows)
    Band<T, false>(backward, top, space).template run<kMoves>(mask);
}

}  // namespace

template <class T>
void chamferPasses(const std::uint8_t* src, int srcStep, T* dst, int dstStep, RvpiSize size,
                   const ChamferMask& mask) {
  switch (mask.moves) {
    case ChamferMoves::axis:
      return bothPasses<ChamferMoves::axis>(src, srcStep, dst, dstStep, size, mask);
    case ChamferMoves::diagonal:
      return bothPasses<ChamferMoves::diagonal>(src, srcStep, dst, dstStep, size, mask);
    case ChamferMoves::knight:
      return bothPasses<ChamferMoves::knight>(src, srcStep, dst, dstStep, size, mask);
    case ChamferMoves::twoSteps:
      return bothPasses<ChamferMoves::twoSteps>(src, srcStep, dst, dstStep, size, mask);
  }
}

template void chamferPasses(const std::uint8_t*, int, std::uint8_t*, int, RvpiSize, const ChamferMask&);
template void chamferPasses(const std::uint8_t*, int, std::uint16_t*, int, RvpiSize, const ChamferMask&);
template void chamferPasses(const std::uint8_t*, int, float*, int, RvpiSize, const ChamferMask&);

}  // namespace rvp::n8
