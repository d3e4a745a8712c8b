// Numbers as a page shows them.
#pragma once

#include <cstdio>
#include <string>

namespace tour {

inline std::string number(double value, int decimals) {
  // The longest double has 309 digits before the point.
  char text[340];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

// With blanks between thousands.
inline std::string count(long long value) {
  std::string text = std::to_string(value);
  for (std::size_t place = text.size(); place > 3 + (value < 0 ? 1u : 0u); place -= 3) text.insert(place - 3, " ");
  return text;
}

}  // namespace tour
