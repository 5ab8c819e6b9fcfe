#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "zforms/pdf/dictionary_entry.h"
#include "zforms/pdf/node.h"

namespace zforms {

// A dictionary; its children are the entries in document order, new keys last (ISO 32000-1 7.3.7). Keys are exact byte
// strings that include the "/". When a damaged file repeats a key, the leftmost entry is used. Example:
// dictionary->GetUIntValue("/Ff").
class ZFORMS_API ZPDFNodeDictionary final : public ZPDFNode {
 public:
  using ZPDFNodeDictionaryEntry = zforms::ZPDFNodeDictionaryEntry;

  explicit ZPDFNodeDictionary(IPDFObjectProvider* provider = nullptr);
  ZPDFNodeDictionary(const ZPDFNodeDictionary& other);
  ZPDFNodeDictionary& operator=(const ZPDFNodeDictionary& other);
  ~ZPDFNodeDictionary() override;
  ZPDFNodeDictionary* Clone() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  bool Exist(std::string_view key) const { return FindKey(key) != kAbsent; }
  // Whether the key has a value other than the null object, with references resolved (ISO 32000-1 7.3.7).
  bool Holds(std::string_view key) const;
  // The value as stored, null when the key is absent.
  ZPDFNode* GetDirect(std::string_view key);
  const ZPDFNode* GetDirect(std::string_view key) const;
  // The value with references resolved, null when the key is absent.
  ZPDFNode* GetTarget(std::string_view key);
  const ZPDFNode* GetTarget(std::string_view key) const;
  using ZPDFNode::GetTarget;

  // The key and the value of an entry by position, without making a node for the entry. In a damaged file the key may
  // be empty or the value null. Precondition: index < Size().
  std::string_view KeyAt(size_t index) const;
  ZPDFNode* ValueAt(size_t index);
  const ZPDFNode* ValueAt(size_t index) const { return const_cast<ZPDFNodeDictionary*>(this)->ValueAt(index); }

  // The value's text, number or boolean; empty, 0 or false when the key is absent or its value has another kind.
  const Chaine& GetStringValue(std::string_view key) const;
  const Chaine& GetIdentifier(std::string_view key) const;
  // StringText and IdentifierText give the same results as GetStringValue and GetIdentifier, but make no node for a
  // value that nobody has used yet. The view of IdentifierText is valid until the dictionary changes.
  Chaine StringText(std::string_view key) const;
  std::string_view IdentifierText(std::string_view key) const;
  int32_t GetIntValue(std::string_view key) const;
  uint32_t GetUIntValue(std::string_view key) const;
  double GetDoubleValue(std::string_view key) const;
  bool GetBoolValue(std::string_view key) const;
  // Reads the numbers of an array into `numbers`, with references resolved, until `numbers` is full. An element of
  // another kind reads as 0. Returns the size of the array; 0 when the value is not an array.
  size_t GetNumbers(std::string_view key, std::span<double> numbers) const;
  using ZPDFNode::GetBoolValue;
  using ZPDFNode::GetDoubleValue;
  using ZPDFNode::GetIdentifier;
  using ZPDFNode::GetIntValue;
  using ZPDFNode::GetStringValue;
  using ZPDFNode::GetUIntValue;

  // Set a scalar value. When the present value, with references resolved, is equal, nothing changes and nothing is
  // marked. A direct value of the same kind changes in place; any other value is replaced. The object that a reference
  // points to is never changed.
  void SetValue(std::string_view key, const Chaine& value);
  void SetValue(std::string_view key, const char* value);
  void SetValue(std::string_view key, int32_t value);
  void SetValue(std::string_view key, uint32_t value);
  void SetValue(std::string_view key, double value);
  // A template, so that a pointer is not converted to a boolean.
  void SetValue(std::string_view key, std::same_as<bool> auto value) { SetBoolean(key, value); }
  void SetIdentifier(std::string_view key, const Chaine& identifier);
  // Takes ownership of the node; null removes the key.
  void SetValue(std::string_view key, ZPDFNode* node);
  // Removes every entry with this key, and marks the dictionary; does nothing when the key is absent.
  void RemoveValue(std::string_view key);

  static ZPDFNodeDictionary* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                       const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kDictionary; }

 private:
  friend class ZPDFNode;
  friend class ZPDFForwardReader;
  static constexpr size_t kAbsent = SIZE_MAX;

  ZPDFNodeDictionary(Parsed, IPDFObjectProvider* provider) : ZPDFNode(provider, Kind::kDictionary) {}
  void SetBoolean(std::string_view key, bool value);
  template <class Node, class Value, class Getter>
  void SetScalar(std::string_view key, const Value& value, Getter getter);
  // Decrypts the string "/Contents", which the reader leaves encrypted. Does nothing in the dictionary of a signature,
  // where "/Contents" is never encrypted (ISO 32000-1 7.6.1).
  void DecipherContents(const std::function<Chaine(const Chaine&)>& decipher);
  static bool IsContents(std::string_view key);
  // The position of the first entry with this key; kAbsent when there is none.
  size_t FindKey(std::string_view key) const;
  size_t FindIndexed(std::string_view key) const;
  void ForgetIndex() const { index_.reset(); }

  // Made by the first search in a large dictionary; small ones are searched from front to back.
  mutable std::unique_ptr<HashIndex> index_;
};

}  // namespace zforms
