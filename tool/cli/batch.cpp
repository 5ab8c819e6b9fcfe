// Fills a form once for each row of a table, or joins the reports of shards.

#include <atomic>
#include <filesystem>
#include <memory>

#include "tool/base/files.h"
#include "tool/base/standard_streams.h"
#include "tool/base/stop_signal.h"
#include "tool/batch/batch_run.h"
#include "tool/batch/shard_merger.h"
#include "tool/cli/commands.h"
#include "tool/data/postgres_rows.h"
#include "zforms/platform/text/byte_order_mark.h"

namespace zforms::tool {
namespace {

// The message about options that do not fit together, which the parser of the command line does not check; empty when
// there is no fault.
std::string FaultOf(const BatchOptions& options) {
  if (options.file == kStandardStream && (options.data == kStandardStream || options.query_file == kStandardStream)) {
    return "the form and the data cannot both come from standard input";
  }
  if (options.HasDatabase() == options.query.empty()) {
    return options.HasDatabase() ? "the rows of a database need a query: --query or --query-file"
                                 : "--query needs the address of a database, --data postgresql://...";
  }
  if (options.query.find('\0') != std::string::npos) {
    return "the query contains a zero byte; save its file as text in UTF-8";
  }
  if (options.shard.IsPart() && options.HasDatabase() && !OrdersRows(options.query)) {
    return "--shard needs a query with ORDER BY, so that all shards read the same rows in the same order";
  }
  const bool is_archive = options.folder == kStandardStream;
  if ((is_archive || !options.merged.empty()) && (options.resume || options.overwrite)) {
    return "--resume and --overwrite need a folder; an archive or a merged file is always written from the beginning";
  }
  if (is_archive && options.report == kStandardStream) {
    return "the archive and the report cannot both go to standard output";
  }
  for (const std::string& file : {options.merged, options.report}) {
    if (std::error_code error; std::filesystem::is_directory(FilePath(file), error)) return file + " is a folder";
  }
  if (options.merged == kStandardStream) return "--merge needs a file; it cannot write to standard output";
  return is_archive && TerminalColumns() > 0
             ? "--out - needs a file or a pipe; it cannot write the archive to a terminal"
             : "";
}

// Reads the file with the query. When it cannot be read, prints the reason and returns false.
bool ReadQuery(BatchOptions* options) {
  constexpr uint64_t kMost = 1 << 20;
  if (options->query_file.empty()) return true;
  Console console(options->query_file);
  Chaine bytes;
  if (!ReadInput(options->query_file, &bytes, console, {kMost})) return false;
  options->query = WithoutUTF8Mark(bytes);
  return true;
}

}  // namespace

int RunBatch(const BatchOptions& options) {
  if (!options.merged_reports.empty()) return MergeShardReports(options);
  Console console(options.ShownData());
  BatchOptions complete = options;
  if (!ReadQuery(&complete)) return kFailed;
  if (const std::string fault = FaultOf(complete); !fault.empty()) {
    console.Fail(fault);
    return kFailed;
  }
  HoldStopSignals();
  // A shared pointer, because the thread that waits for signals uses the flag and outlives the run.
  const auto is_asked = std::make_shared<std::atomic<bool>>(false);
  WhenStopped([is_asked] { *is_asked = true; });
  BatchRun run(complete, console, [is_asked] { return is_asked->load(); });
  return run.Prepare() ? run.Run() : run.StatusOfRefusal();
}

}  // namespace zforms::tool
