#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "zforms/appearance/shown_look.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZPDFNode;
class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;
class ZPDFParser;

// An appearance to be painted. `visibility` is "/OC" of the annotation: an optional content group, or a membership (ISO
// 32000-1 8.11.3); null when the annotation is always visible. The document owns it.
struct PaintedLook {
  ShownLook shown;
  const ZPDFNode* visibility = nullptr;
};

// PagePainter adds appearance streams to the content of a document's pages. The content that a page has stays as it is,
// between "q" and "Q". Resources that the page shares or inherits are copied; pages that shared them share the copy.
// One thread at a time.
class PagePainter {
 public:
  explicit PagePainter(ZPDFParser& document) : document_(document) {}

  // Paints the appearances in their order, over the content of the page.
  void Paint(ZPDFNodeDictionary& page, const PTableau<PaintedLook>& looks);
  // "/Rotate" of the page in degrees (table 30), which it may inherit.
  static int RotationOf(const ZPDFNodeDictionary& page);

 private:
  // A kind of named resource of a page, such as "/XObject".
  struct Category {
    ZPDFNodeDictionary* names = nullptr;  // null until one is added
    std::string prefix;                   // a prefix that no existing name has
  };
  struct Resources {
    ZPDFNodeDictionary* dictionary = nullptr;
    Category objects;
    Category properties;
  };

  ZPDFNodeDictionary* OwnResources(ZPDFNodeDictionary& page);
  ZPDFNodeDictionary* OwnPart(ZPDFNodeDictionary& resources, std::string_view key);
  // The name of the node among the resources of that category; adds the node if necessary.
  std::string NameOf(Resources& resources, std::string_view key, Category& category, const ZPDFNode& node);
  ZPDFNode* CopyOnce(const ZPDFNodeDictionary& shared, ZPDFNodeDictionary** copy);
  std::string ContentOf(Resources& resources, const PTableau<PaintedLook>& looks);
  void AddContent(ZPDFNodeDictionary& page, std::string content);
  ZPDFNode* MakeStream(std::string_view content);

  ZPDFParser& document_;
  // Copies of shared dictionaries, by the original.
  std::unordered_map<const ZPDFNodeDictionary*, ZPDFNodeIndirectObject*> copies_;
  // The prefix of the names that are added to each dictionary.
  std::unordered_map<const ZPDFNodeDictionary*, std::string> prefixes_;
  std::unique_ptr<ZPDFNode> opening_;  // a reference to the stream "q", which all pages share
  uint32_t direct_nodes_ = 0;
};

}  // namespace zforms
