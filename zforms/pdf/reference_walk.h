#pragma once

#include <vector>

#include "zforms/pdf/object_table.h"

namespace zforms {

class ZPDFNodeIndirectReference;

// Follows references and collects the objects that can be reached, each once. A work list replaces recursion, so a long
// chain of objects needs no deep stack. Only nodes of a host's class are called recursively, since their references are
// not known here.
class ZPDFReferenceWalk {
 public:
  // The walk does not visit objects that the map already contains.
  explicit ZPDFReferenceWalk(ZPDFObjectMap& map) : map_(map) {}

  // Starts at the target of a reference, or at the nodes below any other node.
  void From(const ZPDFNode& node);
  // Adds the references below the node to `found`. False when there is a node of a host's class, which may lead to
  // further objects.
  static bool Collect(const ZPDFNode& node, std::vector<const ZPDFNodeIndirectReference*>* found);
  // All objects found, in identifier order. Precondition: the map was empty when the walk was made.
  ZPDFObjectList List() const;
  // The identifiers of references whose object is missing, in order.
  PTableau<ZPDFObjectIdentifier> Missing() const;
  // Adds all objects found to the map.
  void Finish();

 private:
  void AddBelow(const ZPDFNode& node);
  void Follow();
  void AskHost(const ZPDFNode& node);

  ZPDFObjectMap& map_;
  bool has_map_ = false;  // true when each object found is added to the map at once, which takes time
  ZPDFObjectTable found_;
  std::vector<const ZPDFNodeIndirectReference*> pending_;
  PTableau<ZPDFObjectIdentifier> missing_;
};

}  // namespace zforms
