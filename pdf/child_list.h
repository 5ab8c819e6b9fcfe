#pragma once

#include <cstddef>
#include <cstdint>

namespace zforms {

class ZPDFNode;

// The children of a node, in one block with room for a few. Shared (and counted)
// only after a node was assigned from another. Private to the node classes.
struct ZPDFChildList {
  static ZPDFChildList* Make(size_t capacity);
  static void Free(ZPDFChildList* list);

  void Insert(size_t at, ZPDFNode* node);
  void Append(ZPDFNode* node) { Insert(size, node); }
  void Remove(size_t at);
  void GrowTo(size_t new_size);
  // Takes over the caller's share of a list, to be freed with this one. False when
  // the lists that wait for either have one in common.
  bool Retire(ZPDFChildList* given_up);

  uint32_t refs;
  uint32_t size;
  uint32_t capacity;
  ZPDFNode** items;        // behind this header until the list outgrows its first room
  ZPDFChildList* retired;  // lists given up by an assignment, freed with this one

 private:
  void Reserve(size_t wanted);
  ZPDFNode** Inline() { return reinterpret_cast<ZPDFNode**>(this + 1); }
};

}  // namespace zforms
