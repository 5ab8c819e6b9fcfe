#include "zforms/platform/host/host_services.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "tests/support/program_file.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/host_settings.h"
#include "zforms/platform/host/mail.h"
#include "zforms/platform/host/shell.h"
#include "zforms/platform/host/version_resource.h"

namespace zforms {
namespace {

namespace fs = std::filesystem;

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

// Cut anywhere, or with any byte changed, a program gives its version or none, and
// nothing outside of its bytes is read.
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

TEST(ZTempFolder, IsPrivateAndGoesWithItsOwner) {
  std::string path;
  {
    const ZTempFolder folder;
    path = folder.Path().ToString();
    struct stat facts;
    ASSERT_EQ(::stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0700U);
    EXPECT_EQ(facts.st_uid, ::geteuid());
    EXPECT_NE(ZTempFolder().Path(), folder.Path());
    const Chaine file = folder.Write("123\xC2\xB0_F%201", "one");
    EXPECT_EQ(file, folder.Path() + "/123\xC2\xB0_F%201");
    EXPECT_EQ(folder.Write("123\xC2\xB0_F%201", "two"), file);
    Chaine bytes;
    ASSERT_TRUE(ReadFile(file, &bytes));
    EXPECT_EQ(bytes, "two");
    fs::create_directory(path + "/sub");
    fs::create_symlink("/", path + "/sub/root");
  }
  EXPECT_FALSE(fs::exists(path));
  EXPECT_TRUE(fs::exists("/bin"));
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
    EXPECT_EQ(error, "is no file name");
  }
}

TEST(HostSettings, AreReadFromTheUsersFile) {
  const ZTempFolder folder;
  const fs::path home = folder.Path().ToString();
  fs::create_directories(home / "App");
  std::ofstream(home / "App/settings.ini") << "[Settings]\nIgnorePDFVersion=True\nOff=0\nOdd=maybe\nName= a b \n";
  ASSERT_EQ(::setenv("XDG_CONFIG_HOME", home.c_str(), 1), 0);
  const auto settings = OpenSystemSettings("App");
  const auto others = OpenSystemSettings("Other");
  const auto outside = OpenSystemSettings("../App");
  ::unsetenv("XDG_CONFIG_HOME");
  EXPECT_TRUE(settings->Bool("Settings", "IgnorePDFVersion", false));
  EXPECT_FALSE(settings->Bool("Settings", "Off", true));
  EXPECT_TRUE(settings->Bool("Settings", "Odd", true));
  EXPECT_FALSE(settings->Bool("Settings", "Absent", false));
  EXPECT_FALSE(settings->Bool("Others", "IgnorePDFVersion", false));
  EXPECT_EQ(settings->Text("Settings", "Name", ""), "a b");
  EXPECT_FALSE(others->Bool("Settings", "IgnorePDFVersion", false));
  EXPECT_FALSE(outside->Bool("Settings", "IgnorePDFVersion", false));
}

// Programs of the desktop, put in the place of the real ones: each writes down its arguments.
class DesktopTest : public testing::Test {
 protected:
  void SetUp() override {
    const char* const path = std::getenv("PATH");
    old_path_ = path == nullptr ? "" : path;
    for (const char* name : {"xdg-open", "xdg-email", "lp"}) {
      const fs::path program = fs::path(folder_.Path().ToString()) / name;
      std::ofstream(program) << "#!/bin/sh\nfor a in " << name
                             << " \"$@\"; do printf '%s|' \"$a\"; done > \"$0.new\"; mv \"$0.new\" \"$0.told\"\n";
      fs::permissions(program, fs::perms::owner_all);
    }
    ::setenv("PATH", (folder_.Path().ToString() + ":" + old_path_).c_str(), 1);
  }
  void TearDown() override { ::setenv("PATH", old_path_.c_str(), 1); }

  // What the program was called with; waits for it.
  std::string Told(const std::string& name) {
    const fs::path told = fs::path(folder_.Path().ToString()) / (name + ".told");
    for (int i = 0; i < 500 && !fs::exists(told); i++) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::ifstream file(told);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    fs::remove(told);
    return text;
  }

  ZTempFolder folder_;
  std::string old_path_;
};

TEST_F(DesktopTest, ProgramsGetWhatTheyAreToGet) {
  const auto shell = OpenSystemShell();
  EXPECT_TRUE(shell->Execute("/tmp/a b;$(id).pdf", "open"));
  EXPECT_EQ(Told("xdg-open"), "xdg-open|/tmp/a b;$(id).pdf|");
  EXPECT_TRUE(shell->Execute("--help", "open"));
  EXPECT_EQ(Told("xdg-open"), "xdg-open|./--help|");
  EXPECT_TRUE(shell->Execute("-a.pdf", "print"));
  EXPECT_EQ(Told("lp"), "lp|--|-a.pdf|");
  EXPECT_TRUE(shell->OpenURL("http://localhost:1/?a=b&c"));
  EXPECT_EQ(Told("xdg-open"), "xdg-open|http://localhost:1/?a=b&c|");
  EXPECT_FALSE(shell->OpenURL("--help"));
  EXPECT_FALSE(shell->Execute("/tmp/a.pdf", "edit"));
  EXPECT_FALSE(shell->Execute("", "open"));
  EXPECT_FALSE(shell->Execute(Chaine("/tmp/a\0b", 8), "open"));

  ZPDFEmail mail;
  mail.SetSubject("--version");
  mail.SetText("two\nlines");
  mail.AddRecipient("a@example.org");
  mail.AddAttachedFile("/tmp/a.pdf", true);
  const auto mailer = OpenSystemMailer();
  EXPECT_TRUE(mailer->SendMail(mail, true));
  EXPECT_EQ(Told("xdg-email"),
            "xdg-email|--utf8|--subject|--version|--body|two\nlines|--attach|/tmp/a.pdf|a@example.org|");
  EXPECT_FALSE(mailer->SendMail(mail, false));
  mail.AddRecipient("--attach=/etc/passwd");
  EXPECT_FALSE(mailer->SendMail(mail, true));

  ::setenv("PATH", "/nowhere", 1);
  EXPECT_FALSE(shell->Execute("/tmp/a.pdf", "open"));
}

}  // namespace
}  // namespace zforms
