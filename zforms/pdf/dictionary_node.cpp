#include "zforms/pdf/dictionary_node.h"

#include <algorithm>
#include <type_traits>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/child_list.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/nesting.h"
#include "zforms/pdf/node_stack.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/pdf/unread_value.h"

namespace zforms {
namespace {

// A dictionary with more entries is searched through an index.
constexpr size_t kSearchedInOrder = 24;
// The room for entries in a new dictionary.
constexpr size_t kFirstRoom = 4;

// The node as a Node; null when it has another kind. The null object and booleans are subclasses of identifiers, but
// are not accepted as identifiers.
template <class Node>
Node* MatchingKind(ZPDFNode* node) {
  if constexpr (std::is_same_v<Node, ZPDFNodeIdentifier>) {
    if (NodeCast<ZPDFNodeNull>(node) != nullptr || NodeCast<ZPDFNodeBoolean>(node) != nullptr) return nullptr;
  }
  return NodeCast<Node>(node);
}

// The class to create when a value needs a new node of the class Node: for strings, the literal string.
template <class Node>
struct NewNode {
  using Type = Node;
};
template <>
struct NewNode<ZPDFNodeString> {
  using Type = ZPDFNodeLiteralString;
};

bool Enciphers(const ZPDFEncrypter* encrypter) {
  return encrypter != nullptr && encrypter != ZPDFEncrypterNeutral::Default() &&
         dynamic_cast<const ZPDFEncrypterNeutral*>(encrypter) == nullptr;
}

void Change(ZPDFNodeIdentifier& node, const Chaine& identifier) { node.SetIdentifier(identifier); }
void Change(ZPDFNodeBoolean& node, bool value) { node.SetValue(value); }
template <class Node, class Value>
void Change(Node& node, const Value& value) {
  node.SetValue(value);
}

}  // namespace

ZPDFNodeDictionary::ZPDFNodeDictionary(IPDFObjectProvider* provider) : ZPDFNode(provider, Kind::kDictionary) {}

ZPDFNodeDictionary::ZPDFNodeDictionary(const ZPDFNodeDictionary& other) : ZPDFNode(other) {}

ZPDFNodeDictionary& ZPDFNodeDictionary::operator=(const ZPDFNodeDictionary& other) {
  ZPDFNode::operator=(other);
  return *this;
}

ZPDFNodeDictionary::~ZPDFNodeDictionary() = default;

ZPDFNodeDictionary* ZPDFNodeDictionary::Clone() const { return new ZPDFNodeDictionary(*this); }

std::string_view ZPDFNodeDictionary::KeyAt(size_t index) const {
  const ZPDFChildList& children = *Children();
  if (children.keys != nullptr) return children.KeyAt(index);
  const auto* entry = NodeCast<ZPDFNodeDictionaryEntry>(children.items[index]);
  return entry == nullptr ? std::string_view() : entry->Key();
}

ZPDFNode* ZPDFNodeDictionary::ValueAt(size_t index) {
  const ZPDFChildList& children = *Children();
  if (children.keys != nullptr) return ReadChild(index);
  auto* entry = NodeCast<ZPDFNodeDictionaryEntry>(children.items[index]);
  return entry == nullptr ? nullptr : entry->Value();
}

size_t ZPDFNodeDictionary::FindKey(std::string_view key) const {
  const ZPDFChildList* const children = Children();
  if (children == nullptr || key.empty()) return kAbsent;
  // Uses tags and the index only for a keyed list: a key in a node may change without the dictionary knowing.
  if (children->keys != nullptr) {
    if (children->size > kSearchedInOrder && !SharesChildren()) return FindIndexed(key);
    const size_t found = children->Find(key);
    return found == children->size ? kAbsent : found;
  }
  for (size_t i = 0; i < children->size; i++) {
    if (KeyAt(i) == key) return i;
  }
  return kAbsent;
}

size_t ZPDFNodeDictionary::FindIndexed(std::string_view key) const {
  const auto find = [this](std::string_view wanted) {
    return index_->Find(KeyedHash(wanted), [&](size_t at) { return KeyAt(at) == wanted; });
  };
  if (index_ == nullptr) {
    index_ = std::make_unique<HashIndex>();
    for (size_t i = 0; i < Size(); i++) {
      const std::string_view own = KeyAt(i);
      if (!own.empty() && find(own) == HashIndex::kNone) index_->Insert(KeyedHash(own), i);
    }
  }
  const size_t found = find(key);
  return found == HashIndex::kNone ? kAbsent : found;
}

bool ZPDFNodeDictionary::Holds(std::string_view key) const {
  const size_t at = FindKey(key);
  if (at == kAbsent) return false;
  const ZPDFChildList& children = *Children();
  if (ZPDFChildList::IsUnread(children.items[at]) && !ZPDFUnreadValue::MayRefer(children.UnreadText(at))) return true;
  const ZPDFNode* const value = ValueAt(at);
  return value != nullptr && NodeCast<ZPDFNodeNull>(value->GetTarget()) == nullptr;
}

ZPDFNode* ZPDFNodeDictionary::GetDirect(std::string_view key) {
  const size_t at = FindKey(key);
  return at == kAbsent ? nullptr : ValueAt(at);
}

const ZPDFNode* ZPDFNodeDictionary::GetDirect(std::string_view key) const {
  return const_cast<ZPDFNodeDictionary*>(this)->GetDirect(key);
}

ZPDFNode* ZPDFNodeDictionary::GetTarget(std::string_view key) {
  ZPDFNode* direct = GetDirect(key);
  return direct == nullptr ? nullptr : direct->GetTarget();
}

const ZPDFNode* ZPDFNodeDictionary::GetTarget(std::string_view key) const {
  const ZPDFNode* direct = GetDirect(key);
  return direct == nullptr ? nullptr : direct->GetTarget();
}

const Chaine& ZPDFNodeDictionary::GetStringValue(std::string_view key) const {
  const ZPDFNode* target = GetTarget(key);
  // For an absent key, the function of ZPDFNode returns the empty text.
  return target == nullptr ? ZPDFNode::GetStringValue() : target->GetStringValue();
}

const Chaine& ZPDFNodeDictionary::GetIdentifier(std::string_view key) const {
  const ZPDFNode* target = GetTarget(key);
  // For an absent key, the function of ZPDFNode returns the empty text.
  return target == nullptr ? ZPDFNode::GetIdentifier() : target->GetIdentifier();
}

Chaine ZPDFNodeDictionary::StringText(std::string_view key) const {
  const size_t at = FindKey(key);
  if (at == kAbsent) return {};
  const ZPDFChildList& children = *Children();
  if (ZPDFChildList::IsUnread(children.items[at])) {
    const std::string_view text = children.UnreadText(at);
    const Chaine& source = children.Keyed().source;
    if (text.front() == '(') return source.Mid(static_cast<size_t>(text.data() - source.data()) + 1, text.size() - 2);
  }
  const ZPDFNode* const value = ValueAt(at);
  return value == nullptr ? Chaine() : value->GetStringValue();
}

std::string_view ZPDFNodeDictionary::IdentifierText(std::string_view key) const {
  const size_t at = FindKey(key);
  if (at == kAbsent) return {};
  const ZPDFChildList& children = *Children();
  if (ZPDFChildList::IsUnread(children.items[at])) {
    const std::string_view text = children.UnreadText(at);
    if (text.front() == '/') return text;
  }
  const ZPDFNode* const value = ValueAt(at);
  return value == nullptr ? std::string_view() : value->GetIdentifier().View();
}

int32_t ZPDFNodeDictionary::GetIntValue(std::string_view key) const {
  const ZPDFNode* target = GetTarget(key);
  return target == nullptr ? 0 : target->GetIntValue();
}

uint32_t ZPDFNodeDictionary::GetUIntValue(std::string_view key) const {
  const ZPDFNode* target = GetTarget(key);
  return target == nullptr ? 0 : target->GetUIntValue();
}

double ZPDFNodeDictionary::GetDoubleValue(std::string_view key) const {
  const ZPDFNode* target = GetTarget(key);
  return target == nullptr ? 0 : target->GetDoubleValue();
}

size_t ZPDFNodeDictionary::GetNumbers(std::string_view key, std::span<double> numbers) const {
  const size_t at = FindKey(key);
  if (at == kAbsent) return 0;
  const ZPDFChildList& children = *Children();
  if (ZPDFChildList::IsUnread(children.items[at])) {
    const std::string_view text = children.UnreadText(at);
    if (text.front() != '[') return 0;
    if (!ZPDFUnreadValue::MayRefer(text)) return ZPDFUnreadValue::ReadNumbers(text, numbers);
  }
  const auto* const array = NodeCast<ZPDFNodeArray>(GetTarget(key));
  if (array == nullptr) return 0;
  for (size_t i = 0; i < std::min(array->Size(), numbers.size()); i++) {
    const ZPDFNode* const element = array->GetTargetAt(i);
    numbers[i] = element == nullptr ? 0 : element->GetDoubleValue();
  }
  return array->Size();
}

bool ZPDFNodeDictionary::GetBoolValue(std::string_view key) const {
  const ZPDFNode* target = GetTarget(key);
  return target != nullptr && target->GetBoolValue();
}

template <class Node, class Value, class Getter>
void ZPDFNodeDictionary::SetScalar(std::string_view key, const Value& value, Getter getter) {
  if (ZPDFNode* direct = GetDirect(key)) {
    if (Node* target = MatchingKind<Node>(direct->GetTarget()); target != nullptr && getter(target) == value) return;
    if (Node* own = MatchingKind<Node>(direct)) {
      Change(*own, value);
      return;
    }
  }
  SetValue(key, static_cast<ZPDFNode*>(new typename NewNode<Node>::Type(value, ObjectProvider())));
}

void ZPDFNodeDictionary::SetValue(std::string_view key, const Chaine& value) {
  SetScalar<ZPDFNodeString>(key, value, [](const ZPDFNode* node) -> const Chaine& { return node->GetStringValue(); });
}

void ZPDFNodeDictionary::SetValue(std::string_view key, const char* value) { SetValue(key, Chaine(value)); }

void ZPDFNodeDictionary::SetValue(std::string_view key, int32_t value) {
  SetScalar<ZPDFNodeNumeric>(key, value, [](const ZPDFNode* node) { return node->GetIntValue(); });
}

void ZPDFNodeDictionary::SetValue(std::string_view key, uint32_t value) {
  SetScalar<ZPDFNodeNumeric>(key, value, [](const ZPDFNode* node) { return node->GetUIntValue(); });
}

void ZPDFNodeDictionary::SetValue(std::string_view key, double value) {
  SetScalar<ZPDFNodeNumeric>(key, value, [](const ZPDFNode* node) { return node->GetDoubleValue(); });
}

void ZPDFNodeDictionary::SetBoolean(std::string_view key, bool value) {
  SetScalar<ZPDFNodeBoolean>(key, value, [](const ZPDFNode* node) { return node->GetBoolValue(); });
}

void ZPDFNodeDictionary::SetIdentifier(std::string_view key, const Chaine& identifier) {
  SetScalar<ZPDFNodeIdentifier>(key, identifier,
                                [](const ZPDFNode* node) -> const Chaine& { return node->GetIdentifier(); });
}

void ZPDFNodeDictionary::SetValue(std::string_view key, ZPDFNode* node) {
  if (node == nullptr) {
    RemoveValue(key);
    return;
  }
  ZPDFChildList* children = Children();
  const bool keyed = children == nullptr || children->keys != nullptr;
  if (const size_t at = FindKey(key); at != kAbsent) {
    if (keyed ? children->items[at] == node : ValueAt(at) == node) return;
    if (keyed) {
      ReplaceChild(at, node);
      children->SetMark(at, true);
      node->SetModified(true, false);
    } else {
      NodeCast<ZPDFNodeDictionaryEntry>(GetDirectAt(at))->SetValue(node);
    }
    return;
  }
  if (index_ != nullptr) index_->Insert(KeyedHash(key), Size());
  if (children == nullptr) AdoptChildren(children = ZPDFChildList::MakeKeyed(kFirstRoom));
  if (keyed) {
    children->AppendKeyed(key, node, ZPDFNodeIdentifier::IsWrittenAsIs(key));
  } else {
    AppendChild(new ZPDFNodeDictionaryEntry(key, node, ObjectProvider()));
  }
  SetModified(true, false);
}

void ZPDFNodeDictionary::RemoveValue(std::string_view key) {
  if (!Exist(key)) return;
  const Chaine kept(key);  // a copy: `key` may refer to the key that is removed
  for (size_t i = Size(); i > 0; i--) {
    if (KeyAt(i - 1) == kept) ReplaceChild(i - 1, nullptr);
  }
  ForgetIndex();
  SetModified(true, false);
}

void ZPDFNodeDictionary::DecipherContents(const std::function<Chaine(const Chaine&)>& decipher) {
  if (Exist("/ByteRange")) return;
  for (size_t i = 0; i < Size(); i++) {
    auto* const contents = IsContents(KeyAt(i)) ? NodeCast<ZPDFNodeString>(ValueAt(i)) : nullptr;
    if (contents == nullptr) continue;
    contents->SetValue(decipher(contents->GetStringValue()));
    contents->SetModified(false, false);
  }
}

bool ZPDFNodeDictionary::IsContents(std::string_view key) { return key == "/Contents"; }

void ZPDFNodeDictionary::SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const {
  const ZPDFChildList* children = Children();
  const size_t size = Size();
  const bool is_signature = Enciphers(encrypter) && Exist("/ByteRange");
  const ZPDFOutStream::Run run(out);
  out.WriteToken("<<");
  for (size_t i = 0; i < size; i++) {
    const bool in_clear = is_signature && IsContents(KeyAt(i)) && NodeCast<ZPDFNodeString>(ValueAt(i)) != nullptr;
    const ZPDFNode* const item = children->items[i];
    if (item == nullptr) continue;
    out.NewLine();
    const ZPDFEncrypter* const own = in_clear ? ZPDFEncrypterNeutral::Default() : encrypter;
    const bool is_unread = ZPDFChildList::IsUnread(item);
    if (children->keys != nullptr) {
      const std::string_view key = children->KeyAt(i);
      const bool is_plain = children->IsPlain(i);
      if (is_unread && is_plain && ZPDFUnreadValue::WriteEntry(key, children->UnreadText(i), out, own)) continue;
      if (is_plain) {
        out.WriteToken(key);
      } else {
        ZPDFNodeIdentifier::Write(out, key);
      }
      out.Separate();
    }
    if (is_unread) {
      ZPDFUnreadValue::Write(children->UnreadText(i), out, own);
    } else {
      item->SendTo(out, own);
    }
  }
  if (size > 0) out.NewLine();
  out.WriteToken(">>");
}

ZPDFNodeDictionary* ZPDFNodeDictionary::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                                  const ZPDFEncrypter* encrypter) {
  auto* dictionary = new ZPDFNodeDictionary(provider);
  const NestingGuard nesting(text);
  if (!nesting.Allowed()) {
    SkipLastBracketed(text);
    return dictionary;
  }
  text.TakeLastToken();
  ZPDFNodeStack entries;
  while (!text.IsEmpty() && !text.EndWith("<<")) {
    entries.Push(ZPDFNodeDictionaryEntry::BuildFrom(text, provider, encrypter));
  }
  text.TakeLastToken();
  dictionary->AdoptReversed(entries.Data(), entries.Size());
  if (Enciphers(encrypter)) {
    dictionary->DecipherContents([encrypter](const Chaine& stored) { return encrypter->Decrypt(stored); });
  }
  return dictionary;
}

}  // namespace zforms
