#pragma once

#include <memory>
#include <type_traits>

namespace zforms {

// Holds a wrapper that is built over a node on first use. The wrapper is kept as long as the node is the same; when the
// key that leads to the node gets another value, a new wrapper replaces it. Copies share the wrapper. A wrapper class
// with a protected constructor must declare this class a friend; an abstract wrapper class chooses the concrete class
// in its function Alloc.
template <class Wrapper>
class LazyWrapper {
 public:
  // The wrapper over the node; null for a null node.
  template <class Node>
  Wrapper* Over(Node* node) const {
    if (node == nullptr) {
      held_.reset();
    } else if (held_ == nullptr || node_ != node) {
      held_.reset(Make(node));
    }
    node_ = node;
    return held_.get();
  }
  bool IsBuilt() const { return held_ != nullptr; }

 private:
  template <class Node>
  static Wrapper* Make(Node* node) {
    if constexpr (std::is_abstract_v<Wrapper>) {
      return Wrapper::Alloc(node);
    } else {
      return new Wrapper(node);
    }
  }

  mutable std::shared_ptr<Wrapper> held_;
  mutable const void* node_ = nullptr;
};

}  // namespace zforms
