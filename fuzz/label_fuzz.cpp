#include "segment/label_test.cpp"
#include "support/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  const RvpiSize size = input.size();
  const test::Placing placing = input.placing();
  const int shift = input.shift();
  const int minLabel = input.between(1, 254);
  const Labels labels = {minLabel, input.between(minLabel, 254), input.between(0, 1)};
  const auto content = input.plane<std::uint8_t>(size.width, size.height);
  checkBeside(content, placing, shift, labels);
  checkInPlace(content, placing, shift, labels);
  checkInPlace(input.plane<std::uint16_t>(size.width, size.height), placing, shift, labels);
  return 0;
}
