#pragma once

#include <cstdint>
#include <string>
#include <system_error>

#include "zforms/platform/base/chaine.h"

namespace zforms::tool {

// Why something was not written.
struct BatchFault {
  std::string what;
  // True when another try may succeed, as after a full disk: the data are not to blame.
  bool is_trouble = false;

  // A failure of the system. A file name that the file system refuses is the fault of the data.
  static BatchFault OfSystem(const std::string& what, const std::error_code& error) {
    return {what, error != std::errc::filename_too_long && error != std::errc::invalid_argument &&
                      error != std::errc::illegal_byte_sequence};
  }
};

// BatchOutput is where the forms of a batch go. Take, Open, Enter and Finish are called by one thread at a time, Write
// by any thread. Each function that can fail returns false and sets the fault.
class BatchOutput {
 public:
  enum class Place {
    kFree,     // no such file
    kOurs,     // a file that may be replaced
    kUnsure,   // a file that belongs to this row only if it has the same bytes
    kWritten,  // the complete file of this row exists
    kRefused,  // the row cannot be written; the fault says why
  };
  // The file of a row.
  struct Seat {
    std::string name;
    uint64_t content = 0;  // a hash of the row's values
    uint64_t line = 0;     // the line of the table in which the row starts
    uint64_t row = 0;
    Place place = Place::kRefused;
  };

  BatchOutput() = default;
  BatchOutput(const BatchOutput&) = delete;
  BatchOutput& operator=(const BatchOutput&) = delete;
  virtual ~BatchOutput();

  // Makes sure that no other batch uses the output.
  virtual bool Take(BatchFault* fault);
  // Starts or continues the batch. `job` is a hash of everything that the forms have in common. Precondition: Take
  // returned true.
  virtual bool Open(uint64_t job, BatchFault* fault) = 0;
  // Reserves the file name of the seat.
  virtual void Enter(Seat* seat, BatchFault* fault) = 0;
  // `number` distinguishes threads that write at the same time.
  virtual bool Write(const Seat& seat, unsigned number, const Chaine& bytes, BatchFault* fault) = 0;
  // Makes messages identify rows by number. Without this call they give the line in the table.
  void NameRowsByNumber() { unit_ = "row "; }
  // True when forms must be written in the order of their rows, by one thread at a time.
  virtual bool IsOrdered() const { return false; }
  // Called after the last row, unless the batch was stopped.
  virtual bool Finish(BatchFault* fault);

 protected:
  BatchFault TakenBy(const Seat& seat, uint64_t line) const {
    return {"the file name \"" + seat.name + "\" is already used by " + unit_ + std::to_string(line)};
  }

 private:
  std::string unit_ = "line ";
};

}  // namespace zforms::tool
