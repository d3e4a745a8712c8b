#include "detect/integral_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  const RvpiSize size = input.size();
  const auto content = input.plane<std::uint8_t>(size.width, size.height);
  const Placing placing = input.placing();
  input.withOneOf(Operations(), [&]<class Op>() { check(input.oneOf(operations<Op>()), content, placing); });
}
