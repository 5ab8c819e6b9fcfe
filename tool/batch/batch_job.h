#pragma once

#include <cstdint>

#include "zforms/filling/row.h"

namespace zforms {
class ZAcroForm;
}

namespace zforms::tool {

class BatchPlan;
struct BatchOptions;

// Hashes by which a later run recognizes the files of an earlier one. They are the same on every machine.

// The hash of the names and values of a row.
uint64_t HashOf(const Row& row);
// The hash of everything that the forms of a batch have in common: the form, the maps and the options.
uint64_t JobOf(const BatchOptions& options, const ZAcroForm& form, const BatchPlan& plan);

}  // namespace zforms::tool
