#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace zforms::bench {

// The results of a job, which must be the same for all libraries.
struct Tally {
  uint64_t items = 0;
  uint64_t bytes = 0;
};

// The jobs for one library. A job starts from a file's bytes in memory and ends when everything that it made is
// destroyed. Throws std::runtime_error when the library fails.
class Library {
 public:
  virtual ~Library() = default;

  // Opens the file and reads every terminal field's full name, type and value. Counts the fields, and the bytes of
  // names and values in UTF-8.
  virtual Tally List() = 0;
  // Opens the file and loads every object of the cross-reference table. Counts them.
  virtual uint64_t Parse() = 0;
  // Opens the file, sets new values of the first fields in document order without drawing them, and saves to memory, as
  // an update if the library can. Returns the number of bytes saved; copies them to `saved` unless it is null.
  virtual uint64_t Fill(std::string* saved) = 0;
  // Does the same as Fill, and draws the fields that it fills. Throws for a library that does not draw.
  virtual uint64_t Draw(std::string*) { throw std::runtime_error("the library does not draw fields"); }
  // Opens a file whose fields are drawn, makes all fields part of the pages, and saves it to memory. Returns the number
  // of bytes as Fill does. Throws for a library that does not flatten.
  virtual uint64_t Flatten(std::string*) { throw std::runtime_error("the library does not flatten forms"); }
  // Opens the file and saves every object in use to memory, as a new file.
  virtual uint64_t Rewrite(std::string* saved) = 0;
};

// Makes the jobs for a file with these new values (UTF-8). Each program defines this function for its library. The file
// must outlive the result.
std::unique_ptr<Library> MakeLibrary(const std::string& file, const std::vector<std::string>& new_values);

}  // namespace zforms::bench
