// Takes the input as one object, and reads it forward, as the objects of a document are read, and from its end, as a
// single node is read. When reading forward reports no fault, and the text contains no backslash, "#", NUL or comment,
// both must give the same tree and use the same bytes. For any text, the written tree must be read forward as the same
// tree.

#include <cstdint>
#include <cstdlib>

#include "tests/support/dump.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/node_pool.h"
#include "zforms/platform/base/diagnostics.h"

using namespace zforms;

namespace {

struct Outcome {
  std::string tree;
  std::string written;
  size_t left;
  std::string said;

  bool operator==(const Outcome&) const = default;
};

// Reads the object from its end when `pool` is null, else forward.
Outcome Read(const Chaine& text, ZPDFNodePool* pool, const ZPDFEncryption* encryption) {
  ZDiagnostics diagnostics;
  ZPDFTokenizedString tokens{text};
  if (pool != nullptr) tokens.SetDocument(pool);
  tokens.SetDiagnostics(&diagnostics);
  const NodePtr object(ZPDFNodeIndirectObject::BuildFrom(tokens, nullptr, encryption));
  Outcome outcome{"", Written(*object, nullptr), tokens.GetLength(), ""};
  for (size_t i = 0; i < object->Size(); i++) outcome.tree += Dump(object->GetDirectAt(i));
  // Reading the entries has made nodes from their text. Checks that they are written the same.
  if (Written(*object, nullptr) != outcome.written || object->IsModified()) std::abort();
  for (const ZDiagnostics::Warning& warning : diagnostics.Warnings()) outcome.said += ZDiagnostics::Describe(warning);
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ZPDFEncryption* const encryption = ZPDFEncryption::CreateStandard("0123456789abcdef", "", "");
  const Chaine text = "7 0 obj " + Chaine(std::string_view(reinterpret_cast<const char*>(data), size));
  const bool plain = text.View().find_first_of(std::string_view("\\#%\0", 4)) == std::string_view::npos;
  const ZPDFNodePool::User pool = ZPDFNodePool::Make();
  for (const ZPDFEncryption* handler : {encryption, static_cast<const ZPDFEncryption*>(nullptr)}) {
    const Outcome forward = Read(text, pool.get(), handler);
    if (plain && forward.said.empty() && forward != Read(text, nullptr, handler)) std::abort();
    const Outcome again = Read(Chaine(forward.written), pool.get(), handler);
    if (again.written != forward.written || again.left != 0) std::abort();
    if (forward.said.empty() && (again.tree != forward.tree || !again.said.empty())) std::abort();
  }
  return 0;
}
