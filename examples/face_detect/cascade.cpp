#include "cascade.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <pugixml.hpp>
#include <string_view>
#include <system_error>
#include <utility>

namespace faces {
namespace {

// Several times what the cascades in use need; a file beyond them is not worth its memory and time.
constexpr std::uintmax_t kMostBytes = 32U << 20U;
constexpr int kLeastWindow = 4;
constexpr int kGreatestWindow = 256;
constexpr std::size_t kMostStages = 200;
constexpr std::size_t kMostClassifiers = 5000;  // of a stage
constexpr std::size_t kMostFeatures = 200000;
constexpr std::size_t kMostRects = 3;  // of a feature

// Turns the elements into a cascade and stops at the first fault.
class Reader {
 public:
  std::optional<Cascade> read(const pugi::xml_document& document) {
    Cascade cascade{};
    const pugi::xml_node storage = document.child("opencv_storage");
    // There the element has the name of the cascade, and only its type tells what it is.
    if (storage.find_child_by_attribute("type_id", "opencv-haar-classifier")) {
      wrong("a cascade of the older form, of the type opencv-haar-classifier, which is not read");
      return std::nullopt;
    }
    if (!readHead(storage.child("cascade"), cascade)) return std::nullopt;
    return cascade;
  }
  const std::string& fault() const { return fault_; }

 private:
  struct Feature {
    std::vector<WeightedRect> rects;
    bool isTilted = false;
  };

  // Always false, so that a check can end with it.
  bool wrong(std::string words) {
    fault_ = std::move(words);
    return false;
  }

  // The numbers of a text, exactly as many as there is room for, each of them finite.
  template <class T, std::size_t kCount>
  bool readNumbers(const pugi::xml_node& node, std::array<T, kCount>& numbers, const std::string& where) {
    constexpr std::string_view kBlank = " \t\r\n";
    std::string_view text = node.text().get();
    for (T& number : numbers) {
      text.remove_prefix(std::min(text.find_first_not_of(kBlank), text.size()));
      const std::string_view word = text.substr(0, text.find_first_of(kBlank));
      const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
      if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(static_cast<double>(number)))
        return wrong(where + (word.empty() ? " lacks a number" : " has a word that is no number of its kind"));
      text.remove_prefix(word.size());
    }
    if (text.find_first_not_of(kBlank) != std::string_view::npos) return wrong(where + " has too many numbers");
    return true;
  }
  template <class T>
  bool readNumber(const pugi::xml_node& node, T& number, const std::string& where) {
    std::array<T, 1> one{};
    if (!readNumbers(node, one, where)) return false;
    number = one[0];
    return true;
  }

  // Calls readItem(node, where) for each entry of a list of `least` to `most` entries.
  template <class ReadItem>
  bool readList(const pugi::xml_node& list, std::size_t least, std::size_t most, const std::string& what,
                const ReadItem& readItem) {
    std::size_t count = 0;
    for (const pugi::xml_node& item : list.children("_")) {
      if (++count > most) return wrong(what + ": more than " + std::to_string(most));
      if (!readItem(item, what + " " + std::to_string(count))) return false;
    }
    return count >= least || wrong(what + ": there is none");
  }

  bool readHead(const pugi::xml_node& node, Cascade& cascade) {
    if (!node) return wrong("no cascade in the form of <opencv_storage><cascade>");
    if (!node.child("stages")) return wrong("no list of stages");
    if (std::string_view(node.child_value("featureType")) != "HAAR")
      return wrong("the features are no Haar features");
    if (std::string_view(node.child_value("stageType")) != "BOOST") return wrong("the stages are not boosted ones");
    if (!readNumber(node.child("width"), cascade.window.width, "the window's width") ||
        !readNumber(node.child("height"), cascade.window.height, "the window's height"))
      return false;
    const auto [least, greatest] = std::minmax(cascade.window.width, cascade.window.height);
    if (least < kLeastWindow || greatest > kGreatestWindow)
      return wrong("the window is not between " + std::to_string(kLeastWindow) + " and " +
                   std::to_string(kGreatestWindow) + " pixels wide and high");
    std::vector<Feature> features;
    return readList(node.child("features"), 1, kMostFeatures, "feature",
                    [&](const pugi::xml_node& item, const std::string& where) {
                      return readFeature(item, cascade.window, features.emplace_back(), where);
                    }) &&
           readList(node.child("stages"), 1, kMostStages, "stage",
                    [&](const pugi::xml_node& item, const std::string& where) {
                      return readStage(item, features, cascade.stages.emplace_back(), where);
                    });
  }

  bool readFeature(const pugi::xml_node& node, RvpiSize window, Feature& feature, const std::string& where) {
    int tilted = 0;
    if (const pugi::xml_node mark = node.child("tilted"); mark && !readNumber(mark, tilted, where + ", <tilted>"))
      return false;
    if (tilted != 0 && tilted != 1) return wrong(where + ": <tilted> is neither 0 nor 1");
    feature.isTilted = tilted == 1;
    return readList(node.child("rects"), 1, kMostRects, where + ", rectangle",
                    [&](const pugi::xml_node& item, const std::string& rectWhere) {
                      return readRect(item, window, feature, rectWhere);
                    });
  }

  bool readRect(const pugi::xml_node& node, RvpiSize window, Feature& feature, const std::string& where) {
    // Whole numbers in a list of floats: exact, as the window's sides are small.
    std::array<float, 5> numbers{};
    if (!readNumbers(node, numbers, where)) return false;
    for (std::size_t i = 0; i < 4; ++i) {
      if (numbers[i] != std::floor(numbers[i]) || numbers[i] < 0 ||
          numbers[i] > static_cast<float>(kGreatestWindow))
        return wrong(where + " does not lie in the window");
    }
    const auto whole = [&](std::size_t i) { return static_cast<int>(numbers[i]); };
    const RvpiRect r = {whole(0), whole(1), whole(2), whole(3)};
    if (r.width < 1 || r.height < 1) return wrong(where + " is empty");
    // A tilted rectangle goes down to the right along its width and down to the left along its height.
    const bool isInside = feature.isTilted ? r.x >= r.height && r.x + r.width <= window.width &&
                                                 r.y + r.width + r.height <= window.height
                                           : r.x + r.width <= window.width && r.y + r.height <= window.height;
    if (!isInside) return wrong(where + " does not lie in the window");
    feature.rects.push_back({r, numbers[4]});
    return true;
  }

  bool readStage(const pugi::xml_node& node, const std::vector<Feature>& features, CascadeStage& stage,
                 const std::string& where) {
    return readNumber(node.child("stageThreshold"), stage.threshold, where + ", its threshold") &&
           readList(node.child("weakClassifiers"), 1, kMostClassifiers, where + ", classifier",
                    [&](const pugi::xml_node& item, const std::string& itemWhere) {
                      return readClassifier(item, features, stage.classifiers.emplace_back(), itemWhere);
                    });
  }

  bool readClassifier(const pugi::xml_node& node, const std::vector<Feature>& features, WeakClassifier& classifier,
                      const std::string& where) {
    // Left leaf, right leaf, feature, threshold.
    std::array<float, 4> numbers{};
    if (!readNumbers(node.child("internalNodes"), numbers, where + " is not a single decision: it")) return false;
    if (numbers[0] != 0.0F || numbers[1] != -1.0F) return wrong(where + " is not a single decision");
    const float place = numbers[2];
    if (place != std::floor(place) || place < 0 || place >= static_cast<float>(features.size()))
      return wrong(where + ": there is no such feature");
    std::array<float, 2> leaves{};
    if (!readNumbers(node.child("leafValues"), leaves, where + ", its values")) return false;
    const Feature& feature = features[static_cast<std::size_t>(place)];
    classifier = {feature.rects, feature.isTilted, numbers[3], leaves[0], leaves[1]};
    return true;
  }

  std::string fault_;
};

}  // namespace

std::optional<Cascade> readCascade(const std::filesystem::path& path, std::string& fault) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error) {
    fault = error.message();
    return std::nullopt;
  }
  if (size > kMostBytes) {
    fault = "the file has more than " + std::to_string(kMostBytes >> 20U) + " MiB";
    return std::nullopt;
  }
  std::ifstream file(path, std::ios::binary);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(size));
  if (!file || file.gcount() != static_cast<std::streamsize>(size)) {
    fault = "the file cannot be read";
    return std::nullopt;
  }
  pugi::xml_document document;
  const pugi::xml_parse_result parsed = document.load_buffer(bytes.data(), bytes.size());
  if (!parsed) {
    fault = "no XML: " + std::string(parsed.description()) + " at byte " + std::to_string(parsed.offset);
    return std::nullopt;
  }
  Reader reader;
  std::optional<Cascade> cascade = reader.read(document);
  if (!cascade) fault = reader.fault();
  return cascade;
}

}  // namespace faces
