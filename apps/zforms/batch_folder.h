#pragma once

#include <cstdint>
#include <string>

#include "apps/zforms/ledger.h"
#include "platform/chaine.h"

namespace zforms::tool {

// BatchFolder is where the forms of a batch go. A form is written under another name
// and renamed, so that under its own name there is a whole form or none; no file that
// stood there before, and no form of another row, is ever written over.
//
// Open, Enter by one thread at a time; Write by any.
class BatchFolder {
 public:
  enum class Mode { kNew, kResume, kOverwrite };
  enum class Place {
    kFree,     // nothing stands there
    kOurs,     // what stands there may be replaced
    kDone,     // the row's form stands there already
    kRefused,  // see the reason
  };

  // Makes the folder when it is missing. False with a reason when it cannot be used.
  // `job` is a hash of all that the forms have in common.
  bool Open(const std::string& folder, Mode mode, uint64_t job, std::string* error);
  // Gives the name to a row.
  Place Enter(const std::string& name, uint64_t content, uint64_t line, std::string* error);
  // `number` tells apart the threads that write at the same time.
  bool Write(const std::string& name, Place place, unsigned number, const Chaine& bytes, std::string* error) const;

 private:
  std::string PathOf(const std::string& name) const { return folder_ + "/" + name; }
  void RemoveLeftOvers() const;

  std::string folder_;
  Mode mode_ = Mode::kNew;
  Ledger ledger_;
};

}  // namespace zforms::tool
