#pragma once

#include <memory>
#include <type_traits>

namespace zforms {

// Holds a wrapper that is built over a node when it is first asked for. As long
// as the node stays the same, so does the wrapper; when the key that leads to the
// node was given another value, a new wrapper takes its place. Copies share the
// wrapper. A wrapper class with a protected constructor befriends this one; an
// abstract one chooses the class by its Alloc.
template <class Wrapper>
class LazyWrapper {
 public:
  // The wrapper over the node; null over a null node.
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
