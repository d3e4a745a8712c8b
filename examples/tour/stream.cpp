#include "stream.h"

#include <algorithm>

namespace tour {

Picture NoisyStream::frame(const Picture& photograph, int index) const {
  Random random(seed + 1000003u * static_cast<std::uint64_t>(index));
  const int dx = random.within(shift);
  const int dy = random.within(shift);
  Picture result(photograph.width(), photograph.height(), photograph.channels());
  std::uint8_t* out = result.data();
  for (int y = 0; y < result.height(); ++y) {
    const int fromY = std::clamp(y + dy, 0, photograph.height() - 1);
    for (int x = 0; x < result.width(); ++x) {
      const std::uint8_t* from = photograph.at(std::clamp(x + dx, 0, photograph.width() - 1), fromY);
      for (int c = 0; c < photograph.channels(); ++c)
        *out++ = toByte(static_cast<float>(from[c]) + noise * random.normal());
    }
  }
  return result;
}

}  // namespace tour
