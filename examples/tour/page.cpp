#include "page.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <set>
#include <string_view>
#include <utility>

#include "page_style.h"
#include "rvpcore.h"
#include "rvpcv.h"
#include "status.h"

namespace tour {
namespace {

// Longer side of the pictures that the page carries, twice what a screen shows: of the first photograph, which is
// in view at once, and of the others. With some hundred pictures the page still goes into a mail.
constexpr int kCarriedFirst = 560;
constexpr int kCarriedOther = 400;
// Of 100; with less, blocks show in soft shadows.
constexpr int kJpegQuality = 88;
// Pictures up to this width are shown as squares of colour rather than as a blur.
constexpr int kShownAsPixels = 128;

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string base64(std::string_view bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  result.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k)
      group = group << 8 | (k < count ? static_cast<std::uint8_t>(bytes[i + k]) : 0u);
    for (std::size_t k = 0; k < 4; ++k) result += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
  }
  return result;
}

bool hasFewColours(const Picture& picture) {
  constexpr std::size_t kFew = 64;
  std::set<std::uint32_t> colours;
  const std::uint8_t* pixel = picture.data();
  const std::uint8_t* const end = pixel + picture.elements().size();
  for (; pixel != end && colours.size() <= kFew; pixel += picture.channels()) {
    std::uint32_t colour = 0;
    for (int c = 0; c < picture.channels(); ++c) colour = colour << 8 | pixel[c];
    colours.insert(colour);
  }
  return colours.size() <= kFew;
}

std::string milliseconds(double time) {
  char text[32];
  std::snprintf(text, sizeof text, "%.*f ms", time < 1.0 ? 3 : time < 10.0 ? 2 : time < 100.0 ? 1 : 0, time);
  return text;
}

std::string sizeText(RvpiSize size) { return std::to_string(size.width) + " × " + std::to_string(size.height); }

std::string element(const char* tag, const std::string& text) {
  return std::string("<") + tag + ">" + escaped(text) + "</" + tag + ">";
}

std::string about(const std::string& term, const std::string& description) {
  return element("dt", term) + element("dd", description) + "\n";
}

std::string fact(const std::string& term, const std::string& description, const char* kind) {
  return std::string("<div") + kind + ">" + element("dt", term) + element("dd", description) + "</div>\n";
}

std::string legendHtml(const Legend& legend) {
  std::string html = "<div class=\"legend\"><i style=\"background:linear-gradient(90deg";
  for (const Rgb& colour : legend.map) {
    html += ",rgb(" + std::to_string(colour.red) + " " + std::to_string(colour.green) + " " +
            std::to_string(colour.blue) + ")";
  }
  html += ")\"></i><div>";
  for (const std::string& label : legend.labels) html += "<span>" + escaped(label) + "</span>";
  return html + "</div>" + escaped(legend.title) + "</div>";
}

std::string rowHtml(const char* cell, const std::vector<std::string>& row) {
  std::string html = "<tr>";
  for (const std::string& text : row) html += element(cell, text);
  return html + "</tr>\n";
}

std::string tableHtml(const Table& table) {
  std::string html = "<div class=\"table\"><table>\n<thead>" + rowHtml("th", table.head) + "</thead><tbody>\n";
  for (const std::vector<std::string>& row : table.rows) html += rowHtml("td", row);
  return html + "</tbody></table></div>\n";
}

}  // namespace

Page::Page(std::filesystem::path directory) : directory_(std::move(directory)) {
  std::error_code error;
  std::filesystem::create_directories(directory_, error);
  if (error) fail(directory_.string() + ": the directory cannot be made: " + error.message());
}

void Page::add(const Panel& panel, const Subject& subject, const Strip& strip) {
  PlacedStrip placed{subject.name, subject.picture.size(), strip.parameters, strip.times, {}, strip.table};
  for (const Figure& figure : strip.figures) {
    const std::size_t known = pictures_.size();
    const std::size_t picture = embed(figure.picture, subject.first ? kCarriedFirst : kCarriedOther);
    placed.figures.push_back({picture, figure.caption, figure.legend});
    // A picture that was shown before has its file already.
    if (picture < known) continue;
    const std::string name = figure.name.empty() ? "" : "-" + panel.id + "-" + figure.name;
    write(subject.key + name + ".png", encodePng(figure.picture));
  }
  place(panel).strips.push_back(std::move(placed));
}

Page::PlacedPanel& Page::place(const Panel& panel) {
  auto subsystem = std::ranges::find(subsystems_, panel.subsystem, &Subsystem::title);
  if (subsystem == subsystems_.end()) subsystem = subsystems_.insert(subsystem, {panel.subsystem, {}});
  std::vector<PlacedPanel>& panels = subsystem->panels;
  auto placed = std::ranges::find(panels, panel.id, [](const PlacedPanel& other) { return other.panel.id; });
  if (placed == panels.end()) placed = panels.insert(placed, {panel, {}});
  return *placed;
}

// Photographs are carried as JPEG; drawings of few colours are smaller, and sharper, as PNG.
std::size_t Page::embed(const Picture& picture, int longSide) {
  const Picture carried = reduced(picture, longSide);
  const std::string uri = hasFewColours(carried)
                              ? "data:image/png;base64," + base64(encodePng(carried))
                              : "data:image/jpeg;base64," + base64(encodeJpeg(carried, kJpegQuality));
  const auto [entry, isNew] = pictureByUri_.try_emplace(uri, pictures_.size());
  if (isNew) pictures_.push_back({uri, carried.size(), 0});
  ++pictures_[entry->second].uses;
  return entry->second;
}

void Page::write(const std::string& name, const std::string& bytes) const {
  const std::filesystem::path path = directory_ / name;
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (bytes.empty() || !file) fail(path.string() + ": the file cannot be written");
}

std::string Page::contents() const {
  std::string html = "<nav aria-label=\"Contents\"><div>\n";
  for (const Subsystem& subsystem : subsystems_) {
    html += "<section>" + element("h2", subsystem.title) + "<ul>\n";
    for (const PlacedPanel& placed : subsystem.panels)
      html += "<li><a href=\"#" + placed.panel.id + "\">" + escaped(placed.panel.title) + "</a></li>\n";
    html += "</ul></section>\n";
  }
  return html + "</div></nav>\n";
}

std::string Page::pictureHtml(const PlacedFigure& figure) const {
  const Embedded& picture = pictures_[figure.picture];
  const std::string width = std::to_string(picture.size.width);
  const std::string height = std::to_string(picture.size.height);
  const std::string kind = picture.size.width <= kShownAsPixels ? " class=\"small\"" : "";
  const std::string words = escaped(figure.caption);
  if (picture.uses > 1) {
    return "<svg" + kind + " viewBox=\"0 0 " + width + " " + height + "\" role=\"img\" aria-label=\"" + words +
           "\"><use href=\"#picture-" + std::to_string(figure.picture) + "\"/></svg>";
  }
  return "<img" + kind + " width=\"" + width + "\" height=\"" + height + "\" alt=\"" + words + "\" src=\"" +
         picture.dataUri + "\">";
}

std::string Page::figureHtml(const PlacedFigure& figure) const {
  return "<figure>" + pictureHtml(figure) + element("figcaption", figure.caption) +
         (figure.legend ? legendHtml(*figure.legend) : "") + "</figure>\n";
}

std::string Page::factsHtml(const PlacedStrip& strip) const {
  std::string html = "<dl class=\"facts\">\n";
  for (const Parameter& parameter : strip.parameters) html += fact(parameter.name, parameter.value, "");
  for (const Timing& time : strip.times)
    html += fact(time.what, milliseconds(time.milliseconds), " class=\"time\"");
  return html + "</dl>\n";
}

std::string Page::figuresHtml(const PlacedStrip& strip) const {
  // Three and six go in threes, two and four in twos, so that none is left alone in a row.
  std::string html =
      strip.figures.size() % 3 == 0 ? "<div class=\"figures threes\">\n" : "<div class=\"figures\">\n";
  for (const PlacedFigure& figure : strip.figures) html += figureHtml(figure);
  return html + "</div>\n" + (strip.table ? tableHtml(*strip.table) : "");
}

std::string Page::panelHtml(const PlacedPanel& placed) const {
  const Panel& panel = placed.panel;
  const PlacedStrip& first = placed.strips.front();
  std::string html = "<article class=\"panel\" id=\"" + panel.id + "\">\n<div class=\"words\">" +
                     element("h3", panel.title) + element("p", panel.text) + "\n<ul class=\"operations\">";
  for (const std::string& operation : panel.operations) html += "<li>" + element("code", operation) + "</li>";
  html += "</ul>\n" + factsHtml(first) + "</div>\n<div>" + figuresHtml(first);
  for (std::size_t i = 1; i < placed.strips.size(); ++i) {
    const PlacedStrip& strip = placed.strips[i];
    html += "<details><summary>The same on " + escaped(strip.subject) + ", " + sizeText(strip.size) +
            "</summary>\n" + factsHtml(strip) + figuresHtml(strip) + "</details>\n";
  }
  return html + "</div>\n</article>\n";
}

std::filesystem::path Page::finish(const std::vector<Subject>& subjects) {
  const RvpLibraryVersion& version = *rvpcvGetLibVersion();
  const int threads = rvpGetNumThreads();
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<title>rvpCV picture tour</title>\n<style>" +
      std::string(kPageStyle) + "</style>\n</head>\n<body>\n";
  html +=
      "<header>\n<h1>rvpCV picture tour</h1>\n"
      "<p>What the library's operations do to a photograph. Each panel names its operations and parameters, shows "
      "the result beside its input, and tells how long the calls took.</p>\n<dl class=\"about\">\n";
  html += about("Library", std::string(version.Name) + ", " + version.Version);
  html += about("Threads", std::to_string(threads));
  html += element("dt", subjects.size() == 1 ? "Picture" : "Pictures") + "<dd>";
  for (const Subject& subject : subjects) {
    const bool isWhole = subject.picture.width() == subject.fileSize.width;
    html += escaped(subject.name + ", " + sizeText(subject.fileSize) +
                    (isWhole ? "" : ", reduced to " + sizeText(subject.picture.size())));
    html += subject.picture.channels() == 1 ? ", gray<br>\n" : "<br>\n";
  }
  html += "</dd>\n</dl>\n" + contents() + "</header>\n<main>\n";

  std::string carried;
  for (std::size_t i = 0; i < pictures_.size(); ++i) {
    if (pictures_[i].uses < 2) continue;
    carried += "<image id=\"picture-" + std::to_string(i) + "\" width=\"" +
               std::to_string(pictures_[i].size.width) + "\" height=\"" + std::to_string(pictures_[i].size.height) +
               "\" href=\"" + pictures_[i].dataUri + "\"/>\n";
  }
  if (!carried.empty())
    html += "<svg class=\"carried\" aria-hidden=\"true\"><defs>\n" + carried + "</defs></svg>\n";

  for (const Subsystem& subsystem : subsystems_) {
    html += "<section class=\"subsystem\">" + element("h2", subsystem.title) + "\n";
    for (const PlacedPanel& panel : subsystem.panels) html += panelHtml(panel);
    html += "</section>\n";
  }
  html +=
      "</main>\n<footer><p>A time is the median over the frames of a stream or over several runs, and counts the "
      "library's calls alone. The pictures lie in full size beside this page as PNG files; the page itself needs "
      "none of them.</p></footer>\n</body>\n</html>\n";
  write("index.html", html);
  return std::filesystem::absolute(directory_ / "index.html").lexically_normal();
}

}  // namespace tour
