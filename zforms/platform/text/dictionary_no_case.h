#pragma once

#include <string_view>
#include <utility>

#include "zforms/platform/base/containers.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms {

// A map with keys whose letter case is ignored (see FoldCase).
template <class Value>
class FDictionnaryNoCase {
 public:
  size_t Size() const { return items_.Size(); }
  bool Exist(std::string_view name) const { return Find(name) != nullptr; }
  // The value under the name, or null.
  const Value* Find(std::string_view name) const { return items_.Find(FoldCase(name)); }
  Value* Find(std::string_view name) { return items_.Find(FoldCase(name)); }
  // Stores the value under the name and replaces an earlier one.
  void Set(std::string_view name, Value value) { items_.Set(FoldCase(name), std::move(value)); }
  bool Remove(std::string_view name) { return items_.Remove(FoldCase(name)); }
  void Clear() { items_.Clear(); }

 private:
  FDictionnary<Value> items_;
};

}  // namespace zforms
