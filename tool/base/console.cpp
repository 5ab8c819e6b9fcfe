#include "tool/base/console.h"

#include <cstdio>
#include <utility>

#include "zforms/platform/base/hex.h"

namespace zforms::tool {
namespace {

constexpr size_t kShownWarnings = 100;

}  // namespace

std::string Printable(std::string_view text) {
  std::string result;
  for (size_t i = 0; i < text.size(); i++) {
    const auto c = static_cast<unsigned char>(text[i]);
    // The C1 controls are C2 80 to C2 9F in UTF-8; some terminals execute them.
    const bool c1 = c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (c >= 32 && c != 127 && !c1) {
      result += static_cast<char>(c);
      continue;
    }
    for (size_t end = c1 ? i + 2 : i + 1; i < end; i++) {
      result += "\\x";
      AppendHexByte(&result, static_cast<unsigned char>(text[i]));
    }
    i--;
  }
  return result;
}

Console::Console(std::string file) : file_(std::move(file)) {}

void Console::Print(std::string_view what) const {
  const std::string line = "zforms: " + Printable(file_) + ": " + Printable(what) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void Console::Warn(std::string_view what) {
  if (warnings_++ < kShownWarnings) Print(what);
}

void Console::WarnAll(const ZDiagnostics& diagnostics) {
  for (const ZDiagnostics::Warning& warning : diagnostics.Warnings()) Warn(ZDiagnostics::Describe(warning));
  warnings_ += diagnostics.DroppedCount();
  if (diagnostics.IsDamaged() && !advised_) Print("the file is damaged; --recover may find more of it");
  advised_ = advised_ || diagnostics.IsDamaged();
}

void Console::Fail(std::string_view what) {
  Print(what);
  failed_ = true;
}

int Console::Finish() {
  if (warnings_ > kShownWarnings) Print("and " + std::to_string(warnings_ - kShownWarnings) + " more warnings");
  if (failed_) return kFailed;
  return warnings_ > 0 ? kDoneWithWarnings : kDone;
}

}  // namespace zforms::tool
