#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;

namespace zforms::tool {

class Statement;

// Ledger records the file name of each row of a batch, and what that file contains, so that no two rows have the same
// file name and an interrupted batch can continue. It is an SQLite database with one record for each name, so memory
// does not grow with the number of rows. Committed records remain when the process is killed. Names that differ only in
// letter case or in how an accent is encoded are the same. One process at a time (see BatchFolder), one thread at a
// time. Several machines may use the folder of a shard, so a shard has only a temporary ledger, and a ShardRecord in
// the folder.
class Ledger {
 public:
  // The state of a row's file. When a run is killed, the worst that can happen is that the file is made again.
  enum class State : uint32_t {
    kNamed,    // this batch has not written the file
    kPlacing,  // the file was perhaps just written for the first time; `content` is its fingerprint
    kStale,    // this batch wrote the file; its content is outdated or unknown
    kWritten,  // this batch wrote the file with this content
  };
  enum class Claim {
    kNew,      // this batch has not written a file with this name
    kStarted,  // an earlier run began to move the row's file into place and did not record the end
    kOurs,     // an earlier run wrote the file, with other content
    kSame,     // an earlier run wrote the file, with this content
    kTaken,    // another row of this run has the name
    kBroken,   // the ledger cannot be read or written
  };
  struct Holder {
    uint64_t line = 0;   // with kTaken, the line of the other row; with kSame, the line of the row in the earlier run
    uint64_t print = 0;  // with kStarted, the fingerprint of the file
  };

  Ledger();
  ~Ledger();

  // Creates a ledger for the job; deletes an older one at this path.
  bool Create(const std::string& path, uint64_t job, std::string* error);
  // Opens the ledger of an earlier run of the same job; also an empty file, which a run leaves when it is killed before
  // its first row. False with a reason when the ledger belongs to another job, is damaged or is not a ledger.
  bool Open(const std::string& path, uint64_t job, std::string* error);
  // Opens the ledger of an earlier job for this one. The files of that job count as outdated and may be replaced.
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
  // Begins a transaction, unless one is open. Reserved names and written files stay in it uncommitted: if the process
  // is killed, these rows are only filled again. It is committed when a record must be stored before a file changes.
  bool Begin();
  bool Commit();

  std::string path_;
  sqlite3* database_ = nullptr;
  std::unique_ptr<Statements> statements_;
  uint64_t job_ = 0;
  uint64_t run_ = 1;
  uint64_t since_ = 0;  // the first run whose files are up to date
};

}  // namespace zforms::tool
