#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

namespace zforms::tool {

// A hash that is the same in every process and on every machine.
uint64_t StableHash(std::string_view bytes, uint64_t seed = 0);

// Ledger is a file that says which row of a batch has which file name, so that no two
// rows have the same and an interrupted batch can go on. It is a hash table that stays
// on the disk: memory does not grow with the number of rows, and what was entered is
// there when the process is killed. Names that differ in letter case alone are the
// same. One thread at a time; layout in the byte order of the machine.
class Ledger {
 public:
  enum class Claim {
    kNew,      // nobody had the name
    kSame,     // the same row had it in an earlier run
    kChanged,  // another content had it in an earlier run
    kTaken,    // another row of this run has it
    kFailed,   // the file cannot be read or written
  };
  struct Holder {
    uint64_t line = 0;
  };

  // Makes a new ledger for the job, in place of an old one.
  bool Create(const std::string& path, uint64_t job, std::string* error);
  // Opens the ledger of an earlier run of the same job. False with a reason when it is
  // that of another job or no ledger.
  bool Open(const std::string& path, uint64_t job, std::string* error);

  // Enters the name for a row; `holder` gets the row that has it when it is taken.
  Claim Enter(std::string_view name, uint64_t content, uint64_t line, Holder* holder);

 private:
  struct Slot {
    uint64_t name = 0;  // 0 when the slot is free
    uint64_t content = 0;
    uint64_t line = 0;
    uint64_t run = 0;
  };
  struct Header {
    char magic[8];
    uint64_t job;
    uint64_t run;
    uint64_t bits;
  };

  bool OpenFile(const std::string& path, std::ios::openmode mode);
  bool Make(const Header& header);
  bool Install();
  std::string NewPath() const { return path_ + ".new"; }
  bool ReadAt(uint64_t offset, void* to, size_t size);
  bool WriteAt(uint64_t offset, const void* from, size_t size);
  bool Find(uint64_t name, uint64_t* place, Slot* slot);
  bool CountSlots();
  bool Grow();

  std::string path_;
  std::fstream file_;
  Header header_{};
  uint64_t count_ = 0;
};

}  // namespace zforms::tool
