// Erosion, dilation, their compounds, 1-bit images and reconstruction.
#include "lab.h"

namespace determinism {
namespace {

constexpr RvpiSize kSize = Lab::kSize;
constexpr RvpiSize kMaskSize = {9, 7};

// A full rectangle, and a mask with holes.
std::vector<std::vector<std::uint8_t>> masks() {
  std::vector<std::uint8_t> full(63, 1);
  std::vector<std::uint8_t> holed(63);
  for (std::size_t i = 0; i < holed.size(); ++i) holed[i] = i % 5 < 3 ? 1 : 0;
  return {full, holed};
}

// Calls every operation of `names`, all of which share a state. Images of one bit have bit offsets, and three or
// four channels take a pointer to the border's value.
template <class T>
void morphType(Lab& lab, const std::string& type, int channels, const std::string& stem,
               const std::vector<std::string>& names) {
  const bool isBits = type == "1u";
  const RvpiSize bytesSize = isBits ? RvpiSize{(kSize.width + 9) / 8, kSize.height} : kSize;
  const std::string form = "_" + type + "_C" + std::to_string(channels) + "R";
  for (const auto& mask : masks()) {
    lab.release();
    const auto src = lab.picture<T>(channels, 0, bytesSize);
    int specBytes = 0;
    int bufferBytes = lab.size(stem + "GetSize" + form, kSize, kMaskSize, &specBytes);
    auto* const spec = static_cast<void*>(lab.block(specBytes));
    auto* const buffer = lab.block(bufferBytes);
    lab.call(stem + "Init" + form, kSize, mask.data(), kMaskSize, spec, buffer);
    for (const std::string& name : names) {
      const auto dst = lab.blank<T>(channels, bytesSize);
      const T values[4] = {1, 0, 1, 0};
      const RvpiBorderType border = rvpBorderRepl;
      if (isBits)
        lab.call(name + form, src, 1, dst, 2, kSize, border, std::uint8_t{1}, spec, buffer);
      else if (channels == 1)
        lab.call(name + form, src, dst, kSize, border, values[0], spec, buffer);
      else
        lab.call(name + form, src, dst, kSize, border, &values[0], spec, buffer);
      lab.keep(dst);
    }
  }
}

void morphAll(Lab& lab, const std::string& stem, const std::vector<std::string>& names) {
  morphType<std::uint8_t>(lab, "1u", 1, stem, names);
  for (const int channels : {1, 3, 4}) {
    morphType<std::uint8_t>(lab, "8u", channels, stem, names);
    morphType<float>(lab, "32f", channels, stem, names);
  }
  morphType<std::uint16_t>(lab, "16u", 1, stem, names);
  morphType<std::int16_t>(lab, "16s", 1, stem, names);
}

void extrema(Lab& lab) { morphAll(lab, "rvpiMorphologyBorder", {"rvpiErodeBorder", "rvpiDilateBorder"}); }

void compounds(Lab& lab) {
  morphAll(lab, "rvpiMorphAdv",
           {"rvpiMorphOpenBorder", "rvpiMorphCloseBorder", "rvpiMorphTophatBorder", "rvpiMorphBlackhatBorder",
            "rvpiMorphGradientBorder"});
}

template <class T>
void reconstructType(Lab& lab, RvpDataType type) {
  for (const RvpiConnectivity norm : {rvpConnect8, rvpConnect4}) {
    for (const bool dilates : {true, false}) {
      const auto limit = lab.picture<T>();
      const auto marker = lab.image<T>(kSize, 1, [&](int y, int x, int) {
        const T value = limit.data[static_cast<std::ptrdiff_t>(limit.step) / static_cast<int>(sizeof(T)) * y + x];
        const bool isSeed = x % 97 == 5 && y % 61 == 7;
        return isSeed ? value : static_cast<T>(dilates ? 0 : std::is_same_v<T, std::uint8_t> ? 255 : 30000);
      });
      const int bytes = lab.size("rvpiMorphReconstructGetBufferSize", kSize, type, 1);
      lab.call(std::string("rvpiMorphReconstruct") + (dilates ? "Dilate_" : "Erode_") + suffix<T>() + "_C1IR",
               limit, marker, kSize, lab.block(bytes), norm);
      lab.keep(marker);
    }
  }
}

void reconstruction(Lab& lab) {
  reconstructType<std::uint8_t>(lab, rvp8u);
  reconstructType<std::uint16_t>(lab, rvp16u);
  reconstructType<float>(lab, rvp32f);
  reconstructType<double>(lab, rvp64f);
}

}  // namespace

const std::vector<Case> kMorphCases = {
    {"erosion and dilation", extrema}, {"compound operations", compounds}, {"reconstruction", reconstruction}};

}  // namespace determinism
