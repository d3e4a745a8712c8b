// Gradient segmentation against queues of coordinates, and masked gradients against their formula.
#include "segment/masked_gradient.h"
#include "support/test.h"

namespace {

using namespace test;
using Bytes = Plane<std::uint8_t>;
struct Growth {
  const Bytes& src;
  int channels;
  Bytes labels;
  int neighbours;
  int boundary;

  int labelAt(Place p) const { return labels.holds(p.y, p.x) ? labels.at(p.y, p.x) : 255; }
  int difference(Place p, Place q) const {
    int largest = 0;
    for (int c = 0; c < channels; ++c)
      largest = std::max(largest, std::abs(src.at(p.y, p.x * channels + c) - src.at(q.y, q.x * channels + c)));
    return largest;
  }
  bool isLabelled(Place p) const { return labelAt(p) > 0 && labelAt(p) < 255; }

  void run() {
    std::deque<Place> queues[256];
    Bytes isQueued(labels.width, labels.height);
    forElements(labels, [&](int y, int x) {
      int level = 256;
      for (int i = 0; i < neighbours; ++i) {
        const Place q = next({y, x}, i);
        if (isLabelled(q)) level = std::min(level, difference({y, x}, q));
      }
      if (labels.at(y, x) != 0 || level == 256) return;
      queues[level].push_back({y, x});
      isQueued.at(y, x) = 1;
    });
    for (int level = 0; level < 256;) {
      if (queues[level].empty()) {
        ++level;
        continue;
      }
      const Place p = queues[level].front();
      queues[level].pop_front();
      int best = 256;
      std::uint8_t& label = labels.at(p.y, p.x);
      for (int i = 0; i < neighbours; ++i) {
        const Place q = next(p, i);
        if (!isLabelled(q)) continue;
        const int d = difference(p, q);
        if (d > best || (d == best && labelAt(q) == 254)) continue;
        best = d;
        label = static_cast<std::uint8_t>(labelAt(q));
      }
      for (int i = 0; i < neighbours; ++i) {
        const Place q = next(p, i);
        if (labelAt(q) != 0 || isQueued.at(q.y, q.x) != 0) continue;
        isQueued.at(q.y, q.x) = 1;
        queues[difference(p, q)].push_back(q);
      }
      const std::uint8_t own = label;
      for (int i = 0; i < boundary; ++i) {
        const int other = labelAt(next(p, i));
        if (other > 0 && other < 254 && other != own) label = 254;
      }
      level = 0;
    }
  }
};

Bytes image(int width, int height, unsigned seed, unsigned kind) {
  return changed<std::uint8_t>(randomPlane<std::uint8_t>(width, height, seed), [=](int p) {
    return kind == 0 ? p : kind == 1 ? p % 4 : 9;
  });
}

// Few or many markers, some of them walls and boundaries.
Bytes markers(int width, int height, unsigned seed, unsigned rarity) {
  const auto noise = randomPlane<std::uint32_t>(width, height, seed + 2000);
  return combined<std::uint8_t>(
      randomPlane<std::uint8_t>(width, height, seed + 1000), noise, [=](unsigned label, std::uint32_t bits) {
        const std::uint32_t random = bits / 128;
        return random % (rarity * 8) == 0 ? 254 + random / 4096 % 2 : random % rarity == 0 ? label : 0;
      });
}

int bufferSize(RvpiSize size) {
  const int c1 = bytesOf(rvpiSegmentGradientGetBufferSize_8u_C1R, size);
  EXPECT_EQ(c1, bytesOf(rvpiSegmentGradientGetBufferSize_8u_C3R, size));
  EXPECT_EQ(c1, 17 * size.width * size.height + 115);
  return c1;
}

void checkGrowth(const Shape& shape) {
  for (const int channels : {1, 3}) {
    const auto grow = channels == 1 ? rvpiSegmentGradient_8u_C1IR : rvpiSegmentGradient_8u_C3IR;
    for (const unsigned kind : {0U, 1U, 2U}) {
      for (const int norm : {rvpConnect8, rvpConnect4}) {
        for (const int flags : {0, 64, 128, 192}) {
          const Bytes pixels = image(shape.width * channels, shape.height, shape.seed, kind);
          const Bytes seeds = markers(shape.width, shape.height, shape.seed, 2 + 9 * (shape.seed % 4));
          const int boundary = (flags & 64) != 0 ? 4 : (flags & 128) != 0 ? 8 : 0;
          Growth growth = {pixels, channels, seeds, norm == rvpConnect4 ? 4 : 8, boundary};
          growth.run();
          Guarded<std::uint8_t> src(pixels, shape.placing), marker(seeds, shape.placing);
          Block scratch(bufferSize(marker.size()), shape.anywhere());
          ASSERT_EQ(call(grow, src, marker, marker.size(), norm, flags, scratch), rvpStatusOk);
          ASSERT_TRUE(same(growth.labels, marker)) << channels << " " << kind << " " << norm << " " << flags;
        }
      }
    }
  }
}

TEST(SegmentGradient, GrowsInTheOrderOfDifferences) {
  sweepSmall(checkGrowth);
  for (const unsigned seed : {1U, 2U, 3U, 4U}) {
    tryShape({1, 150, {}, 1, seed}, checkGrowth);
    tryShape({150, 1, {}, 1, seed}, checkGrowth);
    tryShape({45, 37, {2, 1}, 2, seed}, checkGrowth);
  }
  tryShape({129, 71, {1, 2}, 1, 7}, checkGrowth);  // queues of larger blocks
  sweepCliffs({{1, 300}, {300, 1}, {33, 9}}, 1, checkGrowth);
}

TEST(SegmentGradient, ReportsTheFirstOfTwoFaults) {
  std::uint8_t src[16] = {}, marker[8] = {1}, scratch[600];
  expectFirstOfTwo(rvpiSegmentGradient_8u_C3IR,
                   {nulls<>, badSizes, shortSteps<>, at<5>(rvpStatusBadArgument, 2, -1)}, src, 9, marker, 3, {3, 1},
                   0, 0, scratch);
  int size = -1;
  for (const auto query : {rvpiSegmentGradientGetBufferSize_8u_C1R, rvpiSegmentGradientGetBufferSize_8u_C3R})
    expectFirstOfTwo(query, {nulls<>, badSizes}, {3, 1}, &size);
}

// ---- Masked gradients

template <int kChannels>
void checkGradients(const Shape& shape) {
  using namespace rvp::n8;
  const Bytes pixels = image(shape.width * kChannels, shape.height, shape.seed, 0);
  const Bytes mask = image(shape.width, shape.height, shape.seed + 1, 1);
  const Bytes known = image(shape.width, shape.height, shape.seed + 2, 1);
  const auto value = [&](int y, int x, int c) { return int{pixels.at(y, x * kChannels + c)}; };
  for (const bool isAbsolute : {false, true}) {
    for (const bool hasKnown : {false, true}) {
      const auto isAtHand = [&](int y, int x) { return mask.holds(y, x) && (!hasKnown || known.at(y, x) != 0); };
      const auto along = [&](int y, int x, int c, int dy, int dx) {
        int sum = 0;
        if (isAtHand(y + dy, x + dx)) sum += value(y + dy, x + dx, c) - value(y, x, c);
        if (isAtHand(y - dy, x - dx)) sum += value(y, x, c) - value(y - dy, x - dx, c);
        if (isAtHand(y + dy, x + dx) && isAtHand(y - dy, x - dx)) sum *= 2;
        return static_cast<std::int16_t>(isAbsolute ? std::abs(sum) : sum);
      };
      Plane<std::int16_t> expected(shape.width * kChannels * 2, shape.height, 777);
      const RvpiSize size = shape.size();
      const auto atPoint =
          isAbsolute ? owncvModAbsGradientPoint_8u16s_MR<kChannels> : owncvModGradientPoint_8u16s_MR<kChannels>;
      forElements(mask, [&](int y, int x) {
        if (mask.at(y, x) == 0) return;
        std::int16_t pairs[2 * kChannels];
        for (int c = 0; c < kChannels; ++c) {
          expected.at(y, (x * kChannels + c) * 2) = along(y, x, c, 0, 1);
          expected.at(y, (x * kChannels + c) * 2 + 1) = along(y, x, c, 1, 0);
        }
        if (!hasKnown) return;
        atPoint(pixels.row(0), pixels.width, pairs, known.row(0), known.width, size, {x, y});
        ASSERT_EQ(std::memcmp(pairs, &expected.at(y, x * kChannels * 2), sizeof(pairs)), 0);
      });
      Guarded<std::int16_t> dst(Plane<std::int16_t>(expected.width, expected.height, 777), shape.placing);
      if (hasKnown) {
        const auto run =
            isAbsolute ? owncvModAbsGradient_8u16s_MR<kChannels> : owncvModGradient_8u16s_MR<kChannels>;
        run(pixels.row(0), pixels.width, dst.data(), dst.step(), mask.row(0), mask.width, known.row(0), known.width,
            size);
      } else {
        const auto run = isAbsolute ? owncvAbsGradient_8u16s_MR<kChannels> : owncvGradient_8u16s_MR<kChannels>;
        run(pixels.row(0), pixels.width, dst.data(), dst.step(), mask.row(0), mask.width, size);
      }
      ASSERT_TRUE(same(expected, dst));
    }
  }
}

TEST(MaskedGradient, FollowsTheFormula) {
  sweepSmall(checkGradients<1>);
  sweepSmall(checkGradients<3>);
}

TEST(MaskedGradient, RoundsAndSaturatesFloats) {
  const float src[] = {0, 1, 3, 4.5f, 1e6f};
  const std::uint8_t mask[] = {1, 1, 1, 0, 1};
  std::int16_t dst[10] = {};
  std::fill_n(dst, 10, std::int16_t{5});
  rvp::n8::owncvGradient_32f16s_C1MR_Sfs(src, 20, dst, 20, mask, 5, {5, 1}, 0);
  const std::int16_t expected[] = {1, 0, 2, 0, 2, 0, 5, 5, 32767, 0};
  EXPECT_EQ(std::memcmp(dst, expected, sizeof(dst)), 0);
  rvp::n8::owncvGradient_32f16s_C1MR_Sfs(src, 4, dst, 4, mask, 1, {1, 3}, 1);
  EXPECT_EQ(dst[1], 0);  // 0.5 goes to the even neighbour
  EXPECT_EQ(dst[3], 1);  // 0.75
}

TEST(MaskedGradient, CountsAndCopiesWhatIsNotZero) {
  const float values[] = {1, -2, 0, 3, 0.5f, 9};
  double copies[3] = {};
  EXPECT_EQ(rvp::n8::owncvFillNoZero_32f(values, 12, {3, 2}, copies, 3), 3);
  EXPECT_EQ(copies[2], 0.5);
  EXPECT_EQ(rvp::n8::owncvFillNoZero_32f(values, 12, {2, 2}, copies, 3), 3);
  EXPECT_EQ(copies[1], 3.0);
  const std::uint8_t bytes[] = {0, 3, 255, 0, 0, 1};
  std::int64_t count = 7;
  rvp::n8::owncvNoZero_8u(bytes, 3, {2, 2}, &count);
  EXPECT_EQ(count, 1);
}

FUZZ(gradient_segments, input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    switch (input.between(0, 2)) {
      case 0:
        return checkGrowth(shape);
      case 1:
        return checkGradients<1>(shape);
      default:
        return checkGradients<3>(shape);
    }
  });
}

}  // namespace
