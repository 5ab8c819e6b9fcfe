// The jobs with zforms, and benchmarks of zforms only.

#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>

#include "bench/driver.h"
#include "bench/library.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::bench {
namespace {

// Measures copying the file's bytes once into newly allocated memory.
void MeasureCopy(benchmark::State& state, const std::string& path) {
  const std::string file = ReadFile(path);
  for (auto _ : state) {
    const std::unique_ptr<char[]> copy(new char[file.size()]);
    std::memcpy(copy.get(), file.data(), file.size());
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
  }
  state.counters["size"] = static_cast<double>(file.size());
}

void MeasureParse(benchmark::State& state, const std::string& path) {
  const std::string file = ReadFile(path);
  const auto library = MakeLibrary(file, {});
  uint64_t objects = 0;
  for (auto _ : state) objects = library->Parse();
  state.counters["items"] = static_cast<double>(objects);
  state.counters["size"] = static_cast<double>(file.size());
}

void MeasureXFDFRead(benchmark::State& state, const std::string& path) {
  const Chaine text = ReadFile(path);
  bool has_fields = true;
  for (auto _ : state) {
    ZXFDF data;
    data.FromChaine(text);
    has_fields = has_fields && data.HasFields();
  }
  if (!has_fields) state.SkipWithError("the XFDF file holds no fields");
  state.counters["size"] = static_cast<double>(text.size());
}

void MeasureXFDFWrite(benchmark::State& state, const std::string& path) {
  ZXFDF data;
  data.Read(path);
  size_t size = 0;
  for (auto _ : state) size = data.AsChaine().size();
  if (size == 0) state.SkipWithError("nothing was written");
  state.counters["size"] = static_cast<double>(size);
}

using MeasureFile = void (*)(benchmark::State&, const std::string&);

void Register(const std::string& name, MeasureFile measure, const std::string& path) {
  RegisterMeasure(
      name, [=](benchmark::State& state) { measure(state, path); }, name == "copy/big" ? 1 : 0);
}

void AddOwn(const std::string& folder) {
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string path = entry.path().string();
    const std::string name = entry.path().stem().string();
    if (name == "big" && entry.path().extension() == ".pdf") Register("copy/big", MeasureCopy, path);
    for (const char* kind : {"objects-", "line-", "nest-", "flat-"}) {
      if (name.starts_with(kind)) Register("parse/" + name, MeasureParse, path);
    }
    if (entry.path().extension() == ".xfdf") {
      Register("xfdf-read/" + name, MeasureXFDFRead, path);
      Register("xfdf-write/" + name, MeasureXFDFWrite, path);
    }
  }
}

}  // namespace
}  // namespace zforms::bench

int main(int argc, char** argv) { return zforms::bench::RunBenchmarks(argc, argv, zforms::bench::AddOwn); }
