#include "pyramid/flow_test.cpp"
#include "support/input.h"

template <class T>
void tryTrack(fuzz::Input& input) {
  const RvpiSize size = input.size();
  const int levels = input.between(1, 4);
  const double dx = input.between(-30, 30) / 8.0;
  const double dy = input.between(-30, 30) / 8.0;
  const Pyramid<T> one = pyramidOf<T>(size, levels, 0, 0);
  const Pyramid<T> two = pyramidOf<T>(size, levels, dx, dy);
  const Placing placing = input.placing();
  const RvpiSize roi = input.size();
  const Settings settings = {roi, input.between(1, 24), input.between(0, levels - 1), input.between(1, 9),
                             static_cast<float>(input.between(0, 100)) / 500};
  const auto prev = someplaces(size, input.any<std::uint8_t>(), input.flag());
  const auto start = input.flag() ? someplaces(size, input.any<std::uint8_t>(), input.flag()) : prev;
  checkTrack(one, two, placing, settings, prev, start);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  switch (input.between(0, 2)) {
    case 0:
      tryTrack<std::uint8_t>(input);
      break;
    case 1:
      tryTrack<std::uint16_t>(input);
      break;
    default:
      tryTrack<float>(input);
  }
  return 0;
}
