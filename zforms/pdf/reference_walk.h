#pragma once

#include <vector>

#include "zforms/pdf/object_table.h"

namespace zforms {

class ZPDFNodeIndirectReference;

// Follows references and collects the objects that can be reached, each once. It keeps a work list, so a long chain of
// objects needs no stack; only node classes of a host
// are called recursively, since what they refer to is not known here.
class ZPDFReferenceWalk {
 public:
  // Objects that are in the map already are known: the walk does not pass through them.
  explicit ZPDFReferenceWalk(ZPDFObjectMap& map) : map_(map) {}

  // Starts at the target of a reference, or at the nodes below any other node.
  void From(const ZPDFNode& node);
  // Adds the references in the node and below it, except inside nodes of a host's classes: false when there are some.
  static bool Collect(const ZPDFNode& node, std::vector<const ZPDFNodeIndirectReference*>* found);
  // All objects found, in identifier order. Precondition: the map was empty at first.
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
  bool has_map_ = false;  // true when the map is kept up to date, which takes time
  ZPDFObjectTable found_;
  std::vector<const ZPDFNodeIndirectReference*> pending_;
  PTableau<ZPDFObjectIdentifier> missing_;
};

}  // namespace zforms
