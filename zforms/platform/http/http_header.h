#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

struct ZFORMS_API ZHTTPHeaderField {
  Chaine name;
  Chaine value;
};

// ZHTTPHeader is the header of an HTTP message: its fields in order. Names ignore the case of ASCII letters. A field
// that could end a line early is refused, not corrected. A plain value; one thread at a time.
class ZFORMS_API ZHTTPHeader {
 public:
  using Field = ZHTTPHeaderField;

  // Appends a field. False, with nothing changed, when the name is not a token or the value contains a control
  // character other than a tab (RFC 9110 5.5).
  bool Add(const Chaine& name, const Chaine& value);
  // Like Add, but replaces all fields of the name.
  bool Set(const Chaine& name, const Chaine& value);
  void Remove(std::string_view name);

  size_t Count() const { return fields_.size(); }
  const Field& operator[](size_t index) const { return fields_[index]; }
  // The number of fields of the name.
  size_t CountOf(std::string_view name) const;
  bool Has(std::string_view name) const { return Find(name) != nullptr; }
  // The value of the first field of the name; empty when there is none.
  Chaine Get(std::string_view name) const;

  static bool IsToken(std::string_view text);
  static bool IsFieldValue(std::string_view text);

 private:
  const Field* Find(std::string_view name) const;

  std::vector<Field> fields_;
};

}  // namespace zforms
