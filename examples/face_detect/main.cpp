// Finds faces, or whatever else a cascade was trained for, in a picture and draws a frame around each.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "cascade.h"
#include "detector.h"
#include "tour/drawing.h"
#include "tour/picture.h"
#include "tour/status.h"

namespace {

using tour::fail;
using tour::Picture;

// Larger pictures are reduced to this longer side first: faces in them are large as well.
constexpr int kLongSide = 1600;

constexpr char kUsage[] =
    "usage: face_detect [-c CASCADE] [-n NEIGHBOURS] [-o OUTPUT] PICTURE\n"
    "Finds faces in a PNG or JPEG picture, lists them as x, y, width and height, and writes the picture with a\n"
    "frame around each to OUTPUT (faces.png). CASCADE is an XML file of a boosted cascade of Haar features, as\n"
    "Debian's package opencv-data has them; the one for frontal faces is found if that package was there when "
    "this\n"
    "program was built. A face needs more than NEIGHBOURS (3) windows that agree on it.\n";

struct Arguments {
  std::filesystem::path cascade = RVPCV_CASCADE;
  std::filesystem::path output = "faces.png";
  std::filesystem::path picture;
  faces::Settings settings;
};

int wholeNumber(std::string_view text, int greatest) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < 0 || number > greatest)
    fail(std::string(text) + " is no whole number from 0 to " + std::to_string(greatest));
  return number;
}

Arguments parse(int argc, char** argv) {
  Arguments arguments;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "-h" || argument == "--help") {
      std::fputs(kUsage, stdout);
      std::exit(EXIT_SUCCESS);
    } else if (argument == "-c" || argument == "-n" || argument == "-o") {
      if (i + 1 == argc) fail(std::string(argument) + " needs a value");
      const char* value = argv[++i];
      if (argument == "-c") arguments.cascade = value;
      if (argument == "-o") arguments.output = value;
      if (argument == "-n") arguments.settings.neighbours = wholeNumber(value, 1000);
    } else if (argument.starts_with('-')) {
      fail("there is no option " + std::string(argument) + "; face_detect -h tells what there is");
    } else if (arguments.picture.empty()) {
      arguments.picture = argument;
    } else {
      fail("more than one picture");
    }
  }
  if (arguments.picture.empty()) fail("no picture is named; face_detect -h tells how");
  if (arguments.cascade.empty()) fail("no cascade file was found (Debian: package opencv-data); name one with -c");
  return arguments;
}

void write(const Picture& picture, const std::filesystem::path& path) {
  const std::string bytes = tour::encodePng(picture);
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (bytes.empty() || !file) fail(path.string() + ": the file cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
  const Arguments arguments = parse(argc, argv);
  std::string fault;
  const std::optional<faces::Cascade> cascade = faces::readCascade(arguments.cascade, fault);
  if (!cascade) fail(arguments.cascade.string() + ": " + fault);
  const std::optional<Picture> loaded = tour::loadPicture(arguments.picture, fault);
  if (!loaded) fail(arguments.picture.string() + ": " + fault);
  Picture picture = tour::inColour(tour::reduced(*loaded, kLongSide));
  const Picture gray = tour::inGray(picture);

  const faces::Detector detector(*cascade);
  const auto start = std::chrono::steady_clock::now();
  const std::optional<faces::Detection> detection = detector.detect(gray, arguments.settings);
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  if (!detection) fail(arguments.cascade.string() + ": the cascade accepts nearly everything");

  const auto windows = [&](std::size_t i) { return detection->windowsLeft[i]; };
  std::printf("%d x %d pixels, %d scales, %.1f ms\n", picture.width(), picture.height(), detection->scales,
              time.count());
  std::printf("windows: %lld", windows(0));
  for (std::size_t i = 1; i < detection->windowsLeft.size(); ++i) std::printf(", %lld", windows(i));
  std::printf("\n");
  for (const RvpiRect& face : detection->objects) {
    std::printf("%d %d %d %d\n", face.x, face.y, face.width, face.height);
    tour::drawOutline(picture, face, std::max(2, picture.width() / 250), tour::kMark);
  }
  write(picture, arguments.output);
}
