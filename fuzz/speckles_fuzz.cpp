#include "segment/speckles_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  input.withOneOf(Types(), [&]<class T>() {
    const Shape shape = input.shape();
    const auto image = input.flag()
                           ? levels<T>(shape.width, shape.height, input.any<std::uint16_t>(), input.between(1, 6))
                           : input.plane<T>(shape.width, shape.height);
    const Setting<T> setting = {input.flag() ? input.any<T>() : T{}, input.between(0, 60),
                                static_cast<T>(input.between(0, 5))};
    checkOne(image, shape, setting);
  });
}
