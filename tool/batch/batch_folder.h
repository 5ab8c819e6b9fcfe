#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "tool/batch/ledger.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/files/os_file_lock.h"

namespace zforms::tool {

// BatchFolder is the output folder of a batch. A form is written under a temporary name and renamed, so that its file
// is always complete. Files that existed before, and forms of other rows, are never overwritten. The ledger marks a row
// as done after its file is in place. Only one process at a time uses the folder.
//
// Take, Open and Enter are called by one thread at a time, Write by any thread.
class BatchFolder {
 public:
  enum class Mode { kNew, kResume, kOverwrite };
  enum class Place {
    kFree,     // no such file
    kOurs,     // a file that may be replaced
    kWritten,  // the file of this row is there already
    kRefused,  // see the reason
  };
  // The file of a row.
  struct Seat {
    std::string name;
    uint64_t content = 0;  // a hash of the row's values
    Place place = Place::kRefused;
  };

  // Creates the folder when it is missing and locks it against other batches. False with a reason when it cannot be
  // used.
  bool Take(const std::string& folder, std::string* error);
  // `job` is a hash of everything that the forms have in common. Precondition: Take.
  bool Open(Mode mode, uint64_t job, std::string* error);
  // Reserves the file name of the seat for the row of that line.
  void Enter(Seat* seat, uint64_t line, std::string* error);
  // `number` distinguishes threads that write at the same time.
  bool Write(const Seat& seat, unsigned number, const Chaine& bytes, std::string* error);

 private:
  std::string PathOf(const std::string& name) const { return folder_ + "/" + name; }
  void RemoveLeftOvers() const;
  bool Mark(const Seat& seat, Ledger::State state, uint64_t content);
  bool Move(const std::string& part, const Seat& seat, uint64_t print, std::string* error);
  bool MoveToFree(const std::string& part, const Seat& seat, uint64_t print, std::string* error);

  std::string folder_;
  OsFileLock lock_;
  Mode mode_ = Mode::kNew;
  std::mutex mutex_;  // protects the ledger
  Ledger ledger_;
};

}  // namespace zforms::tool
