#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zforms::bench {

// What a job came across: the programs have to agree on it.
struct Tally {
  uint64_t items = 0;
  uint64_t bytes = 0;
};

// What one library does in each job. A job takes a file's bytes in memory and ends
// with everything that it made destroyed. Throws std::runtime_error when the
// library does not do what it is asked to.
class Library {
 public:
  virtual ~Library() = default;

  // Opens, and reads every terminal field's full name, type and value. Counts the
  // fields, and the bytes of the names and the values in UTF-8.
  virtual Tally List() = 0;
  // Opens, and loads every object of the cross-reference table. Counts them.
  virtual uint64_t Parse() = 0;
  // Opens, gives the first fields in document order their new values without
  // drawing them, and saves to memory, as an update where the library can. Returns
  // the bytes saved; copies them to `saved` unless it is null.
  virtual uint64_t Fill(std::string* saved) = 0;
  // Opens, and saves every object in use anew to memory.
  virtual uint64_t Rewrite(std::string* saved) = 0;
};

// Each program defines it for its library. The file outlives what it returns; what
// a library needs beside the file (its copy of the new values, UTF-8) is made here.
std::unique_ptr<Library> MakeLibrary(const std::string& file, const std::vector<std::string>& new_values);

}  // namespace zforms::bench
