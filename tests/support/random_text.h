#pragma once

#include <random>
#include <string>
#include <string_view>

namespace zforms {

// Up to `longest` bytes of `letters`.
inline std::string RandomText(std::mt19937& random, std::string_view letters, size_t longest) {
  std::string text(random() % (longest + 1), ' ');
  for (char& c : text) c = letters[random() % letters.size()];
  return text;
}

}  // namespace zforms
