// Compound operations against two plain stages, and what algebra asks of them.
#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "morph/bits.h"
#include "morph/masks.h"
#include "rvpcv.h"
#include "support/calls.h"
#include "support/compare.h"
#include "support/sweep.h"

namespace {

using namespace test;

enum Operation : std::size_t { open, close, topHat, blackHat, gradient };
constexpr std::array<Operation, 5> kOperations = {open, close, topHat, blackHat, gradient};

template <class E, int kC>
struct PixelsOf {
  using Element = E;
  static constexpr int kChannels = kC;
  using P = std::array<E, static_cast<std::size_t>(kC)>;

  static P random(std::uint64_t bits, int x) {
    P p;
    for (std::size_t c = 0; c < p.size(); ++c) {
      if constexpr (std::is_same_v<E, float>) {
        p[c] = static_cast<E>(static_cast<int>(bits >> (8 * c) & 0xFFF) - 2048) / 16;
        if ((x + static_cast<int>(c)) % 37 == 5) p[c] = std::numeric_limits<E>::infinity();
      } else {
        p[c] = static_cast<E>(bits >> (8 * c));
      }
    }
    return p;
  }
  static P choose(bool least, P a, const P& b) {
    for (std::size_t c = 0; c < a.size(); ++c) a[c] = least ? std::min(a[c], b[c]) : std::max(a[c], b[c]);
    return a;
  }
  static P minus(P a, const P& b) {
    for (std::size_t c = 0; c < a.size(); ++c) {
      if constexpr (std::is_same_v<E, float>) {
        a[c] = a[c] - b[c] < 0 ? 0 : a[c] - b[c];
      } else {
        using Limits = std::numeric_limits<E>;
        a[c] = static_cast<E>(std::clamp<int>(int{a[c]} - int{b[c]}, Limits::min(), Limits::max()));
      }
    }
    return a;
  }
};

struct OneBit {
  using P = std::uint8_t;
  static P random(std::uint64_t bits, int) { return static_cast<P>(bits % 2); }
  static P choose(bool least, P a, P b) { return least ? std::min(a, b) : std::max(a, b); }
  static P minus(P a, P b) { return a > b ? 1 : 0; }
};

template <class Pixels>
using ImageOf = Bordered<typename Pixels::P>;

template <class Pixels>
ImageOf<Pixels> randomImage(RvpiSize size, int margin, RvpiBorderType border, unsigned seed) {
  ImageOf<Pixels> image = {{size.width + 2 * margin, size.height + 2 * margin}, margin, border, {}};
  const Plane<std::uint32_t> noise = randomPlane<std::uint32_t>(image.memory.width, image.memory.height, seed);
  forElements(noise, [&](int y, int x) {
    image.memory.at(y, x) = Pixels::random(noise.at(y, x) * std::uint64_t{0x9E3779B97F4A7C15} >> 16, x + y);
  });
  image.value = Pixels::random(seed, 0);
  return image;
}

// A stage's result on the region, with what lies beside it on sides in memory as far as `next` reads there.
template <class Pixels>
ImageOf<Pixels> stage(const ImageOf<Pixels>& image, const Mask& mask, const Mask& next, bool erodes) {
  const auto beyond = [&](int flag, int pixels) { return image.inMemory(flag) ? pixels : 0; };
  const int left = beyond(rvpBorderInMemLeft, next.anchorX());
  const int right = beyond(rvpBorderInMemRight, next.width - next.anchorX() - 1);
  const int top = beyond(rvpBorderInMemTop, next.anchorY());
  const int bottom = beyond(rvpBorderInMemBottom, next.height - next.anchorY() - 1);
  ImageOf<Pixels> result = image;
  for (int y = -top; y < image.height() + bottom; ++y) {
    for (int x = -left; x < image.width() + right; ++x)
      result.memory.at(y + image.margin, x + image.margin) =
          extremumAt(image, mask, x, y, [=](const auto& a, const auto& b) { return Pixels::choose(erodes, a, b); });
  }
  return result;
}

template <class Pixels>
Plane<typename Pixels::P> expectedOf(Operation operation, const ImageOf<Pixels>& image, const Mask& mask) {
  const Mask none = rectangle(1, 1);
  const Mask turned = mask.reflected();
  const auto two = [&](bool erodesFirst) {
    return stage<Pixels>(stage<Pixels>(image, mask, turned, erodesFirst), turned, none, !erodesFirst);
  };
  const bool opens = operation == open || operation == topHat;
  const ImageOf<Pixels> first = operation == gradient ? stage<Pixels>(image, mask, none, false) : two(opens);
  const ImageOf<Pixels> eroded = operation == gradient ? stage<Pixels>(image, mask, none, true) : first;
  return planeOf<typename Pixels::P>(image.width(), image.height(), [&](int y, int x) {
    const auto a = first.at(x, y), s = image.at(x, y);
    return operation == topHat     ? Pixels::minus(s, a)
           : operation == blackHat ? Pixels::minus(a, s)
           : operation == gradient ? Pixels::minus(a, eroded.at(x, y))
                                   : a;
  });
}

template <class PixelsT, auto kSizes, auto kInitialize, auto... kCalls>
struct Form : PixelsT {
  using Pixels = PixelsT;
  using State = Element<RvpiMorphAdvState, decltype(kSizes), decltype(kInitialize)>;
  static State stateOf(RvpiSize largest, const Mask& mask, Cliff cliff) {
    return {kSizes, kInitialize, largest, mask, cliff};
  }
  static constexpr std::array kRun = {kCalls...};
};
#define CALLS(NAME)                                                                                 \
  &rvpiMorphAdvGetSize_##NAME, &rvpiMorphAdvInit_##NAME, &rvpiMorphOpenBorder_##NAME,               \
      &rvpiMorphCloseBorder_##NAME, &rvpiMorphTophatBorder_##NAME, &rvpiMorphBlackhatBorder_##NAME, \
      &rvpiMorphGradientBorder_##NAME
#define FORM(T, C, NAME) Form<PixelsOf<T, C>, CALLS(NAME)>
using Bits = Form<OneBit, CALLS(1u_C1R)>;

template <class Form>
RvpStatus run(Operation operation, const typename Form::P* src, int srcStep, typename Form::P* dst, int dstStep,
              RvpiSize size, RvpiBorderType border, const typename Form::P* value, const RvpiMorphAdvState* spec,
              std::uint8_t* buffer) {
  using T = typename Form::Element;
  const auto call = [&](const auto& constant) {
    return Form::kRun[operation](reinterpret_cast<const T*>(src), srcStep, reinterpret_cast<T*>(dst), dstStep, size,
                                 border, constant, spec, buffer);
  };
  if constexpr (Form::kChannels == 1) {
    return call((*value)[0]);
  } else {
    return call(value == nullptr ? nullptr : value->data());
  }
}

template <class Form>
void check(Operation operation, const Shape& shape, const Mask& mask, RvpiBorderType border, RvpiSize largest,
           Cliff cliff) {
  SCOPED_TRACE("operation " + std::to_string(operation) + ", mask " + std::to_string(mask.width) + " x " +
               std::to_string(mask.height) + ", border " + std::to_string(border));
  const RvpiSize size = {shape.width, shape.height};
  // Two stages read as far as the mask reaches on each side, once for either.
  const auto image = randomImage<typename Form::Pixels>(size, 2 * mask.reach(), border, shape.seed);
  const auto expected = expectedOf<typename Form::Pixels>(operation, image, mask);
  auto state = Form::stateOf(largest, mask, cliff);
  if constexpr (std::is_same_v<Form, Bits>) {
    const int srcBit = static_cast<int>(shape.seed % 8), dstBit = static_cast<int>(shape.seed / 8 % 8);
    FlaggedBits src(image, srcBit, cliff);
    Guarded<std::uint8_t> dst(packed(Plane<std::uint8_t>(size.width, size.height), dstBit), shape.placing);
    ASSERT_EQ(Form::kRun[operation](src.first(), src.step(), src.bitOffset(), dst.data(), dst.step(), dstBit, size,
                                    border, image.value, state.spec(), state.buffer()),
              rvpStatusOk);
    ASSERT_TRUE(same(packed(expected, dstBit), dst));
  } else {
    using P = typename Form::P;
    OnlyFlaggedSides<P> src(image, cliff);
    Guarded<P> dst(Plane<P>(size.width, size.height), shape.placing);
    ASSERT_EQ(call(run<Form>, operation, src, dst, size, border, &image.value, state.spec(), state.buffer()),
              rvpStatusOk);
    ASSERT_TRUE(same(expected, dst));
  }
}

template <class Form>
class Compound : public testing::Test {};
using Forms =
    testing::Types<Bits, FORM(std::uint8_t, 1, 8u_C1R), FORM(std::uint8_t, 3, 8u_C3R),
                   FORM(std::uint8_t, 4, 8u_C4R), FORM(std::uint16_t, 1, 16u_C1R), FORM(std::int16_t, 1, 16s_C1R),
                   FORM(float, 1, 32f_C1R), FORM(float, 3, 32f_C3R), FORM(float, 4, 32f_C4R)>;
TYPED_TEST_SUITE(Compound, Forms);

TYPED_TEST(Compound, FollowsTheStages) {
  const Mask slope = maskOf(4, 6, [](int i, int j) { return j <= i; });
  unsigned turn = 0;
  for (const Mask& mask : {rectangleIn(3, 2, {}), rectangle(1, 1), rectangle(3, 3), rectangle(8, 7),
                           rectangleIn(6, 5, {0, 1, 2, 3}), rectangle(40, 3), slope, randomMask(7, 9, 3)}) {
    for (const RvpiBorderType border : plainBorders()) {
      for (const RvpiSize size : {RvpiSize{1, 1}, {5, 20}, {75, 11}}) {
        for (const Operation operation : kOperations) {
          ++turn;
          const int spare = turn % 4 == 0 ? 9 : 0;
          tryShape({size.width, size.height, {static_cast<int>(turn % 3), 1}, 1, turn}, [&](const Shape& shape) {
            check<TypeParam>(operation, shape, mask, border, {size.width + spare, size.height + spare},
                             turn % 2 == 0 ? Cliff::behind : Cliff::before);
          });
        }
      }
    }
  }
}

using Gray = FORM(std::uint8_t, 1, 8u_C1R);

TEST(CompoundAlgebra, OpeningAndClosingAreIdempotentAndBoundTheirSource) {
  // More than a band, for work in place.
  constexpr RvpiSize kSize = {3000, 150};
  for (const Mask& mask : {ellipse(7, 7), randomMask(6, 5, 4), rectangle(4, 9)}) {
    auto state = Gray::stateOf(kSize, mask, Cliff::behind);
    const auto image = randomPlane<std::uint8_t>(kSize.width, kSize.height, 9);
    for (const Operation operation : {open, close}) {
      auto once = image;
      const auto apply = [&](const Plane<std::uint8_t>& from, Plane<std::uint8_t>& to) {
        ASSERT_EQ(Gray::kRun[operation](from.row(0), kSize.width, &to.at(0, 0), kSize.width, kSize, rvpBorderRepl,
                                        0, state.spec(), state.buffer()),
                  rvpStatusOk);
      };
      apply(image, once);
      auto twice = once;
      apply(once, twice);
      const int margin = 2 * mask.reach();
      for (int y = margin; y < kSize.height - margin; ++y) {
        for (int x = margin; x < kSize.width - margin; ++x) {
          ASSERT_EQ(once.at(y, x), twice.at(y, x));
          ASSERT_TRUE(operation == open ? once.at(y, x) <= image.at(y, x) : once.at(y, x) >= image.at(y, x));
        }
      }
      // In place.
      auto inPlace = image;
      apply(inPlace, inPlace);
      ASSERT_TRUE(same(once, inPlace));
    }
  }
}

// Images that are worked on in bands.
TEST(CompoundBands, FollowTheStages) {
  for (const RvpiBorderType border : {rvpBorderRepl + 0, rvpBorderConst | 64}) {
    for (const Operation operation : {close, topHat, gradient}) {
      tryShape({3000, 130, {3, 1}, 1, 5}, [&](const Shape& shape) {
        check<Gray>(operation, shape, randomMask(3, 5, 3), border, {3000, 130}, Cliff::behind);
      });
    }
    tryShape({60000, 50, {}, 1, 6}, [&](const Shape& shape) {
      check<Bits>(open, shape, rectangle(2, 3), border, {60000, 50}, Cliff::before);
    });
  }
}

// One call on the part of an image that begins at a pixel.
Plane<std::uint8_t> applied(Operation operation, const Plane<std::uint8_t>& image, RvpiRect part, const Mask& mask,
                            RvpiBorderType border) {
  const RvpiSize size = {part.width, part.height};
  auto state = Gray::stateOf(size, mask, Cliff::behind);
  Plane<std::uint8_t> result(size.width, size.height);
  EXPECT_EQ(Gray::kRun[operation](image.row(part.y) + part.x, image.width, &result.at(0, 0), size.width, size,
                                  border, 90, state.spec(), state.buffer()),
            rvpStatusOk);
  return result;
}

Plane<std::uint8_t> complement(Plane<std::uint8_t> image) {
  for (std::uint8_t& element : image.elements) element = static_cast<std::uint8_t>(~element);
  return image;
}

// Dark and bright change places.
TEST(CompoundAlgebra, OperationsAreDual) {
  const auto image = randomPlane<std::uint8_t>(150, 70, 12);
  for (const Mask& mask : {ellipse(9, 7), randomMask(6, 5, 4), rectangle(31, 17), rectangle(2, 12)}) {
    const auto on = [&](const Plane<std::uint8_t>& plane, Operation operation) {
      return applied(operation, plane, {0, 0, 150, 70}, mask, rvpBorderRepl);
    };
    const auto turned = complement(image);
    EXPECT_TRUE(same(on(image, close), complement(on(turned, open))));
    EXPECT_TRUE(same(on(image, open), complement(on(turned, close))));
    EXPECT_TRUE(same(on(image, blackHat), on(turned, topHat)));
    EXPECT_TRUE(same(on(image, gradient), on(turned, gradient)));
  }
}

// Tiles that find their neighbours in memory make what one call on the whole makes; and so does a part inside of it
// whose sides are all in memory.
TEST(CompoundAlgebra, TilesMakeTheWhole) {
  constexpr RvpiRect kWhole = {0, 0, 150, 70};
  constexpr RvpiRect kInside = {41, 37, 67, 5};
  const auto image = randomPlane<std::uint8_t>(kWhole.width, kWhole.height, 13);
  for (const Mask& mask : {ellipse(9, 7), randomMask(6, 5, 4), rectangle(31, 17), rectangle(2, 12)}) {
    for (const RvpiBorderType border : {rvpBorderRepl, rvpBorderConst}) {
      for (const Operation operation : kOperations) {
        const auto whole = applied(operation, image, kWhole, mask, border);
        Plane<std::uint8_t> tiled(kWhole.width, kWhole.height);
        const auto put = [&](RvpiRect part, RvpiBorderType sides) {
          const auto tile = applied(operation, image, part, mask, sides);
          for (int y = 0; y < part.height; ++y) std::copy_n(tile.row(y), part.width, &tiled.at(part.y + y, part.x));
        };
        for (const int x : {0, 75}) {
          for (const int y : {0, 35})
            put({x, y, 75, 35}, border | (x == 0 ? rvpBorderInMemRight : rvpBorderInMemLeft) |
                                    (y == 0 ? rvpBorderInMemBottom : rvpBorderInMemTop));
        }
        ASSERT_TRUE(same(whole, tiled)) << "operation " << operation << ", border " << border;
        put(kInside, rvpBorderInMem);
        ASSERT_TRUE(same(whole, tiled)) << "operation " << operation;
      }
    }
  }
}

TEST(CompoundChecks, InOrder) {
  using Floats = FORM(float, 3, 32f_C3R);
  using P = Floats::P;
  auto state = Floats::stateOf({4, 3}, rectangle(3, 4), Cliff::before);
  const std::vector<P> src(40);
  std::vector<P> dst(40, P{7, 7, 7});
  constexpr int kRow = 4 * int{sizeof(P)};
  for (const Operation operation : kOperations) {
    const auto call = [&](const P* from, int srcStep, P* to, int dstStep, RvpiSize size, RvpiBorderType border,
                          const P* value = nullptr) {
      return run<Floats>(operation, from, srcStep, to, dstStep, size, border, value, state.spec(), state.buffer());
    };
    EXPECT_EQ(call(nullptr, kRow, dst.data(), kRow, {0, 1}, 1), rvpStatusNullPointer);
    EXPECT_EQ(call(src.data(), kRow, nullptr, kRow, {0, 1}, 1), rvpStatusNullPointer);
    EXPECT_EQ(call(src.data(), kRow, dst.data(), kRow, {0, 1}, 0), rvpStatusNullPointer);
    EXPECT_EQ(run<Floats>(operation, src.data(), 0, dst.data(), kRow, {0, 1}, 1, nullptr, nullptr, state.buffer()),
              rvpStatusNullPointer);
    EXPECT_EQ(run<Floats>(operation, src.data(), 0, dst.data(), kRow, {0, 1}, 1, nullptr, state.spec(), nullptr),
              rvpStatusNullPointer);
    EXPECT_EQ(call(src.data(), 0, dst.data(), kRow, {4, 0}, 1), rvpStatusBadSize);
    EXPECT_EQ(call(src.data(), kRow + 1, dst.data(), kRow - 1, {4, 1}, 3), rvpStatusBadStep);
    EXPECT_EQ(call(src.data(), kRow + 1, dst.data(), kRow, {4, 1}, 3), rvpStatusStepNotMultiple);
    EXPECT_EQ(call(src.data(), 9 * kRow, dst.data(), 9 * kRow, {33, 1}, rvpBorderMirror), rvpStatusBadBorder);
    // One column, or for the gradient W, too many; then one row too many for the image between the stages.
    const int wide = operation == gradient ? 7 : 5;
    EXPECT_EQ(call(src.data(), 9 * kRow, dst.data(), 9 * kRow, {wide, 1}, 1), rvpStatusBadSize);
    EXPECT_EQ(call(src.data(), 0x40000000, dst.data(), 0x40000000, {4, 100}, 1), rvpStatusBadSize);
    EXPECT_EQ(dst, std::vector<P>(40, P{7, 7, 7}));
    EXPECT_EQ(call(src.data(), kRow, dst.data(), kRow, {4, 3}, 1), rvpStatusOk);
    dst.assign(40, P{7, 7, 7});
  }
  int size = 0;
  const std::uint8_t mask[1] = {1};
  EXPECT_EQ(rvpiMorphAdvGetSize_1u_C1R({1, 1}, {0, 1}, nullptr, &size), rvpStatusNullPointer);
  EXPECT_EQ(rvpiMorphAdvGetSize_1u_C1R({1, 1}, {0, 1}, &size, &size), rvpStatusBadSize);
  EXPECT_EQ(rvpiMorphAdvInit_1u_C1R({1, 0}, mask, {1, 1}, state.spec(), nullptr), rvpStatusNullPointer);
  EXPECT_EQ(rvpiMorphAdvInit_1u_C1R({1, 0}, mask, {1, 1}, state.spec(), state.buffer()), rvpStatusBadSize);
}

}  // namespace
