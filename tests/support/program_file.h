#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zforms {

inline void Put(std::string* bytes, size_t offset, uint64_t value, size_t width) {
  if (bytes->size() < offset + width) bytes->resize(offset + width);
  for (size_t i = 0; i < width; i++) (*bytes)[offset + i] = static_cast<char>(value >> (8 * i) & 0xFF);
}

// A Windows program file of 32 or 64 bits that contains only a version resource.
inline std::string MakeProgram(bool wide, uint64_t version) {
  constexpr size_t kHeader = 0x80;
  constexpr size_t kResources = 0x400;
  constexpr uint32_t kAddress = 0x3000;
  const size_t optional = kHeader + 24;
  const size_t optional_size = wide ? 240 : 224;
  std::string file = "MZ";
  Put(&file, 0x3C, kHeader, 4);
  Put(&file, kHeader, 0x4550, 4);
  Put(&file, kHeader + 6, 2, 2);
  Put(&file, kHeader + 20, optional_size, 2);
  Put(&file, optional, wide ? 0x20B : 0x10B, 2);
  Put(&file, optional + (wide ? 112 : 96) + 16, kAddress, 4);
  Put(&file, optional + (wide ? 112 : 96) + 20, 0x100, 4);
  for (size_t i = 0; i < 2; i++) {
    const size_t section = optional + optional_size + 40 * i;
    Put(&file, section + 12, i == 0 ? 0x1000 : kAddress, 4);
    Put(&file, section + 16, 0x200, 4);
    Put(&file, section + 20, i == 0 ? 0x200 : kResources, 4);
    Put(&file, section + 36, 0, 4);
  }
  // Resource types 2 and 16; type 16 has one name, one language and one block of bytes.
  Put(&file, kResources + 14, 2, 2);
  Put(&file, kResources + 16, 2, 4);
  Put(&file, kResources + 20, 0x80000000, 4);
  Put(&file, kResources + 24, 16, 4);
  Put(&file, kResources + 28, 0x80000000 | 0x20, 4);
  for (const size_t level : {size_t{0x20}, size_t{0x40}}) {
    Put(&file, kResources + level + 14, 1, 2);
    Put(&file, kResources + level + 16, 1036, 4);
    Put(&file, kResources + level + 20, level == 0x20 ? 0x80000040 : 0x60, 4);
  }
  Put(&file, kResources + 0x60, kAddress + 0x80, 4);
  Put(&file, kResources + 0x64, 92, 4);
  const size_t block = kResources + 0x80;
  Put(&file, block, 92, 2);
  Put(&file, block + 2, 52, 2);
  const std::string key = "VS_VERSION_INFO";
  for (size_t i = 0; i < key.size(); i++) Put(&file, block + 6 + 2 * i, static_cast<unsigned char>(key[i]), 2);
  Put(&file, block + 40, 0xFEEF04BD, 4);
  Put(&file, block + 48, version >> 32, 4);
  Put(&file, block + 52, version & 0xFFFFFFFF, 4);
  file.resize(kResources + 0x200);
  return file;
}

}  // namespace zforms
