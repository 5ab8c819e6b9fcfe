#include "zforms/platform/base/diagnostics.h"

#include "zforms/platform/base/number.h"

namespace zforms {

size_t ZDiagnosticsWarningHash::operator()(const ZDiagnosticsWarning& warning) const {
  constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15;
  uint64_t hash = ChaineHash()(warning.text);
  for (const uint64_t part : {uint64_t{warning.object_number}, uint64_t{warning.generation}, warning.offset}) {
    hash = (hash ^ part) * kMultiplier;
    hash ^= hash >> 32;
  }
  return static_cast<size_t>(hash);
}

void ZDiagnostics::Warn(const Warning& warning) {
  if (warnings_.Size() < kMaxWarnings) {
    warnings_.Add(warning);
  } else if (!warnings_.Exist(warning)) {
    ++dropped_;
  }
}

Chaine ZDiagnostics::Describe(const Warning& warning) {
  if (warning.object_number != 0) {
    return "object " + FormatUInt(warning.object_number) + " " + FormatUInt(warning.generation) + ": " + warning.text;
  }
  if (warning.offset != kNoOffset) return "offset " + FormatUInt(warning.offset) + ": " + warning.text;
  return warning.text;
}

}  // namespace zforms
