#pragma once

#include "zforms/pdf/syntax/tokenized_string.h"

namespace zforms {

// Counts how deeply arrays and dictionaries are nested while they are parsed, so that a hostile file cannot exhaust the
// stack.
class NestingGuard {
 public:
  explicit NestingGuard(ZPDFTokenizedString& text) : text_(text), allowed_(text.EnterNesting()) {}
  ~NestingGuard() { text_.LeaveNesting(); }
  NestingGuard(const NestingGuard&) = delete;
  NestingGuard& operator=(const NestingGuard&) = delete;
  bool Allowed() const { return allowed_; }

 private:
  ZPDFTokenizedString& text_;
  bool allowed_;
};

// Removes the array or dictionary at the end of the text with all its contents, without parsing it, and warns. Linear
// time, no recursion.
void SkipLastBracketed(ZPDFTokenizedString& text);

}  // namespace zforms
