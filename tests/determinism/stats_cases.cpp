// Accumulators, masked norms and filters.
#include "lab.h"

namespace determinism {
namespace {

constexpr RvpiSize kSize = Lab::kSize;

template <class T>
void accumulateType(Lab& lab) {
  const auto a = lab.picture<T>();
  const auto b = lab.picture<T>(1, 1);
  const auto mask = lab.mask();
  const auto sum = lab.picture<float>(1, 2);
  const std::string type = suffix<T>() + (std::is_same_v<T, float> ? "" : "32f");
  if constexpr (!std::is_same_v<T, float>) lab.call("rvpiAdd_" + type + "_C1IR", a, sum, kSize);
  lab.call("rvpiAddSquare_" + type + "_C1IR", a, sum, kSize);
  lab.call("rvpiAddProduct_" + type + "_C1IR", a, b, sum, kSize);
  lab.call("rvpiAddWeighted_" + type + "_C1IR", b, sum, kSize, 0.3F);
  lab.keep(sum);
  lab.call("rvpiAdd_" + type + "_C1IMR", b, mask, sum, kSize);
  lab.call("rvpiAddSquare_" + type + "_C1IMR", b, mask, sum, kSize);
  lab.call("rvpiAddProduct_" + type + "_C1IMR", a, b, mask, sum, kSize);
  lab.call("rvpiAddWeighted_" + type + "_C1IMR", a, mask, sum, kSize, 0.3F);
  lab.keep(sum);
}

void accumulators(Lab& lab) {
  accumulateType<std::uint8_t>(lab);
  accumulateType<std::uint16_t>(lab);
  accumulateType<float>(lab);
  const auto a = lab.picture<float>();
  const auto b = lab.picture<float>(1, 1);
  const auto sum = lab.blank<float>();
  lab.call("rvpiAddWeighted_32f_C1R", a, b, sum, kSize, 0.3F);
  lab.keep(sum);
}

template <class T>
void normType(Lab& lab) {
  const auto mask = lab.mask();
  for (const std::string kind : {"Inf", "L1", "L2"}) {
    double values[6] = {};
    for (const int channels : {1, 3}) {
      const auto a = lab.picture<T>(channels);
      const auto b = lab.picture<T>(channels, 1);
      double* const value = values + channels - 1;
      const auto both = [&](const std::string& form, auto... rest) {
        lab.call("rvpiNorm_" + form, a, mask, kSize, rest..., value);
        lab.call("rvpiNormDiff_" + form, a, b, mask, kSize, rest..., value + 1);
        lab.call("rvpiNormRel_" + form, a, b, mask, kSize, rest..., value + 2);
      };
      const std::string name = kind + "_" + suffix<T>();
      if (channels == 1)
        both(name + "_C1MR");
      else
        both(name + "_C3CMR", 2);
    }
    // Each thread of a team adds up its own rows.
    if (std::is_same_v<T, float> && kind != "Inf")
      lab.keepForTeam(values, 6);
    else
      lab.keep(values, 6);
  }
}

void norms(Lab& lab) {
  normType<std::uint8_t>(lab);
  normType<std::uint16_t>(lab);
  normType<float>(lab);
}

constexpr int kTaps = 5;
constexpr RvpiSize kPadded = {kSize.width, kSize.height + kTaps - 1};

// The row stage into an image, the column stage out of it. The types of a stage's integer forms have a divisor.
template <class Src, class Middle, class Dst>
void pipelineTypes(Lab& lab, const std::string& rowType, const std::string& columnType) {
  using Kernel = std::conditional_t<std::is_same_v<Src, float>, float, std::int16_t>;
  const Kernel kernel[kTaps] = {1, 4, 6, 4, 1};
  for (const int channels : {1, 3}) {
    const std::string form = "_C" + std::to_string(channels) + "R";
    const auto src = lab.picture<Src>(channels);
    const auto middle = lab.blank<Middle>(channels, kPadded);
    const auto dst = lab.blank<Dst>(channels);
    const Src border[3] = {1, 2, 3};
    std::vector<Middle*> rows;
    for (int y = 0; y < kPadded.height; ++y)
      rows.push_back(middle.data + static_cast<std::ptrdiff_t>(middle.step) / static_cast<int>(sizeof(Middle)) * y);
    const int bytes = lab.size("rvpiFilterRowBorderPipelineGetBufferSize_" + rowType + form, kSize, kTaps);
    const auto row = [&](auto value, auto... divisor) {
      lab.call("rvpiFilterRowBorderPipeline_" + rowType + form, src,
               static_cast<Middle* const*>(rows.data() + kTaps / 2), kSize, &kernel[0], kTaps, kTaps / 2,
               RvpiBorderType{rvpBorderMirror}, value, divisor..., lab.block(bytes));
    };
    int columnBytes = lab.size("rvpiFilterColumnPipelineGetBufferSize_" + columnType + form, kSize, kTaps);
    const auto column = [&](auto... divisor) {
      lab.call("rvpiFilterColumnPipeline_" + columnType + form,
               const_cast<const Middle* const*>(static_cast<Middle* const*>(rows.data())), dst, kSize, &kernel[0],
               kTaps, divisor..., lab.block(columnBytes));
    };
    if constexpr (std::is_same_v<Src, float>) {
      if (channels == 1)
        row(border[0]);
      else
        row(&border[0]);
      column();
    } else {
      if (channels == 1)
        row(border[0], 7);
      else
        row(&border[0], 7);
      column(7);
    }
    lab.keep(middle, dst);
  }
}

void filters(Lab& lab) {
  pipelineTypes<float, float, float>(lab, "32f", "32f");
  pipelineTypes<std::uint8_t, std::int16_t, std::uint8_t>(lab, "8u16s", "16s8u");
  pipelineTypes<std::int16_t, std::int16_t, std::int8_t>(lab, "16s", "16s8s");
  pipelineTypes<std::int16_t, std::int16_t, std::int16_t>(lab, "16s", "16s");
  pipelineTypes<std::uint16_t, std::uint16_t, std::uint16_t>(lab, "16u", "16u");
  pipelineTypes<std::int16_t, std::int16_t, std::int16_t>(lab, "Low_16s", "Low_16s");
  for (const int mask : {33, 55}) {
    const auto src = lab.picture<float>();
    const auto dst = lab.blank<float>();
    const int bytes = lab.size("rvpiFilterLowpassGetBufferSize_32f_C1R", kSize, mask);
    lab.call("rvpiFilterLowpassBorder_32f_C1R", src, dst, kSize, mask, RvpiBorderType{rvpBorderRepl}, 0.0F,
             lab.block(bytes));
    lab.keep(dst);
  }
}

}  // namespace

const std::vector<Case> kStatsCases = {{"accumulators", accumulators}, {"norms", norms}, {"filters", filters}};

}  // namespace determinism
