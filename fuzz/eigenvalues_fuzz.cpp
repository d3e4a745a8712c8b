#include "features/eigenvalues_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape(input.shape(), [&](const Shape& shape) {
    const RvpiBorderType border = input.border();
    const Options& options = input.oneOf(kOptions);
    input.flag() ? Eigenvalues<float>::check(shape, border, options)
                 : Eigenvalues<std::uint8_t>::check(shape, border, options);
  });
}
