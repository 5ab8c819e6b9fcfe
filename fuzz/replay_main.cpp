// Runs every file of the given folders through the fuzz target that it is linked with, so that the corpora are ordinary
// tests in builds without libFuzzer.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (entry->is_regular_file()) files.push_back(entry->path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

bool Replay(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  // A buffer of exactly the input's size, so that the sanitizers detect a read past its end.
  std::vector<uint8_t> input{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  input.shrink_to_fit();
  if (file.bad() || !file.is_open()) return false;
  LLVMFuzzerTestOneInput(input.data(), input.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  size_t runs = 0;
  for (int i = 1; i < argc; i++) {
    for (const fs::path& path : FilesOf(argv[i])) {
      // Printed before the run, so that a crash can be assigned to its input.
      std::printf("%s\n", path.string().c_str());
      std::fflush(stdout);
      if (!Replay(path)) {
        std::fprintf(stderr, "replay: %s: cannot be read\n", path.string().c_str());
        return 1;
      }
      runs++;
    }
  }
  std::printf("%zu inputs\n", runs);
  if (runs == 0) std::fprintf(stderr, "replay: no inputs found\n");
  return runs == 0 ? 1 : 0;
}
