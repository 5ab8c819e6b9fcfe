#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace zforms {

class ZPDFNodeIndirectObject;
class ZPDFParser;

// The objects that drawing adds to a document, which owns them. A document that is drawn many times, each time from its
// original state, uses them again under the same numbers. One thread at a time.
class AddedObjects {
 public:
  explicit AddedObjects(ZPDFParser* document) : document_(document) {}

  ZPDFParser* Document() const { return document_; }
  // An empty object, marked as modified, with the number above that of the one before; keeps "/Size" of the trailer
  // above it.
  ZPDFNodeIndirectObject* Add();
  // Those that were added since the last Restart, in the order of their numbers.
  std::span<ZPDFNodeIndirectObject* const> Used() const { return {objects_.data(), used_}; }
  // Destroys the values of the objects, which then count as absent until they are added again. Between two calls nobody
  // else adds objects. "/Size" is left to the caller.
  void Restart();

 private:
  ZPDFParser* document_;
  std::vector<ZPDFNodeIndirectObject*> objects_;
  size_t used_ = 0;
};

}  // namespace zforms
