#include "filter/border_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  const Case c = {input.size(), input.between(0, 40), input.between(0, 40), input.between(0, 80),
                  input.between(0, 80)};
  const unsigned seed = input.any<std::uint8_t>();
  input.withOneOf<std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, float>([&]<class T>() {
    switch (input.between(0, 2)) {
      case 0:
        return checkCase<T, 1>(c, seed);
      case 1:
        return checkCase<T, 3>(c, seed);
      default:
        return checkCase<T, 4>(c, seed);
    }
  });
}
