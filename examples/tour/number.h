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
  const std::string digits = std::to_string(value);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    const bool beginsGroup = (digits.size() - i) % 3 == 0 && i > (value < 0 ? 1u : 0u);
    if (beginsGroup) text += ' ';
    text += digits[i];
  }
  return text;
}

}  // namespace tour
