#pragma once

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace zforms::tool {

// One of several parts of a batch, which may run on different machines: shard I of N fills row I and every Nth row
// after it. A count of 0 means that the batch is not divided.
struct Shard {
  static constexpr uint32_t kMost = 100000;

  uint32_t index = 1;
  uint32_t count = 0;

  bool IsPart() const { return count > 0; }
  // True when this shard fills the row with this number in the table, from 1.
  bool Takes(uint64_t row) const { return count == 0 || (row - 1) % count == index - 1; }
  // The shard as the option --shard gives it: "3/8".
  std::string Text() const { return std::to_string(index) + "/" + std::to_string(count); }
  // The shard as messages and file names give it, with the text `between`: "3 of 8", "3-of-8".
  std::string Name(const char* between) const { return std::to_string(index) + between + std::to_string(count); }

  // Reads the text of the option --shard. False when it is not "I/N" with 1 <= I <= N <= kMost.
  bool Parse(std::string_view text) {
    const size_t slash = text.find('/');
    if (slash == std::string_view::npos) return false;
    return ParseNumber(text.substr(0, slash), &index) && ParseNumber(text.substr(slash + 1), &count) && index <= count;
  }

 private:
  static bool ParseNumber(std::string_view digits, uint32_t* number) {
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), *number);
    return error == std::errc() && end == digits.data() + digits.size() && *number >= 1 && *number <= kMost;
  }
};

}  // namespace zforms::tool
