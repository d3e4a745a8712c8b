// The distance road: every pixel gets the level at which water from the markers reaches it, and the label of the
// neighbour from which it came. A level is a height with the cost of the way since that height was climbed:
//
//   8u:  level(p) = max(level(n) + cost, src(p) << 23), both parts in one integer
//   32f: level(p) = (level(n).height, level(n).count + cost), or (src(p), 0) where src(p) is above level(n).height
//
// and level(p) = (src(p), 0) at markers. Each pixel takes the lowest level that a neighbour n offers. Costs are
// above 0, so a pixel's level is above that of the neighbour it came from, and the levels are the same whatever the
// order of the updates.
//
// The image is swept down, then up, each row to the right, then to the left. Later sweeps look only at pixels
// beside one that has changed. Labels need no part in this: a pixel remembers from which neighbour its level came,
// its parent, and at the end takes the label of the marker at which the way of its parents begins.
//
// A team shares the rows out in bands. A band sweeps until it is quiet, with the rows next to it as they were when
// bands last met, and all go on until none finds these rows changed. Where two neighbours offer the same level, the
// one met first is the parent, and who is first depends on the bands.
#include <algorithm>
#include <bit>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "distance/fmm_sub.h"
#include "frame/checks.h"
#include "frame/team.h"
#include "frame/views.h"
#include "rvpcv/watershed.h"
#include "segment/boundaries.h"
#include "segment/level_queue.h"
#include "segment/watershed_roads.h"

namespace rvp::n8 {
namespace {

// Heights of bytes, above 23 bits of cost.
struct ByteGround {
  using Pixel = std::uint8_t;
  using Level = std::int32_t;
  static constexpr int kHeightShift = 23;
  // Not reached, and never reached by a way that costs 2^22 at height 255. Levels below it and a cost stay far
  // below 2^31.
  static constexpr Level kNever = 0x7FC00000;
  static Level ground(Pixel p) { return p << kHeightShift; }
  static Level over(Level from, int cost, Pixel p) { return std::max(from + cost, ground(p)); }
};

struct FloatGround {
  using Pixel = float;
  using Level = CountedLevel;
  // A count is the cost of a way that meets no pixel twice: at most 15 for each pixel. As the reported size has 9
  // bytes for a pixel and stays below 2^31, that is below 15 * 2^31 / 9 < 0xD5600000.
  static constexpr Level kNever = {FLT_MAX, 0xF0000000U};
  static Level ground(Pixel p) { return {p, 0}; }
  // A pixel that is NaN is above nothing, and a marker that is NaN offers a level below no other.
  static Level over(Level from, int cost, Pixel p) {
    if (p > from.height) return ground(p);
    return {from.height, from.count + static_cast<std::uint32_t>(cost)};
  }
};

// What is known of a pixel besides its level: the neighbour from which it came, or that it is a marker, or that it
// is unreached; and whether a neighbour has changed since it was looked at.
using State = std::uint8_t;
constexpr State kMarker = 0;
constexpr State kUnreached = 9;
constexpr State kDirty = 0x10;
constexpr State kParent = 0x0F;

// The parents, 1 to 8, as offsets in columns and rows.
enum Parent : State { kRight = 1, kUpRight, kUp, kUpLeft, kLeft, kDownLeft, kDown, kDownRight };
constexpr std::int8_t kParentX[] = {0, 1, 1, 0, -1, -1, -1, 0, 1};
constexpr std::int8_t kParentY[] = {0, 0, -1, -1, -1, 0, 1, 1, 1};

// The parents in a row above or below.
struct RowParents {
  Parent left, middle, right;
};
constexpr RowParents kRowAbove = {kUpLeft, kUp, kUpRight};
constexpr RowParents kRowBelow = {kDownLeft, kDown, kDownRight};

// How water moves between neighbours, and what it costs.
struct Axial {
  static constexpr bool kDiagonals = false;
  static constexpr bool kIsFront = false;
  static constexpr int axis = 1;
  [[maybe_unused]] static constexpr int diagonal = 0;
};
struct AllRound {
  static constexpr bool kDiagonals = true;
  static constexpr bool kIsFront = false;
  int axis;
  int diagonal;
};
// A front that two neighbours drive comes earlier than from one of them alone, yet later than both.
struct Front {
  static constexpr bool kDiagonals = false;
  static constexpr bool kIsFront = true;
  static constexpr int axis = 1;  // No less is added to the level of any neighbour.
  [[maybe_unused]] static constexpr int diagonal = 0;
};
constexpr std::int32_t kFrontStep = 64;

// The level of a front from two neighbours, by their levels.
std::int32_t frontLevel(std::int32_t a, std::int32_t b) {
  const std::int32_t low = std::min(a, b);
  const std::int32_t apart = std::max(a, b) - low;
  return low + kFrontStep - (apart < kFrontStep ? FMM_SUB[apart] : 0);
}

// What all threads see. In the scratch, from its first multiple of 4 on: a level for each pixel, two rows of levels
// for each band of a team, a state for each pixel and a mark for each row. A band has at least 8 rows, so with n
// pixels that is 6 n + height + 3 bytes for a byte image, and 9 n + height + 3 for a float image, which has no
// team.
template <class Ground>
struct Field {
  using Pixel = typename Ground::Pixel;
  using Level = typename Ground::Level;

  const Pixel* src;
  int srcStep;
  std::ptrdiff_t width;
  std::ptrdiff_t height;
  Level* levels;
  Level* borders;
  State* states;
  std::uint8_t* dirtyRows;

  Field(const Pixel* pSrc, int pSrcStep, RvpiSize size, int bands, std::uint8_t* scratch)
      : src(pSrc), srcStep(pSrcStep), width(size.width), height(size.height) {
    levels = reinterpret_cast<Level*>(alignedUp(scratch, alignof(Level)));
    borders = levels + width * height;
    states = reinterpret_cast<State*>(borders + (bands > 1 ? std::ptrdiff_t{2} * bands * width : 0));
    dirtyRows = states + width * height;
  }

  const Pixel* pixelsAt(std::ptrdiff_t y) const { return row(src, srcStep, y); }
  Level* levelsAt(std::ptrdiff_t y) const { return levels + y * width; }
  State* statesAt(std::ptrdiff_t y) const { return states + y * width; }
};

// The rows of one thread.
template <class Ground, class Moves>
class Band {
 public:
  using Pixel = typename Ground::Pixel;
  using Level = typename Ground::Level;

  Band(const Field<Ground>& field, Moves moves, Slice rows)
      : field_(field),
        moves_(moves),
        rows_(rows),
        width_(field.width),
        above_(rows.first > 0 ? field.borders + std::ptrdiff_t{2} * rows.thread * width_ : nullptr),
        below_(rows.last < field.height ? field.borders + (std::ptrdiff_t{2} * rows.thread + 1) * width_
                                        : nullptr) {
    if (above_ != nullptr) std::fill_n(above_, width_, Ground::kNever);
    if (below_ != nullptr) std::fill_n(below_, width_, Ground::kNever);
  }

  // The first two sweeps, over all pixels.
  template <class Label>
  void start(const Label* pMarker, int markerStep) {
    for (std::ptrdiff_t y : rows_) {
      const Label* labels = row(pMarker, markerStep, y);
      const Pixel* pixels = field_.pixelsAt(y);
      for (std::ptrdiff_t x = 0; x < width_; ++x) {
        field_.levelsAt(y)[x] = labels[x] != 0 ? Ground::ground(pixels[x]) : Ground::kNever;
        field_.statesAt(y)[x] = labels[x] != 0 ? kMarker : kUnreached;
      }
      field_.dirtyRows[y] = 0;
      y > rows_.first ? scanRow<true, false>(y, y - 1, kRowAbove) : scanRow<false, false>(y, y, kRowAbove);
    }
    for (std::ptrdiff_t y = rows_.last - 1; y >= rows_.first; --y)
      y + 1 < rows_.last ? scanRow<true, true>(y, y + 1, kRowBelow) : scanRow<false, true>(y, y, kRowBelow);
  }

  // Sweeps until no pixel is dirty.
  void settle() {
    while (isDirty()) {
      for (std::ptrdiff_t y = rows_.first; y < rows_.last; ++y) checkRow(y);
      for (std::ptrdiff_t y = rows_.last - 1; y >= rows_.first; --y) checkRow(y);
    }
  }

  // Takes over the rows next to the band, and marks what they may lower. Returns whether there is any.
  bool exchange() {
    if (above_ != nullptr) takeOver(field_.levelsAt(rows_.first - 1), above_, rows_.first);
    if (below_ != nullptr) takeOver(field_.levelsAt(rows_.last), below_, rows_.last - 1);
    return isDirty();
  }

 private:
  struct Offer {
    Level level;
    State parent;
    void improve(Level other, State otherParent) {
      if (other < level) *this = {other, otherParent};
    }
  };

  bool isDirty() const {
    return std::any_of(field_.dirtyRows + rows_.first, field_.dirtyRows + rows_.last,
                       [](std::uint8_t mark) { return mark != 0; });
  }

  const Level* levelsAt(std::ptrdiff_t y) const {
    if (y < rows_.first) return above_;
    return y < rows_.last ? field_.levelsAt(y) : below_;
  }

  Level front(Level a, Level b, Pixel pixel) const { return std::max(frontLevel(a, b), Ground::ground(pixel)); }

  // All pixels of a row: first from the left and from the row behind, the one before in the order of the sweep,
  // then from the right. The sweep has yet to come to the pixels ahead, so only those behind and on the right are
  // marked.
  template <bool kHasBehind, bool kMarks>
  void scanRow(std::ptrdiff_t y, std::ptrdiff_t behindY, RowParents parents) {
    const Pixel* pixels = field_.pixelsAt(y);
    const Level* behind = field_.levelsAt(behindY);
    Level* levels = field_.levelsAt(y);
    State* states = field_.statesAt(y);
    const auto behindAt = [&](std::ptrdiff_t x) { return kHasBehind && x < width_ ? behind[x] : Ground::kNever; };
    const auto takes = [&](std::ptrdiff_t x, const Offer& best) {
      levels[x] = best.level;
      states[x] = static_cast<State>(best.parent | (states[x] & kDirty));
      if constexpr (kMarks && kHasBehind) markRow(behindY, x, best.level);
      if constexpr (Moves::kIsFront) {
        if (x > 0) markPixel(y, x - 1, best.level, moves_.axis);
        if (x + 1 < width_) markPixel(y, x + 1, best.level, moves_.axis);
      }
    };
    Level before = Ground::kNever;
    Level behindBefore = Ground::kNever;
    Level behindHere = behindAt(0);
    for (std::ptrdiff_t x = 0; x < width_; ++x) {
      const Level behindAfter = Moves::kDiagonals ? behindAt(x + 1) : Ground::kNever;
      Offer best = {levels[x], states[x]};
      if constexpr (Moves::kIsFront) {
        best.improve(front(before, behindHere, pixels[x]), before <= behindHere ? kLeft : parents.middle);
      } else {
        best.improve(Ground::over(before, moves_.axis, pixels[x]), kLeft);
        if constexpr (kHasBehind) best.improve(Ground::over(behindHere, moves_.axis, pixels[x]), parents.middle);
        if constexpr (kHasBehind && Moves::kDiagonals) {
          best.improve(Ground::over(behindBefore, moves_.diagonal, pixels[x]), parents.left);
          best.improve(Ground::over(behindAfter, moves_.diagonal, pixels[x]), parents.right);
        }
      }
      if (best.level < levels[x]) takes(x, best);
      before = best.level;
      behindBefore = behindHere;
      behindHere = Moves::kDiagonals ? behindAfter : behindAt(x + 1);
    }
    Level after = Ground::kNever;
    for (std::ptrdiff_t x = width_ - 1; x >= 0; --x) {
      Offer best = {levels[x], states[x]};
      if constexpr (Moves::kIsFront) {
        best.improve(front(after, behindAt(x), pixels[x]), after <= behindAt(x) ? kRight : parents.middle);
      } else {
        best.improve(Ground::over(after, moves_.axis, pixels[x]), kRight);
      }
      if (best.level < levels[x]) {
        takes(x, best);
        if constexpr (kMarks && !Moves::kIsFront) {
          if (x + 1 < width_) markPixel(y, x + 1, best.level, moves_.axis);
        }
      }
      after = best.level;
    }
  }

  // The dirty pixels of a row, to the right and then to the left, each with all its neighbours.
  void checkRow(std::ptrdiff_t y) {
    if (field_.dirtyRows[y] == 0) return;
    field_.dirtyRows[y] = 0;
    const State* states = field_.statesAt(y);
    for (std::ptrdiff_t x = dirtyFrom(states, 0); x < width_; x = dirtyFrom(states, x + 1)) checkPixel(x, y);
    for (std::ptrdiff_t x = dirtyUpTo(states, width_ - 1); x >= 0; x = dirtyUpTo(states, x - 1)) checkPixel(x, y);
  }

  // The first dirty pixel at or behind x, or the row's end.
  std::ptrdiff_t dirtyFrom(const State* states, std::ptrdiff_t x) const {
    for (; x + 8 <= width_; x += 8) {
      if (const std::uint64_t dirty = dirtyOfEight(states + x); dirty != 0) return x + std::countr_zero(dirty) / 8;
    }
    while (x < width_ && (states[x] & kDirty) == 0) ++x;
    return x;
  }

  // The last dirty pixel at or before x, or -1.
  std::ptrdiff_t dirtyUpTo(const State* states, std::ptrdiff_t x) const {
    for (; x >= 7; x -= 8) {
      if (const std::uint64_t dirty = dirtyOfEight(states + x - 7); dirty != 0)
        return x - std::countl_zero(dirty) / 8;
    }
    while (x >= 0 && (states[x] & kDirty) == 0) --x;
    return x;
  }

  static std::uint64_t dirtyOfEight(const State* states) {
    std::uint64_t eight;
    std::memcpy(&eight, states, sizeof(eight));
    return eight & std::uint64_t{0x0101010101010101} * kDirty;
  }

  void checkPixel(std::ptrdiff_t x, std::ptrdiff_t y) {
    State& state = field_.statesAt(y)[x];
    state &= kParent;
    const Pixel pixel = field_.pixelsAt(y)[x];
    Level* levels = field_.levelsAt(y);
    const Level* above = levelsAt(y - 1);
    const Level* below = levelsAt(y + 1);
    const bool hasLeft = x > 0;
    const bool hasRight = x + 1 < width_;
    Offer best = {levels[x], state};
    if constexpr (Moves::kIsFront) {
      const Level left = hasLeft ? levels[x - 1] : Ground::kNever;
      const Level right = hasRight ? levels[x + 1] : Ground::kNever;
      const Level up = above != nullptr ? above[x] : Ground::kNever;
      const Level down = below != nullptr ? below[x] : Ground::kNever;
      const State horizontal = left <= right ? kLeft : kRight;
      const State vertical = up <= down ? kUp : kDown;
      const Level h = std::min(left, right);
      const Level v = std::min(up, down);
      best.improve(front(h, v, pixel), h <= v ? horizontal : vertical);
    } else {
      if (hasLeft) best.improve(Ground::over(levels[x - 1], moves_.axis, pixel), kLeft);
      offerRow(best, above, x, pixel, kRowAbove);
      if (hasRight) best.improve(Ground::over(levels[x + 1], moves_.axis, pixel), kRight);
      offerRow(best, below, x, pixel, kRowBelow);
    }
    if (!(best.level < levels[x])) return;
    levels[x] = best.level;
    state = best.parent;
    if (hasLeft) markPixel(y, x - 1, best.level, moves_.axis);
    if (hasRight) markPixel(y, x + 1, best.level, moves_.axis);
    if (y > rows_.first) markRow(y - 1, x, best.level);
    if (y + 1 < rows_.last) markRow(y + 1, x, best.level);
  }

  void offerRow(Offer& best, const Level* levels, std::ptrdiff_t x, Pixel pixel, RowParents parents) const {
    if (levels == nullptr) return;
    best.improve(Ground::over(levels[x], moves_.axis, pixel), parents.middle);
    if constexpr (Moves::kDiagonals) {
      if (x > 0) best.improve(Ground::over(levels[x - 1], moves_.diagonal, pixel), parents.left);
      if (x + 1 < width_) best.improve(Ground::over(levels[x + 1], moves_.diagonal, pixel), parents.right);
    }
  }

  // A neighbour that a level of `from` may lower becomes dirty.
  void markPixel(std::ptrdiff_t y, std::ptrdiff_t x, Level from, int cost) {
    if (!(Ground::over(from, cost, field_.pixelsAt(y)[x]) < field_.levelsAt(y)[x])) return;
    field_.statesAt(y)[x] |= kDirty;
    field_.dirtyRows[y] = 1;
  }

  // The neighbours in row y of a pixel of level `from` in the next row, column x.
  void markRow(std::ptrdiff_t y, std::ptrdiff_t x, Level from) {
    markPixel(y, x, from, moves_.axis);
    if constexpr (Moves::kDiagonals) {
      if (x > 0) markPixel(y, x - 1, from, moves_.diagonal);
      if (x + 1 < width_) markPixel(y, x + 1, from, moves_.diagonal);
    }
  }

  void takeOver(const Level* there, Level* copy, std::ptrdiff_t y) {
    for (std::ptrdiff_t x = 0; x < width_; ++x) {
      if (!(there[x] < copy[x])) continue;
      copy[x] = there[x];
      markRow(y, x, there[x]);
    }
  }

  const Field<Ground>& field_;
  Moves moves_;
  Slice rows_;
  std::ptrdiff_t width_;
  Level* above_;
  Level* below_;
};

// Gives each pixel the label of the marker at which its way begins, walking there once to find the label and once
// to leave it on the way, which ends at the first pixel that has a label already.
template <class Ground, class Label>
void labelRow(const Field<Ground>& field, Label* pMarker, int markerStep, std::ptrdiff_t y) {
  struct Place {
    std::ptrdiff_t x, y;
  };
  const auto labelAt = [&](Place p) -> Label& { return row(pMarker, markerStep, p.y)[p.x]; };
  const auto parentOf = [&](Place p) {
    const State parent = field.statesAt(p.y)[p.x];
    return Place{p.x + kParentX[parent], p.y + kParentY[parent]};
  };
  const State* states = field.statesAt(y);
  for (std::ptrdiff_t x = 0; x < field.width; ++x) {
    if (labelAt({x, y}) != 0 || states[x] == kUnreached) continue;
    Place end = {x, y};
    while (labelAt(end) == 0) end = parentOf(end);
    const Label label = labelAt(end);
    for (Place p = {x, y}; labelAt(p) == 0; p = parentOf(p)) labelAt(p) = label;
  }
}

// Pixels for each thread, and rows, at least; and threads at most.
constexpr std::ptrdiff_t kBandPixels = 256;
constexpr int kBandRows = 8;
constexpr int kMaxBands = 32;

int bandCount(RvpiSize size) {
  const std::ptrdiff_t byPixels = static_cast<std::ptrdiff_t>(size.width) * size.height / kBandPixels;
  const int byRows = std::min(size.height / kBandRows, kMaxBands);
  return static_cast<int>(std::min<std::ptrdiff_t>(byPixels, std::min(byRows, owncvGetMaxNumThreads())));
}

template <class Ground, class Moves, class Label>
void flood(const Field<Ground>& field, Moves moves, Label* pMarker, int markerStep, int bands) {
  bool isPending[kMaxBands];
  const auto floodBand = [&](Slice rows) {
    Band<Ground, Moves> band(field, moves, rows);
    band.start(pMarker, markerStep);
    const int teamSize = rows.first == 0 && rows.last == field.height ? 1 : owncvGetNumThreads();
    if (teamSize == 1) {
      band.settle();
    } else {
      for (bool isQuiet = false; !isQuiet;) {
        band.settle();
        meetTeam();
        isPending[rows.thread] = band.exchange();
        meetTeam();
        isQuiet = std::none_of(isPending, isPending + teamSize, [](bool pending) { return pending; });
      }
      // Ways that leave a band do so at its first or last row. With these labelled, each band finds all its labels
      // within itself.
      if (rows.thread == 0) {
        for (int thread = 0; thread < teamSize; ++thread) {
          const Slice other = sliceOf(field.height, thread, teamSize);
          labelRow(field, pMarker, markerStep, other.first);
          labelRow(field, pMarker, markerStep, other.last - 1);
        }
      }
      meetTeam();
    }
    for (std::ptrdiff_t y : rows) labelRow(field, pMarker, markerStep, y);
  };
  if (bands > 1) {
    forSlices(field.height, floodBand, bands);
  } else {
    floodBand({0, field.height});
  }
}

}  // namespace

template <class PixelType, class Label>
void floodByDistance(const PixelType* pSrc, int srcStep, Label* pMarker, int markerStep, RvpiSize roiSize,
                     int neighbourKind, int segmentFlags, std::uint8_t* pBuffer) {
  constexpr bool kIsFloat = std::is_same_v<PixelType, float>;
  using Ground = std::conditional_t<kIsFloat, FloatGround, ByteGround>;
  const int bands = kIsFloat ? 1 : bandCount(roiSize);
  const Field<Ground> field(pSrc, srcStep, roiSize, bands, pBuffer);
  const int kind = roiSize.width == 1 ? rvpWatershed4 : neighbourKind;
  if (kind == rvpWatershed8) {
    flood(field, AllRound{1, 1}, pMarker, markerStep, bands);
  } else if (kind == rvpWatershedChamfer) {
    flood(field, AllRound{11, 15}, pMarker, markerStep, bands);
    // NOLINTNEXTLINE(bugprone-branch-clone): the next kind is no front.
  } else if constexpr (kIsFloat) {
    // A front of the float member costs 256 a step, in 4 directions: all costs are 256 times as high, and none of
    // them is compared with anything else.
    flood(field, Axial(), pMarker, markerStep, bands);
  } else if (kind == rvpWatershed4) {
    flood(field, Axial(), pMarker, markerStep, bands);
  } else {
    flood(field, Front(), pMarker, markerStep, bands);
  }
  // Where both kinds are asked for, the byte image takes 4 neighbours and the float image 8.
  const int boundary = boundaryNeighbours(segmentFlags);
  if (boundary == 0) return;
  const bool use4 = boundary == 4 && !(kIsFloat && (segmentFlags & rvpSegmentBoundaries8) != 0);
  using Level = typename Ground::Level;
  ownBoundSegments<Label, Level>(pMarker, markerStep, field.levels,
                                 static_cast<std::ptrdiff_t>(sizeof(Level)) * roiSize.width, roiSize,
                                 static_cast<Label>(-1), use4);
}

template void floodByDistance(const std::uint8_t*, int, std::uint8_t*, int, RvpiSize, int, int, std::uint8_t*);
template void floodByDistance(const std::uint8_t*, int, std::uint16_t*, int, RvpiSize, int, int, std::uint8_t*);
template void floodByDistance(const float*, int, std::uint16_t*, int, RvpiSize, int, int, std::uint8_t*);

}  // namespace rvp::n8
