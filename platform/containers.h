#pragma once

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/chaine.h"

namespace zforms {

// An array.
template <class T>
using PTableau = std::vector<T>;

// A map in the order of its keys.
template <class Key, class Value>
using FSortedMap = std::map<Key, Value>;

struct ChaineHash {
  size_t operator()(const Chaine& text) const { return std::hash<std::string_view>{}(text.View()); }
};

// A list of distinct values in the order in which they were first added.
template <class T, class Hash = ChaineHash>
class PUniqueT {
 public:
  // Adds the value unless it is there already; true when it was added.
  bool Add(const T& value) {
    if (!seen_.insert(value).second) return false;
    items_.push_back(value);
    return true;
  }
  bool Exist(const T& value) const { return seen_.contains(value); }
  size_t Size() const { return items_.size(); }
  const T& operator[](size_t index) const { return items_[index]; }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  std::vector<T> items_;
  std::unordered_set<T, Hash> seen_;
};

// A map keyed by byte strings, walked and indexed by position in byte order of
// the keys. Keys that arrive in order cost nothing extra; others are sorted in
// when the order is next asked for, so building one is never quadratic.
template <class Value>
class FDictionnary {
 public:
  using Item = std::pair<Chaine, Value>;

  size_t Size() const { return items_.size(); }
  bool Exist(std::string_view key) const { return Find(key) != nullptr; }
  // The value under the key, or null.
  const Value* Find(std::string_view key) const { return const_cast<FDictionnary*>(this)->Find(key); }
  Value* Find(std::string_view key) {
    const auto found = index_.find(Chaine(key));
    return found == index_.end() ? nullptr : &items_[found->second].second;
  }
  // Stores the value under the key, in place of an earlier one.
  void Set(const Chaine& key, Value value) {
    if (Value* old = Find(key)) {
      *old = std::move(value);
      return;
    }
    if (!items_.empty() && !(items_.back().first < key)) sorted_ = false;
    index_.emplace(key, items_.size());
    items_.emplace_back(key, std::move(value));
  }
  // The value under the key, made by default when there is none.
  Value& operator[](const Chaine& key) {
    Value* found = Find(key);
    if (found == nullptr) {
      Set(key, Value());
      found = Find(key);
    }
    return *found;
  }
  bool Remove(std::string_view key) {
    const auto found = index_.find(Chaine(key));
    if (found == index_.end()) return false;
    // The last one fills the gap, so that removing many costs no more than adding them.
    const size_t gap = found->second;
    index_.erase(found);
    if (gap + 1 != items_.size()) {
      items_[gap] = std::move(items_.back());
      index_.find(items_[gap].first)->second = gap;
      sorted_ = false;
    }
    items_.pop_back();
    return true;
  }
  void Clear() {
    items_.clear();
    index_.clear();
    sorted_ = true;
  }
  // In key order.
  const Item& At(size_t position) const {
    Sort();
    return items_[position];
  }
  auto begin() const {
    Sort();
    return items_.begin();
  }
  auto end() const { return items_.end(); }

 private:
  void Sort() const {
    if (sorted_) return;
    std::sort(items_.begin(), items_.end(), [](const Item& a, const Item& b) { return a.first < b.first; });
    Reindex();
    sorted_ = true;
  }
  void Reindex() const {
    index_.clear();
    for (size_t i = 0; i < items_.size(); i++) index_.emplace(items_[i].first, i);
  }

  mutable std::vector<Item> items_;
  mutable std::unordered_map<Chaine, size_t, ChaineHash> index_;
  mutable bool sorted_ = true;
};

}  // namespace zforms
