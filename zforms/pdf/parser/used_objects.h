#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "zforms/pdf/node.h"
#include "zforms/pdf/raw_value.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFNodeIndirectReference;
class ZPDFParser;
struct ZPDFObjectLocation;

// The objects that a full save writes: all that can be reached from the trailer. An object that nobody has asked for
// before is found and kept as its text, without nodes, where that is possible: see ZPDFRawValue.
struct ZPDFUsedObjects {
  ZPDFObjectList objects;                  // in identifier order; a null pointer where the object is among the raw ones
  ZPDFRawObjects raw;                      // valid as long as the parser keeps the document
  PTableau<ZPDFObjectIdentifier> missing;  // the identifiers of references whose object is missing, in order

  // Precondition: the trailer's provider is the parser. Recovered documents have no raw objects. The raw objects of an
  // encrypted document can only be written with the same encryption: their strings stay as they are.
  static ZPDFUsedObjects Find(ZPDFParser& parser, const ZPDFNodeDictionary& trailer);
  // The same without raw objects.
  static ZPDFUsedObjects FindNodes(const ZPDFNodeDictionary& trailer);
};

// Follows the references of a document in the order of ZPDFReferenceWalk. Used once.
class ZPDFUsedObjectSearch {
 public:
  explicit ZPDFUsedObjectSearch(ZPDFParser& parser) : parser_(parser) {}
  // False when the document needs ZPDFReferenceWalk: it has nodes of a host's classes, or an object with two
  // generations.
  bool Run(const ZPDFNodeDictionary& trailer, ZPDFUsedObjects* found);

 private:
  bool AddBelow(const ZPDFNode& node);
  bool Take(const ZPDFObjectIdentifier& id);
  void List(ZPDFUsedObjects* found);
  // The text of the value of an object that was not loaded; empty when it needs nodes. Adds its references.
  std::string_view RawValue(const ZPDFObjectLocation& location);
  std::string_view RawValueInFile(const ZPDFObjectLocation& location);
  std::string_view RawValueInStream(const ZPDFObjectLocation& location);

  ZPDFParser& parser_;
  std::vector<ZPDFObjectIdentifier> pending_;
  std::vector<ZPDFObjectIdentifier> references_;  // the references of the raw object that was read last
  std::vector<const ZPDFNodeIndirectReference*> reference_nodes_;  // the references of the node that was read last
  // What was found at a location.
  struct Found {
    bool is_known = false;
    const ZPDFNodeIndirectObject* object = nullptr;
    std::string_view value;
  };
  std::vector<Found> found_;
  PTableau<ZPDFObjectIdentifier> missing_;
};

}  // namespace zforms
