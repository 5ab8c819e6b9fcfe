// Renumbers the parser's objects for a full save.

#include <algorithm>
#include <map>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/reference_walk.h"

namespace zforms {

// Every reference in the trailer and in loaded objects, each once.
std::vector<ZPDFNodeIndirectReference*> ZPDFParser::LoadedReferences() const {
  std::vector<const ZPDFNodeIndirectReference*> found;
  if (trailer_ != nullptr) ZPDFReferenceWalk::Collect(*trailer_, &found);
  for (const ZPDFObjectLocation& location : locations_) {
    if (location.object != nullptr) ZPDFReferenceWalk::Collect(*location.object, &found);
  }
  // Removes repeated references: nodes may share their children.
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  std::vector<ZPDFNodeIndirectReference*> references;
  references.reserve(found.size());
  for (const auto* reference : found) references.push_back(const_cast<ZPDFNodeIndirectReference*>(reference));
  return references;
}

void ZPDFParser::SetNumbers(const std::map<ZPDFObjectIdentifier, ZPDFObjectIdentifier>& numbers) {
  for (ZPDFNodeIndirectReference* reference : LoadedReferences()) reference->id_ = numbers.at(reference->id_);
  for (ZPDFObjectLocation& location : locations_) {
    if (location.id.Number() != 0) location.id = numbers.at(location.id);
    if (location.object != nullptr) location.object->id_ = location.id;
  }
  locations_.Settle();
}

PTableau<ZPDFObjectIdentifier> ZPDFParser::Renumber(const PTableau<ZPDFObjectIdentifier>& first) {
  PTableau<ZPDFObjectIdentifier> former;
  std::map<ZPDFObjectIdentifier, ZPDFObjectIdentifier> numbers;
  const auto number = [&](const ZPDFObjectIdentifier& id) {
    const ZPDFObjectIdentifier next(static_cast<uint32_t>(former.size() + 1), 0);
    if (numbers.emplace(id, next).second) former.push_back(id);
  };
  for (const ZPDFObjectIdentifier& id : first) number(id);
  for (const ZPDFObjectLocation& location : locations_) {
    if (location.id.Number() != 0) number(location.id);
  }
  for (const ZPDFNodeIndirectReference* reference : LoadedReferences()) number(reference->GetID());
  SetNumbers(numbers);
  return former;
}

void ZPDFParser::TakeBack(const PTableau<ZPDFObjectIdentifier>& former) {
  std::map<ZPDFObjectIdentifier, ZPDFObjectIdentifier> numbers;
  for (uint32_t i = 0; i < former.size(); i++) numbers[{i + 1, 0}] = former[i];
  SetNumbers(numbers);
}

}  // namespace zforms
