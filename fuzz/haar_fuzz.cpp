#include "detect/haar_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  input.withOneOf(Forms(), [&]<class C>() {
    const unsigned seed = input.any<std::uint16_t>();
    const auto stage = randomStage<typename C::V>(seed, input.flag());
    Memory<typename C::V> block(stage);
    ASSERT_EQ(block.init(stage), rvpStatusOk);
    checkStage<C>(stage, block, input.flag(), input.width(), seed, input.cliff());
  });
}
