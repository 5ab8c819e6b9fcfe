#include "tool/batch/batch_job.h"

#include "tool/batch/batch_options.h"
#include "tool/batch/batch_plan.h"
#include "tool/batch/stable_hash.h"
#include "zforms/acroform/acro_form.h"

namespace zforms::tool {

uint64_t HashOf(const Row& row) {
  uint64_t hash = 0;
  for (size_t i = 0; i < row.cells.size(); i++) {
    const Cell& cell = row.cells[i];
    hash = StableHash((*row.names)[i], hash);
    hash = StableHash(cell.text, hash + (cell.is_null ? 1 : 0));
    for (const std::string& more : cell.more) hash = StableHash(more, hash + 2);
  }
  return hash;
}

uint64_t JobOf(const BatchOptions& options, const ZAcroForm& form, const BatchPlan& plan) {
  uint64_t job = StableHash(form.RawData());
  job = StableHash(options.name, job);
  if (options.guard.keep_xfa) job = StableHash("--xfa keep", job);
  if (options.guard.force) job = StableHash("--force", job);
  job = StableHash(options.drawing.draw ? "drawn" : "--draw no", job);
  if (options.flatten) job = StableHash("--flatten", job);
  if (!options.calculate) job = StableHash("--calculate no", job);
  for (const std::string& font : options.drawing.fonts) job = StableHash(font, job);
  for (const BatchField& field : plan.Fields()) {
    job = StableHash(field.name + "\n" + field.full_column + "\n" + field.column + "\n" + field.constant.text, job);
  }
  return job;
}

}  // namespace zforms::tool
