// Runs one of the jobs for an instruction counter, which counts only inside RunJob: "zforms_counts JOB FORM
// FIELDS". "zforms_counts toolchain" prints the versions that the counts depend on besides the code.
//
// The jobs are those of bench/library.h, and "batch", which fills the form once for each of kRows rows.

#include <gnu/libc-version.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/inputs.h"
#include "bench/library.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/filling/form_batch.h"
#include "zforms/platform/files/inet_stream.h"

namespace {

using zforms::bench::Library;

constexpr int kRows = 20;

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

void AddFullNames(const zforms::ZAcroFormFieldCollection& fields, std::vector<std::string>* names) {
  for (uint32_t i = 0; i < fields.Size(); i++) {
    const zforms::ZAcroFormField& field = *fields.GetAt(i);
    AddFullNames(field, names);
    if (field.Size() == 0) names->push_back(field.FullNameUTF8().ToString());
  }
}

// Fills the form with rows that give every field its new value, without drawing.
class Batch {
 public:
  Batch(const std::string& file, const std::vector<std::string>& values) : file_(file) {
    for (const std::string& value : values) row_.cells.push_back({value, {}, false});
  }

  bool Run() {
    zforms::ZAcroForm form;
    zforms::ZInetChaineIStream in(file_);
    if (!form.Load(in, zforms::Chaine())) return false;
    auto names = std::make_shared<std::vector<std::string>>();
    AddFullNames(form.Fields(), names.get());
    row_.names = names;
    zforms::ZFormBatch batch(form, {});
    zforms::ZFormMessages messages;
    bool done = names->size() == row_.cells.size() && batch.Prepare(&messages);
    for (int i = 0; i < kRows; i++) {
      zforms::Chaine bytes;
      done = done && batch.Fill(row_, &bytes, &messages);
    }
    return done;
  }

 private:
  zforms::Chaine file_;
  zforms::Row row_;
};

bool RunOnce(Library& library, Batch& batch, std::string_view job) {
  if (job == "batch") return batch.Run();
  if (job == "list") return library.List().items > 0;
  if (job == "parse") return library.Parse() > 0;
  if (job == "fill") return library.Fill(nullptr) > 0;
  if (job == "draw") return library.Draw(nullptr) > 0;
  if (job == "flatten") return library.Flatten(nullptr) > 0;
  if (job == "rewrite") return library.Rewrite(nullptr) > 0;
  return false;
}

}  // namespace

extern "C" [[gnu::noinline]] bool RunJob(Library& library, Batch& batch, std::string_view job) {
  bool done = true;
  for (int i = 0; i < kRuns; i++) done = RunOnce(library, batch, job) && done;
  return done;
}

int main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == "toolchain") {
    std::cout << Toolchain() << "\n";
    return 0;
  }
  if (argc != 4) {
    std::cerr << "usage: zforms_counts (list | parse | fill | draw | flatten | rewrite | batch) FORM FIELDS\n"
                 "       zforms_counts toolchain\n";
    return 2;
  }
  std::ifstream in(argv[2], std::ios::binary);
  const std::string file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const auto values = zforms::bench::NewValues(static_cast<uint32_t>(std::atoi(argv[3])));
  const auto library = zforms::bench::MakeLibrary(file, values);
  Batch batch(file, values);
  const bool done = RunOnce(*library, batch, argv[1]) && RunJob(*library, batch, argv[1]);
  if (!done) std::cerr << "zforms_counts: the job came across nothing\n";
  return done ? 0 : 1;
}
