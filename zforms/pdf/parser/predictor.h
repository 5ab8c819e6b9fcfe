#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// How samples were laid out before a predictor replaced them by differences
// (ISO 32000-1 7.4.4.4); the defaults are those of absent entries.
struct ZPDFPredictor {
  uint32_t predictor = 1;  // 1 none, 2 TIFF, 10 to 15 PNG
  uint32_t colors = 1;
  uint32_t bits = 8;
  uint32_t columns = 1;
};

// The samples that the differences stand for. A last row that is cut short stays so.
// Nothing when the layout makes no sense, or a PNG row names a filter there is not.
std::optional<Chaine> UndoPredictor(const ZPDFPredictor& layout, const Chaine& data);

}  // namespace zforms
