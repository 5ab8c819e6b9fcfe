// Fills a form once for each row of a table, or joins the reports of shards.

#include <atomic>
#include <memory>

#include "tool/base/files.h"
#include "tool/base/standard_streams.h"
#include "tool/base/stop_signal.h"
#include "tool/batch/batch_run.h"
#include "tool/batch/shard_merger.h"
#include "tool/cli/commands.h"

namespace zforms::tool {
namespace {

// What is wrong with the options, which the command line does not check; empty when nothing is.
std::string FaultOf(const BatchOptions& options) {
  if (options.file == kStandardStream && options.data == kStandardStream) {
    return "the form and the data cannot both come from standard input";
  }
  const bool is_archive = options.folder == kStandardStream;
  if ((is_archive || !options.merged.empty()) && (options.resume || options.overwrite)) {
    return "an archive or a merged file can be neither continued nor overwritten";
  }
  if (options.merged == kStandardStream) return "a merged file is not written to standard output";
  return is_archive && TerminalColumns() > 0 ? "the archive is not written to a terminal" : "";
}

}  // namespace

int RunBatch(const BatchOptions& options) {
  if (!options.merged_reports.empty()) return MergeShardReports(options);
  Console console(options.data);
  if (const std::string fault = FaultOf(options); !fault.empty()) {
    console.Fail(fault);
    return kFailed;
  }
  HoldStopSignals();
  // Shared with the thread that waits for signals, which outlives the run.
  const auto is_asked = std::make_shared<std::atomic<bool>>(false);
  WhenStopped([is_asked] { *is_asked = true; });
  BatchRun run(options, console, [is_asked] { return is_asked->load(); });
  return run.Prepare() ? run.Run() : run.StatusOfRefusal();
}

}  // namespace zforms::tool
