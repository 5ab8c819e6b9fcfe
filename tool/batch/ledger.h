#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;

namespace zforms::tool {

class Statement;

// Ledger records which row of a batch has which file name, and what that file contains, so that no two rows have the
// same and an interrupted batch can continue. It is an SQLite database with one record for each name: memory does not
// grow with the number of rows, and what was recorded stays when the process is killed. Names that differ in letter
// case or in how an accent is written are the same. One process at a time (see BatchFolder), one thread at a time. A
// shard, whose folder may be used by several machines, keeps a temporary ledger and its record apart (see ShardRecord).
class Ledger {
 public:
  // The state of a row's file. If a run is killed at any point, at worst the file is made again.
  enum class State : uint32_t {
    kNamed,    // this batch has not written the file
    kPlacing,  // the file was perhaps just written for the first time; `content` is its fingerprint
    kStale,    // this batch wrote the file; its content is old or unknown
    kWritten,  // this batch wrote the file with this content
  };
  enum class Claim {
    kNew,      // this batch has not written a file with this name
    kStarted,  // an earlier run was moving the row's file into place
    kOurs,     // an earlier run wrote the file, with other content
    kSame,     // an earlier run wrote the file, with this content
    kTaken,    // another row of this run has the name
    kBroken,   // the ledger cannot be read or written
  };
  struct Holder {
    uint64_t line = 0;   // line of the other row, with kTaken; of the row when it was entered, with kSame
    uint64_t print = 0;  // fingerprint of the file, with kStarted
  };

  Ledger();
  ~Ledger();

  // Creates a ledger for the job and replaces an old one.
  bool Create(const std::string& path, uint64_t job, std::string* error);
  // Opens the ledger of an earlier run of the same job. False with a reason when it belongs to another job, is damaged
  // or is not a ledger. A run that was killed before its first row has left an empty ledger.
  bool Open(const std::string& path, uint64_t job, std::string* error);
  // Opens the ledger of an earlier job for this one: its files may be replaced and are outdated.
  bool StartOver(const std::string& path, uint64_t job, std::string* error);

  // Makes an empty ledger in a temporary file, which is removed with this object.
  bool CreateTemporary(std::string* error);
  // Adds a record of an earlier run. Precondition, also of MarkAllStale: CreateTemporary was called.
  bool Restore(std::string_view name, State state, uint64_t content, uint64_t line);
  // Marks all recorded files as outdated: they may be replaced.
  bool MarkAllStale();

  // Reserves the name for a row of this run.
  Claim Enter(std::string_view name, uint64_t content, uint64_t line, Holder* holder);
  // Records the state of the file of a row; `content` is the fingerprint with kPlacing.
  bool Mark(std::string_view name, State state, uint64_t content);

 private:
  struct Statements;

  void Close();
  bool OpenFile(const std::string& path, std::string* error);
  bool IsSound();
  bool MakeTables(uint64_t job);
  bool ReadJob();
  bool StartRun(uint64_t job, uint64_t since, std::string* error);
  bool Execute(const char* sql);
  // Begins a transaction. It ends when a record must be on the disk before a file changes. Reserved names and written
  // files are committed with it: if the process is killed before, these rows are only filled again.
  bool Begin();
  bool Commit();

  std::string path_;
  sqlite3* database_ = nullptr;
  std::unique_ptr<Statements> statements_;
  uint64_t job_ = 0;
  uint64_t run_ = 1;
  uint64_t since_ = 0;  // files made in this run or a later one are current
};

}  // namespace zforms::tool
