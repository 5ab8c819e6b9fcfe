#include <cstdio>
#include <cstdlib>

#include "tool/base/program_start.h"
#include "tool/base/standard_streams.h"
#include "zforms/platform/base/os_memory.h"
#include "zforms/platform/text/wide_win32.h"

// Needs <windows.h>, which wide_win32.h includes.
#include <shellapi.h>

namespace zforms::tool {
namespace {

// The code page that the console had before. It is restored at the end, because the console outlives this process.
UINT old_code_page = 0;

void RestoreConsole() { ::SetConsoleOutputCP(old_code_page); }

}  // namespace

std::vector<std::string> PrepareProgram(int argc, const char* const* argv) {
  for (std::FILE* stream : {stdin, stdout, stderr}) SetBinary(stream);
  // Turns off the buffer of standard error, so that messages reach a file or a pipe at once.
  std::setvbuf(stderr, nullptr, _IONBF, 0);
  old_code_page = ::GetConsoleOutputCP();
  if (old_code_page != 0 && ::SetConsoleOutputCP(CP_UTF8)) std::atexit(RestoreConsole);
  // Reads the command line again as UTF-16, because the arguments of main are in the system's code page.
  int count = 0;
  wchar_t** const wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  if (wide == nullptr) return {argv, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; i++) arguments.push_back(Narrow(wide[i]));
  ::LocalFree(wide);
  return arguments;
}

std::string EnvironmentText(const std::string& name) {
  const std::wstring wide = Widen(name);
  std::wstring text(::GetEnvironmentVariableW(wide.c_str(), nullptr, 0), L'\0');
  text.resize(::GetEnvironmentVariableW(wide.c_str(), text.data(), static_cast<DWORD>(text.size())));
  std::string utf8 = Narrow(text);
  WipeBytes(text.data(), text.size() * sizeof(wchar_t));
  return utf8;
}

}  // namespace zforms::tool
