#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "zforms/pdf/node_pool.h"
#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class IPDFObjectProvider;
class ZPDFEncrypter;
class ZPDFNodeIndirectObject;
class ZPDFNodeIndirectReference;
class ZPDFOutStream;
class ZPDFTokenizedString;
struct ZPDFChildList;

using ZPDFObjectMap = FSortedMap<ZPDFObjectIdentifier, const ZPDFNodeIndirectObject*>;
// The same objects as a list, in identifier order.
using ZPDFObjectList = PTableau<std::pair<ZPDFObjectIdentifier, const ZPDFNodeIndirectObject*>>;

// ZPDFNode is the base class of the tree that represents PDF objects. A node owns its children (but never the shared
// null node), has a pointer to its object provider without owning it, and no pointer to its parent. Setters mark only
// the node that they change; IsModified also checks the nodes below. One document, and so its whole tree, is used by
// one thread at a time.
//
// Reading a value of another kind gives the empty text, 0 or false.
class ZFORMS_API ZPDFNode {
 public:
  explicit ZPDFNode(IPDFObjectProvider* provider = nullptr);
  // A deep copy: clones of the children, the same provider and modified flag.
  ZPDFNode(const ZPDFNode& other);
  // Makes a shallow copy: both nodes then share one child list. The old children are kept until the last node that
  // shares this list is destroyed. If keeping them would make a cycle of lists, this node releases them at once.
  ZPDFNode& operator=(const ZPDFNode& other);

  // Parsed nodes are allocated in their document's pool, others on the heap. A node knows its kind of memory, so
  // "delete" works for all of them.
  static void operator delete(ZPDFNode* node, std::destroying_delete_t);

  // The order of these virtual operations is part of the binary interface.
  virtual ~ZPDFNode();
  // A new deep copy, owned by the caller.
  virtual ZPDFNode* Clone() const = 0;
  // Stores the provider in this node and in all nodes below it.
  virtual void SetObjectProvider(IPDFObjectProvider* provider);
  // The node at the end of a chain of references; a node that is no reference is its own target. The shared null node
  // when the chain leads to no object.
  virtual ZPDFNode* GetTarget();
  virtual const ZPDFNode* GetTarget() const;
  // Adds every indirect object that can be reached through references. A long chain of objects causes no deep
  // recursion. A host's class may override this to add more objects. The override is also called for nodes below this
  // one; the map then contains the objects found so far.
  virtual void GetReferencedObjects(ZPDFObjectMap& map) const;
  virtual const Chaine& GetStringValue() const;
  virtual uint32_t GetUIntValue() const;
  virtual int32_t GetIntValue() const;
  virtual bool GetBoolValue() const;
  virtual double GetDoubleValue() const;
  virtual const Chaine& GetIdentifier() const;
  // Writes the node's PDF text; strings and stream data pass through the encrypter (null means no encryption).
  virtual void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const = 0;

 protected:
  // Appends a child without marking anything as modified; aborts on a leaf.
  virtual void AppendChild(ZPDFNode* node);
  virtual void PrependChild(ZPDFNode* node);

 public:
  size_t Size() const;
  // The child as stored, a reference included. The non-const form extends the list with empty slots up to `index`; the
  // const form returns null past the end.
  ZPDFNode* GetDirectAt(size_t index);
  const ZPDFNode* GetDirectAt(size_t index) const;
  // The child with references resolved; null for an empty slot.
  ZPDFNode* GetTargetAt(size_t index);
  const ZPDFNode* GetTargetAt(size_t index) const;

  // The objects that GetReferencedObjects adds to an empty map, as a list. `missing`, if not null, gets the identifiers
  // of missing objects, each once, in order.
  ZPDFObjectList ReferencedObjects(PTableau<ZPDFObjectIdentifier>* missing = nullptr) const;

  IPDFObjectProvider* ObjectProvider() const { return provider_; }
  // Sets the modified flag of this node and, when `recursive` is set, of all nodes below it.
  void SetModified(bool modified, bool recursive);
  // True when this node or a node below it is marked as modified.
  bool IsModified() const;

  // Parses one object from the end of the text and removes it; the text before it is kept. Null when the text contains
  // only blanks and comments. The caller owns the result and must free it with Destroy.
  static ZPDFNode* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  // Deletes the node; does nothing for null and for the shared null node.
  static void Destroy(ZPDFNode* node);

 protected:
  // The concrete class, used only by the checked downcast NodeCast.
  enum class Kind : uint8_t {
    kOther,
    kLiteralString,
    kHexaString,
    kIdentifier,
    kNull,
    kBoolean,
    kNumeric,
    kArray,
    kEntry,
    kDictionary,
    kStreamData,
    kStream,
    kReference,
    kIndirectObject,
  };
  ZPDFNode(IPDFObjectProvider* provider, Kind kind) : provider_(provider), kind_(kind) {}

  // Selects the constructor for a parsed node, which does not mark the node as modified.
  struct Parsed {};
  // Makes a parsed node in the memory of the pool, or on the heap without a pool.
  template <class T, class... Arguments>
  static T* MakeParsed(ZPDFNodePool* pool, Arguments&&... arguments) {
    if (pool == nullptr) return new T(Parsed(), std::forward<Arguments>(arguments)...);
    const ZPDFNodePool::Block block = pool->Take(sizeof(T));
    T* const node = ::new (block.memory) T(Parsed(), std::forward<Arguments>(arguments)...);
    static_cast<ZPDFNode*>(node)->pool_offset_ = block.offset;
    return node;
  }

  // Destroys the child at `index` and stores the node there; a null `node` removes the slot.
  void ReplaceChild(size_t index, ZPDFNode* node);
  // Appends the nodes, last one first, and takes ownership: parsing from the end gives them in reverse order.
  void AdoptReversed(ZPDFNode* const* nodes, size_t count);
  // The list as it is stored, null while there are no children.
  ZPDFChildList* Children() const { return children_; }
  // Takes over the list. Precondition: there are no children yet.
  void AdoptChildren(ZPDFChildList* list) { children_ = list; }
  // The child as a node, which is made now if the child is unread (see child_list.h). Null for an empty slot.
  // Precondition: index < Size().
  ZPDFNode* ReadChild(size_t index) const;
  // True when another node shares the list after an assignment.
  bool SharesChildren() const;
  // Marks this as the shared node, which is never changed, marked or deleted.
  void MakeImmutable() { immutable_ = true; }

 private:
  template <class T>
  friend T* NodeCast(ZPDFNode* node);
  template <class T>
  friend const T* NodeCast(const ZPDFNode* node);
  friend class ZPDFForwardReader;
  friend class ZPDFReferenceWalk;
  friend class ZPDFUnreadValue;

  ZPDFChildList* EnsureChildren();
  // Replaces the keys and values of a dictionary's list by entry nodes.
  void MakeEntries() const;
  static void ReleaseChildren(ZPDFChildList* list);
  // True when the node's class is not one of this library, so that the host must have defined it.
  bool MayBeOfHost() const;

  ZPDFChildList* children_ = nullptr;
  IPDFObjectProvider* provider_;
  uint32_t pool_offset_ = 0;  // the offset of the node in its slab, 0 when it is on the heap
  Kind kind_ = Kind::kOther;
  bool modified_ = false;
  bool immutable_ = false;
};

// The node as a T, or null when it is null or of another kind.
template <class T>
T* NodeCast(ZPDFNode* node) {
  return node != nullptr && T::Matches(node->kind_) ? static_cast<T*>(node) : nullptr;
}
template <class T>
const T* NodeCast(const ZPDFNode* node) {
  return node != nullptr && T::Matches(node->kind_) ? static_cast<const T*>(node) : nullptr;
}

// A node that never has children.
class ZFORMS_API ZPDFNodeLeaf : public ZPDFNode {
 public:
  using ZPDFNode::ZPDFNode;
  void GetReferencedObjects(ZPDFObjectMap& map) const override;

 protected:
  void AppendChild(ZPDFNode* node) override;
  void PrependChild(ZPDFNode* node) override;
};

}  // namespace zforms
