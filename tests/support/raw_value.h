#pragma once

#include <string>
#include <vector>

#include "tests/support/dump.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/raw_value.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/reference_walk.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms {

// A value at the front of the text that is written without nodes must be read by nodes in silence and completely, with
// the same references, and be written by them as the same bytes. Empty when that is so; else what is wrong. Counts the
// values that could be written so.
inline std::string FaultOfRaw(const std::string& input, size_t* count = nullptr) {
  std::vector<ZPDFObjectIdentifier> references;
  const size_t length = ZPDFRawValue::LengthAt(input, &references);
  if (length == 0) return {};
  if (count != nullptr) ++*count;
  const std::string text = input.substr(0, length);
  ZDiagnostics diagnostics;
  ZPDFTokenizedString tokens{Chaine(text)};
  tokens.SetDocument();
  tokens.SetDiagnostics(&diagnostics);
  const NodePtr node(ReadForward(tokens, nullptr, nullptr));
  if (node == nullptr || !tokens.IsEmpty() || diagnostics.Warnings().Size() > 0) return "is not read by nodes: " + text;
  std::vector<const ZPDFNodeIndirectReference*> nodes;
  if (const auto* reference = NodeCast<ZPDFNodeIndirectReference>(node.get())) nodes.push_back(reference);
  ZPDFReferenceWalk::Collect(*node, &nodes);
  std::vector<ZPDFObjectIdentifier> wanted;
  for (const ZPDFNodeIndirectReference* reference : nodes) wanted.push_back(reference->GetID());
  if (references != wanted) return "has other references: " + text;
  Chaine written("\n");
  ZPDFOutStream out(&written);
  ZPDFRawValue::Write(text, out);
  Chaine by_nodes("\n");
  ZPDFOutStream node_out(&by_nodes);
  node->SendTo(node_out, nullptr);
  return written == by_nodes ? std::string() : "is written as" + written.ToString() + "\nnot as" + by_nodes.ToString();
}

}  // namespace zforms
