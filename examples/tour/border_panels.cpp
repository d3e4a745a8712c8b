// Borders: what lies outside a region, in each mode. How an image is extended is no operation of the interface but
// a part of every filter; the tour reaches into the library to show what the modes mean.
#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "filter/border.h"
#include "panels.h"
#include "status.h"
#include "stopwatch.h"

namespace tour {
namespace {

using rvp::n8::borderOf;
using rvp::n8::ExtendedImage;
using rvp::n8::rvpiCopyConstBorder;
using rvp::n8::rvpiCopyMirrorBorder;
using rvp::n8::rvpiCopyReplicateBorder;

constexpr int kRuns = 15;

// The tile with `border` pixels around it on every side, made by `copy`, and the tile outlined.
template <class Copy>
Figure bordered(const std::string& name, const std::string& caption, int tile, int border, Copy copy,
                Stopwatch& time) {
  Picture result(tile + 2 * border, tile + 2 * border, 3);
  for (int run = 0; run < kRuns; ++run) time.lap([&] { copy(result); });
  drawOutline(result, {border, border, tile, tile}, std::max(2, tile / 64), kMark);
  return {name, caption, result};
}

}  // namespace

void addBorderPanels(const Subject& subject, Page& page) {
  const Picture photograph = inColour(subject.picture);
  const int shortSide = std::min(photograph.width(), photograph.height());
  // The tile lies where portraits have a face, and with the border around it stays inside the photograph.
  const int tile = shortSide / 4;
  const int border = tile / 2;
  const int x = photograph.width() * 9 / 20 - tile / 2;
  const int y = photograph.height() * 7 / 25 - tile / 2;
  const RvpiSize tileSize = {tile, tile};
  const std::uint8_t* const first = photograph.at(x, y);
  constexpr std::array<std::uint8_t, 3> kConstant = {205, 180, 150};

  Picture overview = photograph;
  drawOutline(overview, {x, y, tile, tile}, std::max(2, shortSide / 160), kMark);

  Stopwatch constant;
  Stopwatch replicate;
  Stopwatch mirror;
  Stopwatch inMemory;
  Stopwatch leftInMemory;
  std::vector<Figure> figures = {{"tile", "The photograph, with the tile", overview}};
  figures.push_back(bordered(
      "constant", "Constant", tile, border,
      [&](Picture& result) {
        check(rvpiCopyConstBorder<std::uint8_t, 3>(first, photograph.step(), tileSize, result.data(), result.step(),
                                                   result.size(), border, border, kConstant.data()),
              "rvpiCopyConstBorder_8u_C3R");
      },
      constant));
  figures.push_back(bordered(
      "replicate", "Replicate: the nearest edge pixel", tile, border,
      [&](Picture& result) {
        check(rvpiCopyReplicateBorder<std::uint8_t, 3>(first, photograph.step(), tileSize, result.data(),
                                                       result.step(), result.size(), border, border),
              "rvpiCopyReplicateBorder_8u_C3R");
      },
      replicate));
  figures.push_back(bordered(
      "mirror", "Mirror: reflected about the edge pixels", tile, border,
      [&](Picture& result) {
        check(rvpiCopyMirrorBorder<std::uint8_t, 3>(first, photograph.step(), tileSize, result.data(),
                                                    result.step(), result.size(), border, border),
              "rvpiCopyMirrorBorder_8u_C3R");
      },
      mirror));
  // A filter reads its source through an extended image, which knows the sides that are in memory.
  const auto extended = [&](RvpiBorderType type) {
    return [&, type](Picture& result) {
      const ExtendedImage<std::uint8_t, 3> image = {first, photograph.step(), tileSize, borderOf(type), nullptr};
      image.readTile({-border, -border, result.width(), result.height()}, result.data(), result.step());
    };
  };
  figures.push_back(bordered("in-memory", "In memory: what lies around the tile", tile, border,
                             extended(rvpBorderInMem), inMemory));
  figures.push_back(bordered("left-in-memory", "Left side in memory, mirror elsewhere", tile, border,
                             extended(rvpBorderMirror | rvpBorderInMemLeft), leftInMemory));

  const Panel panel = {
      "Borders and linear filters",
      "borders",
      "Border modes",
      {"rvpBorderConst", "rvpBorderRepl", "rvpBorderMirror", "rvpBorderInMem", "rvpBorderInMemLeft"},
      "A filter needs pixels outside its region, and the border mode says what they are. Inside the outline is the "
      "same tile each time; outside is what a filter with a very large mask would read there."};
  page.add(panel, subject,
           {{{"tile", std::to_string(tile) + " × " + std::to_string(tile) + " pixels"},
             {"border", std::to_string(border) + " pixels"},
             {"value", "(205, 180, 150)"}},
            {{"constant", constant.median()},
             {"replicate", replicate.median()},
             {"mirror", mirror.median()},
             {"in memory", inMemory.median()},
             {"left in memory", leftInMemory.median()}},
            std::move(figures)});
}

}  // namespace tour
