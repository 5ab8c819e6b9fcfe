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
// The same as a list, in identifier order.
using ZPDFObjectList = PTableau<std::pair<ZPDFObjectIdentifier, const ZPDFNodeIndirectObject*>>;

// ZPDFNode is the base of the tree in which every PDF object is held. A node
// owns its children (but never the shared null node), knows its object provider
// without owning it, and has no pointer to its parent. Setters mark only the
// node that they change; IsModified looks below. One document, and so its whole
// tree, belongs to one thread at a time.
//
// Asking a node for a value of another kind gives the empty text, 0 or false.
class ZFORMS_API ZPDFNode {
 public:
  explicit ZPDFNode(IPDFObjectProvider* provider = nullptr);
  // A deep copy: clones of the children, the same provider and modified flag.
  ZPDFNode(const ZPDFNode& other);
  // Shallow: both nodes then share one child list. The children held so far are
  // kept alive beside it, unless lists would wait for each other in a ring, and go
  // when the last sharing node does.
  ZPDFNode& operator=(const ZPDFNode& other);

  // Nodes that were parsed stand in their document's pool, others on the heap: the
  // node knows where its memory goes back to, so "delete" fits all of them.
  static void operator delete(ZPDFNode* node, std::destroying_delete_t);

  // The order of these virtual operations is part of the binary interface.
  virtual ~ZPDFNode();
  // A new deep copy, owned by the caller.
  virtual ZPDFNode* Clone() const = 0;
  // Stores the provider here and in everything below.
  virtual void SetObjectProvider(IPDFObjectProvider* provider);
  // The node that a chain of references leads to; any other node is its own
  // target. The shared null node when the chain leads nowhere.
  virtual ZPDFNode* GetTarget();
  virtual const ZPDFNode* GetTarget() const;
  // Adds every indirect object that can be reached through references. Does not
  // recurse along chains of objects. A class of the host may add others: the nodes
  // above call its override, with what was found up to then in the map.
  virtual void GetReferencedObjects(ZPDFObjectMap& map) const;
  virtual const Chaine& GetStringValue() const;
  virtual uint32_t GetUIntValue() const;
  virtual int32_t GetIntValue() const;
  virtual bool GetBoolValue() const;
  virtual double GetDoubleValue() const;
  virtual const Chaine& GetIdentifier() const;
  // Writes the node's PDF text; strings and stream data pass through the
  // encrypter (null means none).
  virtual void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const = 0;

 protected:
  // Add without marking anything as modified; a leaf aborts.
  virtual void AppendChild(ZPDFNode* node);
  virtual void PrependChild(ZPDFNode* node);

 public:
  size_t Size() const;
  // The child as stored. The form for changing lengthens the list with empty
  // slots up to `index`; the other gives null past the end.
  ZPDFNode* GetDirectAt(size_t index);
  const ZPDFNode* GetDirectAt(size_t index) const;
  // The child with references followed, null for an empty slot.
  ZPDFNode* GetTargetAt(size_t index);
  const ZPDFNode* GetTargetAt(size_t index) const;

  // The objects that GetReferencedObjects adds to an empty map, as a list. `missing`, if
  // not null, takes the identifiers that lead to no object, each once, in order.
  ZPDFObjectList ReferencedObjects(PTableau<ZPDFObjectIdentifier>* missing = nullptr) const;

  IPDFObjectProvider* ObjectProvider() const { return provider_; }
  // Sets the flag here and, when recursive, in everything below.
  void SetModified(bool modified, bool recursive);
  // Whether this node or any below it is marked.
  bool IsModified() const;

  // Parses one object from the end of the text and removes it there; what stands
  // before it stays. Null when the text holds nothing but blanks and comments.
  // The result belongs to the caller and is given back with Destroy.
  static ZPDFNode* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  // Deletes the node unless it is null or the shared null node.
  static void Destroy(ZPDFNode* node);

 protected:
  // What the concrete class is, for the checked downcast NodeCast alone.
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

  // Says of a constructor that the node is as it was read, and not marked.
  struct Parsed {};
  // A node as it was read, in the memory of the pool; on the heap without one.
  template <class T, class... Arguments>
  static T* MakeParsed(ZPDFNodePool* pool, Arguments&&... arguments) {
    if (pool == nullptr) return new T(Parsed(), std::forward<Arguments>(arguments)...);
    const ZPDFNodePool::Block block = pool->Take(sizeof(T));
    T* const node = ::new (block.memory) T(Parsed(), std::forward<Arguments>(arguments)...);
    static_cast<ZPDFNode*>(node)->pool_offset_ = block.offset;
    return node;
  }

  // Destroys the child at `index` and stores the node there; null removes the slot.
  void ReplaceChild(size_t index, ZPDFNode* node);
  // Takes the children in reverse order, as parsing from the end yields them.
  void AdoptReversed(ZPDFNode* const* nodes, size_t count);
  // The list as it is stored, null while there are no children.
  ZPDFChildList* Children() const { return children_; }
  // Precondition: there are no children yet. Takes over the list.
  void AdoptChildren(ZPDFChildList* list) { children_ = list; }
  // Whether another node, assigned from this one or the other way, holds the same list.
  bool SharesChildren() const;
  // Makes this the shared node that no path changes, marks or deletes.
  void MakeImmutable() { immutable_ = true; }

 private:
  template <class T>
  friend T* NodeCast(ZPDFNode* node);
  template <class T>
  friend const T* NodeCast(const ZPDFNode* node);
  friend class ZPDFForwardReader;
  friend class ZPDFReferenceWalk;

  ZPDFChildList* EnsureChildren();
  // Puts entry nodes into the list of a dictionary that has kept keys and values.
  void MakeEntries() const;
  static void ReleaseChildren(ZPDFChildList* list);
  // Whether a class of the host may be behind the node: it was not made by reading, and
  // is not of one of the classes from which no other derives.
  bool MayBeOfHost() const;

  ZPDFChildList* children_ = nullptr;
  IPDFObjectProvider* provider_;
  uint32_t pool_offset_ = 0;  // where the node stands in its slab, 0 for the heap
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
