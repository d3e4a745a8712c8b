#include "segment/flood_test.cpp"
#include "support/input.h"

// Whether the new value lies in the range in every channel, which is refused.
template <class T>
bool isRefused(const Fill<T>& fill, const Plane<T>& image) {
  if (fill.kind != Kind::kRange) return false;
  for (int c = 0; c < fill.channels; ++c) {
    const T value = fill.newValue[c];
    const T s = image.at(fill.seed.y, fill.seed.x * fill.channels + c);
    if (!(value >= s - fill.minDelta[c] && value <= s + fill.maxDelta[c])) return false;
  }
  return true;
}

template <class T>
void tryFill(fuzz::Input& input) {
  const RvpiSize size = input.size();
  const auto kind = static_cast<Kind>(input.between(0, 2));
  const int channels = input.flag() ? 3 : 1;
  const RvpiPoint seed = {input.between(0, size.width - 1), input.between(0, size.height - 1)};
  Fill<T> fill = {kind, input.flag(), channels, seed, {}, {}, {}};
  for (int c = 0; c < channels; ++c) {
    fill.newValue[c] = input.any<T>();
    fill.minDelta[c] = static_cast<T>(input.between(0, 9));
    fill.maxDelta[c] = static_cast<T>(input.between(0, 9));
  }
  const unsigned values = static_cast<unsigned>(input.between(1, 9));
  const auto image = input.flag()
                         ? patches<T>(size.width, size.height, channels, input.any<std::uint16_t>(), values)
                         : input.plane<T>(size.width * channels, size.height);
  const Placing placing = input.placing();
  if (!isRefused(fill, image)) check<T>(image, fill, placing, input.shift());
}

void fuzz::run(Input& input) {
  input.withOneOf(Types(), [&]<class T>() { tryFill<T>(input); });
}
