#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace benchmark {
class State;
}

namespace zforms::bench {

// The whole of the file; throws std::runtime_error when it cannot be read.
std::string ReadFile(const std::string& path);

// Registers a benchmark "job/input" in wall time, run so often in a process, or for
// as long as the command line says when `iterations` is 0. What is measured with the
// large file runs once: its memory is fresh for all alike then.
void RegisterMeasure(const std::string& name, const std::function<void(benchmark::State&)>& measure,
                     int64_t iterations);

// A benchmark program: registers the four jobs (see library.h) on each form in the
// folder of inputs, "job/form-N", and all but listing on the large file, "job/big".
// What each job came across is reported as counters; with --check also what the
// saved file holds, read back. `add` registers more, given the folder.
int RunBenchmarks(int argc, char** argv, void (*add)(const std::string& folder) = nullptr);

}  // namespace zforms::bench
