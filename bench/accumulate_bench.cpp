// Accumulators against cv::accumulate and its relatives, and the blend against cv::addWeighted.
//
// Unmasked rows are set beside two copies. "bare loop" reads the same sources and reads and writes the accumulator
// with hardly any arithmetic: what the memory allows to any accumulator. "memcpy" moves as many bytes in all.
// Masked rows are set beside the unmasked call.
#include <bit>
#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <tuple>
#include <type_traits>

#include "rvpcv/stats.h"
#include "support/contest.h"
#include "support/images.h"

namespace rvp::bench {
namespace {

// Exact in float and in the double that the peer takes.
constexpr float kAlpha = 0.0625f;

// Where the peer fuses multiplication and addition or uses another formula, last bits differ: four units in the
// last place of a float.
constexpr double kRounding = 4 * 0x1p-23;

struct Images {
  cv::Mat src1;
  cv::Mat src2;
  cv::Mat mask;
  cv::Mat acc;
};
using Ours = std::function<RvpStatus(const Images&)>;
using Peer = std::function<void(const Images&, cv::InputArray mask)>;

template <class T>
constexpr int kDepth = std::is_same_v<T, float>          ? CV_32F
                       : std::is_same_v<T, std::uint8_t> ? CV_8U
                                                         : CV_16U;

template <class T>
Images makeImages(cv::Size size) {
  return {photograph(Photo::kAstronaut, size, kDepth<T>), photograph(Photo::kCoffee, size, kDepth<T>),
          halfMask(Photo::kChelsea, size), photograph(Photo::kChelsea, size, CV_32F)};
}

// ---- Our calls: sources, mask, accumulator, size and share, as far as the operation takes them.

enum class Shape { kOneSource, kTwoSources, kWeighted };

template <bool kPresent, class... T>
auto optional(std::tuple<T...> arguments) {
  if constexpr (kPresent) {
    return arguments;
  } else {
    return std::tuple<>();
  }
}

template <class T>
std::tuple<T*, int> image(const cv::Mat& mat) {
  return {pixels<T>(mat), step(mat)};
}

template <class T, Shape kShape, bool kMasked, class Function>
Ours bind(Function* function) {
  return [function](const Images& i) {
    return std::apply(
        function,
        std::tuple_cat(image<T>(i.src1), optional<kShape == Shape::kTwoSources>(image<T>(i.src2)),
                       optional<kMasked>(image<std::uint8_t>(i.mask)), image<float>(i.acc),
                       std::tuple(regionSize(i.acc)), optional<kShape == Shape::kWeighted>(std::tuple(kAlpha))));
  };
}

// ---- The peer's

void add(const Images& i, cv::InputArray mask) { cv::accumulate(i.src1, i.acc, mask); }
void addSquare(const Images& i, cv::InputArray mask) { cv::accumulateSquare(i.src1, i.acc, mask); }
void addProduct(const Images& i, cv::InputArray mask) { cv::accumulateProduct(i.src1, i.src2, i.acc, mask); }
void addWeighted(const Images& i, cv::InputArray mask) {
  cv::accumulateWeighted(i.src1, i.acc, static_cast<double>(kAlpha), mask);
}

// ---- Copies

template <class T>
std::uint32_t bits(T value) {
  if constexpr (std::is_same_v<T, float>) {
    return std::bit_cast<std::uint32_t>(value);
  } else {
    return value;
  }
}

template <class T, bool kTwoSources>
void bareLoop(const Images& i) {
  for (int y = 0; y < i.acc.rows; ++y) {
    const T* src1 = i.src1.ptr<T>(y);
    const T* src2 = i.src2.ptr<T>(y);
    float* acc = pixels<float>(i.acc.row(y));
    for (int x = 0; x < i.acc.cols; ++x) {
      std::uint32_t source = bits(src1[x]);
      if constexpr (kTwoSources) source |= bits(src2[x]);
      // The last bit alone, which leaves every accumulator an ordinary number.
      acc[x] = std::bit_cast<float>(bits(acc[x]) | (source & 1));
    }
  }
}

Reference copyOf(double bytes) {
  const int half = static_cast<int>(bytes / 2);
  const cv::Mat from = noise({half, 1}, CV_8U, 1);
  const cv::Mat to(from.size(), CV_8U, cv::Scalar(0));
  return {"memcpy", [from, to, half] { std::memcpy(to.data, from.data, static_cast<std::size_t>(half)); }};
}

// ---- Rows

// An unmasked row, unless the operation lacks it, and a masked one.
template <class T, Shape kShape>
void addRows(std::vector<Row>& rows, const std::string& operation, const Ours& plain, const Ours& masked,
             const std::string& peerName, const Peer& peer, double tolerance) {
  constexpr bool kTwoSources = kShape == Shape::kTwoSources;
  constexpr double kSourceBytes = sizeof(T) * (kTwoSources ? 2 : 1);
  constexpr double kAccumulatorBytes = 2 * sizeof(float);
  if (plain) {
    rows.push_back({operation,
                    [=](cv::Size size) {
                      const Images i = makeImages<T>(size);
                      const double bytes = size.area() * (kSourceBytes + kAccumulatorBytes);
                      return Contest{
                          .ours = [=] { return plain(i); },
                          .peerName = peerName,
                          .peer = [=] { peer(i, cv::noArray()); },
                          .results = {i.acc},
                          .bytes = bytes,
                          .tolerance = tolerance,
                          .references = {{"bare loop", [i] { bareLoop<T, kTwoSources>(i); }}, copyOf(bytes)}};
                    },
                    true});
  }
  rows.push_back({operation + " masked",
                  [=](cv::Size size) {
                    const Images i = makeImages<T>(size);
                    Contest contest{.ours = [=] { return masked(i); },
                                    .peerName = peerName,
                                    .peer = [=] { peer(i, i.mask); },
                                    .results = {i.acc},
                                    .bytes = size.area() * (kSourceBytes + 1 + kAccumulatorBytes),
                                    .tolerance = tolerance};
                    if (plain) contest.references = {{"unmasked", [=] { static_cast<void>(plain(i)); }}};
                    return contest;
                  },
                  true});
}

Row blendRow() {
  return {"AddWeighted 32f of two images", [](cv::Size size) {
            const Images i = makeImages<float>(size);
            const double bytes = size.area() * 3.0 * sizeof(float);
            return Contest{.ours =
                               [i] {
                                 return rvpiAddWeighted_32f_C1R(
                                     pixels<float>(i.src1), step(i.src1), pixels<float>(i.src2), step(i.src2),
                                     pixels<float>(i.acc), step(i.acc), regionSize(i.acc), kAlpha);
                               },
                           .peerName = "addWeighted",
                           .peer =
                               [i] {
                                 cv::Mat dst = i.acc;
                                 const double alpha = static_cast<double>(kAlpha);
                                 cv::addWeighted(i.src1, alpha, i.src2, 1 - alpha, 0, dst);
                               },
                           .results = {i.acc},
                           .bytes = bytes,
                           .tolerance = kRounding,
                           .references = {copyOf(bytes)}};
          }};
}

std::vector<Row> rows() {
  std::vector<Row> all;
#define RVP_ADD_ROWS(TYPES, T, SHAPE, OPERATION, PEER, PEER_NAME, TOLERANCE)                      \
  addRows<T, Shape::SHAPE>(                                                                       \
      all, #OPERATION " " #TYPES, bind<T, Shape::SHAPE, false>(rvpi##OPERATION##_##TYPES##_C1IR), \
      bind<T, Shape::SHAPE, true>(rvpi##OPERATION##_##TYPES##_C1IMR), PEER_NAME, PEER, TOLERANCE)
#define RVP_ADD_OPERATION(SHAPE, OPERATION, PEER, PEER_NAME, BYTE_TOLERANCE)            \
  RVP_ADD_ROWS(8u32f, std::uint8_t, SHAPE, OPERATION, PEER, PEER_NAME, BYTE_TOLERANCE); \
  RVP_ADD_ROWS(16u32f, std::uint16_t, SHAPE, OPERATION, PEER, PEER_NAME, kRounding);    \
  RVP_ADD_ROWS(32f, float, SHAPE, OPERATION, PEER, PEER_NAME, kRounding)

  RVP_ADD_ROWS(8u32f, std::uint8_t, kOneSource, Add, add, "accumulate", 0);
  RVP_ADD_ROWS(16u32f, std::uint16_t, kOneSource, Add, add, "accumulate", 0);
  addRows<float, Shape::kOneSource>(all, "Add 32f", nullptr,
                                    bind<float, Shape::kOneSource, true>(rvpiAdd_32f_C1IMR), "accumulate", add, 0);
  RVP_ADD_OPERATION(kOneSource, AddSquare, addSquare, "accumulateSquare", 0);
  RVP_ADD_OPERATION(kTwoSources, AddProduct, addProduct, "accumulateProduct", 0);
  RVP_ADD_OPERATION(kWeighted, AddWeighted, addWeighted, "accumulateWeighted", kRounding);
#undef RVP_ADD_OPERATION
#undef RVP_ADD_ROWS
  all.push_back(blendRow());
  return all;
}

const bool registered = addFamily("Accumulators", rows());

}  // namespace
}  // namespace rvp::bench
