// Services of POSIX systems: permissions and links of files, settings, programs of the desktop.

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
#include <vector>

#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/files/mapped_file.h"
#include "zforms/platform/files/os_file.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/host_settings.h"
#include "zforms/platform/host/mail.h"
#include "zforms/platform/host/shell.h"

namespace zforms {
namespace {

namespace fs = std::filesystem;

TEST(FilesOfPOSIX, AreReplacedWithTheirPermissionsAndLinks) {
  const ZTempFolder temp;
  const fs::path folder = temp.Path().ToString();
  const auto at = [&](const char* name) { return Chaine((folder / name).string()); };
  const auto content = [&](const char* name) { return ZInetFileIStream(at(name)).ReadAll(); };
  ASSERT_TRUE(StoreFile(at("target"), "a long old text"));
  const auto mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
  fs::permissions(folder / "target", mode);
  fs::create_symlink(folder / "target", folder / "link");
  ASSERT_TRUE(ReplaceFile(at("link"), "new"));
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(content("target"), "new");
  EXPECT_EQ(fs::status(folder / "target").permissions(), mode);
  // An open reader still sees the file it opened.
  ZInetFileIStream old(at("target"));
  ASSERT_TRUE(ReplaceFile(at("target"), "newest"));
  EXPECT_EQ(old.ReadAll(), "new");
  EXPECT_TRUE(ReplaceFile("/dev/null", "gone"));
  EXPECT_EQ(KindOfFile("/dev/null"), OsFileKind::kOther);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);
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

size_t OpenFiles() {
  return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

// Appending to a mapped text does not change its file, and writing over the file does not change the text.
TEST(MappedFiles, AreTextsOfTheirOwn) {
  const ZTempFolder temp;
  const fs::path folder = temp.Path().ToString();
  const Chaine path((folder / "a").string());
  const Chaine copy((folder / "b").string());
  const size_t files_before = OpenFiles();
  for (const size_t size : {size_t{1} << 20, (size_t{1} << 20) + 1, (size_t{5} << 20) - 1}) {
    Chaine bytes;
    for (size_t i = 0; bytes.size() < size; i++) bytes += std::to_string(i * i);
    bytes.Truncate(size);
    const auto map = [&] {
      Chaine text;
      EXPECT_TRUE(StoreFile(path, bytes) && MapFile(path, &text, nullptr));
      EXPECT_STREQ(MappedFileAt(text.data()), path.ToString().c_str());
      EXPECT_EQ(text, bytes);
      return text;
    };
    const auto content = [](const Chaine& of) {
      Chaine read;
      EXPECT_TRUE(ReadFile(of, &read));
      return read;
    };
    Chaine text = map();
    const Chaine before = text;
    text += Chaine(100'000, 't');
    EXPECT_TRUE(text.SharesBytesWith(before));
    EXPECT_EQ(content(path), bytes);
    for (const Chaine& target : {copy, path}) {
      for (const bool in_place : {true, false}) {
        EXPECT_TRUE(in_place ? StoreFile(target, text) : ReplaceFile(target, text));
        EXPECT_EQ(content(target), text);
      }
    }
    EXPECT_EQ(before, bytes);
    text.Clear();
    for (const Chaine& other : {Chaine("short"), Chaine(2 * size, 'o')}) {
      const Chaine overwritten = map();
      EXPECT_TRUE(StoreFile(path, other));
      EXPECT_EQ(overwritten, bytes);
      EXPECT_EQ(content(path), other);
    }
    const Chaine cut = map();
    fs::resize_file(path.ToString(), size / 2);
    std::string error;
    EXPECT_FALSE(ReplaceFile(copy, cut, &error));
    EXPECT_EQ(error, "an input file became shorter while it was read");
  }
  EXPECT_EQ(OpenFiles(), files_before);
}

TEST(MappedFiles, AreReadWhenTooManyAreMapped) {
  const ZTempFolder temp;
  const fs::path folder = temp.Path().ToString();
  const Chaine path((folder / "a").string());
  const Chaine bytes(size_t{1} << 20, 'x');
  ASSERT_TRUE(StoreFile(path, bytes));
  std::vector<Chaine> texts(70);
  size_t mapped = 0;
  for (Chaine& text : texts) {
    EXPECT_TRUE(MapFile(path, &text, nullptr));
    EXPECT_EQ(text, bytes);
    mapped += MappedFileAt(text.data()) == nullptr ? 0U : 1U;
  }
  EXPECT_EQ(mapped, 64U);
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

// Fake desktop programs in place of the real ones; each records its arguments.
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

  // Waits until the program was called; returns its arguments.
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
