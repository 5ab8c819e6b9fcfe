#pragma once

#include <cstddef>
#include <cstdint>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// A fault that was found and worked around, and its place.
struct ZFORMS_API ZDiagnosticsWarning {
  static constexpr uint64_t kNoOffset = UINT64_MAX;

  Chaine text;
  // The indirect object with the fault; number 0 when it is in no object.
  uint32_t object_number = 0;
  uint32_t generation = 0;
  // The byte offset in the file, or kNoOffset.
  uint64_t offset = kNoOffset;

  bool operator==(const ZDiagnosticsWarning&) const = default;
};

struct ZFORMS_API ZDiagnosticsWarningHash {
  size_t operator()(const ZDiagnosticsWarning& warning) const;
};

// The messages of a load or a save beside its boolean result: why it failed, and a bounded list of warnings in the
// order in which they were reported. A plain value, owned by the caller of the operation; used by one thread at a time.
class ZFORMS_API ZDiagnostics {
 public:
  using Warning = ZDiagnosticsWarning;
  using WarningList = PUniqueT<Warning, ZDiagnosticsWarningHash>;

  static constexpr uint64_t kNoOffset = Warning::kNoOffset;
  static constexpr size_t kMaxWarnings = 1000;

  // The reason of the failure, written to follow "zforms: FILE: "; empty when nothing failed. A later reason replaces
  // the earlier one.
  const Chaine& Failure() const { return failure_; }
  void SetFailure(const Chaine& reason) { failure_ = reason; }

  // Adds the warning unless the list has the same one already. When the list is full, the warning is only counted.
  void Warn(const Warning& warning);
  void Warn(const Chaine& text) { Warn(Warning{text}); }
  void WarnAt(uint64_t offset, const Chaine& text) { Warn(Warning{text, 0, 0, offset}); }
  void WarnObject(uint32_t number, uint32_t generation, const Chaine& text, uint64_t offset = kNoOffset) {
    Warn(Warning{text, number, generation, offset});
  }

  const WarningList& Warnings() const { return warnings_; }
  // The number of warnings that did not fit into the list.
  size_t DroppedCount() const { return dropped_; }

  // True when the file is damaged and was read without recovery.
  void SetDamaged(bool damaged) { damaged_ = damaged; }
  bool IsDamaged() const { return damaged_; }

  void Clear() { *this = ZDiagnostics(); }

  // "object 12 0: what is wrong", or "offset 123: what is wrong", or only the text.
  static Chaine Describe(const Warning& warning);

 private:
  Chaine failure_;
  WarningList warnings_;
  size_t dropped_ = 0;
  bool damaged_ = false;
};

}  // namespace zforms
