#include "zforms/pdf/stream_node.h"

#include <algorithm>
#include <memory>
#include <string>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/element_scan.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"

namespace zforms {
namespace {

constexpr std::string_view kLength = "/Length";
constexpr std::string_view kStream = "stream";
constexpr std::string_view kEndstream = "endstream";

// The length of the line end between "stream" and the data: CR LF or a line feed. Some writers put blanks before it, or
// write only a carriage return.
size_t LineEndLength(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) i++;
  if (text.substr(i).starts_with("\r\n")) return i + 2;
  if (text.substr(i).starts_with('\n') || text.substr(i).starts_with('\r')) return i + 1;
  return 0;
}

bool EndsHere(std::string_view rest, CharClass white) {
  size_t i = 0;
  while (i < rest.size() && Is(rest[i], white)) i++;
  return rest.substr(i).starts_with(kEndstream);
}

bool IsLength(const ZPDFNode* node) {
  const auto* const number = NodeCast<ZPDFNodeNumeric>(node);
  return number != nullptr && AllDigits(number->Text());
}

// The length of the data before the next "endstream", or else "endobj", without the one line end before the keyword.
// When neither follows, the stated length, up to the end of the text.
size_t SearchLength(std::string_view text, size_t stated) {
  size_t end = text.find(kEndstream);
  if (end == std::string_view::npos) end = text.find("endobj");
  if (end == std::string_view::npos) return std::min(stated, text.size());
  if (end > 0 && text[end - 1] == '\n') end--;
  if (end > 0 && text[end - 1] == '\r') end--;
  return end;
}

// The first element of a value that is an array, else the value itself: the first filter, or its parameters.
const ZPDFNode* FirstOf(const ZPDFNode* node) {
  const auto* const array = NodeCast<ZPDFNodeArray>(node);
  return array == nullptr ? node : array->GetTargetAt(0);
}

bool IsCryptFilter(const ZPDFNode* filter) {
  return NodeCast<ZPDFNodeIdentifier>(filter) != nullptr && filter->GetIdentifier() == "/Crypt";
}

ZPDFStreamTraits TraitsOf(const ZPDFNodeDictionary& dictionary) {
  ZPDFStreamTraits traits;
  traits.type = dictionary.GetIdentifier("/Type");
  traits.has_crypt_filter = IsCryptFilter(FirstOf(dictionary.GetTarget("/Filter")));
  if (!traits.has_crypt_filter) return traits;
  const auto* const parameters = NodeCast<ZPDFNodeDictionary>(FirstOf(dictionary.GetTarget("/DecodeParms")));
  if (parameters != nullptr) traits.crypt_filter = parameters->GetIdentifier("/Name");
  if (traits.crypt_filter.IsEmpty()) traits.crypt_filter = "/Identity";
  return traits;
}

// Encrypts and decrypts the data of one stream.
class DataEncrypter {
 public:
  DataEncrypter(const ZPDFNodeDictionary& dictionary, const ZPDFEncrypter* encrypter) : encrypter_(encrypter) {
    if (encrypter == nullptr || !encrypter->TellsStreamsApart()) return;
    own_ = encrypter->ForStream(TraitsOf(dictionary));
    if (own_ != nullptr) encrypter_ = own_.get();
  }

  Chaine Encrypt(const Chaine& data) const { return encrypter_ == nullptr ? data : encrypter_->Encrypt(data); }
  Chaine Decrypt(const Chaine& data, ZPDFTokenizedString& text) const {
    if (encrypter_ == nullptr) return data;
    std::string fault;
    const Chaine plain = encrypter_->DecryptChecked(data, &fault);
    if (!fault.empty()) text.Warn("the encrypted stream " + fault);
    return plain;
  }

 private:
  const ZPDFEncrypter* encrypter_;
  std::unique_ptr<const ZPDFEncrypter> own_;
};

// Removes the first filter, or its parameters, from the value of the key; removes the key when nothing else is left.
void DropFirst(ZPDFNodeDictionary& dictionary, const char* key) {
  const auto* const array = NodeCast<ZPDFNodeArray>(dictionary.GetTarget(key));
  if (array == nullptr || array->Size() < 2) {
    dictionary.RemoveValue(key);
    return;
  }
  auto* const rest = new ZPDFNodeArray(dictionary.ObjectProvider());
  for (size_t i = 1; i < array->Size(); i++) rest->AppendValue(array->GetDirectAt(i)->Clone());
  dictionary.SetValue(key, rest);
}

}  // namespace

ZPDFNodeStreamData::ZPDFNodeStreamData(const Chaine& data, IPDFObjectProvider* provider)
    : ZPDFNodeLeaf(provider, Kind::kStreamData), data_(data) {}

ZPDFNodeStreamData* ZPDFNodeStreamData::Clone() const { return new ZPDFNodeStreamData(*this); }

void ZPDFNodeStreamData::SetData(const Chaine& data) {
  data_ = data;
  SetModified(true, false);
}

void ZPDFNodeStreamData::SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const {
  Write(out, encrypter == nullptr ? data_ : encrypter->Encrypt(data_));
}

void ZPDFNodeStreamData::Write(ZPDFOutStream& out, const Chaine& stored) {
  out.WriteRaw("stream\r\n");
  out.WriteRaw(stored);
  if (stored.IsEmpty() || !Is(stored.Last(), kLineEnd)) out.WriteRaw("\r\n");
  out.WriteRaw(kEndstream);
}

ZPDFNodeStream::ZPDFNodeStream(IPDFObjectProvider* provider) : ZPDFNode(provider, Kind::kStream) {}

ZPDFNodeStream::ZPDFNodeStream(const Chaine& data, IPDFObjectProvider* provider)
    : ZPDFNodeStream(new ZPDFNodeDictionary(provider), data, provider) {
  Dico()->SetValue(kLength, static_cast<uint32_t>(data.size()));
  SetModified(true, true);
}

ZPDFNodeStream::ZPDFNodeStream(ZPDFNodeDictionary* dictionary, const Chaine& data, IPDFObjectProvider* provider)
    : ZPDFNodeStream(provider) {
  AppendChild(dictionary);
  AppendChild(new ZPDFNodeStreamData(data, provider));
  SetModified(true, false);
}

ZPDFNodeStream* ZPDFNodeStream::Clone() const { return new ZPDFNodeStream(*this); }

ZPDFNodeDictionary* ZPDFNodeStream::Dico() { return NodeCast<ZPDFNodeDictionary>(GetDirectAt(0)); }

const ZPDFNodeDictionary* ZPDFNodeStream::Dico() const { return NodeCast<ZPDFNodeDictionary>(GetDirectAt(0)); }

const Chaine& ZPDFNodeStream::Data() const {
  static const Chaine empty;
  const auto* data = NodeCast<ZPDFNodeStreamData>(GetDirectAt(1));
  return data == nullptr ? empty : data->Data();
}

void ZPDFNodeStream::SetData(const Chaine& data) {
  if (auto* node = NodeCast<ZPDFNodeStreamData>(GetDirectAt(1))) node->SetData(data);
  Dico()->SetValue(kLength, static_cast<uint32_t>(data.size()));
}

void ZPDFNodeStream::SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const {
  const auto* const data = NodeCast<ZPDFNodeStreamData>(GetDirectAt(1));
  if (Dico() == nullptr || data == nullptr) {
    for (size_t i = 0; i < Size(); i++) {
      if (i > 0) out.Separate();
      if (const ZPDFNode* part = GetDirectAt(i)) part->SendTo(out, encrypter);
    }
    return;
  }
  const Chaine stored = DataEncrypter(*Dico(), encrypter).Encrypt(data->Data());
  if (stored.size() == data->Data().size()) {
    Dico()->SendTo(out, encrypter);
  } else {
    // AES makes the data longer than "/Length" of the node says, so a copy of the dictionary with the right length is
    // written.
    const std::unique_ptr<ZPDFNodeDictionary> dictionary(Dico()->Clone());
    dictionary->SetValue(kLength, static_cast<uint32_t>(stored.size()));
    dictionary->SendTo(out, encrypter);
  }
  out.Separate();
  ZPDFNodeStreamData::Write(out, stored);
}

void ZPDFNodeStream::DropCryptFilter() {
  if (!IsCryptFilter(FirstOf(Dico()->GetTarget("/Filter")))) return;
  DropFirst(*Dico(), "/Filter");
  DropFirst(*Dico(), "/DecodeParms");
}

bool ZPDFNodeStream::StandsAtFront(const ZPDFTokenizedString& text) {
  if (text.IsNested() || !text.StartWith("<<")) return false;
  ZPDFTokenizedString rest = text;
  rest.TakeFirst(rest.GetFirstElementLength());
  rest.TrimLeftComments();
  return rest.StartWith(kStream);
}

ZPDFNodeStream* ZPDFNodeStream::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                          const ZPDFEncrypter* encrypter) {
  ZPDFTokenizedString element = text.TakeFirstElement(ScanStop::kEndobj);
  text.TrimComments();
  ZPDFNode* parsed = element.EndWith(">>") ? ZPDFNode::BuildFrom(element, provider, encrypter) : nullptr;
  auto* dictionary = NodeCast<ZPDFNodeDictionary>(parsed);
  if (dictionary == nullptr) {
    // Not a dictionary: reads the stream with an empty dictionary instead, from "stream" on.
    Destroy(parsed);
    dictionary = new ZPDFNodeDictionary(provider);
    text.TakeFirst(text.View().find(kStream));
  }
  return BuildFrom(text, dictionary, provider, encrypter);
}

ZPDFNodeStream* ZPDFNodeStream::BuildFrom(ZPDFTokenizedString& text, ZPDFNodeDictionary* dictionary,
                                          IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter) {
  const ZPDFNode* const stated_length = dictionary->GetTarget(kLength);
  const size_t stated = stated_length == nullptr ? 0 : stated_length->GetUIntValue();
  // A "/Length" that is not only digits, such as "12x", may give a number, but may be written as something else.
  const bool is_damaged = stated_length != nullptr && !IsLength(stated_length);
  text.TakeFirst(kStream.size());
  if (text.IsDocument()) {
    if (!IsLength(stated_length)) text.Warn("the stream has no valid \"/Length\"");
    if (!text.StartWith('\n') && !text.StartWith("\r\n")) text.Warn("\"stream\" is not followed by a line end");
  }
  text.TakeFirst(LineEndLength(text.View()));
  size_t length = std::min(stated, text.GetLength());
  if (length != stated || !EndsHere(text.View().substr(length), text.IsDocument() ? kBlank : kWhite)) {
    length = SearchLength(text.View(), stated);
    text.Warn("\"endstream\" is not at the position that \"/Length\" gives");
  }
  const Chaine data = text.Share(text.TakeFirst(length));
  text.TrimLeftComments();
  if (text.StartWith(kEndstream)) {
    const bool alone = text.TakeFirstToken() == kEndstream;
    if (!alone && text.IsDocument()) text.Warn("a blank is missing after \"endstream\"");
  } else {
    text.NoteSearchInVain(text.GetLength());
  }

  auto* stream = new ZPDFNodeStream(provider);
  stream->AppendChild(dictionary);
  const Chaine plain = DataEncrypter(*dictionary, encrypter).Decrypt(data, text);
  stream->AppendChild(new ZPDFNodeStreamData(plain, provider));
  if (plain.size() != stated || is_damaged) {
    // Corrects "/Length" for writing. The dictionary is not marked as modified, since reading is no change.
    // SetValue would keep a damaged value that reads as the same number.
    if (is_damaged) dictionary->RemoveValue(kLength);
    dictionary->SetValue(kLength, static_cast<uint32_t>(plain.size()));
    dictionary->SetModified(false, true);
  }
  return stream;
}

}  // namespace zforms
