#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "tool/batch/ledger.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/files/os_file_lock.h"

namespace zforms::tool {

// BatchFolder is where the forms of a batch go. A form is written under another name
// and renamed, so that under its own name there is a whole form or none; no file that
// stood there before, and no form of another row, is ever written over. The ledger says
// that a row is done once its file is in place, and one process at a time has the folder.
//
// Take, Open, Enter by one thread at a time; Write by any.
class BatchFolder {
 public:
  enum class Mode { kNew, kResume, kOverwrite };
  enum class Place {
    kFree,     // nothing stands there
    kOurs,     // what stands there may be replaced
    kWritten,  // the row's form stands there already
    kRefused,  // see the reason
  };
  // The file of a row.
  struct Seat {
    std::string name;
    uint64_t content = 0;  // a hash of the row's values
    Place place = Place::kRefused;
  };

  // Makes the folder when it is missing and keeps other batches out of it. False with a
  // reason when it cannot be used.
  bool Take(const std::string& folder, std::string* error);
  // `job` is a hash of all that the forms have in common. Precondition: Take.
  bool Open(Mode mode, uint64_t job, std::string* error);
  // Finds the place of the seat, whose name goes to the row of that line.
  void Enter(Seat* seat, uint64_t line, std::string* error);
  // `number` tells apart the threads that write at the same time.
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
  std::mutex mutex_;  // guards the ledger
  Ledger ledger_;
};

}  // namespace zforms::tool
