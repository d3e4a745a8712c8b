#include "segment/speckles_test.cpp"
#include "support/input.h"

template <class T>
void tryImage(fuzz::Input& input) {
  const Shape shape = input.shape();
  const auto image = input.flag()
                         ? levels<T>(shape.width, shape.height, input.any<std::uint16_t>(), input.between(1, 6))
                         : input.plane<T>(shape.width, shape.height);
  const Setting<T> setting = {input.flag() ? input.any<T>() : T{}, input.between(0, 60),
                              static_cast<T>(input.between(0, 5))};
  checkOne(image, shape, setting);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  switch (input.between(0, 3)) {
    case 0:
      tryImage<std::uint8_t>(input);
      break;
    case 1:
      tryImage<std::uint16_t>(input);
      break;
    case 2:
      tryImage<std::int16_t>(input);
      break;
    default:
      tryImage<float>(input);
  }
  return 0;
}
