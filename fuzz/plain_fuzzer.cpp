// Any bytes as one object, read in one pass where its text is plain and from its end: both give the same
// tree, use up the same bytes and say the same of it.

#include <cstdint>
#include <cstdlib>

#include "pdf/crypt/encryption.h"
#include "pdf/indirect_object.h"
#include "pdf/node_pool.h"
#include "platform/diagnostics.h"
#include "tests/dump.h"

using namespace zforms;

namespace {

struct Outcome {
  std::string tree;
  std::string written;
  size_t left;
  std::string said;

  bool operator==(const Outcome&) const = default;
};

Outcome Read(const Chaine& text, ZPDFNodePool* pool, const ZPDFEncryption* encryption) {
  ZDiagnostics diagnostics;
  ZPDFTokenizedString tokens{text};
  tokens.SetPool(pool);
  tokens.SetDiagnostics(&diagnostics);
  const NodePtr object(ZPDFNodeIndirectObject::BuildFrom(tokens, nullptr, encryption));
  Outcome outcome{"", Written(*object, nullptr), tokens.GetLength(), ""};
  for (size_t i = 0; i < object->Size(); i++) outcome.tree += Dump(object->GetDirectAt(i));
  // Asking for entries has made nodes of them, which are written the same.
  if (Written(*object, nullptr) != outcome.written || object->IsModified()) std::abort();
  for (const ZDiagnostics::Warning& warning : diagnostics.Warnings()) outcome.said += ZDiagnostics::Describe(warning);
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ZPDFEncryption* const encryption = ZPDFEncryption::CreateStandard("0123456789abcdef", "", "");
  const Chaine text = "7 0 obj " + Chaine(std::string_view(reinterpret_cast<const char*>(data), size));
  ZPDFNodePool pool;
  for (const ZPDFEncryption* handler : {encryption, static_cast<const ZPDFEncryption*>(nullptr)}) {
    if (Read(text, &pool, handler) != Read(text, nullptr, handler)) std::abort();
  }
  return 0;
}
