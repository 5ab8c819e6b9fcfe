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

// Compares the two ways to write the value at the beginning of the text: with and without nodes. Nodes must read the
// value completely and without a warning, find the same references, and write the same bytes. Returns what is wrong,
// empty when nothing is. `count` is incremented when the value can be written without nodes.
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
