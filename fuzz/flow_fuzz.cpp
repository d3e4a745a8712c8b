#include "pyramid/flow_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  const RvpiSize size = input.size(), roi = input.size();
  const int levels = input.between(1, 4);
  const double dx = input.between(-30, 30) / 8.0, dy = input.between(-30, 30) / 8.0;
  const Placing placing = input.placing();
  const Settings settings = {roi, input.between(1, 24), input.between(0, levels - 1), input.between(1, 9),
                             static_cast<float>(input.between(0, 100)) / 500};
  const auto prev = someplaces(size, input.any<std::uint8_t>(), input.flag());
  const auto start = input.flag() ? someplaces(size, input.any<std::uint8_t>(), input.flag()) : prev;
  input.withOneOf(Types(), [&]<class T>() {
    checkTrack(pyramidOf<T>(size, levels, 0, 0), pyramidOf<T>(size, levels, dx, dy), placing, settings, prev,
               start);
  });
}
