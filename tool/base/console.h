#pragma once

#include <string>
#include <string_view>

#include "zforms/platform/base/diagnostics.h"

namespace zforms::tool {

// The tool's exit statuses.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 2;
inline constexpr int kDoneWithWarnings = 3;
// Not everything was done, for a reason outside of the input, such as a full disk. Another try may succeed. The value
// is EX_TEMPFAIL of <sysexits.h>, which mail systems and schedulers know.
inline constexpr int kTrouble = 75;

// Makes text from a file safe for a terminal: control characters become "\xNN".
std::string Printable(std::string_view text);

// Console writes the messages about one file to standard error, one per line as "zforms: FILE: what is wrong", and
// computes the exit status from them. One thread at a time.
class Console {
 public:
  explicit Console(std::string file);

  // Prints a warning. After the first hundred, warnings are only counted.
  void Warn(std::string_view what);
  // Prints information that is not a fault; it does not change the exit status.
  void Note(std::string_view what) const { Print(what); }
  // Prints all warnings of the diagnostics and, for a damaged file, how to recover it.
  void WarnAll(const ZDiagnostics& diagnostics);
  void Fail(std::string_view what);
  bool HasFailed() const { return failed_; }
  // Prints how many warnings were not shown, and returns the exit status.
  int Finish();

 private:
  void Print(std::string_view what) const;

  std::string file_;
  size_t warnings_ = 0;
  bool advised_ = false;
  bool failed_ = false;
};

}  // namespace zforms::tool
