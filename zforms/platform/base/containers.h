#pragma once

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/hash.h"

namespace zforms {

// An array.
template <class T>
using PTableau = std::vector<T>;

// A map sorted by key.
template <class Key, class Value>
using FSortedMap = std::map<Key, Value>;

// A list of distinct values in the order in which they were first added.
template <class T, class Hash = ChaineHash>
class PUniqueT {
 public:
  // Adds the value unless it is in the list already; true when it was added.
  bool Add(const T& value) {
    const uint64_t hash = Hash()(value);
    if (Find(value, hash) != HashIndex::kNone) return false;
    index_.Insert(hash, items_.size());
    items_.push_back(value);
    return true;
  }
  bool Exist(const T& value) const { return Find(value, Hash()(value)) != HashIndex::kNone; }
  size_t Size() const { return items_.size(); }
  const T& operator[](size_t index) const { return items_[index]; }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  size_t Find(const T& value, uint64_t hash) const {
    return index_.Find(hash, [&](size_t at) { return items_[at] == value; });
  }

  std::vector<T> items_;
  HashIndex index_;
};

// A map keyed by byte strings, which can be walked and indexed in byte order of the keys. Keys that are added in order
// cost nothing extra. Others are sorted when the order is next needed, so building a map never takes quadratic time.
template <class Value>
class FDictionnary {
 public:
  using Item = std::pair<Chaine, Value>;

  size_t Size() const { return items_.size(); }
  bool Exist(std::string_view key) const { return Find(key) != nullptr; }
  // The value under the key, or null.
  const Value* Find(std::string_view key) const { return const_cast<FDictionnary*>(this)->Find(key); }
  Value* Find(std::string_view key) {
    const size_t found = PositionOf(key, KeyedHash(key));
    return found == HashIndex::kNone ? nullptr : &items_[found].second;
  }
  // Stores the value under the key and replaces an earlier one.
  void Set(const Chaine& key, Value value) { (*this)[key] = std::move(value); }
  // The value under the key; adds a default value when the key is missing.
  Value& operator[](const Chaine& key) {
    const uint64_t hash = KeyedHash(key);
    const size_t found = PositionOf(key, hash);
    if (found != HashIndex::kNone) return items_[found].second;
    if (!items_.empty() && !(items_.back().first < key)) sorted_ = false;
    index_.Insert(hash, items_.size());
    return items_.emplace_back(key, Value()).second;
  }
  bool Remove(std::string_view key) {
    const uint64_t hash = KeyedHash(key);
    const size_t gap = PositionOf(key, hash);
    if (gap == HashIndex::kNone) return false;
    // The last item fills the gap, so that removing takes constant time.
    index_.Erase(hash, gap);
    if (gap + 1 != items_.size()) {
      index_.Move(KeyedHash(items_.back().first), items_.size() - 1, gap);
      items_[gap] = std::move(items_.back());
      sorted_ = false;
    }
    items_.pop_back();
    return true;
  }
  void Clear() {
    items_.clear();
    index_.Clear();
    sorted_ = true;
  }
  // The item at that position in the order of the keys.
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
  size_t PositionOf(std::string_view key, uint64_t hash) const {
    return index_.Find(hash, [&](size_t at) { return items_[at].first.View() == key; });
  }
  void Sort() const {
    if (sorted_) return;
    std::sort(items_.begin(), items_.end(), [](const Item& a, const Item& b) { return a.first < b.first; });
    index_.Clear();
    index_.Reserve(items_.size());
    for (size_t i = 0; i < items_.size(); i++) index_.Insert(KeyedHash(items_[i].first), i);
    sorted_ = true;
  }

  mutable std::vector<Item> items_;
  mutable HashIndex index_;
  mutable bool sorted_ = true;
};

}  // namespace zforms
