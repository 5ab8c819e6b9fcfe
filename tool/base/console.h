#pragma once

#include <string>
#include <string_view>

#include "zforms/platform/base/diagnostics.h"

namespace zforms::tool {

// What the tool's exit status says.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 2;
inline constexpr int kDoneWithWarnings = 3;

// Text from a file made safe for a terminal: control characters become "\xNN".
std::string Printable(std::string_view text);

// Console writes what is wrong with one file to standard error, a line each as
// "zforms: FILE: what is wrong", and keeps the exit status that follows from it.
class Console {
 public:
  explicit Console(std::string file);

  // Each line once; after the first hundred they are only counted.
  void Warn(std::string_view what);
  // What is worth knowing though nothing is wrong; the exit status does not tell.
  void Note(std::string_view what) const { Print(what); }
  // Of a damaged file it also says how to recover it.
  void WarnAll(const ZDiagnostics& diagnostics);
  void Fail(std::string_view what);
  // The exit status; says first how many warnings were not shown.
  int Finish();

 private:
  void Print(std::string_view what) const;

  std::string file_;
  size_t warnings_ = 0;
  bool advised_ = false;
  bool failed_ = false;
};

}  // namespace zforms::tool
