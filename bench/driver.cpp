#include "bench/driver.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include "bench/inputs.h"
#include "bench/library.h"

namespace zforms::bench {
namespace {

enum class Job { kList, kParse, kFill, kDraw, kRewrite };

constexpr const char* kJobNames[] = {"list", "parse", "fill", "draw", "rewrite"};

struct Input {
  std::string path;
  uint32_t filled_fields;
  int64_t iterations;
};

// A form with at least this many fields is opened a fixed number of times, even by a slow program.
constexpr uint32_t kLargeForm = 10'000;
constexpr int64_t kLargeFormIterations = 3;

Tally RunOnce(Library& library, Job job, std::string* saved) {
  switch (job) {
    case Job::kList: return library.List();
    case Job::kParse: return {library.Parse(), 0};
    case Job::kFill: return {0, library.Fill(saved)};
    case Job::kDraw: return {0, library.Draw(saved)};
    case Job::kRewrite: return {0, library.Rewrite(saved)};
  }
  return {};
}

// Runs the job, and returns the fields of the saved file as the same library reads them.
Tally ReadBack(Library& library, Job job) {
  std::string saved;
  RunOnce(library, job, &saved);
  return MakeLibrary(saved, {})->List();
}

void Measure(benchmark::State& state, const Input& input, Job job, bool check) {
  try {
    const std::string file = ReadFile(input.path);
    const auto library = MakeLibrary(file, NewValues(input.filled_fields));
    Tally tally;
    for (auto _ : state) tally = RunOnce(*library, job, nullptr);
    const bool saves = job == Job::kFill || job == Job::kDraw || job == Job::kRewrite;
    if (saves) state.counters["saved"] = static_cast<double>(tally.bytes);
    if (saves && check) tally = ReadBack(*library, job);
    if (saves && !check) return;
    state.counters["items"] = static_cast<double>(tally.items);
    state.counters["bytes"] = static_cast<double>(tally.bytes);
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
  }
}

void Register(const Input& input, Job job, bool check) {
  const std::string name =
      std::string(kJobNames[static_cast<int>(job)]) + "/" + std::filesystem::path(input.path).stem().string();
  RegisterMeasure(
      name, [=](benchmark::State& state) { Measure(state, input, job, check); }, input.iterations);
}

void RegisterJobs(const std::string& folder, bool check) {
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().stem().string();
    if (entry.path().extension() != ".pdf") continue;
    if (name.starts_with("form-")) {
      const auto fields = static_cast<uint32_t>(std::stoul(name.substr(5)));
      const Input input{entry.path().string(), fields, fields < kLargeForm ? 0 : kLargeFormIterations};
      for (const Job job : {Job::kList, Job::kParse, Job::kFill, Job::kDraw, Job::kRewrite})
        Register(input, job, check);
    } else if (name == "big") {
      const Input input{entry.path().string(), kBigFilledFields, 1};
      for (const Job job : {Job::kParse, Job::kFill, Job::kRewrite}) Register(input, job, check);
    }
  }
}

}  // namespace

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  std::string bytes(file ? static_cast<size_t>(file.tellg()) : 0, '\0');
  file.seekg(0).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file) throw std::runtime_error(path + " cannot be read");
  return bytes;
}

void RegisterMeasure(const std::string& name, const std::function<void(benchmark::State&)>& measure,
                     int64_t iterations) {
  auto* registered = benchmark::RegisterBenchmark(name.c_str(), measure);
  registered->Unit(benchmark::kMillisecond)->UseRealTime();
  if (iterations > 0) registered->Iterations(iterations);
}

int RunBenchmarks(int argc, char** argv, void (*add)(const std::string& folder)) {
  benchmark::Initialize(&argc, argv);
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool check = arguments.size() == 2 && arguments[1] == "--check";
  if (arguments.size() != (check ? 2U : 1U)) {
    std::cerr << "usage: " << argv[0] << " FOLDER_OF_INPUTS [--check] [--benchmark_...]\n";
    return 2;
  }
  RegisterJobs(arguments[0], check);
  if (add != nullptr) add(arguments[0]);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace zforms::bench
