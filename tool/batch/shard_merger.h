#pragma once

namespace zforms::tool {

struct BatchOptions;

// Joins the reports of the shards of a batch to one report, which it writes to a file or prints. Names the shards whose
// report is missing or that were stopped, and the rows of different shards that wanted one file name, by the records in
// the folder of the forms. Returns the exit status: the worst of the shards.
int MergeShardReports(const BatchOptions& options);

}  // namespace zforms::tool
