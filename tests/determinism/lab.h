// One run of the library in one setting: which build of it, how many threads, and where images lie in memory.
// Whatever a run keeps must have the same bytes in every setting.
#pragma once

#include <dlfcn.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "rvpcv.h"
#include "support/calls.h"
#include "support/images.h"

namespace determinism {

struct Layout {
  const char* name;
  test::Placing placing;
};
inline constexpr Layout kLayouts[] = {
    {"image", {0, 0}},
    {"shifted image", {0, 1}},
    {"view", {40, 0}},
    {"shifted view", {40, 1}},
    {"page before", {0, 0, test::Cliff::before}},
    {"page behind", {0, 0, test::Cliff::behind}},
};
inline constexpr const Layout& kShifted = kLayouts[1];

struct Setting {
  void* library;
  const char* variant;
  int threads;
  const Layout* layout;
};

template <class T>
struct Image {
  T* data;
  int step;
  int columns;  // Pixels times channels.
  int rows;

  T* row(int y) const { return data + static_cast<std::ptrdiff_t>(step) / static_cast<int>(sizeof(T)) * y; }
};

class Lab {
 public:
  // Large enough for every family's team, and no multiple of a vector.
  static constexpr RvpiSize kSize = {657, 421};

  explicit Lab(const Setting& setting) : setting_(setting) {}

  // Calls an exported function, whose parameters have exactly the types of these arguments but for `const`; an
  // image stands for its first pixel and its step. Keeps the images that the function may change.
  template <class... Arguments>
  void call(const std::string& name, Arguments... arguments) {
    callFor(false, name, arguments...);
  }
  // The same; `isForTeam`: the contract lets the images follow the number of threads.
  template <class... Arguments>
  void callFor(bool isForTeam, const std::string& name, Arguments... arguments) {
    std::apply([&](auto... spread) { callSpread(name, spread...); }, std::tuple_cat(spreadOut(arguments)...));
    (keepChanged(isForTeam ? keptForTeam_ : kept_, arguments), ...);
    origins_[kept_.size()] = name;
  }

  // The number that a function gives by its last argument.
  template <class... Arguments>
  int size(const std::string& name, Arguments... arguments) {
    int number = 0;
    call(name, arguments..., &number);
    return number;
  }

  template <class T, class Content>
  Image<T> image(RvpiSize size, int channels, const Content& content) {
    const Image<T> made = place<T>(size.width * channels, size.height);
    for (int y = 0; y < size.height; ++y)
      for (int x = 0; x < made.columns; ++x)
        made.row(y)[x] = static_cast<T>(content(y, x / channels, x % channels));
    return made;
  }

  // Edges, corners, slopes and noise: to be changed, or to be read only.
  template <class T>
  Image<T> canvas(int channels = 1, int seed = 0, RvpiSize size = kSize) {
    return image<T>(size, channels,
                    [=](int y, int x, int channel) { return fromLevel<T>(level(y, x + 3 * seed, channel)); });
  }
  template <class T>
  Image<const T> picture(int channels = 1, int seed = 0, RvpiSize size = kSize) {
    const Image<T> made = canvas<T>(channels, seed, size);
    return {made.data, made.step, made.columns, made.rows};
  }

  // 0 and 255.
  Image<std::uint8_t> mask(RvpiSize size = kSize) {
    return image<std::uint8_t>(size, 1, [](int y, int x, int) { return level(y, x, 1) > 110 ? 255 : 0; });
  }

  template <class T>
  Image<T> blank(int channels = 1, RvpiSize size = kSize) {
    return image<T>(size, channels, [](int, int, int) { return T{}; });
  }

  // Scratch and state blocks: at any address, and full of what was there before.
  std::uint8_t* block(int bytes) {
    const auto before = static_cast<std::uint8_t>(setting_.threads * 37 + setting_.layout->placing.gap);
    return place(bytes, 1, before).data;
  }
  // Of as many bytes as a function tells by its last argument.
  template <class... Arguments>
  std::uint8_t* blockOf(const std::string& name, Arguments... arguments) {
    return block(size(name, arguments...));
  }

  // For blocks that are wanted at an address that suits a pointer.
  std::uint8_t* wordBlock(int bytes) {
    return reinterpret_cast<std::uint8_t*>(place<std::uint64_t>((bytes + 7) / 8, 1).data);
  }

  // Gives back all images and blocks: the system has only so many pages to protect.
  void release() { memory_.clear(); }

  // Results that are not in an image.
  template <class T>
  void keep(const T* values, int count) {
    append(kept_, values, count);
    origins_[kept_.size()] = lastCalled_;
  }
  template <class T>
  void keepForTeam(const T* values, int count) {
    append(keptForTeam_, values, count);
  }

  const Setting& setting() const { return setting_; }
  const std::vector<std::uint8_t>& kept() const { return kept_; }
  const std::vector<std::uint8_t>& keptForTeam() const { return keptForTeam_; }
  int calls() const { return calls_; }
  // The function called last before the byte `at` of what was kept came there.
  const std::string& origin(std::size_t at) const { return origins_.upper_bound(at)->second; }

 private:
  template <class... Arguments>
  void callSpread(const std::string& name, Arguments... arguments) {
    auto* const function = reinterpret_cast<RvpStatus (*)(Arguments...)>(dlsym(setting_.library, name.c_str()));
    if (function == nullptr) throw std::runtime_error("there is no function " + name);
    const RvpStatus status = function(arguments...);
    if (status < 0) throw std::runtime_error(name + " gave " + std::to_string(status));
    ++calls_;
    lastCalled_ = name;
    keep(&status, 1);
  }
  template <class T>
  static auto spreadOut(const T& argument) {
    return std::tuple(argument);
  }
  template <class T>
  static auto spreadOut(const Image<T>& image) {
    return std::tuple(image.data, image.step);
  }

  template <class T>
  static void keepChanged(std::vector<std::uint8_t>&, const T&) {}
  template <class T>
  requires(!std::is_const_v<T>) static void keepChanged(std::vector<std::uint8_t>& kept, const Image<T>& image) {
    for (int y = 0; y < image.rows; ++y) append(kept, image.row(y), image.columns);
  }

  static int level(int y, int x, int channel) {
    // Worked out once: it would take longer than the operations do.
    static const auto levels = [] {
      std::vector<std::uint8_t> all;
      for (int i = 0; i < kRows * kColumns * kChannels; ++i)
        all.push_back(newLevel(i / kChannels / kColumns, i / kChannels % kColumns, i % kChannels));
      return all;
    }();
    return levels[static_cast<std::size_t>((y * kColumns + x) * kChannels + channel)];
  }
  static std::uint8_t newLevel(int y, int x, int channel) {
    const auto noise = static_cast<unsigned>((y * 7919 + x) * 31 + channel) * 2654435761U >> 28U;
    const int slope = (x * 2 + y + channel * 50) % 256;
    return static_cast<std::uint8_t>((x / 41 + y / 29) % 3 * 60 + (slope < 128 ? slope : 255 - slope) / 2 +
                                     static_cast<int>(noise));
  }

  template <class T>
  static T fromLevel(int level) {
    if constexpr (std::is_same_v<T, std::uint8_t>) return static_cast<T>(level);
    if constexpr (std::is_floating_point_v<T>) return static_cast<T>(level) / T{7};
    return static_cast<T>(level * 100);
  }

  template <class T>
  Image<T> place(int columns, int rows, T value = {}) {
    const auto memory =
        std::make_shared<test::Guarded<T>>(test::Plane<T>(columns, rows, value), setting_.layout->placing);
    memory_.push_back(memory);
    return {memory->data(), memory->step(), columns, rows};
  }

  template <class T>
  static void append(std::vector<std::uint8_t>& kept, const T* values, int count) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(values);
    kept.insert(kept.end(), bytes, bytes + sizeof(T) * static_cast<std::size_t>(count));
  }

  // Enough for the shifted pictures and for the rows that filters need beyond an image.
  static constexpr int kRows = kSize.height + 16;
  static constexpr int kColumns = kSize.width + 32;
  static constexpr int kChannels = 4;

  Setting setting_;
  std::vector<std::shared_ptr<void>> memory_;
  std::vector<std::uint8_t> kept_;
  std::vector<std::uint8_t> keptForTeam_;
  std::map<std::size_t, std::string> origins_;  // By the end of what each function left.
  std::string lastCalled_;
  int calls_ = 0;
};

struct Case {
  const char* name;
  void (*run)(Lab&);
};

// Calls body for each of these types, a template argument.
template <class... T, class Body>
void forTypes(const Body& body) {
  (body.template operator()<T>(), ...);
}

// The families that make images of images, and those that find something in them.
extern const std::vector<Case> kImageCases;
extern const std::vector<Case> kFindingCases;

// "8u" and so on, as it stands in the names of functions.
template <class T>
std::string suffix() {
  if constexpr (std::is_same_v<T, std::uint8_t>) return "8u";
  if constexpr (std::is_same_v<T, std::uint16_t>) return "16u";
  if constexpr (std::is_same_v<T, std::int16_t>) return "16s";
  if constexpr (std::is_same_v<T, std::int32_t>) return "32s";
  if constexpr (std::is_same_v<T, float>) return "32f";
  return "64f";
}

}  // namespace determinism
