#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "zforms/xfdf/xfdf.h"

using zforms::Chaine;
using zforms::ZXFDF;

// Checks that a written document is read back with the same text, names and values.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ZXFDF first;
  first.FromChaine(Chaine(reinterpret_cast<const char*>(data), size));
  if (!first.LastError().empty()) return 0;
  ZXFDF second;
  second.FromChaine(first.AsChaine());
  ZXFDF third;
  third.FromChaine(second.AsChaine());
  if (!second.LastError().empty() || second.AsChaine() != first.AsChaine()) std::abort();
  const ZXFDF::FieldCollection& fields = third.Fields();
  for (const Chaine& name : second.Fields().FieldNames()) {
    if (!fields.Exist(name)) std::abort();
    if (fields[name].Value().AsChaine() != second.Fields()[name].Value().AsChaine()) std::abort();
  }
  return 0;
}
