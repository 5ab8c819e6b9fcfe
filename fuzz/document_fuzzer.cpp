// Any bytes as a file: what can be reached in it is written, as an update with a string of each object
// changed and in full, and read back equal.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <vector>

#include "pdf/crypt/encryption.h"
#include "pdf/writer/saver.h"
#include "pdf/writer/updater.h"
#include "platform/inet_stream.h"
#include "tests/test_document.h"

using namespace zforms;

namespace {

using Texts = std::map<ZPDFObjectIdentifier, std::string>;

ZPDFNodeString* FirstString(ZPDFNode* root) {
  std::vector<ZPDFNode*> pending{root};
  while (!pending.empty()) {
    ZPDFNode* node = pending.back();
    pending.pop_back();
    if (auto* string = NodeCast<ZPDFNodeString>(node)) return string;
    for (size_t i = node->Size(); i > 0; i--) {
      if (ZPDFNode* child = node->GetDirectAt(i - 1)) pending.push_back(child);
    }
  }
  return nullptr;
}

ZPDFObjectMap Used(const ZPDFParser& parser) {
  ZPDFObjectMap map;
  parser.GetUsedObjects(map);
  return map;
}

// Every object of the texts is there and writes that text.
void Expect(const Chaine& bytes, const Texts& texts, const ZPDFParser& written) {
  ZPDFParser parser;
  if (!parser.ReadFromRaw(bytes, written.UserPassword())) std::abort();
  for (const auto& [id, text] : texts) {
    const ZPDFNodeIndirectObject* object = parser.GetObject(id);
    const std::string now = object == nullptr ? "none" : Written(*object);
    if (now == text) continue;
    std::fprintf(stderr, "expected %s\nfound %s\n", Visible(text).c_str(), Visible(now).c_str());
    std::abort();
  }
  if (Used(parser).size() > texts.size()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Chaine input(reinterpret_cast<const char*>(data), size);
  ZPDFParser parser;
  if (!parser.ReadFromRaw(input, "user")) {
    if (parser.Diagnostics().Failure().IsEmpty()) std::abort();
    return 0;
  }
  // What the key is made of stays as it is.
  ZPDFObjectMap fixed;
  for (const char* key : {"/Encrypt", "/ID"}) {
    if (const ZPDFNode* value = parser.TrailerDico()->GetDirect(key)) value->GetReferencedObjects(fixed);
  }
  const ZPDFObjectMap used_objects = Used(parser);
  // A damaged object may reach beyond the end of the file; it is written whether changed or not.
  std::set<uint32_t> damaged;
  for (const ZDiagnosticsWarning& warning : parser.Diagnostics().Warnings()) damaged.insert(warning.object_number);
  Texts texts;
  for (const auto& [id, used] : used_objects) {
    ZPDFNodeIndirectObject* object = parser.GetObject(id);
    if (object != used || object->GetID() != id) std::abort();
    ZPDFNodeString* string = fixed.contains(id) ? nullptr : FirstString(object);
    if (damaged.contains(id.Number())) object->SetModified(true, false);
    if (string != nullptr) string->SetValue(string->GetStringValue() + "\\)%");
    texts[id] = Written(*object);
  }
  const ZPDFParser copy(parser);
  ZPDFUpdater updater;
  updater.SetRawData(copy.RawData(), copy.XRefOffset());
  for (const ZPDFNodeIndirectObject* object : copy.ModifiedObjects()) updater.AddNode(object);
  updater.SetTrailer(copy.TrailerDico());
  Chaine updated;
  ZInetChaineOStream update_stream(updated);
  if (!updater.Write(update_stream) || !updated.View().starts_with(input.View())) std::abort();
  Expect(updated, texts, parser);

  ZPDFSaver saver(nullptr);
  saver.SetPDFVersion("%PDF-1.4");
  saver.SetObjects(Used(copy));
  saver.SetTrailer(copy.TrailerDico());
  Chaine saved;
  ZInetChaineOStream save_stream(saved);
  if (!saver.Write(save_stream)) std::abort();
  Expect(saved, texts, parser);
  return 0;
}
