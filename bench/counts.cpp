// Runs one of the jobs for an instruction counter, which counts only inside RunJob: "zforms_counts JOB FORM
// FIELDS". "zforms_counts toolchain" prints the versions that the counts depend on besides the code.

#include <gnu/libc-version.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

#include "bench/inputs.h"
#include "bench/library.h"

namespace {

using zforms::bench::Library;

// How often a job is counted, after one run that is not counted, which brings the allocator and the linker's tables
// into their final state.
constexpr int kRuns = 5;

std::string Toolchain() {
#ifdef __clang__
  const std::string compiler = "clang " + std::to_string(__clang_major__);
#else
  const std::string compiler = "g++ " + std::to_string(__GNUC__);
#endif
  return compiler + ", glibc " + gnu_get_libc_version();
}

bool RunOnce(Library& library, std::string_view job) {
  if (job == "list") return library.List().items > 0;
  if (job == "parse") return library.Parse() > 0;
  if (job == "fill") return library.Fill(nullptr) > 0;
  if (job == "draw") return library.Draw(nullptr) > 0;
  if (job == "flatten") return library.Flatten(nullptr) > 0;
  if (job == "rewrite") return library.Rewrite(nullptr) > 0;
  return false;
}

}  // namespace

extern "C" [[gnu::noinline]] bool RunJob(Library& library, std::string_view job) {
  bool done = true;
  for (int i = 0; i < kRuns; i++) done = RunOnce(library, job) && done;
  return done;
}

int main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == "toolchain") {
    std::cout << Toolchain() << "\n";
    return 0;
  }
  if (argc != 4) {
    std::cerr << "usage: zforms_counts (list | parse | fill | draw | flatten | rewrite) FORM FIELDS\n       "
                 "zforms_counts toolchain\n";
    return 2;
  }
  std::ifstream in(argv[2], std::ios::binary);
  const std::string file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const auto values = zforms::bench::NewValues(static_cast<uint32_t>(std::atoi(argv[3])));
  const auto library = zforms::bench::MakeLibrary(file, values);
  const bool done = RunOnce(*library, argv[1]) && RunJob(*library, argv[1]);
  if (!done) std::cerr << "zforms_counts: the job came across nothing\n";
  return done ? 0 : 1;
}
