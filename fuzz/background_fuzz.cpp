#include "pyramid/background_test.cpp"
#include "support/input.h"

void fuzz::run(Input& input) {
  tryShape({input.width(), input.between(1, 3), input.placing(), 1, input.any<std::uint8_t>()},
           [&](const Shape& shape) {
             RvpFGMMModel model = kModel;
             const int modes = input.between(1, 6);
             model.historyLength = static_cast<decltype(model.historyLength)>(input.between(1, 40));
             model.updateMatch = static_cast<float>(input.between(0, 40));
             model.backgroundMatch = static_cast<float>(input.between(0, 40));
             model.weightDecay = static_cast<float>(input.between(-20, 100)) / 100;
             model.backgroundWeight = static_cast<float>(input.between(0, 120)) / 100;
             model.shadowEnabled = static_cast<decltype(model.shadowEnabled)>(input.between(0, 1));
             const double rates[] = {-1, input.between(0, 100) / 100.0, input.between(0, 100) / 100.0};
             compareStream(
                 shape, modes, model, 8, [&](int k) { return rates[k % 3]; }, kSameModel);
           });
}
