#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// The layout of the samples that a predictor replaced by differences (ISO 32000-1 7.4.4.4). The defaults are the values
// of absent entries.
struct ZPDFPredictor {
  uint32_t predictor = 1;  // 1 none, 2 TIFF, 10 to 15 PNG
  uint32_t colors = 1;
  uint32_t bits = 8;
  uint32_t columns = 1;
};

// Restores the samples from the differences; an incomplete last row stays incomplete. Nothing when the layout is
// invalid, or when a PNG row has an unknown filter.
std::optional<Chaine> UndoPredictor(const ZPDFPredictor& layout, const Chaine& data);

}  // namespace zforms
