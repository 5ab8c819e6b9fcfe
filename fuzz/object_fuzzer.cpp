// Takes the input as one object. Writes it, and checks that the text is read back completely and written the same
// again. Skips objects with a keyword that contains "obj", which would end the object early: only damaged text has one.

#include <cstdint>
#include <cstdlib>

#include "tests/support/dump.h"
#include "tests/support/raw_value.h"
#include "zforms/pdf/indirect_object.h"

using namespace zforms;

namespace {

NodePtr ParseWhole(const std::string& text) {
  ZPDFTokenizedString tokens{Chaine(text)};
  NodePtr node(ZPDFNodeIndirectObject::BuildFrom(tokens, nullptr, nullptr));
  if (!tokens.IsEmpty()) std::abort();
  return node;
}

bool HoldsObjKeyword(const ZPDFNode* node) {
  const auto* number = NodeCast<ZPDFNodeNumeric>(node);
  const std::string_view text = number != nullptr ? number->Text().View() : node->GetIdentifier().View();
  if (!text.starts_with('/') && text.find("obj") != std::string_view::npos) return true;
  for (size_t i = 0; i < node->Size(); i++) {
    if (HoldsObjKeyword(node->GetDirectAt(i))) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  if (const NodePtr value = Parse(input)) {
    const std::string written = Written(*value);
    if (Written(*Parse(written)) != written) std::abort();
  }
  if (!FaultOfRaw(std::string(input)).empty()) std::abort();
  ZPDFTokenizedString tokens(Chaine("1 0 obj ") + input);
  const NodePtr object(ZPDFNodeIndirectObject::BuildFrom(tokens, nullptr, nullptr));
  if (HoldsObjKeyword(object.get())) return 0;
  const std::string written = Written(*object);
  if (Written(*ParseWhole(written)) != written) std::abort();
  return 0;
}
