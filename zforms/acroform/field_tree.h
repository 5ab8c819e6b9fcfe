#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroFormField;
class ZAcroFormFieldCollection;
class ZAcroFormFormInfos;
class ZDiagnostics;
class ZPDFNode;
class ZPDFNodeArray;
class ZPDFNodeDictionary;

// Builds fields over the dictionaries of a form's tree; for this folder's sources. Bounds the tree to a small multiple
// of the file's size by leaving out, with a warning: a field that is its own ancestor, levels below the 500th, fields
// that are listed too often, and full names that are too long in total.
class FieldTreeBuilder {
 public:
  static constexpr size_t kMaxDepth = 500;

  // The form infos are passed to every field; both arguments may be null.
  FieldTreeBuilder(const ZAcroFormFormInfos* form, ZDiagnostics* diagnostics);

  // Fills the empty collection with the dictionaries of the array, which may be null, and everything below them.
  // `parent` is the field whose kids they are, or null.
  void Build(ZAcroFormFieldCollection& into, ZPDFNodeArray* array, const ZAcroFormField* parent);

  // True when the dictionary is in the tree, or was refused for another reason than its depth.
  bool HasMet(const ZPDFNodeDictionary* dictionary) const { return seen_.Exist(dictionary); }
  // Adds the field of one dictionary, and everything below it, to a collection that was built before. `depth` is the
  // number of levels above the field, `name_length` the length of its parent's full name. If another member has the
  // same name, lookups still find that member. Null when the field is refused.
  ZAcroFormField* AddBelow(ZAcroFormFieldCollection& into, ZPDFNodeDictionary* dictionary, const ZPDFNode* element,
                           const ZAcroFormField* parent, size_t depth, size_t name_length);

 private:
  struct Level {
    ZPDFNodeDictionary* dictionary;
    size_t name_length;
  };

  struct PointerHash {
    uint64_t operator()(const void* pointer) const {
      // Nodes are some 8 bytes apart, so the lowest bits carry no information.
      const auto address = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(pointer));
      const uint64_t mixed = (address >> 3) * 0x9E3779B97F4A7C15U;
      return mixed ^ (mixed >> 32);
    }
  };

  std::unique_ptr<ZAcroFormField> Make(ZPDFNodeDictionary* dictionary, const ZPDFNode* element,
                                       const ZAcroFormField* parent);
  size_t NameLength() const { return path_.empty() ? name_length_above_ : path_.back().name_length; }
  bool Admit(ZPDFNodeDictionary* dictionary, const ZPDFNode* element);
  bool IsOnPath(const ZPDFNodeDictionary* dictionary) const;
  void Warn(const ZPDFNode* element, const Chaine& text);
  bool Refuse(const ZPDFNode* element, const char* reason);

  const ZAcroFormFormInfos* form_;
  ZDiagnostics* diagnostics_;
  // The path from the top to the field whose kids are being built.
  std::vector<Level> path_;
  // The number of levels above the first level of path_.
  size_t levels_above_ = 0;
  size_t name_length_above_ = 0;
  PUniqueT<const ZPDFNodeDictionary*, PointerHash> seen_;
  size_t repeated_ = 0;
  size_t name_bytes_ = 0;
};

}  // namespace zforms
