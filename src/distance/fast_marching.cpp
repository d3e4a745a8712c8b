// Fast marching: the distance of every pixel from the boundary of a mask, as the time at which a front of unit
// speed arrives. With n the four neighbours' times, missing ones never reached, low = min(n left, n right) or the
// like on one axis and high on the other, low <= high:
//
//   t = low + 1                                        where high - low >= 1
//   t = (low + high + sqrt(2 - (high - low)^2)) / 2    elsewhere
//
// There is neither a heap nor a queue. Rows are swept down and up, left to right and right to left, until nothing
// changes. A mark on each pixel tells the scans that have to look at it again, and a mark on each row is the union
// of those of its pixels.
//
// Times only fall, and the update is monotone: an earlier neighbour never makes a pixel later. So every order of
// updates ends at the same times, the latest ones that no update lowers, and rows may be shared out between
// threads. That it is monotone in floating point too is no matter of course. Times are 0, or floats of at least
// 0.7, hence multiples of 2^-24. So sum and difference of two times less than 1 apart are exact in double, and the
// square of the difference and 2 minus the square as well; only the root and the addition after it are rounded. If
// low rises, both the sum and the root rise, or stay. If high rises by its last place u, to a difference of at most
// 1, the root falls by less than u: exactly, more than u * u / 2 is left to their sum. For high from 2^k on that is
// 2^(2k - 47), while the two roundings of the addition, before and after, come to 2^(k - 50) at most and those of
// the root to 2^-52: less, as k is at least -1. At a difference of 1 both lines agree. Rounding to float at the end
// is monotone.
//
// On both sides of the boundary the work is the same: times are those of the front, positive, and zero where it
// starts; outside they become negative at the end.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "frame/checks.h"
#include "frame/team.h"
#include "frame/views.h"
#include "rvpcv/distance.h"

namespace rvp::n8 {
namespace {

// Never reached. Differences to it are large but finite.
constexpr float kNever = std::numeric_limits<float>::max();
// The time of the first pixel if it is inside and no front comes by.
constexpr float kFirstPixel = 999999.0f;
// What an outside pixel at the boundary gets: level zero in every sum with a time, and yet below zero.
constexpr float kBoundarySeed = -1e-10f;
// By how much a time may pass the radius, which rounding makes it do.
constexpr float kRadiusSlack = 1e-5f;

// Rows of marks are as long as a multiple of this, and begin at one.
constexpr std::ptrdiff_t kMarkAlignment = 32;
// Below this height a second thread has nothing to do; and as many rows at least are left to each thread.
constexpr int kMinTeamHeight = 6;
constexpr std::ptrdiff_t kMinPartRows = 3;

// The scans: down or up the rows, rightwards or leftwards along each.
using Marks = std::uint8_t;
constexpr Marks kDownRightwards = 1;
constexpr Marks kDownLeftwards = 2;
constexpr Marks kUpRightwards = 4;
constexpr Marks kUpLeftwards = 8;
constexpr Marks kDown = kDownRightwards | kDownLeftwards;
constexpr Marks kUp = kUpRightwards | kUpLeftwards;
constexpr Marks kRightwards = kDownRightwards | kUpRightwards;
constexpr Marks kLeftwards = kDownLeftwards | kUpLeftwards;
constexpr Marks kAllScans = kDown | kUp;

void mark(Marks& marks, Marks scans) { marks = static_cast<Marks>(marks | scans); }
void unmark(Marks& marks, Marks scans) { marks = static_cast<Marks>(marks & ~scans); }

constexpr std::ptrdiff_t markStep(int width) {
  return (static_cast<std::ptrdiff_t>(width) + kMarkAlignment - 1) / kMarkAlignment * kMarkAlignment;
}

// The earlier of a pixel's time and the time at which the front comes by two neighbours. It comes later than either
// of them, which spares most pixels the root.
float arrival(float time, float a, float b) {
  const float low = std::min(a, b);
  const float high = std::max(a, b);
  if (high - low >= 1) return std::min(time, low + 1);
  if (high >= time) return time;
  const double difference = static_cast<double>(high) - low;
  const double sum = static_cast<double>(high) + low;
  return std::min(time, static_cast<float>((sum + std::sqrt(2 - difference * difference)) * 0.5));
}

// What all threads see. The scratch holds, for each of two parts, marks of its rows and of one row on either side,
// a mark for each of these rows, and a copy of the other part's row next to it; a row that is never reached; and
// how many pixels of each row are inside: with s the step of the marks, at most (height + 4) * (s + 1) + 12 * s + 4
// * height bytes and 31 to align them, which the reported size covers.
struct Field {
  const std::uint8_t* src;
  int srcStep;
  float* dst;
  int dstStep;
  std::ptrdiff_t width;
  std::ptrdiff_t height;
  // 0 if outside pixels stay at 0, else the latest time of an outside pixel.
  float limit;
  std::ptrdiff_t marksStep;
  Marks* marks;
  float* never;
  float* copies;
  std::int32_t* insideCounts;
  Marks* rowMarks;

  Field(const std::uint8_t* pSrc, int pSrcStep, float* pDst, int pDstStep, RvpiSize size, float radius,
        std::uint8_t* scratch)
      : src(pSrc),
        srcStep(pSrcStep),
        dst(pDst),
        dstStep(pDstStep),
        width(size.width),
        height(size.height),
        limit(radius > 0 ? radius + kRadiusSlack : 0),
        marksStep(markStep(size.width)) {
    const auto misplaced = reinterpret_cast<std::uintptr_t>(scratch) % kMarkAlignment;
    marks = scratch + (kMarkAlignment - misplaced) % kMarkAlignment;
    never = reinterpret_cast<float*>(marks + (height + 4) * marksStep);
    copies = never + marksStep;
    insideCounts = reinterpret_cast<std::int32_t*>(copies + 2 * marksStep);
    rowMarks = reinterpret_cast<Marks*>(insideCounts + height);
    std::fill_n(never, 3 * marksStep, kNever);
  }

  const std::uint8_t* mask(std::ptrdiff_t y) const { return row(src, srcStep, y); }
  float* times(std::ptrdiff_t y) const { return row(dst, dstStep, y); }
};

// The rows first to last - 1, swept by one thread. The other part's row next to them is seen as it was at the last
// exchange.
class Part {
 public:
  Part(const Field& field, int number, Slice rows)
      : field_(field),
        rows_(rows),
        marks_(field.marks + (1 + 2 * number) * field.marksStep),
        rowMarks_(field.rowMarks + (1 + 2 * number)),
        copy_(field.copies + number * field.marksStep) {}

  // The front starts at the outside pixels: at all of them, or, if it also runs outwards, at those beside the
  // inside.
  void start() {
    for (std::ptrdiff_t y : rows_) {
      const std::uint8_t* mask = field_.mask(y);
      float* times = field_.times(y);
      for (std::ptrdiff_t x = 0; x < field_.width; ++x) times[x] = mask[x] != 0 ? kNever : 0.0f;
      if (field_.limit > 0) keepBoundary(y, times);
      Marks* marks = marksOf(y);
      for (std::ptrdiff_t x = 0; x < field_.width; ++x) marks[x] = times[x] > 0 ? kAllScans : Marks{0};
      std::fill(marks + field_.width, marks + field_.marksStep, Marks{0});
      rowMarks_[y] = kAllScans;
    }
    if (rows_.first == 0 && field_.mask(0)[0] != 0) field_.times(0)[0] = kFirstPixel;
  }

  bool isPending() const {
    return std::any_of(rowMarks_ + rows_.first, rowMarks_ + rows_.last, [](Marks marks) { return marks != 0; });
  }

  void sweepDown() {
    for (std::ptrdiff_t y = rows_.first; y < rows_.last; ++y) sweepRow<kDown>(y, timesAt(y - 1), timesAt(y + 1));
  }
  void sweepUp() {
    for (std::ptrdiff_t y = rows_.last - 1; y >= rows_.first; --y) sweepRow<kUp>(y, timesAt(y + 1), timesAt(y - 1));
  }

  // Takes over the times of the other part's row next to this part, and marks the pixels that they may lower.
  void exchange() {
    const bool isAbove = rows_.first > 0;
    const float* there = field_.times(isAbove ? rows_.first - 1 : rows_.last);
    const std::ptrdiff_t y = isAbove ? rows_.first : rows_.last - 1;
    const float* here = field_.times(y);
    const Marks scans = isAbove ? kDown : kUp;
    for (std::ptrdiff_t x = 0; x < field_.width; ++x) {
      if (there[x] >= copy_[x]) continue;
      copy_[x] = there[x];
      if (here[x] <= there[x]) continue;
      mark(marksOf(y)[x], scans);
      mark(rowMarks_[y], scans);
    }
  }

  // Turns times into distances.
  void finish() const {
    if (field_.limit == 0) return;
    for (std::ptrdiff_t y : rows_) {
      const std::uint8_t* mask = field_.mask(y);
      float* times = field_.times(y);
      for (std::ptrdiff_t x = 0; x < field_.width; ++x) {
        const float outside = times[x] == kNever ? 0.0f : times[x] == 0 ? kBoundarySeed : -times[x];
        times[x] = mask[x] != 0 ? times[x] : outside;
      }
    }
  }

 private:
  Marks* marksOf(std::ptrdiff_t y) const { return marks_ + y * field_.marksStep; }

  const float* timesAt(std::ptrdiff_t y) const {
    if (y < 0 || y >= field_.height) return field_.never;
    return y < rows_.first || y >= rows_.last ? copy_ : field_.times(y);
  }

  // Leaves an outside pixel at 0 only if one of its four neighbours is inside.
  void keepBoundary(std::ptrdiff_t y, float* times) const {
    const std::uint8_t* mask = field_.mask(y);
    const std::uint8_t* above = field_.mask(std::max<std::ptrdiff_t>(y - 1, 0));
    const std::uint8_t* below = field_.mask(std::min(y + 1, field_.height - 1));
    const std::ptrdiff_t end = field_.width - 1;
    for (std::ptrdiff_t x = 0; x <= end; ++x) {
      const int around =
          above[x] | below[x] | mask[std::max<std::ptrdiff_t>(x - 1, 0)] | mask[std::min(x + 1, end)];
      if (around == 0) times[x] = kNever;
    }
  }

  template <Marks kSweep>
  void sweepRow(std::ptrdiff_t y, const float* behind, const float* ahead) {
    if (scanRow<kSweep, kSweep & kRightwards>(y, behind, ahead)) markRows(y, kSweep & kRightwards);
    if (scanRow<kSweep, kSweep & kLeftwards>(y, behind, ahead)) markRows(y, kSweep & kLeftwards);
  }

  // After a change in a row. The scan itself has dealt with its own marks there.
  void markRows(std::ptrdiff_t y, int scan) {
    mark(rowMarks_[y], static_cast<Marks>(kAllScans & ~scan));
    mark(rowMarks_[y - 1], kUp);
    mark(rowMarks_[y + 1], kDown);
  }

  // Looks at the marked pixels of a row, with the row behind and the pixel before in the order of the scan. A
  // change is of no matter to neighbours that are no later. Returns whether anything changed.
  template <Marks kSweep, Marks kScan>
  bool scanRow(std::ptrdiff_t y, const float* behind, const float* ahead) {
    if ((rowMarks_[y] & kScan) == 0) return false;
    unmark(rowMarks_[y], kScan);
    constexpr bool isRightwards = (kScan & kRightwards) != 0;
    constexpr std::ptrdiff_t step = isRightwards ? 1 : -1;
    constexpr Marks kBefore = isRightwards ? kLeftwards : kRightwards;
    constexpr Marks kAfter = isRightwards ? kRightwards : kLeftwards;
    constexpr Marks kBehind = kSweep == kDown ? kUp : kDown;
    const std::ptrdiff_t width = field_.width;
    const float limit = field_.limit;
    const std::uint8_t* mask = field_.mask(y);
    float* times = field_.times(y);
    Marks* marks = marksOf(y);
    Marks* marksBehind = marksOf(kSweep == kDown ? y - 1 : y + 1);
    Marks* marksAhead = marksOf(kSweep == kDown ? y + 1 : y - 1);
    bool isChanged = false;
    float before = kNever;
    for (std::ptrdiff_t x = isRightwards ? 0 : width - 1; x >= 0 && x < width;) {
      if (std::ptrdiff_t quiet = quietPixels<kScan>(marks, x); quiet != 0) {
        x += quiet;
        if (x - step >= 0 && x - step < width) before = times[x - step];
        continue;
      }
      if ((marks[x] & kScan) != 0) {
        unmark(marks[x], kScan);
        const float time = arrival(times[x], behind[x], before);
        if (time < times[x] && (mask[x] != 0 || time <= limit)) {
          times[x] = time;
          isChanged = true;
          const std::ptrdiff_t after = x + step;
          if (before > time && x - step >= 0 && x - step < width) mark(marks[x - step], kBefore);
          if (after >= 0 && after < width && times[after] > time) mark(marks[after], kAfter);
          if (behind[x] > time) mark(marksBehind[x], kBehind);
          if (ahead[x] > time) mark(marksAhead[x], kSweep);
        }
      }
      before = times[x];
      x += step;
    }
    return isChanged;
  }

  // The way to the next group of eight pixels if x begins a group, in the order of the scan, that has no mark for
  // it.
  template <Marks kScan>
  static std::ptrdiff_t quietPixels(const Marks* marks, std::ptrdiff_t x) {
    constexpr bool isRightwards = (kScan & kRightwards) != 0;
    constexpr std::uint64_t kInEachByte = 0x0101010101010101;
    if (x % 8 != (isRightwards ? 0 : 7)) return 0;
    std::uint64_t group;
    std::memcpy(&group, marks + (isRightwards ? x : x - 7), sizeof(group));
    return (group & kInEachByte * kScan) != 0 ? 0 : isRightwards ? 8 : -8;
  }

  const Field& field_;
  Slice rows_;
  Marks* marks_;
  Marks* rowMarks_;
  float* copy_;
};

void marchAlone(const Field& field) {
  Part whole(field, 0, {0, field.height});
  whole.start();
  while (whole.isPending()) {
    whole.sweepDown();
    whole.sweepUp();
  }
  whole.finish();
}

// The last row of the first part: the first at which half of the inside pixels are passed.
std::ptrdiff_t seamRow(const Field& field) {
  std::int64_t total = 0;
  for (std::ptrdiff_t y = 0; y < field.height; ++y) {
    const std::uint8_t* mask = field.mask(y);
    field.insideCounts[y] = static_cast<std::int32_t>(
        std::count_if(mask, mask + field.width, [](std::uint8_t pixel) { return pixel != 0; }));
    total += field.insideCounts[y];
  }
  std::ptrdiff_t y = 0;
  for (std::int64_t passed = field.insideCounts[0]; passed <= total / 2 && y + 1 < field.height;)
    passed += field.insideCounts[++y];
  return std::clamp(y, kMinPartRows, field.height - kMinPartRows);
}

// The first thread begins downwards and the second one upwards, so that what they bring to the seam is there when
// the other one turns away from it.
void marchInPair(const Field& field, int thread, std::ptrdiff_t seam, bool (&isPending)[2]) {
  Part part(field, thread, thread == 0 ? Slice{0, seam + 1} : Slice{seam + 1, field.height});
  part.start();
  for (bool isDown = thread == 0;; isDown = !isDown) {
    isDown ? part.sweepDown() : part.sweepUp();
    meetTeam();
    part.exchange();
    isPending[thread] = part.isPending();
    meetTeam();
    if (!isPending[0] && !isPending[1]) break;
  }
  part.finish();
}

RvpStatus fastMarching(const std::uint8_t* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize,
                       float radius, std::uint8_t* pBuffer) {
  if (RvpStatus fault =
          firstFault(nullPointer(pSrc, pDst, pBuffer), badSize(roiSize),
                     shortStep<std::uint8_t>(roiSize.width, srcStep), shortStep<float>(roiSize.width, dstStep),
                     oddStep<float>(dstStep), faultIf(radius < 0, rvpStatusBadArgument)))
    return fault;
  const Field field(pSrc, srcStep, pDst, dstStep, roiSize, radius, pBuffer);
  if (roiSize.height < kMinTeamHeight || owncvGetMaxNumThreads() < 2) {
    marchAlone(field);
    return rvpStatusOk;
  }
  const std::ptrdiff_t seam = seamRow(field);
  bool isPending[2];
  onPair([&](int thread, int teamSize) {
    if (teamSize == 1) {
      marchAlone(field);
    } else {
      marchInPair(field, thread, seam, isPending);
    }
  });
  return rvpStatusOk;
}

}  // namespace
}  // namespace rvp::n8

extern "C" {

RvpStatus rvpiFastMarchingGetBufferSize_8u32f_C1R(RvpiSize roiSize, int* pBufferSize) {
  using namespace rvp::n8;
  if (RvpStatus fault = firstFault(nullPointer(pBufferSize), badSize(roiSize))) return fault;
  // Wraps for sizes beyond 31 bits, which the interface cannot tell.
  *pBufferSize = static_cast<int>((roiSize.height + std::int64_t{34}) * (markStep(roiSize.width) + 5) + 40);
  return rvpStatusOk;
}

RvpStatus rvpiFastMarching_8u32f_C1R(const uint8_t* pSrc, int srcStep, float* pDst, int dstStep, RvpiSize roiSize,
                                     float radius, uint8_t* pBuffer) {
  return rvp::n8::fastMarching(pSrc, srcStep, pDst, dstStep, roiSize, radius, pBuffer);
}

}  // extern "C"
