#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/os_file.h"

namespace zforms {

// A file in the temporary folder that no other test process uses.
inline std::string TempPath(const std::string& name) {
  return testing::TempDir() + std::to_string(ProcessNumber()) + "_" + name;
}

}  // namespace zforms
