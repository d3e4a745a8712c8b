// Flood fills against the region found pixel by pixel, and range fills against a plain list of spans that forgets.
#include <set>

#include "segment/number_set.h"
#include "support/test.h"

namespace {

using namespace test;

enum class Kind { kPlain, kRange, kGradient };

// The functions by type, channels, kind and connectivity.
template <class T, int kChannels>
struct Form;
#define RVP_FORM(T, TYPE, C)                                                            \
  template <>                                                                           \
  struct Form<T, C> {                                                                   \
    static constexpr std::array kPlain = {rvpiFloodFill_4Con_##TYPE##_C##C##IR,         \
                                          rvpiFloodFill_8Con_##TYPE##_C##C##IR};        \
    static constexpr std::array kRange = {rvpiFloodFill_Range4Con_##TYPE##_C##C##IR,    \
                                          rvpiFloodFill_Range8Con_##TYPE##_C##C##IR};   \
    static constexpr std::array kGradient = {rvpiFloodFill_Grad4Con_##TYPE##_C##C##IR,  \
                                             rvpiFloodFill_Grad8Con_##TYPE##_C##C##IR}; \
  };
RVP_FORM(std::uint8_t, 8u, 1)
RVP_FORM(std::uint8_t, 8u, 3)
RVP_FORM(std::uint16_t, 16u, 1)
RVP_FORM(std::uint16_t, 16u, 3)
RVP_FORM(float, 32f, 1)
RVP_FORM(float, 32f, 3)

template <class T>
struct Fill {
  Kind kind;
  bool diagonal;
  int channels;
  RvpiPoint seed;
  T newValue[3], minDelta[3], maxDelta[3];

  RvpStatus run(T* image, int step, RvpiSize size, RvpiFilledRegion* region, std::uint8_t* scratch) const {
    return channels == 1
               ? runForm<Form<T, 1>>(image, step, size, region, scratch, newValue[0], minDelta[0], maxDelta[0])
               : runForm<Form<T, 3>>(image, step, size, region, scratch, newValue, minDelta, maxDelta);
  }

 private:
  template <class Form>
  RvpStatus runForm(T* image, int step, RvpiSize size, RvpiFilledRegion* region, std::uint8_t* scratch, auto value,
                    auto least, auto most) const {
    if (kind == Kind::kPlain) return Form::kPlain[diagonal](image, step, size, seed, value, region, scratch);
    return (kind == Kind::kRange ? Form::kRange : Form::kGradient)[diagonal](image, step, size, seed, value, least,
                                                                             most, region, scratch);
  }
};

int scratchBytes(Kind kind, RvpiSize size) {
  return bytesOf(kind == Kind::kGradient ? rvpiFloodFillGetSize_Grad : rvpiFloodFillGetSize, size);
}

// What a fill does, told plainly. Widths are in pixels.
template <class T>
class Reference {
 public:
  Reference(const Plane<T>& image, const Fill<T>& fill)
      : before(image),
        after(image),
        fill_(fill),
        width_(image.width / fill.channels),
        height_(image.height),
        isIn_(width_, height_) {
    if (fill.kind == Kind::kRange) {
      spans();
    } else {
      pixels();
    }
    if (region.area > 0) {
      region.rect = {left_, top_, right_ - left_ + 1, bottom_ - top_ + 1};
      for (int c = 0; c < fill.channels; ++c) region.value[c] = static_cast<double>(fill.newValue[c]);
    }
  }

  Plane<T> before;
  Plane<T> after;
  RvpiFilledRegion region = {};

 private:
  T at(int y, int x, int c) const { return before.at(y, x * fill_.channels + c); }
  bool all(const std::function<bool(int)>& test) const {
    for (int c = 0; c < fill_.channels; ++c)
      if (!test(c)) return false;
    return true;
  }
  bool joins(int y, int x, int fromY, int fromX) const {
    const auto [sx, sy] = fill_.seed;
    return all([&, sx = sx, sy = sy](int c) {
      const T n = at(y, x, c), s = at(sy, sx, c), from = at(fromY, fromX, c);
      const T lo = fill_.minDelta[c], hi = fill_.maxDelta[c];
      if (fill_.kind == Kind::kPlain) return n == s;
      if constexpr (std::is_floating_point_v<T>) {
        if (fill_.kind == Kind::kRange) return n >= s - lo && n <= s + hi;
        const float half = (lo + hi) * 0.5f, offset = (lo - hi) * 0.5f;
        const float sum = n + offset;
        return std::abs(sum - from) <= half;
      } else {
        const int base = fill_.kind == Kind::kRange ? s : from;
        return n >= base - lo && n <= base + hi;
      }
    });
  }
  void take(int y, int x) {
    isIn_.at(y, x) = 1;
    for (int c = 0; c < fill_.channels; ++c) after.at(y, x * fill_.channels + c) = fill_.newValue[c];
    region.area += 1;
    if (fill_.kind != Kind::kRange) include(y, x);
  }
  void include(int y, int x) {
    left_ = std::min(left_, x);
    right_ = std::max(right_, x);
    top_ = std::min(top_, y);
    bottom_ = std::max(bottom_, y);
  }
  void pixels() {
    const auto [sx, sy] = fill_.seed;
    if (fill_.kind == Kind::kPlain &&
        all([&, sx = sx, sy = sy](int c) { return at(sy, sx, c) == fill_.newValue[c]; }))
      return;
    take(sy, sx);
    forNeighbours(isIn_, fill_.diagonal, {sy, sx}, [&](Place from, Place to) {
      if (isIn_.at(to.y, to.x) != 0 || !joins(to.y, to.x, from.y, from.x)) return false;
      take(to.y, to.x);
      return true;
    });
  }
  // The list of spans, with what it forgets.
  void spans() {
    struct Span {
      int y, left, right, parentLeft, parentRight, dir;
    };
    std::vector<Span> list;
    const auto [sx, sy] = fill_.seed;
    const auto free = [&](int y, int x) { return isIn_.at(y, x) == 0 && joins(y, x, y, x); };
    const auto grow = [&](int y, int x) {
      take(y, x);
      int l = x, r = x;
      while (l > 0 && free(y, l - 1)) take(y, --l);
      while (r + 1 < width_ && free(y, r + 1)) take(y, ++r);
      return std::pair{l, r};
    };
    const int capacity = width_ * height_ / 4;
    const auto push = [&](const Span& span) {
      list.push_back(span);
      if (static_cast<int>(list.size()) == capacity) list.clear();
    };
    const auto [l0, r0] = grow(sy, sx);
    include(sy, l0);
    include(sy, r0);
    if (height_ == 1 || capacity == 1) return;
    push({sy, l0, r0, r0 + 1, r0, sy == height_ - 1 ? -1 : 1});
    while (!list.empty()) {
      const Span s = list.back();
      list.pop_back();
      include(s.y, s.left);
      include(s.y, s.right);
      const auto look = [&](int y, int first, int last, int dir) {
        for (int x = first; x < last; ++x) {
          if (!free(y, x)) continue;
          const auto [l, r] = grow(y, x);
          push({y, l, r, s.left, s.right, dir});
          x = r + 1;
        }
      };
      const int wide = fill_.diagonal ? 1 : 0;
      const int first = std::max(s.left - wide, 0), last = std::min(s.right + 1 + wide, width_);
      if (s.y - s.dir >= 0 && s.y - s.dir < height_) look(s.y - s.dir, first, last, s.dir);
      look(s.y + s.dir, first, s.parentLeft, -s.dir);
      look(s.y + s.dir, s.parentRight + 1, last, -s.dir);
    }
  }

  const Fill<T> fill_;
  int width_, height_;
  Plane<std::uint8_t> isIn_;
  int left_ = INT_MAX, top_ = INT_MAX, right_ = 0, bottom_ = 0;
};

template <class T>
void check(const Plane<T>& image, const Fill<T>& fill, Placing placing, int scratchShift) {
  if (testing::Test::HasFailure()) return;
  SCOPED_TRACE(words("kind", static_cast<int>(fill.kind), "diagonal", fill.diagonal, "channels", fill.channels,
                     "seed", fill.seed.x, fill.seed.y, "of", image.width, image.height));
  const RvpiSize size = {image.width / fill.channels, image.height};
  const Reference<T> expected(image, fill);
  Guarded<T> actual(image, placing);
  Block scratch(scratchBytes(fill.kind, size), {0, scratchShift, placing.cliff});
  RvpiFilledRegion region = {};
  ASSERT_EQ(fill.run(actual.data(), actual.step(), size, &region, scratch.data()), rvpStatusOk);
  ASSERT_TRUE(same(expected.after, actual));
  EXPECT_EQ(std::memcmp(&region, &expected.region, sizeof region), 0)
      << region.area << ", not " << expected.region.area;
}

template <class T>
void checkAllKinds(const Plane<T>& one, const Plane<T>& three, RvpiPoint seed, T delta, Placing placing,
                   int shift) {
  for (const Kind kind : {Kind::kPlain, Kind::kRange, Kind::kGradient}) {
    for (const bool diagonal : {false, true}) {
      const auto value = static_cast<T>(200);
      const auto more = static_cast<T>(delta + delta);
      check<T>(one, {kind, diagonal, 1, seed, {value, 0, 0}, {delta}, {more}}, placing, shift);
      check<T>(three, {kind, diagonal, 3, seed, {value, 201, 202}, {delta, more, delta}, {more, delta, delta}},
               placing, shift);
    }
  }
}

// Few values in coarse and fine patches, so that regions have all kinds of shapes.
template <class T>
Plane<T> patches(int width, int height, int channels, unsigned seed, unsigned values) {
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(width, height, seed);
  return planeOf<T>(width * channels, height, [&](int y, int at) {
    const int x = at / channels, c = at % channels;
    const std::uint32_t pick = noise.at(y, x) >> 9U;
    const std::uint32_t bits = pick % 3 == 0 ? pick / 64 : noise.at(y / 2 * 2, x / 7 * 7) >> 15U;
    return (bits >> (2 * c)) % values;
  });
}

template <class T>
class FloodOf : public testing::Test {};
using Types = testing::Types<std::uint8_t, std::uint16_t, float>;
TYPED_TEST_SUITE(FloodOf, Types);

TYPED_TEST(FloodOf, FillsTheRegionOfEveryWidth) {
  sweepSmall([](const Shape& shape) {
    for (const unsigned values : {2U, 3U, 6U}) {
      const int height = shape.height + static_cast<int>(values) * 2 - 4;
      const auto seed = static_cast<int>(shape.seed), more = static_cast<int>(values);
      checkAllKinds<TypeParam>(patches<TypeParam>(shape.width, height, 1, shape.seed, values),
                               patches<TypeParam>(shape.width, height, 3, shape.seed, values),
                               {seed * 7 % shape.width, (seed + more) % height}, static_cast<TypeParam>(values / 3),
                               shape.placing, seed % 9);
    }
  });
}

// Shapes with as many pending spans as can be, in images of all small sizes, with scratch at every address.
TEST(Flood, StaysInItsScratchAndFillsAllOfIt) {
  using Shape8u = std::function<bool(int, int)>;
  const std::vector<Shape8u> shapes = {
      [](int y, int x) { return (x + y) % 2 == 0; },                      // checkerboard
      [](int y, int x) { return y == 1 || x % 2 == 0; },                  // comb with teeth on both sides
      [](int y, int x) { return x == 1 || y % 2 == 0; },                  // the same on its side
      [](int y, int x) { return (x * 7 + y * 5) % 8 < 4 || y % 5 == 2; }  // islands
  };
  int shift = 0;
  constexpr int kSizes[][2] = {{3, 3},   {1, 2},  {1, 3},  {2, 2},  {2, 3},  {24, 3}, {5, 5},
                               {33, 31}, {64, 3}, {1, 50}, {50, 1}, {70, 9}, {9, 70}, {31, 2}};
  for (const auto& [w, h] : kSizes) {
    const int width = w, height = h;
    for (const Shape8u& shape : shapes) {
      const auto value = [&](int y, int x) { return shape(y, x) ? 10 : 90; };
      const auto one = planeOf<std::uint8_t>(width, height, value);
      const auto three = planeOf<std::uint8_t>(3 * width, height, [&](int y, int x) { return value(y, x / 3); });
      // In stripes of `slope` neighbours in a row are never alike, so that each pixel is a span to a gradient.
      const auto slope = planeOf<std::uint8_t>(
          width, height, [=](int y, int x) { return y == height / 2 ? 60 : (x % 2) * 60 + 30; });
      for (const auto& [x, y] : {std::pair{0, 0}, {width / 2, height / 2}, {std::min(1, width - 1), height - 1}}) {
        checkAllKinds<std::uint8_t>(one, three, {x, y}, 2, {}, shift++ % 16);
        for (const bool diagonal : {false, true})
          check<std::uint8_t>(slope, {Kind::kGradient, diagonal, 1, {x, y}, {7}, {30}, {30}}, {}, shift++ % 16);
      }
    }
  }
}

// Few numbers among many, so that the next one is looked for in all levels, and at times one or none, in memory of
// just the size told.
TEST(NumberSet, FindsTheNextNumberHoweverFar) {
  for (const std::ptrdiff_t limit : {1, 64, 65, 4096, 4097, 300000}) {
    Block memory(static_cast<int>(rvp::n8::NumberSet::bytes(limit)), {});
    rvp::n8::NumberSet numbers(memory.data(), limit);
    std::set<std::ptrdiff_t> expected;
    std::minstd_rand random(7);
    for (int i = 0; i < 2000; ++i) {
      const auto number = static_cast<std::ptrdiff_t>(random()) % limit;
      const auto most = static_cast<std::size_t>(i / 50 % 4 * 2);
      if (expected.size() > most || expected.contains(number)) {
        const std::ptrdiff_t gone = expected.contains(number) ? number : *expected.begin();
        numbers.erase(gone);
        expected.erase(gone);
      } else {
        numbers.insert(number);
        expected.insert(number);
      }
      const auto from = static_cast<std::ptrdiff_t>(random()) % limit;
      const auto above = expected.lower_bound(from);
      ASSERT_EQ(numbers.next<true>(from), above == expected.end() ? -1 : *above) << from << " of " << limit;
      const auto below = expected.upper_bound(from);
      ASSERT_EQ(numbers.next<false>(from), below == expected.begin() ? -1 : *std::prev(below)) << from;
    }
  }
}

TEST(Flood, ClampsIntegerRangesAndRoundsFloatGradients) {
  check<std::uint8_t>(patches<std::uint8_t>(40, 9, 1, 5, 3), {Kind::kGradient, true, 1, {3, 3}, {99}, {255}, {255}},
                      {}, 0);
  Plane<std::uint8_t> extremes = randomPlane<std::uint8_t>(50, 12, 8);
  extremes.at(4, 7) = 250;
  check<std::uint8_t>(extremes, {Kind::kRange, true, 1, {7, 4}, {1}, {200}, {200}}, {}, 1);
  Plane<float> image = randomPlane<float>(60, 20, 9, true);
  check<float>(image, {Kind::kGradient, false, 1, {30, 9}, {1.0f}, {700.1f}, {333.3f}}, {}, 2);
  check<float>(image, {Kind::kRange, true, 1, {30, 9}, {5000.0f}, {900.1f}, {933.3f}}, {}, 3);
  image.at(9, 30) = std::numeric_limits<float>::quiet_NaN();
  for (const Kind kind : {Kind::kPlain, Kind::kRange, Kind::kGradient})
    check<float>(image, {kind, true, 1, {30, 9}, {1.0f}, {1e9f}, {1e9f}}, {}, 4);
}

TEST(Flood, Fills32s) {
  Plane<std::int32_t> image(5, 2, -7);
  image.at(0, 2) = image.at(1, 1) = 70000;
  Block scratch(scratchBytes(Kind::kPlain, {5, 2}));
  RvpiFilledRegion region = {};
  ASSERT_EQ(rvpiFloodFill_4Con_32s_C1IR(&image.at(0, 0), 20, {5, 2}, {0, 0}, 9, &region, scratch.data()),
            rvpStatusOk);
  EXPECT_EQ(region.area, 3);
  EXPECT_EQ(rvpiFloodFill_8Con_32s_C1IR(&image.at(0, 0), 20, {5, 2}, {2, 0}, -7, &region, scratch.data()),
            rvpStatusOk);
  EXPECT_EQ(region.area, 2);
  EXPECT_EQ(region.rect.width, 2);
  EXPECT_EQ(region.value[0], -7.0);
}

TEST(Flood, ReportsTheFirstOfTwoFaults) {
  Plane<float> image(12, 4, 5.0f);
  const float value[] = {5, 5, 5}, bad[] = {0, -1, 0};
  std::uint8_t scratch[4096], byte = 1;
  RvpiFilledRegion region = {-3, {}, {}};
  float* const first = &image.at(0, 0);
  for (const bool isGradient : {false, true}) {
    expectFirstOfTwo(isGradient ? rvpiFloodFill_Grad4Con_32f_C3IR : rvpiFloodFill_Range8Con_32f_C3IR,
                     {nulls<>, badSizes, shortSteps<0>, oddSteps<0>,
                      at<3>(rvpStatusOutOfRange, RvpiPoint{4, 0}, RvpiPoint{0, -1}),
                      planted(rvpStatusOutOfRange,
                              [&](auto& a) {
                                if (std::get<5>(a) != nullptr) std::get<5>(a) = bad;
                              })
                          .when(isGradient)},
                     first, 48, {4, 4}, {0, 0}, value, value, value, &region, scratch);
  }
  EXPECT_EQ(rvpiFloodFill_Range4Con_32f_C3IR(first, 48, {4, 4}, {0, 0}, value, value, value, &region, scratch),
            rvpStatusBadArgument);
  EXPECT_EQ(rvpiFloodFill_4Con_32f_C3IR(first, 48, {4, 4}, {0, 0}, value, &region, scratch), rvpStatusOk);
  EXPECT_EQ(region.area, -3);
  EXPECT_EQ(rvpiFloodFill_4Con_8u_C1IR(&byte, 20000, {20000, 20000}, {0, 0}, 2, &region, scratch),
            rvpStatusSizeOverflow);
  int bytes = 0;
  for (const auto query : {rvpiFloodFillGetSize, rvpiFloodFillGetSize_Grad})
    expectFirstOfTwo(query, {nulls<>, badSizes}, {4, 4}, &bytes);
  EXPECT_EQ(scratchBytes(Kind::kPlain, {7, 5}), 242);
  EXPECT_EQ(scratchBytes(Kind::kGradient, {7, 5}), 687);
}

// Whether the new value lies in the range in every channel, which is refused.
template <class T>
bool isRefused(const Fill<T>& fill, const Plane<T>& image) {
  if (fill.kind != Kind::kRange) return false;
  for (int c = 0; c < fill.channels; ++c) {
    const T value = fill.newValue[c];
    const T s = image.at(fill.seed.y, fill.seed.x * fill.channels + c);
    if (!(value >= s - fill.minDelta[c] && value <= s + fill.maxDelta[c])) return false;
  }
  return true;
}

template <class T>
void tryFill(Input& input) {
  const RvpiSize size = input.size();
  const auto kind = static_cast<Kind>(input.between(0, 2));
  const int channels = input.flag() ? 3 : 1;
  const RvpiPoint seed = {input.between(0, size.width - 1), input.between(0, size.height - 1)};
  Fill<T> fill = {kind, input.flag(), channels, seed, {}, {}, {}};
  for (int c = 0; c < channels; ++c) {
    fill.newValue[c] = input.any<T>();
    fill.minDelta[c] = static_cast<T>(input.between(0, 9));
    fill.maxDelta[c] = static_cast<T>(input.between(0, 9));
  }
  const unsigned values = static_cast<unsigned>(input.between(1, 9));
  const auto image = input.flag()
                         ? patches<T>(size.width, size.height, channels, input.any<std::uint16_t>(), values)
                         : input.plane<T>(size.width * channels, size.height);
  const Placing placing = input.placing();
  if (!isRefused(fill, image)) check<T>(image, fill, placing, input.shift());
}

FUZZ(flood, input) {
  input.withOneOf(Types(), [&]<class T>() { tryFill<T>(input); });
}

}  // namespace
