#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace benchmark {
class State;
}

namespace zforms::bench {

// The contents of the file; throws std::runtime_error when it cannot be read.
std::string ReadFile(const std::string& path);

// Registers a benchmark "job/input" of wall time. It runs `iterations` times in a process; with 0, as long as the
// command line says. A benchmark of the large file runs only once: otherwise a library could use memory of an earlier
// run again.
void RegisterMeasure(const std::string& name, const std::function<void(benchmark::State&)>& measure,
                     int64_t iterations);

// The main function of a benchmark program: registers every job (see library.h) for each form in the folder of
// inputs, "job/form-N", and every job except List for the large file, "job/big". Reports the tallies of each job as
// counters; with --check also the tallies of the saved file, read back. `add` registers more benchmarks; it gets the
// folder.
int RunBenchmarks(int argc, char** argv, void (*add)(const std::string& folder) = nullptr);

}  // namespace zforms::bench
