#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "tests/support/test_document.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/writer/saver.h"
#include "zforms/pdf/writer/updater.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {

using Texts = std::map<ZPDFObjectIdentifier, std::string>;

inline ZPDFNodeString* FirstString(ZPDFNode* root) {
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

inline ZPDFObjectMap Used(const ZPDFParser& parser) {
  ZPDFObjectMap map;
  parser.GetUsedObjects(map);
  // Leaves out cross-reference streams, because a new one may use the number of a missing object.
  std::erase_if(map, [](const auto& item) {
    const auto* stream = NodeCast<ZPDFNodeStream>(item.second->GetDirectAt(0));
    return stream != nullptr && stream->Dico()->GetIdentifier("/Type") == "/XRef";
  });
  return map;
}

// Reads the bytes, and checks that every object in `texts` exists and is written as that text.
inline void ExpectReadBack(const Chaine& bytes, const Texts& texts, const ZPDFParser& written) {
  ZPDFParser parser;
  parser.SetEncryptions(written.Encryptions());
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

inline Chaine Updated(const ZPDFParser& parser) {
  ZPDFUpdater updater;
  updater.SetRawData(parser.RawData(), parser.XRefOffset());
  for (const ZPDFNodeIndirectObject* object : parser.ModifiedObjects()) updater.AddNode(object);
  const std::unique_ptr<ZPDFNodeDictionary> trailer(parser.TrailerDico()->Clone());
  trailer->RemoveValue("/XRefStm");
  updater.SetTrailer(trailer.get());
  updater.SetXrefStream(parser.XRefIsStream() ? parser.FreeNumber() : 0);
  Chaine updated;
  ZInetChaineOStream stream(updated);
  if (!updater.Write(stream) || !updated.View().starts_with(parser.RawData().View())) std::abort();
  return updated;
}

// Saves the reachable objects of the document twice: as an update in which one string of each object is changed, and as
// a complete new file. Checks that both are read back equal; otherwise aborts.
inline void RoundTrip(ZPDFParser& parser) {
  // In a document that cannot be decrypted, the objects that the encryption dictionary refers to are read before the
  // encryption is known, and all others after it. So what is read depends on where an object is stored.
  if (!parser.CanBeDecrypted()) return;
  // The objects on which the encryption key depends. They must not be changed.
  ZPDFObjectMap fixed;
  for (const char* key : {"/Encrypt", "/ID"}) {
    if (const ZPDFNode* value = parser.TrailerDico()->GetDirect(key)) value->GetReferencedObjects(fixed);
  }
  const ZPDFObjectMap used_objects = Used(parser);
  // The numbers of damaged objects. They are written even if they were not changed, because they may reach beyond the
  // end of the file.
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
  // Saves no update of a recovered document, because it is always saved in full. Saves none of a document with a
  // damaged cross-reference stream either: a stream without a valid "/Length" may seem to end elsewhere when an update
  // follows.
  const size_t at = std::min<size_t>(parser.XRefOffset(), parser.RawData().size());
  const std::string section(parser.RawData().View().substr(at, 16));
  const auto number = static_cast<uint32_t>(std::strtoul(section.c_str(), nullptr, 10));
  const bool is_damaged = parser.XRefIsStream() && damaged.contains(number);
  if (!parser.IsRecovered() && !is_damaged) ExpectReadBack(Updated(copy), texts, parser);

  ZPDFSaver saver(nullptr);
  saver.SetPDFVersion("%PDF-1.4");
  saver.SetObjects(Used(copy));
  saver.SetTrailer(copy.TrailerDico());
  Chaine saved;
  ZInetChaineOStream save_stream(saved);
  if (!saver.Write(save_stream)) std::abort();
  ExpectReadBack(saved, texts, parser);
}

}  // namespace zforms
