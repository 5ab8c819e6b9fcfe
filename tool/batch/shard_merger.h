#pragma once

namespace zforms::tool {

struct BatchOptions;

// Joins the reports of the shards of a batch to one report, which it writes to a file or prints. Warns about shards
// that were stopped or have no report. Also warns about rows of different shards with the same file name, which it
// finds in the shards' records in the folder of the forms. Returns the exit status: the worst of the shards.
int MergeShardReports(const BatchOptions& options);

}  // namespace zforms::tool
