// Optical flow against its formulas, and against warps that are known.
#include "support/test.h"

namespace {

using namespace test;

template <class T>
struct Form;
#define RVP_FORM(T, TYPE)                                                \
  template <>                                                            \
  struct Form<T> {                                                       \
    static constexpr RvpDataType kType = rvp##TYPE;                      \
    static constexpr auto kInit = rvpiOpticalFlowPyrLKInit_##TYPE##_C1R; \
    static constexpr auto kRun = rvpiOpticalFlowPyrLK_##TYPE##_C1R;      \
  };
RVP_FORM(std::uint8_t, 8u)
RVP_FORM(std::uint16_t, 16u)
RVP_FORM(float, 32f)

template <class T>
class Flow : public testing::Test {};
using Types = testing::Types<std::uint8_t, std::uint16_t, float>;
TYPED_TEST_SUITE(Flow, Types);

// ---- Images

// A smooth pattern without period, in 0..255 or 0..65535, seen at x, y.
template <class T>
T pattern(double x, double y) {
  const double v = std::sin(x * 0.31 + std::sin(y * 0.17)) + std::sin(y * 0.37 + 1.3 * std::sin(x * 0.11)) +
                   0.5 * std::sin((x + y) * 0.53);
  const double level = 127 + 48 * v;
  return static_cast<T>(std::is_same_v<T, std::uint16_t> ? level * 200 : level);
}

// Levels of rate 2.
template <class T>
using Pyramid = std::vector<Plane<T>>;
double rateOf(int level) { return std::ldexp(1.0, -level); }

// The pattern, moved by (dx, dy) on level 0.
template <class T>
Pyramid<T> pyramidOf(RvpiSize size, int levels, double dx, double dy) {
  Pyramid<T> pyramid;
  for (int level = 0; level < levels; ++level) {
    const auto at = [&](int y, int x) { return pattern<T>(x / rateOf(level) - dx, y / rateOf(level) - dy); };
    pyramid.push_back(planeOf<T>(std::max(1, size.width >> level), std::max(1, size.height >> level), at));
  }
  return pyramid;
}

// The record of a pyramid.
template <class T>
class Record {
 public:
  explicit Record(const Pyramid<T>& pyramid, Placing placing = {}) {
    for (const Plane<T>& image : pyramid) {
      rates_.push_back(rateOf(static_cast<int>(rates_.size())));
      Guarded<T>& level = levels_.emplace_back(image, placing);
      images_.push_back(reinterpret_cast<std::uint8_t*>(level.data()));
      sizes_.push_back(level.size());
      steps_.push_back(level.step());
    }
    record = {images_.data(), sizes_.data(), rates_.data(),
              steps_.data(),  nullptr,       static_cast<int>(sizes_.size()) - 1};
  }
  RvpiPyramid record;

 private:
  std::deque<Guarded<T>> levels_;
  std::vector<std::uint8_t*> images_;
  std::vector<RvpiSize> sizes_;
  std::vector<double> rates_;
  std::vector<std::int32_t> steps_;
};

// ---- The reference

struct Settings {
  RvpiSize roi;
  int window, maxLev, maxIter;
  float threshold;
};

struct Result {
  std::vector<RvpiPoint32f> next;
  std::vector<std::int8_t> status;
  std::vector<float> error;
};

template <class T>
struct Reference {
  static constexpr bool kFixed = std::is_same_v<T, std::uint8_t>;
  using V = std::conditional_t<kFixed, int, float>;

  template <class U>
  static U clamped(const Plane<U>& image, int y, int x) {
    return image.at(std::clamp(y, 0, image.height - 1), std::clamp(x, 0, image.width - 1));
  }

  // The value between pixels; `bits` fractional bits are taken off a fixed-point sum.
  template <class U>
  static V between(const Plane<U>& image, double y, double x, int bits) {
    const int iy = static_cast<int>(std::floor(y)), ix = static_cast<int>(std::floor(x));
    const double a = x - ix, b = y - iy;
    const U p00 = clamped(image, iy, ix), p01 = clamped(image, iy, ix + 1), p10 = clamped(image, iy + 1, ix),
            p11 = clamped(image, iy + 1, ix + 1);
    if constexpr (kFixed) {
      const int w00 = static_cast<int>(std::floor((1 - a) * (1 - b) * 16384 + 0.5));
      const int w01 = static_cast<int>(std::floor(a * (1 - b) * 16384 + 0.5));
      const int w10 = static_cast<int>(std::floor((1 - a) * b * 16384 + 0.5));
      return (p00 * w00 + p01 * w01 + p10 * w10 + p11 * (16384 - w00 - w01 - w10) + (1 << bits) / 2) >> bits;
    } else {
      const float fa = static_cast<float>(a), fb = static_cast<float>(b);
      return p00 * ((1 - fa) * (1 - fb)) + p01 * (fa * (1 - fb)) + p10 * ((1 - fa) * fb) + p11 * (fa * fb);
    }
  }

  // x and y derivatives of values around a place, and the number of bits to shift a fixed-point sum by.
  template <class At>
  static void derive(const At& at, V& dx, V& dy, bool onPatch) {
    V d[3], s[3];
    const auto weighted = [&](V mid, V sides) -> V {
      if constexpr (kFixed)
        return mid * 10 + sides * 3;
      else
        return onPatch ? mid * 0.3125f + sides * 0.09375f : mid * 10 + sides * 3;
    };
    for (int i = -1; i <= 1; ++i) {
      d[i + 1] = at(i, 1) - at(i, -1);
      s[i + 1] = weighted(at(i, 0), at(i, -1) + at(i, 1));
    }
    dx = weighted(d[1], d[0] + d[2]);
    dy = s[2] - s[0];
    if (onPatch) return;
    // On a level columns are done before rows.
    const auto down = [&](int x) { return weighted(at(0, x), at(-1, x) + at(1, x)); };
    const auto rise = [&](int x) -> V { return at(1, x) - at(-1, x); };
    dx = down(1) - down(-1);
    dy = weighted(rise(0), rise(-1) + rise(1));
  }

  static bool inside(double at, int extent) { return at >= 0 && at <= extent - 1; }

  struct Window {
    int x0 = 0, y0 = 0, x1 = -1, y1 = -1;
  };

  // The pixels of a window of side n from (x, y) on that are inside.
  static bool part(double x, double y, int n, const Plane<T>& image, Window& window) {
    window = {n, n, -1, -1};
    for (int i = 0; i < n; ++i) {
      if (inside(x + i, image.width)) window.x0 = std::min(window.x0, i), window.x1 = i;
      if (inside(y + i, image.height)) window.y0 = std::min(window.y0, i), window.y1 = i;
    }
    return window.x1 >= 0 && window.y1 >= 0;
  }

  enum Outcome { kFound, kLost, kLeft, kNoWindow };

  static Outcome track(const Plane<T>& first, const Plane<T>& second, bool isSmall, const Settings& settings,
                       RvpiPoint32f p, RvpiPoint32f& q, float& error) {
    const int w = settings.window;
    const double px = static_cast<double>(p.x) - (w - 1) * 0.5, py = static_cast<double>(p.y) - (w - 1) * 0.5;
    Window one;
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !part(px - 1, py - 1, w + 2, first, one)) return kNoWindow;
    const bool none = !part(px, py, w, first, one);
    Plane<V> i(w, w), j(w, w), dx(w, w), dy(w, w);
    for (int y = 0; y < w; ++y) {
      for (int x = 0; x < w; ++x) {
        const auto patch = [&](int v, int u) { return between(first, py + (y + v), px + (x + u), 7); };
        i.at(y, x) = patch(0, 0);
        derive(patch, dx.at(y, x), dy.at(y, x), true);
        if constexpr (kFixed) {
          dx.at(y, x) = (dx.at(y, x) + 16) >> 5;
          dy.at(y, x) = (dy.at(y, x) + 16) >> 5;
        }
        if (isSmall) smallDerivatives(first, py + y, px + x, dx.at(y, x), dy.at(y, x));
      }
    }
    double lastX = first.width + first.height, lastY = lastX;
    for (int round = 0; round < settings.maxIter; ++round) {
      const double qx = static_cast<double>(q.x) - (w - 1) * 0.5, qy = static_cast<double>(q.y) - (w - 1) * 0.5;
      Window two;
      if (!std::isfinite(q.x) || !std::isfinite(q.y) || !part(qx, qy, w, second, two)) return kLost;
      two = {std::max(one.x0, two.x0), std::max(one.y0, two.y0), std::min(one.x1, two.x1),
             std::min(one.y1, two.y1)};
      if (none || two.x0 > two.x1 || two.y0 > two.y1) return kLeft;
      for (int y = 0; y < w; ++y) {
        for (int x = 0; x < w; ++x) j.at(y, x) = between(second, qy + y, qx + x, 7);
      }
      const double gxx = sum(two, dx, dx), gxy = sum(two, dx, dy), gyy = sum(two, dy, dy);
      Plane<V> d = i;
      for (std::size_t k = 0; k < d.elements.size(); ++k) d.elements[k] -= j.elements[k];
      const double bx = sum(two, d, dx), by = sum(two, d, dy);
      const double determinant = gxx * gyy - gxy * gxy;
      if (determinant < 2.220446049250313e-16) return kLost;
      const double stepX = (gyy * bx - gxy * by) / determinant, stepY = (by * gxx - bx * gxy) / determinant;
      q = {static_cast<float>(q.x + stepX), static_cast<float>(q.y + stepY)};
      const Window shrunk = {two.x0, two.y0, two.x1 - 1, two.y1 - 1};
      const double e = sum(shrunk, d, d);
      const double count = (two.x1 - two.x0) * (two.y1 - two.y0);
      error = e > 0 ? static_cast<float>(std::sqrt(e / count) * (kFixed ? 1.0 / 128 : 1)) : 0;
      if (stepX * stepX + stepY * stepY < static_cast<double>(settings.threshold * settings.threshold)) break;
      const float swing = static_cast<float>(std::sqrt(std::ldexp(1.0, -23)));
      if (std::fabs(lastX + stepX) < swing && std::fabs(lastY + stepY) < swing) {
        q = {static_cast<float>(q.x - stepX * 0.5), static_cast<float>(q.y - stepY * 0.5)};
        break;
      }
      lastX = stepX;
      lastY = stepY;
    }
    return kFound;
  }

  static void smallDerivatives(const Plane<T>& image, double y, double x, V& dx, V& dy) {
    // Only the four pixels around the place are needed.
    const int iy = static_cast<int>(std::floor(y)), ix = static_cast<int>(std::floor(x));
    Plane<V> around[2] = {{2, 2}, {2, 2}};
    for (int v = 0; v < 2; ++v) {
      for (int u = 0; u < 2; ++u) {
        const int cy = std::clamp(iy + v, 0, image.height - 1), cx = std::clamp(ix + u, 0, image.width - 1);
        const auto at = [&](int j, int i) -> V {
          const V value = static_cast<V>(clamped(image, cy + j, cx + i));
          return std::is_same_v<T, std::uint16_t> ? static_cast<V>(static_cast<float>(value) * 0.03125f) : value;
        };
        V& gx = around[0].at(v, u);
        V& gy = around[1].at(v, u);
        derive(at, gx, gy, false);
        if constexpr (kFixed) gx *= 4, gy *= 4;
        if constexpr (std::is_same_v<T, float>) gx *= 0.03125f, gy *= 0.03125f;
      }
    }
    dx = between(around[0], y - iy, x - ix, 14);
    dy = between(around[1], y - iy, x - ix, 14);
  }

  static double sum(const Window& part, const Plane<V>& a, const Plane<V>& b) {
    std::int64_t total = 0;
    double s[4] = {};
    for (int y = part.y0; y <= part.y1; ++y) {
      for (int x = part.x0; x <= part.x1; ++x) {
        if constexpr (kFixed)
          total += std::int64_t{a.at(y, x)} * b.at(y, x);
        else
          s[(x - part.x0) % 4] += static_cast<double>(a.at(y, x)) * static_cast<double>(b.at(y, x));
      }
    }
    return kFixed ? static_cast<double>(total) : (s[0] + s[1]) + (s[2] + s[3]);
  }

  static RvpiPoint32f times(RvpiPoint32f p, double f) {
    return {static_cast<float>(p.x * f), static_cast<float>(p.y * f)};
  }
  static Result run(const Pyramid<T>& one, const Pyramid<T>& two, const Settings& settings,
                    const std::vector<RvpiPoint32f>& prev, const std::vector<RvpiPoint32f>& start) {
    const std::size_t count = prev.size();
    Result result = {start, std::vector<std::int8_t>(count, static_cast<std::int8_t>(settings.maxLev + 1)),
                     std::vector<float>(count, 0.0f)};
    int level = settings.maxLev;
    const auto image = [&](const Pyramid<T>& pyramid) -> const Plane<T>& {
      return pyramid[static_cast<std::size_t>(level)];
    };
    // Answers what became of the point.
    const auto visit = [&](std::size_t i, RvpiPoint32f& q, bool isSmall) {
      result.status[i] = static_cast<std::int8_t>(level);
      const Outcome outcome =
          track(image(one), image(two), isSmall, settings, times(prev[i], rateOf(level)), q, result.error[i]);
      if (outcome == kNoWindow && isSmall) return outcome;
      if (outcome == kFound || outcome == kLeft)
        result.next[i] = {static_cast<float>(q.x / rateOf(level)), static_cast<float>(q.y / rateOf(level))};
      if (outcome != kFound) {
        result.status[i] = static_cast<std::int8_t>(level + 1);
        result.error[i] = 0;
      }
      return outcome;
    };
    for (; level >= 0 && image(one).width < settings.roi.width && image(one).height < settings.roi.height;
         --level) {
      for (std::size_t i = 0; i < count; ++i) {
        RvpiPoint32f q = times(result.next[i], rateOf(level));
        if (result.status[i] == level + 1 && visit(i, q, true) == kNoWindow) break;
      }
    }
    const int top = level;
    for (std::size_t i = 0; i < count && top >= 0; ++i) {
      level = top;
      if (result.status[i] != level + 1) continue;
      RvpiPoint32f q = times(result.next[i], rateOf(level));
      for (; level >= 0 && visit(i, q, false) == kFound; --level) q = times(q, settings.maxLev > 0 ? 2 : 1);
    }
    return result;
  }
};

// ---- Running the library

template <class T>
int blockBytes(const Settings& settings) {
  return bytesOf(rvpiOpticalFlowPyrLKGetSize, settings.window, settings.roi, Form<T>::kType, 0);
}

template <class T>
Result track(const Record<T>& one, const Record<T>& two, const Settings& settings,
             const std::vector<RvpiPoint32f>& prev, const std::vector<RvpiPoint32f>& start) {
  Block block(blockBytes<T>(settings), {0, 8 * (settings.window % 3)});
  RvpiOptFlowPyrLK* state = nullptr;
  EXPECT_EQ(Form<T>::kInit(&state, settings.roi, settings.window, 0, block.data()), rvpStatusOk);
  Result result = {start, std::vector<std::int8_t>(prev.size(), 99), std::vector<float>(prev.size(), 99)};
  EXPECT_EQ(Form<T>::kRun(&one.record, &two.record, prev.data(), result.next.data(), result.status.data(),
                          result.error.data(), static_cast<int>(prev.size()), settings.window, settings.maxLev,
                          settings.maxIter, settings.threshold, state),
            rvpStatusOk);
  return result;
}

// Places all over the image and around it, among them some that lie beyond all images.
std::vector<RvpiPoint32f> someplaces(RvpiSize size, unsigned seed, bool wild) {
  const Plane<float> random = randomPlane<float>(24, 2, seed);
  std::vector<RvpiPoint32f> places;
  const auto spread = [](float value, int extent) {
    return static_cast<float>((static_cast<double>(value) / 2100 + 0.5) * (extent + 4)) - 2;
  };
  for (int i = 0; i < 24; ++i)
    places.push_back({spread(random.at(0, i), size.width), spread(random.at(1, i), size.height)});
  places[3] = {2, 3};
  places[4] = {0, static_cast<float>(size.height - 1)};
  places[5] = {static_cast<float>(size.width), 1.5f};
  if (wild) {
    places[9].x = -40;
    places[11].y = std::numeric_limits<float>::quiet_NaN();
    places[15].x = 3e38f;
    places[19].y = -std::numeric_limits<float>::infinity();
  }
  return places;
}

// Two pyramids, tracked by the library and by the reference.
template <class T>
void checkTrack(const Pyramid<T>& one, const Pyramid<T>& two, Placing placing, const Settings& settings,
                const std::vector<RvpiPoint32f>& prev, const std::vector<RvpiPoint32f>& start) {
  const Record<T> record1(one, placing), record2(two, placing);
  const Result expected = Reference<T>::run(one, two, settings, prev, start);
  const Result result = track<T>(record1, record2, settings, prev, start);
  const auto compare = [&](const auto& wanted, const auto& found, const auto& element) {
    using E = std::decay_t<decltype(element(wanted[0]))>;
    const auto plane = [&](const auto& all) {
      return planeOf<E>(static_cast<int>(all.size()), 1,
                        [&](int, int i) { return element(all[static_cast<std::size_t>(i)]); });
    };
    EXPECT_TRUE(same(plane(wanted), plane(found)));
  };
  compare(expected.status, result.status, std::identity());
  compare(expected.next, result.next, [](RvpiPoint32f point) { return point.x; });
  compare(expected.next, result.next, [](RvpiPoint32f point) { return point.y; });
  compare(expected.error, result.error, std::identity());
}

// Levels of both kinds, windows cut by edges, points that leave, and points that never were inside.
TYPED_TEST(Flow, FollowsItsFormulas) {
  using T = TypeParam;
  const RvpiSize size = {61, 45};
  const Pyramid<T> one = pyramidOf<T>(size, 3, 0, 0), two = pyramidOf<T>(size, 3, 1.3, -0.8);
  for (const RvpiSize roi : {RvpiSize{1, 1}, {31, 23}, {40, 22}, {30, 40}, {100, 100}}) {
    for (const int window : {1, 2, 5, 8, 13, 21, 33}) {
      for (const bool wild : {false, true}) {
        const Settings settings = {roi, window, window % 3, 1 + window % 8, window % 2 == 0 ? 0.0f : 0.05f};
        SCOPED_TRACE(testing::Message() << "roi " << roi.width << ", window " << window << ", wild " << wild);
        const auto prev = someplaces(size, static_cast<unsigned>(window), wild);
        const auto start = wild ? someplaces(size, 5, true) : prev;
        checkTrack(one, two, {window % 4, window % 3}, settings, prev, start);
        if (testing::Test::HasFailure()) return;
      }
    }
  }
}

// Images smaller than a window, and memory that ends with each row.
TYPED_TEST(Flow, StaysWithinItsImages) {
  using T = TypeParam;
  for (const Cliff cliff : {Cliff::before, Cliff::behind}) {
    for (const RvpiSize size : {RvpiSize{1, 1}, {5, 3}, {30, 26}}) {
      const Pyramid<T> one = pyramidOf<T>(size, 2, 0, 0), two = pyramidOf<T>(size, 2, 0.4, 0.3);
      for (const RvpiSize roi : {RvpiSize{1, 1}, {50, 50}}) {
        for (const int window : {1, 4, 21}) {
          const Settings settings = {roi, window, 1, 5, 0.01f};
          const auto prev = someplaces(size, 8, false);
          checkTrack(one, two, {0, 0, cliff}, settings, prev, prev);
        }
      }
    }
  }
}

// Differences as large as they can be, and a window of more pixels than 32 bits of them can add up.
TEST(FlowSums, AreExactForBlackAndWhite) {
  const RvpiSize size = {430, 420};
  Pyramid<std::uint8_t> one = pyramidOf<std::uint8_t>(size, 1, 0, 0), two = one;
  forElements(one[0], [&](int y, int x) {
    const bool isWhite = (x / 5 + y / 7) % 2 == 0;
    one[0].at(y, x) = isWhite ? 255 : 0;
    two[0].at(y, x) = isWhite ? 0 : 255;
  });
  for (const RvpiSize roi : {RvpiSize{1, 1}, {500, 500}}) {
    const Settings settings = {roi, 401, 0, 2, 0.0f};
    const std::vector<RvpiPoint32f> prev = {{215, 209}, {211.5f, 205.25f}};
    checkTrack(one, two, {}, settings, prev, prev);
  }
}

TYPED_TEST(Flow, LosesAFlatWindow) {
  Pyramid<TypeParam> flat = pyramidOf<TypeParam>({40, 40}, 2, 0, 0);
  flat[0] = Plane<TypeParam>(40, 40, TypeParam{7});
  for (const RvpiSize roi : {RvpiSize{1, 1}, {21, 21}, {90, 90}})
    checkTrack(flat, flat, {}, {roi, 9, 1, 5, 0.01f}, {{18, 19}}, {{18, 19}});
}

// A saddle, and one that is twice as steep: each step ends as far on the other side of the place, so that the
// second one is taken back by half.
TYPED_TEST(Flow, EndsMidwayOfASwing) {
  const auto saddle = [](int steepness) {
    const auto at = [=](int y, int x) { return 120 + steepness * (x - 6) * (y - 6); };
    return Pyramid<TypeParam>{planeOf<TypeParam>(13, 13, at)};
  };
  for (const RvpiSize roi : {RvpiSize{1, 1}, {50, 50}})
    checkTrack(saddle(1), saddle(2), {}, {roi, 5, 0, 9, 0.0f}, {{6, 6}}, {{6.5f, 6.25f}});
}

TYPED_TEST(Flow, ReportsTheFirstOfTwoFaults) {
  using T = TypeParam;
  const Pyramid<T> pyramid = pyramidOf<T>({20, 20}, 2, 0, 0);
  Record<T> good(pyramid), shortStep(pyramid), noImage(pyramid);
  shortStep.record.pStep[1] -= static_cast<int>(sizeof(T));
  noImage.record.pImage[1] = nullptr;
  const RvpiPoint32f prev = {9, 9};
  RvpiPoint32f next = {8, 8};
  std::int8_t status = 5;
  float error = 6;
  Block block(blockBytes<T>({{20, 20}, 5, 0, 0, 0}));
  RvpiOptFlowPyrLK* state = nullptr;
  expectFirstOfTwo(Form<T>::kInit, {badSizes, at<2>(rvpStatusBadSize, 0), nulls<>}, &state, {20, 20}, 5, 0,
                   block.data());
  EXPECT_EQ(Form<T>::kInit(&state, {INT32_MAX, INT32_MAX}, INT32_MAX, 0, block.data()), rvpStatusSizeOverflow);
  EXPECT_EQ(state, nullptr);
  ASSERT_EQ(Form<T>::kInit(&state, {20, 20}, 5, 0, block.data()), rvpStatusOk);
  EXPECT_EQ(state, block.as<RvpiOptFlowPyrLK>());
  const auto expectFaults = [&](const auto&... faults) {
    expectFirstOfTwo(Form<T>::kRun, {faults...}, &good.record, &good.record, &prev, &next, &status, &error, 1, 5, 1,
                     1, 0, state);
  };
  expectFaults(nulls<>, at<6>(rvpStatusBadSize, 0), at<7>(rvpStatusBadSize, 0, 4), at<8>(rvpStatusBadArgument, -1),
               at<9>(rvpStatusBadArgument, 0), at<10>(rvpStatusBadArgument, -1e-30f),
               at<8>(rvpStatusBadArgument, 2));
  expectFaults(at<0>(rvpStatusNullPointer, &noImage.record), at<0>(rvpStatusBadStep, &shortStep.record));
  expectFaults(at<1>(rvpStatusNullPointer, &noImage.record), at<1>(rvpStatusBadStep, &shortStep.record));
  EXPECT_EQ(Form<T>::kRun(&noImage.record, &noImage.record, &prev, &next, &status, &error, 1, 5, 0, 1, 0, state),
            rvpStatusOk);
}

TEST(FlowBlock, TellsItsSize) {
  const auto query = rvpiOpticalFlowPyrLKGetSize;
  int bytes = -1;
  expectFirstOfTwo(query, {at<0>(rvpStatusBadSize, 0), badSizes, at<2>(rvpStatusBadDataType, rvp16s, 99), nulls<>},
                   1, {1, 1}, rvp8u, 0, &bytes);
  EXPECT_EQ(query(1, {40000, 40000}, rvp8u, 0, &bytes), rvpStatusSizeOverflow);
  EXPECT_EQ(bytes, -1);
  const int w = 21, r = 645 * 485;
  const RvpiSize size = {640, 480};
  EXPECT_EQ(bytesOf(query, w, size, rvp8u, 7),
            2 * (2 * r + (4 * w + 12) * (w + 3)) + (32 * w + 96) * (w + 3) + 130);
  EXPECT_EQ(bytesOf(query, w, size, rvp16u, 7),
            4 * (3 * r + (4 * w + 12) * (w + 3) + (8 * w + 24) * (w + 3)) + 124);
  EXPECT_EQ(bytesOf(query, w, size, rvp32f, 7),
            4 * (2 * r + (4 * w + 12) * (w + 3) + (8 * w + 24) * (w + 3)) + 124);
}

FUZZ(flow, input) {
  const RvpiSize size = input.size(), roi = input.size();
  const int levels = input.between(1, 4);
  const double dx = input.between(-30, 30) / 8.0, dy = input.between(-30, 30) / 8.0;
  const Placing placing = input.placing();
  const Settings settings = {roi, input.between(1, 24), input.between(0, levels - 1), input.between(1, 9),
                             static_cast<float>(input.between(0, 100)) / 500};
  const auto prev = someplaces(size, input.any<std::uint8_t>(), input.flag());
  const auto start = input.flag() ? someplaces(size, input.any<std::uint8_t>(), input.flag()) : prev;
  input.withOneOf(Types(), [&]<class T>() {
    checkTrack(pyramidOf<T>(size, levels, 0, 0), pyramidOf<T>(size, levels, dx, dy), placing, settings, prev,
               start);
  });
}

}  // namespace
