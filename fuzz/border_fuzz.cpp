#include "filter/border_test.cpp"
#include "support/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  const Case c = {input.size(), input.between(0, 40), input.between(0, 40), input.between(0, 80),
                  input.between(0, 80)};
  const unsigned seed = input.any<std::uint8_t>();
  switch (input.between(0, 8)) {
    case 0:
      checkCase<std::uint8_t, 1>(c, seed);
      break;
    case 1:
      checkCase<std::uint8_t, 3>(c, seed);
      break;
    case 2:
      checkCase<std::uint8_t, 4>(c, seed);
      break;
    case 3:
      checkCase<std::uint16_t, 1>(c, seed);
      break;
    case 4:
      checkCase<std::int16_t, 3>(c, seed);
      break;
    case 5:
      checkCase<std::int16_t, 4>(c, seed);
      break;
    case 6:
      checkCase<float, 1>(c, seed);
      break;
    case 7:
      checkCase<float, 3>(c, seed);
      break;
    default:
      checkCase<std::int32_t, 4>(c, seed);
  }
  return 0;
}
