#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/cli/commands.h"
#include "tool/forms/open_form.h"
#include "zforms/filling/form_files.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/crypt/encryption_method.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/platform/base/number.h"

namespace zforms::tool {
namespace {

// Reads the number of an object: only "12", "12 0", "12 0 R" and "12 0 obj" are accepted.
std::optional<ZPDFObjectIdentifier> ParseIdentifier(std::string_view text) {
  text = TrimBlanks(text);
  for (const std::string_view word : {" R", " obj"}) {
    if (text.ends_with(word)) text.remove_suffix(word.size());
  }
  const size_t gap = text.find(' ');
  const std::string_view number = text.substr(0, gap);
  const std::string_view generation = gap == std::string_view::npos ? "0" : TrimBlanks(text.substr(gap));
  constexpr std::string_view kDigits = "0123456789";
  for (const std::string_view part : {number, generation}) {
    if (part.empty() || part.find_first_not_of(kDigits) != std::string_view::npos) return std::nullopt;
  }
  return ZPDFObjectIdentifier(ParseUInt(number), ParseUInt(generation));
}

// The node as PDF text without encryption. Control characters are replaced, so that it is safe for a terminal.
std::string TextOf(const ZPDFNode& node) {
  Chaine text;
  ZPDFOutStream out(&text);
  node.SendTo(out, ZPDFEncrypterNeutral::Default());
  std::string result;
  for (std::string_view rest = text; !rest.empty();) {
    const size_t end = rest.find('\n');
    result += Printable(rest.substr(0, end)) + "\n";
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return result;
}

int PrintResult(const std::string& text, Console& console) {
  if (!Print(text)) console.Fail(OutputFault());
  return console.Finish();
}

int ShowStream(const ZPDFNodeStream& stream, const ShowOptions& options, Console& console) {
  if (options.data)
    return WriteOutput(std::string(kStandardStream), stream.Data(), console) ? console.Finish() : kFailed;
  const std::string text = TextOf(*stream.Dico()) + "stream of " + std::to_string(stream.Data().size()) + " bytes\n";
  return PrintResult(text, console);
}

void WarnOf(const ZPDFParser& parser, const ShowOptions& options, Console& console) {
  ZDiagnostics diagnostics = parser.Diagnostics();
  diagnostics.SetDamaged(!options.recover && parser.CanBeDecrypted() && diagnostics.Warnings().Size() > 0);
  console.WarnAll(diagnostics);
}

int ShowObject(ZPDFParser& parser, const ShowOptions& options, Console& console) {
  const std::optional<ZPDFObjectIdentifier> id = ParseIdentifier(options.object);
  if (!id) {
    console.Fail("\"" + options.object + "\" is neither an object number nor \"trailer\"");
    return console.Finish();
  }
  const ZPDFNodeIndirectObject* object = parser.GetObject(*id);
  WarnOf(parser, options, console);
  const ZPDFNode* value = object == nullptr ? nullptr : object->GetDirectAt(0);
  if (value == nullptr) {
    console.Fail("object " + std::to_string(id->Number()) + " " + std::to_string(id->Generation()) +
                 (object == nullptr ? ": there is no such object" : ": it is empty"));
    return console.Finish();
  }
  if (const auto* stream = NodeCast<ZPDFNodeStream>(value)) return ShowStream(*stream, options, console);
  if (options.data) {
    console.Fail("object " + std::to_string(id->Number()) + " " + std::to_string(id->Generation()) +
                 ": it is not a stream");
    return console.Finish();
  }
  return PrintResult(TextOf(*value), console);
}

}  // namespace

int RunShow(const ShowOptions& options) {
  Console console(options.file);
  Chaine bytes;
  ZPDFParser parser;
  parser.SetRecovery(options.recover);
  parser.SetEncryptions(ZPDFEncryptions::kAll);
  if (!ReadInput(options.file, &bytes, console, ZPDFParser::InputLimits(options.recover))) return console.Finish();
  for (const SecretText& password : PasswordForms(options.password)) {
    if (!parser.ReadFromRaw(bytes, password)) {
      const Chaine reason = parser.Diagnostics().Failure();
      console.Fail(reason +
                   (options.recover ? Chaine() : RecoveryAdvice(options.file, bytes, options.password, reason)));
      return console.Finish();
    }
    if (parser.CanBeDecrypted()) break;
  }
  if (options.object == "trailer") {
    WarnOf(parser, options, console);
    return PrintResult(TextOf(*parser.TrailerDico()), console);
  }
  if (!parser.CanBeDecrypted()) {
    console.Fail(EncryptionRefusal(*parser.Encryption()));
    return console.Finish();
  }
  return ShowObject(parser, options, console);
}

}  // namespace zforms::tool
