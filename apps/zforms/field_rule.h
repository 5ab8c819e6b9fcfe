#pragma once

#include <string>
#include <unordered_set>

#include "apps/zforms/field_report.h"
#include "apps/zforms/row.h"

namespace zforms::tool {

// What a field of a form takes: a value that breaks the rule would be cut off, not be
// shown, or be refused by viewers. Made once for a form; any number of threads may ask.
class FieldRule {
 public:
  explicit FieldRule(const FieldReport& field);

  // Whether it can be filled at all: no push button and no signature.
  bool IsFillable() const { return fillable_; }
  // Why the field does not take the value, such as "\"x\" is not one of its choices";
  // empty when it does.
  std::string FaultOf(const Cell& value) const;

 private:
  void ReadChoices(const FieldReport& field);
  std::string FaultOfText(const std::string& text) const;

  bool fillable_;
  bool is_button_;
  bool is_closed_ = false;  // takes its choices alone
  bool takes_several_ = false;
  size_t max_length_ = 0;  // in characters; 0 for any
  std::unordered_set<std::string> choices_;
};

}  // namespace zforms::tool
