#include "pdf/child_list.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace zforms {
namespace {

void* Allocate(size_t bytes) {
  void* memory = std::malloc(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

ZPDFChildList* ZPDFChildList::Make(size_t capacity) {
  void* memory = Allocate(sizeof(ZPDFChildList) + capacity * sizeof(ZPDFNode*));
  auto* list = new (memory) ZPDFChildList;
  list->refs = 1;
  list->size = 0;
  list->capacity = static_cast<uint32_t>(capacity);
  list->items = list->Inline();
  list->retired = nullptr;
  return list;
}

void ZPDFChildList::Free(ZPDFChildList* list) {
  if (list->items != list->Inline()) std::free(list->items);
  std::free(list);
}

void ZPDFChildList::Reserve(size_t wanted) {
  if (wanted <= capacity) return;
  const size_t room = std::max<size_t>(wanted, size_t{capacity} * 2);
  auto** grown = static_cast<ZPDFNode**>(Allocate(room * sizeof(ZPDFNode*)));
  std::copy(items, items + size, grown);
  if (items != Inline()) std::free(items);
  items = grown;
  capacity = static_cast<uint32_t>(room);
}

void ZPDFChildList::Insert(size_t at, ZPDFNode* node) {
  Reserve(size_t{size} + 1);
  std::copy_backward(items + at, items + size, items + size + 1);
  items[at] = node;
  size++;
}

void ZPDFChildList::Remove(size_t at) {
  std::copy(items + at + 1, items + size, items + at);
  size--;
}

void ZPDFChildList::GrowTo(size_t new_size) {
  if (new_size <= size) return;
  Reserve(new_size);
  std::fill(items + size, items + new_size, nullptr);
  size = static_cast<uint32_t>(new_size);
}

bool ZPDFChildList::Retire(ZPDFChildList* given_up) {
  ZPDFChildList* last = nullptr;
  for (ZPDFChildList* list = given_up; list != nullptr; list = list->retired) {
    for (const ZPDFChildList* waiting = this; waiting != nullptr; waiting = waiting->retired) {
      if (list == waiting) return false;
    }
    last = list;
  }
  last->retired = retired;
  retired = given_up;
  return true;
}

}  // namespace zforms
