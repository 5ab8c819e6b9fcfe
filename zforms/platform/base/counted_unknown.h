#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "zforms/platform/base/export.h"

namespace zforms {

// Base class of objects that count their references; derive from it virtually. The creator has the first reference; the
// last Release deletes the object. Any thread may change the count.
class ZFORMS_API ZCountedUnknown {
 public:
  ZCountedUnknown() = default;
  ZCountedUnknown(const ZCountedUnknown&) = delete;
  ZCountedUnknown& operator=(const ZCountedUnknown&) = delete;

  void AddRef() const { count_.fetch_add(1, std::memory_order_relaxed); }
  void Release() const;

 protected:
  virtual ~ZCountedUnknown();

 private:
  mutable std::atomic<uint32_t> count_{1};
};

// Keeps one reference to an object and releases it in its destructor.
template <class T>
class ZCountedPtr {
 public:
  ZCountedPtr() = default;
  // Takes over the caller's reference.
  explicit ZCountedPtr(T* object) : object_(object) {}
  ZCountedPtr(const ZCountedPtr& other) : object_(other.object_) {
    if (object_ != nullptr) object_->AddRef();
  }
  ZCountedPtr(ZCountedPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ~ZCountedPtr() {
    if (object_ != nullptr) object_->Release();
  }
  ZCountedPtr& operator=(ZCountedPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  T& operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  T* object_ = nullptr;
};

}  // namespace zforms
