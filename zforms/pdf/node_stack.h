#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace zforms {

class ZPDFNode;

// A stack whose first few elements need no allocation. Collects the contents of an array or dictionary before a list of
// the exact size is made.
template <class T, size_t kFew>
class ZPDFSmallStack {
 public:
  void Push(const T& item) {
    if (size_ < kFew) {
      few_[size_++] = item;
    } else {
      PushBeyond(item);
    }
  }
  size_t Size() const { return size_; }
  const T* Data() const { return size_ <= kFew ? few_.data() : many_.data(); }
  // Keeps the first `size` elements.
  void Shrink(size_t size) {
    if (size_ > kFew && size <= kFew) std::copy_n(many_.begin(), size, few_.begin());
    size_ = size;
  }

 private:
  void PushBeyond(const T& item) {
    if (size_ == kFew) many_.assign(few_.begin(), few_.end());
    many_.resize(size_);
    many_.push_back(item);
    size_++;
  }

  std::array<T, kFew> few_;
  std::vector<T> many_;
  size_t size_ = 0;
};

using ZPDFNodeStack = ZPDFSmallStack<ZPDFNode*, 16>;

}  // namespace zforms
