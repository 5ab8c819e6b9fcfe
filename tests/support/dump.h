#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"

namespace zforms {

struct NodeDeleter {
  void operator()(ZPDFNode* node) const { ZPDFNode::Destroy(node); }
};
using NodePtr = std::unique_ptr<ZPDFNode, NodeDeleter>;

// Bytes on one line: non-printable bytes and the backslash as \XX.
inline std::string Visible(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 32 && byte < 127 && c != '\\') {
      text += c;
    } else {
      text += {'\\', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return text;
}

// A tree as text: (literal) <hexadecimal string> /name 'keyword' !true 12 5.0R [array] {/key value; ...}
// {...}stream(data), null; "none" for no node, "-" for an empty slot.
inline std::string Dump(const ZPDFNode* node) {
  if (node == nullptr) return "none";
  const auto children = [node](std::string_view between) {
    std::string text;
    for (size_t i = 0; i < node->Size(); i++) text += (i > 0 ? std::string(between) : "") + Dump(node->GetDirectAt(i));
    return text;
  };
  if (NodeCast<ZPDFNodeLiteralString>(node)) return "(" + Visible(node->GetStringValue()) + ")";
  if (NodeCast<ZPDFNodeHexaString>(node)) return "<" + Visible(node->GetStringValue()) + ">";
  if (NodeCast<ZPDFNodeNull>(node)) return "null";
  if (NodeCast<ZPDFNodeBoolean>(node)) return node->GetBoolValue() ? "!true" : "!false";
  if (NodeCast<ZPDFNodeIdentifier>(node)) {
    const std::string text = Visible(node->GetIdentifier());
    return text.starts_with('/') ? text : "'" + text + "'";
  }
  if (const auto* number = NodeCast<ZPDFNodeNumeric>(node)) return number->Text().ToString();
  if (const auto* reference = NodeCast<ZPDFNodeIndirectReference>(node)) {
    const ZPDFObjectIdentifier id = reference->GetID();
    return std::to_string(id.Number()) + "." + std::to_string(id.Generation()) + "R";
  }
  if (NodeCast<ZPDFNodeArray>(node)) return "[" + children(" ") + "]";
  if (NodeCast<ZPDFNodeDictionary>(node)) return "{" + children("; ") + "}";
  if (NodeCast<ZPDFNodeDictionaryEntry>(node)) return node->Size() < 2 ? "- " + children(" ") : children(" ");
  if (NodeCast<ZPDFNodeStream>(node)) return children("");
  if (const auto* data = NodeCast<ZPDFNodeStreamData>(node)) return "stream(" + Visible(data->Data()) + ")";
  return "?";
}

inline NodePtr Parse(std::string_view text, const ZPDFEncrypter* encrypter = ZPDFEncrypterNeutral::Default()) {
  ZPDFTokenizedString tokens{Chaine(text)};
  return NodePtr(ZPDFNode::BuildFrom(tokens, nullptr, encrypter));
}

inline std::string Written(const ZPDFNode& node, const ZPDFEncrypter* encrypter = ZPDFEncrypterNeutral::Default()) {
  Chaine text;
  ZPDFOutStream out(&text);
  node.SendTo(out, encrypter);
  return text.ToString();
}

}  // namespace zforms
