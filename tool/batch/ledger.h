#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

namespace zforms::tool {

// A hash that is the same in every process and on every machine.
uint64_t StableHash(std::string_view bytes, uint64_t seed = 0);

// Ledger is a file that says which row of a batch has which file name, and what stands
// in that file, so that no two rows have the same and an interrupted batch can go on.
// It is a hash table that stays on the disk: memory does not grow with the number of
// rows, and what was entered is there when the process is killed. Names that differ in
// letter case or in how an accent is written are the same. One thread at a time; layout in the byte order of
// the machine.
class Ledger {
 public:
  // The state of a row's file. If a run is killed at any point, at worst the file is made again.
  enum class State : uint32_t {
    kNamed,    // we have not written the file
    kPlacing,  // our file may be there for the first time; `content` is then its fingerprint
    kStale,    // our file is there, with old or unknown content
    kWritten,  // our file is there, with this content
  };
  enum class Claim {
    kNew,      // we have not written a file of that name
    kStarted,  // an earlier run was moving the row's file into place
    kOurs,     // an earlier run wrote the file, with other content
    kSame,     // an earlier run wrote the file, with this content
    kTaken,    // another row of this run has the name
    kBroken,   // the ledger cannot be read or written
  };
  struct Holder {
    uint64_t line = 0;   // line of the other row, with kTaken
    uint64_t print = 0;  // fingerprint of the file, with kStarted
  };

  // Creates a ledger for the job and replaces an old one.
  bool Create(const std::string& path, uint64_t job, std::string* error);
  // Opens the ledger of an earlier run of the same job. False with a reason when it belongs to another job, is damaged
  // or is not a ledger.
  bool Open(const std::string& path, uint64_t job, std::string* error);
  // Opens the ledger of an earlier job for this one: its files may be replaced and are outdated.
  bool StartOver(const std::string& path, uint64_t job, std::string* error);

  // Reserves the name for a row of this run.
  Claim Enter(std::string_view name, uint64_t content, uint64_t line, Holder* holder);
  // Records the state of the file of a row; `content` is the fingerprint with kPlacing.
  bool Mark(std::string_view name, State state, uint64_t content);

 private:
  struct Slot {
    uint64_t name = 0;  // 0 when the slot is free
    uint64_t content = 0;
    uint64_t line = 0;
    uint32_t run = 0;
    uint32_t seal = 0;  // two bits for the state, the others are a checksum

    State Is() const { return static_cast<State>(seal & 3); }
    uint32_t SealFor(State state) const;
    bool IsSound() const;
  };
  // As long as two slots, so that no slot crosses a sector boundary.
  struct Header {
    char magic[8];
    uint64_t job;
    uint32_t run;
    uint32_t since;  // files made in this run or a later one are current
    uint64_t bits;
    uint64_t spare[3];
    uint64_t check;

    uint64_t CheckSum() const;
  };

  bool OpenFile(const std::string& path, std::ios::openmode mode);
  bool Make(const Header& header);
  bool Install();
  std::string NewPath() const { return path_ + ".new"; }
  bool ReadAt(uint64_t offset, void* to, size_t size);
  bool WriteAt(uint64_t offset, const void* from, size_t size);
  bool Read(const std::string& path, std::string* error);
  bool WriteHeader(std::string* error);
  bool Find(uint64_t name, uint64_t* place, Slot* slot);
  bool WriteSlot(uint64_t place, Slot slot, State state);
  bool CheckSlots();
  bool CopySlots(std::fstream& from, uint64_t bits);
  bool Grow();

  std::string path_;
  std::fstream file_;
  Header header_{};
  uint64_t count_ = 0;
};

}  // namespace zforms::tool
