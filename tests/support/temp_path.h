#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "zforms/platform/files/os_file.h"

namespace zforms {

// The folder of this test process, created on first use and removed when the process ends.
class TestFolder {
 public:
  TestFolder() : path_(testing::TempDir() + "zforms_tests_" + std::to_string(ProcessNumber()) + "/") {
    std::filesystem::create_directories(path_);
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// A file in the temporary folder that no other test process uses.
inline std::string TempPath(const std::string& name) {
  static const TestFolder folder;
  return folder.Path() + name;
}

}  // namespace zforms
