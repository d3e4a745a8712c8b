#include "detect/haar_test.cpp"
#include "support/input.h"

template <class C>
void tryStage(fuzz::Input& input) {
  const unsigned seed = input.any<std::uint16_t>();
  const Stage<typename C::V> stage = randomStage<typename C::V>(seed, input.flag());
  Memory<typename C::V> block(stage);
  ASSERT_EQ(block.init(stage), rvpStatusOk);
  checkStage<C>(stage, block, input.flag(), input.width(), seed, input.flag() ? Cliff::before : Cliff::behind);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  switch (input.between(0, 2)) {
    case 0:
      tryStage<Form<float, float>>(input);
      break;
    case 1:
      tryStage<Form<std::int32_t, float>>(input);
      break;
    default:
      tryStage<Form<std::int32_t, std::int32_t>>(input);
  }
  return 0;
}
