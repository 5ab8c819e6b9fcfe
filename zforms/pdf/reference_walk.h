#pragma once

#include <vector>

#include "zforms/pdf/object_table.h"

namespace zforms {

class ZPDFNodeIndirectReference;

// A walk along references that collects the objects which can be reached, each once.
// It keeps a list of where to go on, so that a long chain of objects needs no stack;
// only a class of the host, which may do otherwise, is called from within the walk.
class ZPDFReferenceWalk {
 public:
  // Objects that are in the map count as known: the walk does not pass through them.
  explicit ZPDFReferenceWalk(ZPDFObjectMap& map) : map_(map) {}

  // Of a reference what it leads to, of any other node what is below it.
  void From(const ZPDFNode& node);
  // Adds the references that are in the node and below it; none of classes of the host.
  static void Collect(const ZPDFNode& node, std::vector<const ZPDFNodeIndirectReference*>* found);
  // All that was found, in identifier order. Precondition: the map was empty at first.
  ZPDFObjectList List() const;
  // The identifiers that references name and of which there is no object, in order.
  PTableau<ZPDFObjectIdentifier> Missing() const;
  // Puts all that was found into the map.
  void Finish();

 private:
  void AddBelow(const ZPDFNode& node);
  void Follow();
  void AskHost(const ZPDFNode& node);

  ZPDFObjectMap& map_;
  bool has_map_ = false;  // whether the map is kept up to date, which takes time
  ZPDFObjectTable found_;
  std::vector<const ZPDFNodeIndirectReference*> pending_;
  PTableau<ZPDFObjectIdentifier> missing_;
};

}  // namespace zforms
