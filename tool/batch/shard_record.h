#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/batch/batch_output.h"
#include "tool/batch/ledger.h"
#include "tool/batch/shard.h"
#include "zforms/platform/files/os_file.h"

namespace zforms::tool {

// ShardRecord records the files that a shard of a batch has written. It is in the folder of the forms, which several
// machines may use at the same time. Each run creates a file of its own, which must not exist before, and only appends
// to it. A later run of the shard reads the files of the earlier ones. So no lock is needed, and a run that is still
// alive when another one is started in its place does no harm. See docs/formats/batch_folder.md. One thread at a time.
class ShardRecord {
 public:
  enum class Start { kNew, kResume, kOverwrite };
  struct Entry {
    Ledger::State state;
    uint64_t content, line, row;
    std::string_view name;
  };

  // Adds the entries of this shard's earlier runs to the ledger, and creates the file of this run. False when the
  // folder contains a batch that is divided into another number of shards or makes other forms, or when that fails.
  bool Open(const std::string& folder, const Shard& shard, Start start, uint64_t job, Ledger* ledger,
            BatchFault* fault);
  bool Append(const Entry& entry);
  // The number of this run, from 1.
  uint64_t Run() const { return run_; }

  // The record files of one shard in the folder, in the order of their runs; empty when there are none or the folder
  // cannot be read.
  static std::vector<std::string> FilesOf(const std::string& folder, const Shard& shard);
  // True when any shard has a record in the folder.
  static bool AnyIn(const std::string& folder);
  // Calls `take` for each complete entry of a record file. False when the file cannot be read, or when `take` returns
  // false, which ends the reading.
  static bool Read(const std::string& path, const std::function<bool(const Entry&)>& take);

 private:
  bool Create(const std::string& folder, const Shard& shard, Start start, BatchFault* fault);
  static void Restore(const std::string& path, Ledger* ledger, BatchFault* fault);

  uint64_t job_ = 0;
  uint64_t run_ = 0;
  OsFile file_;
};

}  // namespace zforms::tool
