#include "picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <memory>
#include <utility>

#include "jpeg.h"
#include "stb.h"

namespace tour {
namespace {

// The longest file that is read: more than the largest picture takes without compression.
constexpr std::size_t kLongestFile = std::size_t{1} << 29;

std::optional<std::string> readFile(const std::filesystem::path& path, std::string& fault) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) {
    fault = "there is no such file";
    return std::nullopt;
  }
  if (std::filesystem::is_directory(path, error)) {
    fault = "this is a directory";
    return std::nullopt;
  }
  std::ifstream file(path, std::ios::binary);
  std::string bytes;
  std::array<char, 1 << 16> block;
  while (file && bytes.size() <= kLongestFile) {
    file.read(block.data(), block.size());
    bytes.append(block.data(), static_cast<std::size_t>(file.gcount()));
  }
  if (bytes.size() > kLongestFile) {
    fault = "the file is too long for a picture";
    return std::nullopt;
  }
  if (!file.eof()) {
    fault = "the file cannot be read";
    return std::nullopt;
  }
  if (bytes.empty()) {
    fault = "the file is empty";
    return std::nullopt;
  }
  return bytes;
}

std::string sizeFault(int width, int height) {
  const std::string size = std::to_string(width) + " x " + std::to_string(height);
  const auto [shortSide, longSide] = std::minmax({width, height});
  if (shortSide < kLeastSide)
    return "the picture is too small: " + size + ", at least " + std::to_string(kLeastSide) + " x " +
           std::to_string(kLeastSide) + " is needed";
  if (longSide > kGreatestLongSide || shortSide > kGreatestShortSide)
    return "the picture is too large: " + size + ", at most " + std::to_string(kGreatestLongSide) + " x " +
           std::to_string(kGreatestShortSide) + " is read";
  return {};
}

// stb gives gray, gray with alpha, colour, or colour with alpha.
Picture onWhite(const stbi_uc* pixels, int width, int height, int stored) {
  const bool hasAlpha = stored == 2 || stored == 4;
  const int channels = hasAlpha ? stored - 1 : stored;
  Picture picture(width, height, channels);
  std::uint8_t* out = picture.data();
  for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(width) * height; ++i) {
    const int alpha = hasAlpha ? pixels[channels] : 255;
    for (int c = 0; c < channels; ++c) {
      const int onTop = pixels[c] * alpha + 255 * (255 - alpha);
      *out++ = static_cast<std::uint8_t>((onTop + 127) / 255);
    }
    pixels += stored;
  }
  return picture;
}

// Orientations 5 to 8 swap rows and columns; 2, 3, 7 and 8 then run against the stored columns, and 3, 4, 6 and 7
// against the stored rows.
Picture upright(Picture&& picture, int orientation) {
  if (orientation == 1) return std::move(picture);
  const bool isSwapped = orientation >= 5;
  const bool isReversedX = orientation == 2 || orientation == 3 || orientation >= 7;
  const bool isReversedY = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  const int width = picture.width();
  const int height = picture.height();
  Picture result(isSwapped ? height : width, isSwapped ? width : height, picture.channels());
  for (int y = 0; y < result.height(); ++y)
    for (int x = 0; x < result.width(); ++x) {
      const int column = isSwapped ? y : x;
      const int row = isSwapped ? x : y;
      std::copy_n(picture.at(isReversedX ? width - 1 - column : column, isReversedY ? height - 1 - row : row),
                  picture.channels(), result.at(x, y));
    }
  return result;
}

void append(void* bytes, void* data, int size) {
  static_cast<std::string*>(bytes)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

}  // namespace

std::optional<Picture> loadPicture(const std::filesystem::path& path, std::string& fault) {
  const std::optional<std::string> file = readFile(path, fault);
  if (!file) return std::nullopt;
  const auto* bytes = reinterpret_cast<const stbi_uc*>(file->data());
  const int length = static_cast<int>(file->size());

  const JpegFacts facts = isJpeg(*file) ? inspectJpeg(*file) : JpegFacts{.isComplete = true};
  if (!facts.isSound) {
    fault = "the picture is damaged";
    return std::nullopt;
  }
  // The size is known before any pixel is decoded.
  int width = 0;
  int height = 0;
  int stored = 0;
  if (stbi_info_from_memory(bytes, length, &width, &height, &stored) == 0) {
    fault = "this is no PNG or JPEG picture, or its beginning is damaged";
    return std::nullopt;
  }
  fault = sizeFault(width, height);
  if (!fault.empty()) return std::nullopt;
  if (!facts.isComplete) {
    fault = "the picture is cut off: the file ends too early";
    return std::nullopt;
  }
  const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> pixels(
      stbi_load_from_memory(bytes, length, &width, &height, &stored, 0), &stbi_image_free);
  if (pixels == nullptr) {
    fault = std::string("the picture is damaged (") + stbi_failure_reason() + ")";
    return std::nullopt;
  }
  return upright(onWhite(pixels.get(), width, height, stored), facts.orientation);
}

std::string encodePng(const Picture& picture) {
  std::string bytes;
  // Less effort than stb's default of 8 halves the time for a few per cent of size.
  stbi_write_png_compression_level = 5;
  stbi_write_png_to_func(append, &bytes, picture.width(), picture.height(), picture.channels(), picture.data(),
                         picture.step());
  return bytes;
}

std::string encodeJpeg(const Picture& picture, int quality) {
  std::string bytes;
  stbi_write_jpg_to_func(append, &bytes, picture.width(), picture.height(), picture.channels(), picture.data(),
                         quality);
  return bytes;
}

Picture reduced(const Picture& picture, int longSide) {
  const auto [shorter, longer] = std::minmax({picture.width(), picture.height()});
  if (longer <= longSide || shorter <= kLeastSide) return picture;
  const double factor = std::max(static_cast<double>(longSide) / longer, static_cast<double>(kLeastSide) / shorter);
  const int channels = picture.channels();
  Picture result(static_cast<int>(std::lround(picture.width() * factor)),
                 static_cast<int>(std::lround(picture.height() * factor)), channels);
  // Pixel x of the result stands for the columns from first(x) to first(x + 1).
  const auto first = [](int x, int from, int to) {
    return static_cast<int>(static_cast<long long>(x) * from / to);
  };
  for (int y = 0; y < result.height(); ++y) {
    const int top = first(y, picture.height(), result.height());
    const int bottom = first(y + 1, picture.height(), result.height());
    for (int x = 0; x < result.width(); ++x) {
      const int left = first(x, picture.width(), result.width());
      const int right = first(x + 1, picture.width(), result.width());
      const unsigned area = static_cast<unsigned>((bottom - top) * (right - left));
      for (int c = 0; c < channels; ++c) {
        // No side of a box has more than 6000 / 16 + 1 pixels, so the sum stays below 2^26.
        unsigned sum = 0;
        for (int row = top; row < bottom; ++row)
          for (int column = left; column < right; ++column) sum += picture.at(column, row)[c];
        result.at(x, y)[c] = static_cast<std::uint8_t>((sum + area / 2) / area);
      }
    }
  }
  return result;
}

std::vector<Picture> splitChannels(const Picture& picture) {
  std::vector<Picture> planes;
  const std::size_t channels = static_cast<std::size_t>(picture.channels());
  for (std::size_t c = 0; c < channels; ++c) {
    Picture plane(picture.width(), picture.height(), 1);
    for (std::size_t i = 0; i < plane.elements().size(); ++i)
      plane.elements()[i] = picture.elements()[i * channels + c];
    planes.push_back(std::move(plane));
  }
  return planes;
}

Picture mergeChannels(const std::vector<Picture>& planes) {
  const std::size_t channels = planes.size();
  Picture picture(planes[0].width(), planes[0].height(), static_cast<int>(channels));
  for (std::size_t c = 0; c < channels; ++c)
    for (std::size_t i = 0; i < planes[c].elements().size(); ++i)
      picture.elements()[i * channels + c] = planes[c].elements()[i];
  return picture;
}

Picture inColour(const Picture& picture) {
  return picture.channels() == 3 ? picture : mergeChannels({picture, picture, picture});
}

Picture inGray(const Picture& picture) {
  if (picture.channels() == 1) return picture;
  Picture gray(picture.width(), picture.height(), 1);
  const std::uint8_t* pixel = picture.data();
  for (std::uint8_t& value : gray.elements()) {
    // The shares are 299, 587 and 114 thousandths, and 500 rounds.
    value = static_cast<std::uint8_t>((299 * pixel[0] + 587 * pixel[1] + 114 * pixel[2] + 500) / 1000);
    pixel += picture.channels();
  }
  return gray;
}

double peakSignalToNoise(const Picture& picture, const Picture& reference) {
  double sum = 0.0;
  for (std::size_t i = 0; i < picture.elements().size(); ++i) {
    const double difference = static_cast<double>(picture.elements()[i]) - reference.elements()[i];
    sum += difference * difference;
  }
  return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(picture.elements().size()) / sum);
}

}  // namespace tour
