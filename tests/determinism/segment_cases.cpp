// Distances, flood fill, watershed, labels, speckles.
#include "lab.h"

namespace determinism {
namespace {

constexpr RvpiSize kSize = Lab::kSize;

template <class Dst, class Metric>
void chamferType(Lab& lab, const std::string& type, RvpiChamferNorm norm) {
  const auto src = lab.mask();
  for (const int kernel : {3, 5}) {
    Metric metrics[3] = {};
    const std::string stem = "rvpiDistanceTransform_" + std::to_string(kernel) + "x" + std::to_string(kernel) + "_";
    lab.call("rvpiGetDistanceTransformMask_" + suffix<Metric>(), kernel, norm, &metrics[0]);
    const auto dst = lab.blank<Dst>();
    lab.call(stem + type + "_C1R", src, dst, kSize, &metrics[0]);
    lab.keep(dst);
    if constexpr (std::is_same_v<Dst, std::uint8_t>) {
      const auto both = lab.mask();
      lab.call(stem + "8u_C1IR", both, kSize, &metrics[0]);
      lab.keep(both);
    }
  }
}

void distances(Lab& lab) {
  for (const RvpiChamferNorm norm : {0, 1, 2}) {
    chamferType<std::uint8_t, std::int32_t>(lab, "8u", norm);
    chamferType<std::uint16_t, std::int32_t>(lab, "8u16u", norm);
    chamferType<float, float>(lab, "8u32f", norm);
  }
  for (const float radius : {0.0F, 5.0F}) {
    const auto src = lab.mask();
    const auto dst = lab.blank<float>();
    const int bytes = lab.size("rvpiFastMarchingGetBufferSize_8u32f_C1R", kSize);
    lab.call("rvpiFastMarching_8u32f_C1R", src, dst, kSize, radius, lab.block(bytes));
    lab.keep(dst);
  }
}

template <class T>
void floodType(Lab& lab) {
  const RvpiPoint seed = {kSize.width / 2, kSize.height / 2};
  for (const int channels : {1, 3}) {
    const std::string type = suffix<T>() + "_C" + std::to_string(channels) + "IR";
    // Large regions: few bits of a slope are left.
    const auto picture = [&] {
      return lab.image<T>(kSize, channels, [](int y, int x, int) {
        return static_cast<T>((x + y) / 64 + (x % 13 == 0 && y % 7 != 0 ? 40 : 0));
      });
    };
    const T value[3] = {90, 91, 92};
    const T delta[3] = {2, 2, 2};
    RvpiFilledRegion region = {};
    int bytes = lab.size("rvpiFloodFillGetSize", kSize);
    const auto fill = [&](const std::string& kind, auto... deltas) {
      const auto image = picture();
      auto* const buffer = lab.block(bytes);
      if (channels == 1)
        lab.call("rvpiFloodFill_" + kind + type, image, kSize, seed, value[0], *deltas..., &region, buffer);
      else
        lab.call("rvpiFloodFill_" + kind + type, image, kSize, seed, &value[0], deltas..., &region, buffer);
      lab.keep(image);
      lab.keep(&region.area, 1);
      lab.keep(&region.rect, 1);
    };
    for (const std::string kind : {"4Con_", "8Con_"}) fill(kind);
    if constexpr (!std::is_same_v<T, std::int32_t>) {
      for (const std::string kind : {"Range4Con_", "Range8Con_"}) fill(kind, &delta[0], &delta[0]);
      bytes = lab.size("rvpiFloodFillGetSize_Grad", kSize);
      for (const std::string kind : {"Grad4Con_", "Grad8Con_"}) fill(kind, &delta[0], &delta[0]);
    } else {
      break;
    }
  }
}

void flood(Lab& lab) {
  floodType<std::uint8_t>(lab);
  floodType<std::uint16_t>(lab);
  floodType<std::int32_t>(lab);
  floodType<float>(lab);
}

// A marker in every field of a grid.
template <class T>
Image<T> markers(Lab& lab) {
  return lab.image<T>(kSize, 1, [](int y, int x, int) {
    return static_cast<T>(x % 80 == 40 && y % 80 == 40 ? 1 + x / 80 + y / 80 * 9 : 0);
  });
}

template <class Src, class Marker>
void watershedType(Lab& lab, const std::string& type) {
  const auto src = lab.picture<Src>();
  constexpr RvpiSegmentFlags kFlags[] = {rvpSegmentQueue, rvpSegmentDistance,
                                         rvpSegmentDistance | rvpSegmentBoundaries8};
  for (const RvpiSegmentFlags flags : kFlags) {
    if (flags == rvpSegmentQueue && std::is_same_v<Src, float>) continue;
    for (const RvpiWatershedNeighbours kind :
         {rvpWatershed8, rvpWatershed4, rvpWatershedChamfer, rvpWatershedFront}) {
      if (flags == rvpSegmentQueue && kind > rvpWatershed4) continue;
      const auto marker = markers<Marker>(lab);
      const int bytes = lab.size("rvpiSegmentWatershedGetBufferSize_" + type + "_C1R", kSize);
      lab.call("rvpiSegmentWatershed_" + type + "_C1IR", src, marker, kSize, kind, flags, lab.block(bytes));
      // Which of two markers gets a pixel that both reach at the same level depends on the number of threads.
      if (flags == rvpSegmentQueue || std::is_same_v<Src, float>)
        lab.keep(marker);
      else
        lab.keepForTeam(marker);
    }
  }
}

void watershed(Lab& lab) {
  watershedType<std::uint8_t, std::uint8_t>(lab, "8u");
  watershedType<std::uint8_t, std::uint16_t>(lab, "8u16u");
  watershedType<float, std::uint16_t>(lab, "32f16u");
}

template <class T>
void bounds(Lab& lab) {
  for (const RvpiConnectivity norm : {rvpConnect8, rvpConnect4}) {
    const auto marker = lab.image<T>(kSize, 1, [](int y, int x, int) { return static_cast<T>(x / 9 + y / 11); });
    lab.call("rvpiBoundSegments_" + suffix<T>() + "_C1IR", marker, kSize, T{255}, norm);
    lab.keep(marker);
  }
}

void gradients(Lab& lab) {
  for (const int channels : {1, 3}) {
    const std::string form = "8u_C" + std::to_string(channels);
    const auto src = lab.picture<std::uint8_t>(channels);
    for (const RvpiConnectivity norm : {rvpConnect8, rvpConnect4}) {
      const auto marker = markers<std::uint8_t>(lab);
      const int bytes = lab.size("rvpiSegmentGradientGetBufferSize_" + form + "R", kSize);
      lab.call("rvpiSegmentGradient_" + form + "IR", src, marker, kSize, norm,
               RvpiSegmentFlags{rvpSegmentBoundaries4}, lab.block(bytes));
      lab.keep(marker);
    }
  }
  bounds<std::uint8_t>(lab);
  bounds<std::uint16_t>(lab);
}

template <class T>
void specklesType(Lab& lab, RvpDataType type) {
  const auto image = lab.picture<T>();
  const int bytes = lab.size("rvpiMarkSpecklesGetBufferSize", kSize, type, 1);
  lab.call("rvpiMarkSpeckles_" + suffix<T>() + "_C1IR", image, kSize, T{0}, 40, T{2}, RvpiConnectivity{rvpConnect4},
           lab.block(bytes));
  lab.keep(image);
}

void labels(Lab& lab) {
  for (const RvpiConnectivity norm : {rvpConnect8, rvpConnect4}) {
    const auto src = lab.mask();
    const auto bytes8 = lab.mask();
    const auto words = lab.image<std::uint16_t>(
        kSize, 1, [](int y, int x, int) { return static_cast<std::uint16_t>(x % 5 < 3 && y % 7 < 5 ? 9 : 0); });
    const auto dst = lab.blank<std::int32_t>();
    int numbers[3] = {};
    int bytes = lab.size("rvpiLabelMarkersGetBufferSize_8u_C1R", kSize);
    lab.call("rvpiLabelMarkers_8u_C1IR", bytes8, kSize, 1, 250, norm, &numbers[0], lab.block(bytes));
    bytes = lab.size("rvpiLabelMarkersGetBufferSize_16u_C1R", kSize);
    lab.call("rvpiLabelMarkers_16u_C1IR", words, kSize, 1, 60000, norm, &numbers[1], lab.block(bytes));
    bytes = lab.size("rvpiLabelMarkersGetBufferSize_8u32s_C1R", kSize);
    lab.call("rvpiLabelMarkers_8u32s_C1R", src, dst, kSize, 1, 1000000, norm, &numbers[2], lab.block(bytes));
    lab.keep(bytes8, words, dst);
    lab.keep(numbers, 3);
  }
  specklesType<std::uint8_t>(lab, rvp8u);
  specklesType<std::uint16_t>(lab, rvp16u);
  specklesType<std::int16_t>(lab, rvp16s);
  specklesType<float>(lab, rvp32f);
}

}  // namespace

const std::vector<Case> kSegmentCases = {{"distances", distances},
                                         {"flood fill", flood},
                                         {"watershed", watershed},
                                         {"gradient segments", gradients},
                                         {"labels and speckles", labels}};

}  // namespace determinism
