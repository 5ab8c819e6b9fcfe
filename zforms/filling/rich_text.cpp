#include "zforms/filling/rich_text.h"

#include <string>

#include "zforms/acroform/field_filling.h"
#include "zforms/platform/text/text.h"
#include "zforms/platform/xml/xml_tree_builder.h"

namespace zforms {
namespace {

bool IsParagraph(const ZXMLElement& element) { return element.Name() == "p" || element.Name() == "div"; }

// Recursion is safe: ZXMLReader bounds the depth.
void Append(const ZXMLElement& element, bool in_paragraph, std::string* text) {
  const ZXMLNode* node = ZXMLTreeBuilder::FirstNode(element);
  if (node == nullptr) *text += element.Value().AsChaine().View();
  for (; node != nullptr; node = node->next) {
    if (node->kind == ZXMLNode::Kind::kElement) {
      const auto& child = static_cast<const ZXMLElement&>(*node);
      const bool begins_line = IsParagraph(child) && !text->empty() && !text->ends_with('\n');
      if (begins_line || child.Name() == "br") *text += '\n';
      Append(child, in_paragraph || IsParagraph(child), text);
    } else if (node->kind == ZXMLNode::Kind::kText || node->kind == ZXMLNode::Kind::kCData ||
               (in_paragraph && node->kind == ZXMLNode::Kind::kSpace)) {
      *text += static_cast<const ZXMLTextNode*>(node)->text.View();
    }
  }
}

}  // namespace

Chaine PlainTextOf(const ZXMLElement& rich_text) {
  std::string text;
  Append(rich_text, false, &text);
  return WithLineEnds(text, "\r\n");
}

}  // namespace zforms
