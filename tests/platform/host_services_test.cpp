#include "zforms/platform/host/host_services.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/program_file.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/version_resource.h"

namespace zforms {
namespace {

constexpr uint64_t kVersion = 0x0008000100020003;

TEST(VersionResource, ReadsBothKindsOfPrograms) {
  ZTempFolder folder;
  for (const bool wide : {false, true}) {
    const std::string program = MakeProgram(wide, kVersion);
    uint64_t version = 0;
    ASSERT_TRUE(ReadVersionResource(program, &version)) << wide;
    EXPECT_EQ(version, kVersion);
    const Chaine path = folder.Write("reader.dll", Chaine(program));
    EXPECT_EQ(GetAppVersionValue(path), kVersion);
    EXPECT_EQ(MajorVersion(GetAppVersionValue(path)), 8);
  }
  EXPECT_EQ(GetAppVersionValue(folder.Path()), 0U);
  EXPECT_EQ(GetAppVersionValue("/nowhere/reader.dll"), 0U);
  EXPECT_EQ(GetAppVersionValue("/bin/sh"), 0U);
}

// A program file that is truncated anywhere, or has any byte changed, gives its version or none. No byte outside of the
// file is read.
TEST(VersionResource, DamageIsNoVersion) {
  const std::string program = MakeProgram(true, kVersion);
  size_t read = 0;
  for (size_t size = 0; size < program.size(); size++) {
    const std::string cut(program.data(), size);
    uint64_t version = 0;
    if (!ReadVersionResource({cut.data(), size}, &version)) continue;
    EXPECT_EQ(version, kVersion) << size;
    read++;
  }
  EXPECT_LT(read, size_t{0x200});
  for (size_t at = 0; at < program.size(); at++) {
    for (const char byte : {'\0', '\x01', '\x7F', '\x80', '\xFF'}) {
      std::string changed = program;
      changed[at] = byte;
      uint64_t version = 0;
      EXPECT_TRUE(ReadVersionResource(changed, &version) || version == 0) << at;
    }
  }
}

TEST(ZTempFolder, TakesPlainNamesOnly) {
  const ZTempFolder folder;
  for (const char* name : {"temp.xfdf", "a b", "\xC3\xA9", "F-1", ".hidden", "console", "COM", "comx.txt"}) {
    EXPECT_FALSE(folder.Write(name, "x").IsEmpty()) << name;
  }
  for (const std::string& name :
       {std::string(), std::string("."), std::string(".."), std::string("a/b"), std::string("../a"),
        std::string("a\\b"), std::string("C:a"), std::string("a\0b", 3), std::string("a\nb"), std::string("a*"),
        std::string("a."), std::string("a "), std::string("nul"), std::string("NUL.txt"), std::string("com1"),
        std::string("\xFF"), std::string(201, 'a')}) {
    std::string error;
    EXPECT_TRUE(folder.Write(name, "x", &error).IsEmpty()) << name;
    EXPECT_EQ(error, "the name cannot be used as a file name");
  }
}

}  // namespace
}  // namespace zforms
