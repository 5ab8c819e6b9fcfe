// Takes the input as a PDF string and as a PDF name. Writes them at any column of a line, and checks that they are read
// back equal.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "tests/support/dump.h"

using namespace zforms;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  // Replaces "#", because a name that was read from a file never contains it.
  std::string name = "/" + std::string(bytes);
  std::replace(name.begin(), name.end(), '#', '_');

  ZPDFNodeArray array;
  array.AppendIdentifier("/" + std::string(data[0], 'x'));
  array.AppendValue(Chaine(bytes));
  array.AppendIdentifier(name);
  array.AppendValue(new ZPDFNodeHexaString(bytes));
  if (Dump(Parse(Written(array)).get()) != Dump(&array)) std::abort();

  if (ZPDFNodeLiteralString::Decode(ZPDFNodeLiteralString::Encode(bytes)) != Chaine(bytes)) std::abort();
  if (ZPDFNodeHexaString::Decode(ZPDFNodeHexaString::Encode(bytes)) != Chaine(bytes)) std::abort();
  if (ZPDFNodeIdentifier::Decode(ZPDFNodeIdentifier::Encode(name)) != Chaine(name)) std::abort();
  if (ZPDFNodeIdentifier::Decode(bytes).View().find('#') != std::string_view::npos) std::abort();
  if (ZPDFNodeLiteralString::Decode(bytes).size() > bytes.size()) std::abort();
  if (ZPDFNodeHexaString::Decode(bytes).size() != (bytes.size() + 1) / 2) std::abort();
  return 0;
}
