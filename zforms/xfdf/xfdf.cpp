#include "zforms/xfdf/xfdf.h"

#include <utility>

#include "zforms/platform/files/inet_stream.h"
#include "zforms/xfdf/line_end_filters.h"

namespace zforms {
namespace {

// The next element in document order below `root`; null at the end.
ZXMLElement* Following(ZXMLElement* element, const ZXMLElement& root) {
  if (ZXMLElement* child = element->FirstChild()) return child;
  while (element != &root) {
    if (ZXMLElement* next = element->NextSibling()) return next;
    element = element->parent;
  }
  return nullptr;
}

// Changes the tree to use the default namespace. Some writers bind the namespace to a prefix, as in <ns0:xfdf
// xmlns:ns0="...">.
void DropPrefix(ZXMLElement& root) {
  const std::string name = root.Name().ToString();
  if (!name.ends_with(":xfdf")) return;
  const std::string prefix = name.substr(0, name.size() - 4);
  const std::string declaration = "xmlns:" + prefix.substr(0, prefix.size() - 1);
  if (root.Attrib(declaration).AsChaine() != ZXFDF::kNamespace) return;
  for (ZXMLElement* element = &root; element != nullptr; element = Following(element, root)) {
    if (element->Name().View().starts_with(prefix)) element->SetName(element->Name().Mid(prefix.size()));
  }
  root.RemoveAttrib(declaration);
  root.SetAttrib("xmlns", ZXFDF::kNamespace);
}

// True when a value may contain carriage returns beside those inserted by the filter.
bool MayHoldCarriageReturns(std::string_view text) {
  return text.find('\r') != std::string_view::npos || text.find("&#") != std::string_view::npos;
}

// Replaces CR CR LF in values by CR LF. Many writers escape the carriage return of a line end but not its line feed;
// the filter then inserts another carriage return before the line feed.
void FoldLineEnds(ZXMLElement& root) {
  constexpr std::string_view kDoubled = "\r\r\n";
  for (ZXMLElement* element = &root; element != nullptr; element = Following(element, root)) {
    const Chaine* text = element->Name() == "value" ? std::as_const(*element).Value().Text() : nullptr;
    size_t at = text == nullptr ? std::string_view::npos : text->View().find(kDoubled);
    if (at == std::string_view::npos) continue;
    Chaine folded;
    size_t done = 0;
    for (; at != std::string_view::npos; at = text->View().find(kDoubled, done)) {
      folded += text->View().substr(done, at - done);
      done = at + 1;
    }
    folded += text->View().substr(done);
    element->Value() = folded;
  }
}

}  // namespace

ZXFDF::ZXFDF() = default;

ZXFDF::ZXFDF(const ZXFDF& other)
    : xml_(other.xml_), last_error_(other.last_error_), last_replaced_(other.last_replaced_) {
  if (other.fields_ != nullptr) Fields();
}

// The elements keep their addresses, so the collection over them can be moved too.
ZXFDF::ZXFDF(ZXFDF&& other) noexcept = default;

ZXFDF& ZXFDF::operator=(const ZXFDF& other) {
  if (this != &other) *this = ZXFDF(other);
  return *this;
}

ZXFDF& ZXFDF::operator=(ZXFDF&& other) noexcept {
  if (this == &other) return *this;
  DropViews();
  xml_ = std::move(other.xml_);
  fields_ = std::move(other.fields_);
  session_ = std::move(other.session_);
  buffers_ = std::move(other.buffers_);
  misfits_ = std::move(other.misfits_);
  last_error_ = std::move(other.last_error_);
  last_replaced_ = other.last_replaced_;
  return *this;
}

ZXFDF::~ZXFDF() = default;

// Destroys everything that points into the tree before the tree.
void ZXFDF::DropViews() {
  session_.reset();
  fields_.reset();
}

ZXMLElement& ZXFDF::Root() const {
  if (ZXMLElement* root = xml_.Data()) return *root;
  ZXMLElement& root = xml_.Create("xfdf");
  root.SetAttrib("xml", "space", "preserve");
  root.SetAttrib("xmlns", kNamespace);
  return root;
}

const ZXMLElement* ZXFDF::Child(std::string_view name) const {
  const ZXMLElement* root = xml_.Data();
  return root == nullptr ? nullptr : static_cast<const ZXMLElement*>(root)->Get(name);
}

void ZXFDF::RemoveChild(std::string_view name) {
  if (ZXMLElement* root = xml_.Data()) root->Remove(name);
}

ZXFDFFieldCollection& ZXFDF::Fields() {
  if (fields_ == nullptr) fields_ = std::make_unique<FieldCollection>(Root()["fields"]);
  return *fields_;
}

const ZXFDFFieldCollection& ZXFDF::Fields() const {
  if (fields_ == nullptr) fields_ = std::make_unique<FieldCollection>(Root()["fields"]);
  return *fields_;
}

bool ZXFDF::HasFields() const { return fields_ != nullptr || Child("fields") != nullptr; }

const ZXMLElement* ZXFDF::FieldsElement() const { return Child("fields"); }

ZXMLElement& ZXFDF::Annots() { return Root()["annots"]; }

const ZXMLElement& ZXFDF::Annots() const {
  const ZXMLElement* annots = Child("annots");
  return annots == nullptr ? ZXMLElement::None() : *annots;
}

bool ZXFDF::HasAnnots() const { return Child("annots") != nullptr; }

void ZXFDF::RemoveAnnots() { RemoveChild("annots"); }

Chaine ZXFDF::IDSOriginal() const {
  const ZXMLElement* ids = Child("ids");
  return ids == nullptr ? Chaine() : ids->Attrib("original").AsChaine();
}

Chaine ZXFDF::IDSModified() const {
  const ZXMLElement* ids = Child("ids");
  return ids == nullptr ? Chaine() : ids->Attrib("modified").AsChaine();
}

bool ZXFDF::HasIDS() const { return Child("ids") != nullptr; }

ZInetURL ZXFDF::PDFHRef() const {
  const ZXMLElement* f = Child("f");
  if (f == nullptr) return ZInetURL();
  std::string text = f->Attrib("href").AsChaine().ToString();
  if (text.starts_with("file:")) {
    for (char& c : text) {
      if (c == '|') c = ':';
    }
  }
  return ZInetURL(Chaine(text));
}

bool ZXFDF::HasPDFHRef() const { return Child("f") != nullptr; }

ZXFDFSessionInfos& ZXFDF::SessionID() {
  if (session_ == nullptr) session_ = std::make_unique<SessionInfos>(Fields());
  return *session_;
}

const ZXFDFSessionInfos& ZXFDF::SessionID() const {
  if (session_ == nullptr) {
    Fields();
    session_ = std::make_unique<SessionInfos>(*fields_);
  }
  return *session_;
}

bool ZXFDF::HasSessionID() const {
  if (session_ != nullptr) return true;
  if (!HasFields()) return false;
  const Field* field = Fields().Get(kSessionIDField);
  return field != nullptr && field->HasValue() && !field->Value().IsEmpty();
}

bool ZXFDF::Read(ZInetIStream* in, ZInetEncodedBuffer::eType encoding) {
  DropViews();
  xml_.Clear();
  last_error_.clear();
  misfits_.clear();
  // Converts to UTF-8 first, because the filter needs line ends that are single bytes.
  const Chaine bytes = in->ReadAll();
  last_error_ = in->Error();
  Chaine text;
  if (!last_error_.empty() || !ZXMLReader::ToUTF8(bytes, encoding, &text, &last_error_)) return true;
  ZInetChaineIStream decoded(text);
  ZInetLFToCRLFIStream filter(&decoded);
  xml_.Read(&filter, ZInetEncodedBuffer::eUTF8);
  last_error_ = xml_.LastError();
  ZXMLElement* root = xml_.Data();
  if (root == nullptr) return true;
  DropPrefix(*root);
  if (root->Name() != "xfdf") {
    last_error_ = "not XFDF: its root element is \"" + root->Name().ToString() + "\"";
    xml_.Clear();
    return true;
  }
  if (MayHoldCarriageReturns(text)) FoldLineEnds(*root);
  ReadIntoBuffers();
  return true;
}

bool ZXFDF::AttachBuffer(const Chaine& name, const ZVariantBuffer& buffer) {
  Field* field = HasFields() ? Fields().Get(name) : nullptr;
  if (field == nullptr) return false;
  field->Value().Attach(buffer);
  buffers_.Set(name, buffer);
  return true;
}

void ZXFDF::DetachBuffers() {
  for (const auto& [name, buffer] : buffers_) {
    Field* field = HasFields() ? Fields().Get(name) : nullptr;
    if (field != nullptr && field->HasValue()) field->Value().Detach();
  }
  buffers_.Clear();
}

// Writes the values to the attached buffers. A field without a value does not change its buffer.
void ZXFDF::ReadIntoBuffers() {
  if (buffers_.Size() == 0 || !HasFields()) return;
  for (const auto& [name, buffer] : buffers_) {
    Field* field = Fields().Get(name);
    if (field == nullptr || !field->HasValue()) continue;
    const Chaine text = field->ValuesAsText();
    field->SetValues({Chaine()});
    field->Value().Attach(buffer);
    if (!field->Value().Assign(text)) misfits_.push_back(name);
  }
}

bool ZXFDF::Read(const Chaine& path, ZInetEncodedBuffer::eType encoding) {
  ZInetFileIStream file(path);
  return Read(&file, encoding);
}

bool ZXFDF::FromBlob(const sBlob* blob) {
  ZInetBlobIStream in(blob);
  return Read(&in);
}

bool ZXFDF::FromChaine(const Chaine& text) {
  ZInetChaineIStream in(text);
  return Read(&in);
}

bool ZXFDF::Save(ZInetOStream* out) const {
  last_error_.clear();
  ZInetCRLFToLFOStream filter(out);
  ZXMLOptimizeFOStream gathered(&filter, ZXMLOptimizeFOStream::eRawLineEnds | ZXMLOptimizeFOStream::eShortEmpty);
  if (xml_.Write(&gathered, false, &last_replaced_)) return true;
  last_error_ = "write failed: no space left";
  return false;
}

bool ZXFDF::Save(const Chaine& path) const {
  ZInetFileOStream file(path);
  const bool written = Save(&file);
  const bool closed = file.Close();
  if (!file.Error().empty()) last_error_ = file.Error();
  return written && closed;
}

bool ZXFDF::ToBlob(sBlob* blob) const {
  ZInetBlobOStream out(blob);
  return Save(&out);
}

Chaine ZXFDF::AsChaine() const {
  Chaine text;
  ZInetChaineOStream out(text);
  return Save(&out) ? text : Chaine();
}

}  // namespace zforms
