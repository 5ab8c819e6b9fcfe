#include "tool/forms/form_messages.h"

#include <algorithm>

#include "zforms/filling/filling_guard.h"

namespace zforms::tool {
namespace {

using Remedy = ZFormMessage::Remedy;

const char* WordsOf(Remedy remedy) {
  switch (remedy) {
    case Remedy::kForceFilling: return "; --force fills the form anyway";
    case Remedy::kForceWriting: return "; --force writes it anyway";
    case Remedy::kForceLosses: return ". --force writes the rest";
    case Remedy::kForceXFA: return "; --force removes it";
    case Remedy::kKeepXFA: return " (with --xfa keep it stays)";
    case Remedy::kRecover: return "; --recover reads the file";
    case Remedy::kRecoverLosses: return ". --recover looks for them in the file, --force writes the rest";
    case Remedy::kNoRecovery: return "; --recover also finds no document in the file";
    case Remedy::kExportAll: return " (--all includes them)";
    case Remedy::kNone: break;
  }
  return "";
}

}  // namespace

std::string WithRemedy(const std::string& text, Remedy remedy) {
  // Inserts the option before a list that ends the text.
  const size_t at = remedy == Remedy::kExportAll ? text.find(": ") : std::string::npos;
  return std::string(text).insert(std::min(at, text.size()), WordsOf(remedy));
}

void Say(const ZFormMessages& messages, Console& form_console, Console& data_console) {
  for (const ZFormMessage& message : messages) {
    if (message.about == ZFormMessage::About::kFile) continue;
    Console& console = message.about == ZFormMessage::About::kData ? data_console : form_console;
    const std::string text = WithRemedy(message.text, message.remedy);
    switch (message.severity) {
      case ZFormMessage::Severity::kNote: console.Note(text); break;
      case ZFormMessage::Severity::kWarning: console.Warn(text); break;
      case ZFormMessage::Severity::kFailure: console.Fail(text); break;
    }
  }
}

void Say(const ZFormMessages& messages, Console& console) { Say(messages, console, console); }

Chaine LockOf(const FillingGuard& guard, const Chaine& name) {
  const Chaine fault = guard.LockOf(name);
  return fault.IsEmpty() ? fault : Chaine(WithRemedy(fault.ToString(), Remedy::kForceWriting));
}

bool GuardChange(ZAcroForm& form, const GuardOptions& options, Console& console, bool writes_anew) {
  const FillingGuard guard(form, options, writes_anew);
  ZFormMessages messages;
  const bool allowed = guard.AllowsDesigning(&messages);
  if (allowed) {
    guard.Drop(form);
    guard.SayWhatGoes(&messages);
  }
  Say(messages, console);
  return allowed;
}

}  // namespace zforms::tool
