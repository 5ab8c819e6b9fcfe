// Services of Windows: files that other programs have open, long paths, the registry, installed fonts.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/program_file.h"
#include "zforms/appearance/fonts/font_library.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/files/os_file.h"
#include "zforms/platform/files/path_win32.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/host_settings.h"
#include "zforms/platform/host/shell.h"
#include "zforms/platform/host/version_resource.h"
#include "zforms/platform/text/wide_win32.h"

namespace zforms {
namespace {

// A file that is open in another program, with these sharing rights.
class Holder {
 public:
  Holder(const Chaine& path, DWORD shared)
      : handle_(::CreateFileW(SystemPath(path).c_str(), GENERIC_READ, shared, nullptr, OPEN_EXISTING, 0, nullptr)) {}
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;
  ~Holder() { ::CloseHandle(handle_); }
  bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

 private:
  HANDLE handle_;
};

TEST(FilesOfWindows, AreReplacedWhileOthersRead) {
  const ZTempFolder folder;
  const Chaine path = folder.Write("\xC3\xA9\xE2\x82\xAC.pdf", "old");
  std::string error;
  {
    const Holder reader(path, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    ASSERT_TRUE(reader.IsOpen());
    EXPECT_TRUE(ReplaceFile(path, "new", &error)) << error;
  }
  {
    const Holder alone(path, 0);
    ASSERT_TRUE(alone.IsOpen());
    EXPECT_FALSE(ReplaceFile(path, "lost", &error));
    EXPECT_FALSE(error.empty());
    Chaine bytes;
    EXPECT_FALSE(ReadFile(path, &bytes, &error));
    EXPECT_EQ(error, "another program uses the file");
    const Chaine other = folder.Write("other", "other");
    EXPECT_TRUE(RenameFile(other, path));
    EXPECT_EQ(RenameFileToFree(path, folder.PathOf("free")).value(), ERROR_SHARING_VIOLATION);
    DeleteFileQuietly(other);
  }
  EXPECT_EQ(ZInetFileIStream(path).ReadAll(), "new");
  EXPECT_TRUE(ReplaceFile(path, "newest", &error)) << error;
  const std::filesystem::path inside = Widen(folder.Path());
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(inside), std::filesystem::directory_iterator()), 1);
}

TEST(FilesOfWindows, MayHaveLongPaths) {
  const ZTempFolder folder;
  Chaine path = folder.Path();
  for (int i = 0; i < 4; i++) {
    path = path + "/" + Chaine(100, static_cast<char>('a' + i));
    ASSERT_TRUE(::CreateDirectoryW(SystemPath(path).c_str(), nullptr)) << LastSystemError();
  }
  path = path + "/./form.pdf";
  std::string error;
  EXPECT_TRUE(ReplaceFile(path, "one", &error)) << error;
  EXPECT_TRUE(ReplaceFile(path, "two", &error)) << error;
  EXPECT_EQ(KindOfFile(path), OsFileKind::kRegular);
  EXPECT_EQ(ZInetFileIStream(path).ReadAll(), "two");
  DeleteFileQuietly(path);
  EXPECT_EQ(KindOfFile(path), OsFileKind::kAbsent);
}

TEST(FilesOfWindows, ThatAreDevicesAreWrittenDirectly) {
  for (const char* path : {"nul", "NUL", "sub/../nul", "\\\\.\\nul"}) {
    std::string error;
    EXPECT_EQ(KindOfFile(path), OsFileKind::kOther) << path;
    EXPECT_TRUE(ReplaceFile(path, "text", &error)) << path << ": " << error;
  }
}

// Registry keys that are deleted after the test.
class RegistryTest : public testing::Test {
 protected:
  void TearDown() override {
    for (const auto& [root, key] : keys_) ::RegDeleteTreeW(root, key.c_str());
  }
  void Set(HKEY root, const std::wstring& key, const wchar_t* name, DWORD type, const void* value, size_t size) {
    keys_.emplace_back(root, key);
    ASSERT_EQ(::RegSetKeyValueW(root, key.c_str(), name, type, value, static_cast<DWORD>(size)), 0);
  }
  void SetText(HKEY root, const std::wstring& key, const wchar_t* name, const std::wstring& text, DWORD type = REG_SZ) {
    Set(root, key, name, type, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
  }

  std::vector<std::pair<HKEY, std::wstring>> keys_;
};

TEST_F(RegistryTest, HoldsTheSettings) {
  const std::string app = "ZFormsTest" + std::to_string(ProcessNumber());
  const std::wstring key = L"Software\\" + Widen(app) + L"\\Settings";
  const DWORD on = 1;
  Set(HKEY_CURRENT_USER, key, L"IgnorePDFVersion", REG_DWORD, &on, sizeof on);
  SetText(HKEY_CURRENT_USER, key, L"Name", L"\u00E9 \u20AC");
  SetText(HKEY_CURRENT_USER, key, L"Off", L"0");
  const auto settings = OpenSystemSettings(app);
  EXPECT_TRUE(settings->Bool("Settings", "IgnorePDFVersion", false));
  EXPECT_FALSE(settings->Bool("Settings", "Off", true));
  EXPECT_FALSE(settings->Bool("Settings", "Absent", false));
  EXPECT_FALSE(settings->Bool("Others", "IgnorePDFVersion", false));
  EXPECT_EQ(settings->Text("Settings", "Name", ""), "\xC3\xA9 \xE2\x82\xAC");
}

TEST_F(RegistryTest, NamesTheReader) {
  const ZTempFolder folder;
  constexpr uint64_t kVersion = 0x000B000100020003;
  folder.Write("reader.dll", Chaine(MakeProgram(true, kVersion)));
  ::SetEnvironmentVariableW(L"ZFORMS_TEST_FOLDER", Widen(folder.Path()).c_str());
  const std::string id = "{5E5A0C1E-0000-4000-8000-" + std::to_string(100000000000 + ProcessNumber()) + "}";
  const std::wstring key = LR"(CLSID\)" + Widen(id);
  SetText(HKEY_CLASSES_ROOT, key + LR"(\InprocServer32)", nullptr, LR"(%ZFORMS_TEST_FOLDER%\reader.dll)",
          REG_EXPAND_SZ);
  keys_.emplace_back(HKEY_CLASSES_ROOT, key);
  const auto shell = OpenSystemShell();
  EXPECT_EQ(shell->VersionOfClass(id), kVersion) << shell->ServerOfClass(id).View();
  EXPECT_EQ(shell->VersionOfClass("{00000000-0000-0000-0000-0000000000AB}"), 0U);
  EXPECT_FALSE(shell->Execute("C:/none.pdf", "edit"));
  EXPECT_FALSE(shell->OpenURL("calc.exe"));
}

TEST(InstalledFonts, HaveTheCharactersThatAreAskedFor) {
  FontLibrary library(ZFontSource::OfSystem());
  if (library.Find({}, U"A") == nullptr) GTEST_SKIP() << "no font is installed";
  const auto bold = library.Find({ZFontStyle::Family::kSerif, true, false}, U"Ab\u00E9");
  ASSERT_NE(bold, nullptr);
  EXPECT_TRUE(bold->Has(U'\u00E9'));
  EXPECT_EQ(library.Find({}, U"\U0010FFFF"), nullptr);
}

}  // namespace
}  // namespace zforms
