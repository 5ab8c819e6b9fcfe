#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace zforms {

class ZPDFNodeIndirectObject;
class ZPDFParser;

// The objects that drawing adds to a document; the document owns them. When a document is drawn many times, each time
// from its original state, the same objects and numbers are used again. One thread at a time.
class AddedObjects {
 public:
  explicit AddedObjects(ZPDFParser* document) : document_(document) {}

  ZPDFParser* Document() const { return document_; }
  // Adds an empty object, marked as modified, with the next number; keeps "/Size" of the trailer above it.
  ZPDFNodeIndirectObject* Add();
  // The objects added since the last Restart, in the order of their numbers.
  std::span<ZPDFNodeIndirectObject* const> Used() const { return {objects_.data(), used_}; }
  // Destroys the values of the objects; they count as absent until they are added again. Nothing else may add objects
  // to the document between two calls of Restart. The caller restores "/Size".
  void Restart();

 private:
  ZPDFParser* document_;
  std::vector<ZPDFNodeIndirectObject*> objects_;
  size_t used_ = 0;
};

}  // namespace zforms
