#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace zforms {

class ZPDFNode;

// Collects the nodes of an array or dictionary while it is parsed from its end.
// The first few stay on the stack, so that most parsing allocates no list twice.
class ZPDFNodeStack {
 public:
  void Push(ZPDFNode* node) {
    if (size_ < few_.size()) {
      few_[size_] = node;
    } else {
      if (size_ == few_.size()) many_.assign(few_.begin(), few_.end());
      many_.push_back(node);
    }
    size_++;
  }
  size_t Size() const { return size_; }
  ZPDFNode* const* Data() const { return many_.empty() ? few_.data() : many_.data(); }

 private:
  std::array<ZPDFNode*, 16> few_;
  std::vector<ZPDFNode*> many_;
  size_t size_ = 0;
};

}  // namespace zforms
