#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "tool/batch/batch_output.h"
#include "tool/batch/ledger.h"
#include "tool/batch/shard.h"
#include "tool/batch/shard_record.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/files/os_file_lock.h"

namespace zforms::tool {

// BatchFolder is the output folder of a batch. A form is written under a temporary name and then renamed, so that its
// file is always complete. Forms of other rows are never overwritten, and files that existed before only in the mode
// kOverwrite. The ledger marks a row as done after its file is in place. Only one process at a time uses the folder,
// except for shards: they take no lock, and a shard replaces only files that it has recorded as its own.
class BatchFolder final : public BatchOutput {
 public:
  using Mode = ShardRecord::Start;

  BatchFolder(std::string folder, Mode mode, const Shard& shard);

  // Creates the folder when it is missing and locks it against other batches.
  bool Take(BatchFault* fault) override;
  bool Open(uint64_t job, BatchFault* fault) override;
  void Enter(Seat* seat, BatchFault* fault) override;
  bool Write(const Seat& seat, unsigned number, const Chaine& bytes, BatchFault* fault) override;
  bool Finish(BatchFault* fault) override;

 private:
  std::string PathOf(const std::string& name) const { return folder_ + "/" + name; }
  // The prefix of the temporary file names of this batch or shard.
  std::string PartPrefix() const;
  void RemoveLeftOvers() const;
  bool OpenShard(uint64_t job, BatchFault* fault);
  bool OpenLedger(uint64_t job, BatchFault* fault);
  bool Mark(const Seat& seat, Ledger::State state, uint64_t content);
  bool Record(const Seat& seat, Ledger::State state, uint64_t content);
  // The fault that the record of the batch, or of this shard, cannot be written.
  BatchFault NotRecorded() const;
  Place PlaceOf(const Seat& seat, Ledger::Claim claim, uint64_t print, BatchFault* fault);
  bool Move(const std::string& part, const Seat& seat, const Chaine& bytes, BatchFault* fault);
  bool MoveToFree(const std::string& part, const Seat& seat, const Chaine& bytes, BatchFault* fault);
  bool ClaimAndRename(const std::string& part, const Seat& seat, BatchFault* fault);
  bool AcceptSame(const Seat& seat, const Chaine& bytes, BatchFault* fault);

  const std::string folder_;
  const Mode mode_;
  const Shard shard_;
  OsFileLock lock_;
  std::mutex mutex_;  // protects the ledger and the record
  Ledger ledger_;
  ShardRecord record_;
};

}  // namespace zforms::tool
