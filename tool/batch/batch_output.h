#pragma once

#include <cstdint>
#include <string>
#include <system_error>

#include "zforms/platform/base/chaine.h"

namespace zforms::tool {

// Why something was not written.
struct BatchFault {
  std::string what;
  // True when another try with the same data may succeed, for example after a full disk.
  bool is_trouble = false;

  // Describes an error of the system. It is trouble, except when the file system refuses the name: that comes from the
  // data.
  static BatchFault OfSystem(const std::string& what, const std::error_code& error) {
    return {what, error != std::errc::filename_too_long && error != std::errc::invalid_argument &&
                      error != std::errc::illegal_byte_sequence};
  }
};

// BatchOutput writes the forms of a batch. Take, Open, Enter and Finish are called by one thread at a time, Write by
// any thread. Each function that can fail sets the fault, and returns false if it has a result.
class BatchOutput {
 public:
  enum class Place {
    kFree,     // no such file
    kOurs,     // a file that may be replaced
    kUnsure,   // a file that belongs to this row only if it has the same bytes
    kWritten,  // the complete file of this row exists
    kRefused,  // the row must not be written; the fault says why
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

  // Reserves the output for this batch; false when another batch uses it.
  virtual bool Take(BatchFault* fault);
  // Starts or continues the batch. `job` is a hash of everything that the forms have in common. Precondition: Take
  // returned true.
  virtual bool Open(uint64_t job, BatchFault* fault) = 0;
  // Reserves the file name of the seat, and sets its place.
  virtual void Enter(Seat* seat, BatchFault* fault) = 0;
  // Writes the form of a row. `number` is different for each thread that writes at the same time.
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
