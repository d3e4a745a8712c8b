#include "pyramid/layer_test.cpp"
#include "support/input.h"

template <class F>
void tryForm(bool isDown, const Shape& shape, float rate, const Kernel& kernel) {
  if (isDown) {
    checkDown<F>(shape, rate, kernel, {shape.width, shape.height});
  } else {
    checkUp<F>(shape, rate, kernel, shape.seed % 2 == 0);
  }
}

// The form of that number.
template <class... Types>
void tryOneOf(testing::Types<Types...>, int number, bool isDown, const Shape& shape, float rate,
              const Kernel& kernel) {
  (void)((number-- == 0 && (tryForm<Types>(isDown, shape, rate, kernel), true)) || ...);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  fuzz::Input input(bytes, count);
  tryShape(input.shape(), [&](const Shape& shape) {
    const float rate = input.flag() ? input.oneOf(kRates) : 1 + static_cast<float>(input.between(1, 9000)) / 1000;
    const Kernel& kernel =
        kKernels[static_cast<std::size_t>(input.between(0, static_cast<int>(kKernels.size()) - 1))];
    tryOneOf(Forms(), input.between(0, 5), input.flag(), shape, rate, kernel);
  });
  return 0;
}
