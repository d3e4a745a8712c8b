#include "filter/pipeline_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const unsigned seed = input.any<std::uint16_t>();
    const int length = input.flag() ? input.between(1, 40) : 0;
    input.withOneOf(Operations(), [&]<class Op>() { check<Op>(shape, Setting<Op>(seed, length)); });
  });
}
