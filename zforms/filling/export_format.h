#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zforms {

// The formats of an export.
enum class ExportFormat : uint8_t { kXFDF, kFDF, kJSON, kJSONLines, kCSV };

struct ExportFormatName {
  std::string_view name;
  ExportFormat format;
  bool takes_several;  // can contain several forms, as rows or objects
};

inline constexpr std::array<ExportFormatName, 5> kExportFormats = {{{"xfdf", ExportFormat::kXFDF, false},
                                                                    {"fdf", ExportFormat::kFDF, false},
                                                                    {"json", ExportFormat::kJSON, true},
                                                                    {"jsonl", ExportFormat::kJSONLines, true},
                                                                    {"csv", ExportFormat::kCSV, true}}};

static_assert(
    [] {
      for (size_t i = 0; i < kExportFormats.size(); i++) {
        if (static_cast<size_t>(kExportFormats[i].format) != i) return false;
      }
      return true;
    }(),
    "the table has the order of ExportFormat");

constexpr const ExportFormatName& NameOf(ExportFormat format) { return kExportFormats[static_cast<size_t>(format)]; }

// The format with this name; null when there is none.
constexpr const ExportFormatName* FindExportFormat(std::string_view name) {
  for (const ExportFormatName& format : kExportFormats) {
    if (format.name == name) return &format;
  }
  return nullptr;
}

}  // namespace zforms
