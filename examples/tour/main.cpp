// The picture tour: runs the library's families on photographs and writes the results as PNG files and one page.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "page.h"
#include "panels.h"
#include "picture.h"
#include "rvpcore.h"
#include "status.h"

namespace {

using tour::Page;
using tour::Picture;
using tour::Subject;

// Photographs are reduced to this longer side: larger ones would make a page of many panels slow to build and
// heavy to send.
constexpr int kLongSide = 1024;

constexpr std::array<const char*, 3> kPhotographs = {"astronaut.png", "coffee.png", "chelsea.png"};

constexpr char kUsage[] =
    "usage: tour [-o DIR] [image...]\n"
    "Runs the library's operations on PNG or JPEG pictures and writes DIR/index.html (DIR: rvpcv-tour), one page\n"
    "that shows the results, with every picture beside it as a PNG file. Without an image it takes the "
    "photographs\n"
    "that come with the library.\n";

struct Arguments {
  std::filesystem::path directory = "rvpcv-tour";
  std::vector<std::filesystem::path> images;
};

Arguments parse(int argc, char** argv) {
  Arguments arguments;
  bool areOptions = true;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (areOptions && (argument == "-h" || argument == "--help")) {
      std::fputs(kUsage, stdout);
      std::exit(EXIT_SUCCESS);
    } else if (areOptions && argument == "-o") {
      if (i + 1 == argc || argv[i + 1][0] == '\0') tour::fail("-o needs a directory");
      arguments.directory = argv[++i];
    } else if (areOptions && argument == "--") {
      areOptions = false;
    } else if (areOptions && argument.starts_with('-')) {
      tour::fail("there is no option " + std::string(argument) + "; tour -h tells what there is");
    } else {
      arguments.images.emplace_back(argument);
    }
  }
  return arguments;
}

// The photographs that come with the library: where the build found them, or near the current directory.
std::vector<std::filesystem::path> ownPhotographs() {
  for (const std::filesystem::path directory : {RVPCV_PHOTOGRAPHS, "examples/images", "images", "../images"}) {
    std::error_code error;
    if (!std::filesystem::exists(directory / kPhotographs[0], error)) continue;
    std::vector<std::filesystem::path> paths;
    paths.reserve(kPhotographs.size());
    for (const char* name : kPhotographs) paths.push_back(directory / name);
    return paths;
  }
  tour::fail("the photographs that come with the library are not to be found; name a picture");
}

// The beginning of the names of a photograph's files: its place in the tour and what is harmless of its own name.
std::string fileKey(std::size_t place, const std::filesystem::path& path) {
  std::string key = std::to_string(place + 1) + "-";
  for (const char c : path.stem().string().substr(0, 40)) {
    const bool isHarmless = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    key += isHarmless ? c : '-';
  }
  return key;
}

std::vector<Subject> loadSubjects(const std::vector<std::filesystem::path>& paths) {
  std::vector<Subject> subjects;
  for (const std::filesystem::path& path : paths) {
    std::string fault;
    const std::optional<Picture> picture = tour::loadPicture(path, fault);
    if (!picture) tour::fail(path.string() + ": " + fault);
    subjects.push_back({path.filename().string(), fileKey(subjects.size(), path), picture->size(),
                        tour::reduced(*picture, kLongSide), subjects.empty()});
  }
  return subjects;
}

}  // namespace

int main(int argc, char** argv) {
  const Arguments arguments = parse(argc, argv);
  const std::vector<Subject> subjects =
      loadSubjects(arguments.images.empty() ? ownPhotographs() : arguments.images);

  // The photographs are small, and a team that waits for its next call would take the processor from everything
  // else.
  tour::check(rvpSetNumThreads(1), "rvpSetNumThreads");
  Page page(arguments.directory);
  for (const Subject& subject : subjects) {
    std::printf("%s, %d x %d\n", subject.name.c_str(), subject.fileSize.width, subject.fileSize.height);
    std::fflush(stdout);
    tour::addStatsPanels(subject, page);
    tour::addBorderPanels(subject, page);
    tour::addFilterPanels(subject, page);
    tour::addFeaturesPanels(subject, page);
    tour::addLinesPanels(subject, page);
    tour::addDistancePanels(subject, page);
    tour::addFloodPanels(subject, page);
    tour::addLabelPanels(subject, page);
    tour::addWatershedPanels(subject, page);
    tour::addMorphPanels(subject, page);
    tour::addReconstructPanels(subject, page);
    tour::addMotionPanels(subject, page);
    tour::addPyramidPanels(subject, page);
    tour::addDetectPanels(subject, page);
    tour::addFacePanels(subject, page);
  }
  std::printf("The tour is ready: %s\n", page.finish(subjects).c_str());
}
