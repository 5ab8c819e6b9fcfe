#include "zforms/pdf/parser/parser.h"

#include <algorithm>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/crypt/encryption_method.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/parser/object_stream.h"
#include "zforms/pdf/parser/recovery.h"
#include "zforms/pdf/parser/section_chain.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/crypto/secret.h"
#include "zforms/platform/files/mapped_file.h"

namespace zforms {
namespace {

constexpr const char* kNoHeader = "not a PDF file: it does not begin with \"%PDF-\"";

constexpr uint32_t kFirstNumberOfEmptyDocument = 1000;
// Loading objects may read at most this multiple of the file's size; in an undamaged file objects do not overlap.
constexpr uint64_t kSearchesOfWholeFile = 8;
// After this budget is used up, at most this many bytes are read for an object.
constexpr size_t kShortSearch = 4096;
// The longest chain of objects that need each other for loading, such as a stream and its "/Length".
constexpr int kMaxLoading = 16;

// The limit for all decoded cross-reference and object streams: this many bytes plus a multiple of the file's size, up
// to the maximum below.
constexpr uint64_t kDecodedBase = 8 << 20;
constexpr uint64_t kDecodedOfFile = 64;
constexpr uint64_t kMostDecoded = 512 << 20;

// A message shows at most this many bytes of a header without a version.
constexpr size_t kShownHeader = 20;

// The position after the line at `at` and the line ends that follow it.
size_t SkipLine(std::string_view text, size_t at) {
  while (at < text.size() && !Is(text[at], kLineEnd)) at++;
  while (at < text.size() && Is(text[at], kLineEnd)) at++;
  return at;
}

ZPDFNodeDictionary* TargetDictionary(ZPDFNodeDictionary* owner, std::string_view key) {
  return owner == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(owner->GetTarget(key));
}

// Loads the values of an encryption dictionary before there is a security handler: they are not encrypted, even as
// indirect objects.
void LoadValues(ZPDFNodeDictionary& dictionary) {
  for (size_t i = 0; i < dictionary.Size(); i++) {
    if (ZPDFNode* value = dictionary.ValueAt(i)) value->GetTarget();
  }
}

}  // namespace

ZPDFParser::ZPDFParser() = default;

ZPDFParser::ZPDFParser(const ZPDFParser& other) : IPDFObjectProvider(other) { CopyFrom(other); }

ZPDFParser& ZPDFParser::operator=(const ZPDFParser& other) {
  if (this == &other) return *this;
  Clean();
  CopyFrom(other);
  return *this;
}

ZPDFParser::~ZPDFParser() { Clean(); }

ZPDFParser::FileState::FileState(size_t file_size)
    : decode_budget(static_cast<size_t>(std::min(kDecodedBase + kDecodedOfFile * file_size, kMostDecoded))),
      search_budget(kSearchesOfWholeFile * file_size) {}

void ZPDFParser::CopyFrom(const ZPDFParser& other) {
  raw_data_ = other.raw_data_;
  path_name_ = other.path_name_;
  user_password_ = other.user_password_;
  encryptions_ = other.encryptions_;
  recovery_ = other.recovery_;
  maps_file_ = other.maps_file_;
  file_ = other.file_;
  locations_ = other.locations_;
  diagnostics_ = other.diagnostics_;
  for (ZPDFObjectLocation& location : locations_) {
    if (location.object == nullptr) continue;
    location.object = location.object->Clone();
    location.object->SetObjectProvider(this);
  }
  if (other.trailer_ != nullptr) {
    trailer_.reset(other.trailer_->Clone());
    trailer_->SetObjectProvider(this);
  }
  if (other.encryption_ != nullptr) encryption_ = std::make_unique<ZPDFEncryption>(*other.encryption_);
}

// Forgets the document, and prepares to read `raw_data_`.
void ZPDFParser::Clean() {
  for (const ZPDFObjectLocation& location : locations_) ZPDFNode::Destroy(location.object);
  locations_.Clear();
  trailer_.reset();
  encryption_.reset();
  file_ = FileState(raw_data_.size());
}

bool ZPDFParser::Fail(std::string_view reason) {
  diagnostics_.SetFailure(reason);
  return false;
}

ReadLimits ZPDFParser::InputLimits(bool recover) {
  const auto look = [recover](std::string_view head, uint64_t size) -> std::string {
    if (recover &&
        (size > 0 || head.find("%PDF-") != std::string_view::npos || head.find(" obj") != std::string_view::npos))
      return {};
    return head.starts_with("%PDF-") ? std::string() : kNoHeader;
  };
  return {UINT32_MAX, look};
}

bool ZPDFParser::Read(const Chaine& path_name, const Chaine& user_password) {
  Chaine bytes;
  std::string error;
  const auto read = maps_file_ ? MapFile : ReadFile;
  const bool found = read(path_name, &bytes, &error, InputLimits(recovery_));
  path_name_ = path_name;
  if (found) return ReadFromRaw(bytes, user_password);
  raw_data_.Clear();
  Clean();
  diagnostics_.Clear();
  return Fail(error);
}

bool ZPDFParser::ReadFromRaw(const Chaine& raw_data, const Chaine& user_password) {
  raw_data_ = raw_data;
  user_password_ = user_password;
  Clean();
  diagnostics_.Clear();
  bool read = Analyze();
  if (recovery_) read = ZPDFRecovery(*this).Run(read);
  if (!read) Clean();
  return read;
}

bool ZPDFParser::Analyze() {
  const std::string_view file = raw_data_;
  if (file.size() > UINT32_MAX) return Fail("the file is larger than 4 GB");
  if (!file.starts_with("%PDF-")) return Fail(kNoHeader);
  if (file.find_first_of("\r\n", 1) == std::string_view::npos)
    return Fail("no line end follows the header (\"%PDF-\")");
  const size_t eof = file.rfind("%%EOF");
  if (eof == std::string_view::npos) return Fail("the file is cut short: \"%%EOF\" is missing");
  const size_t body = SkipLine(file, SkipLine(file, 0));
  if (body >= file.size()) return Fail("the file ends after its header");
  ZPDFSectionChain chain(*this);
  file_.xref_offset = chain.FindLinearized(body);
  file_.linearized = file_.xref_offset != 0;
  if (!file_.linearized) {
    const size_t startxref = file.rfind("startxref", eof);
    if (startxref == std::string_view::npos) return Fail("\"startxref\" is missing");
    const std::string_view offset = TrimBlanks(file.substr(startxref + 9, eof - startxref - 9));
    if (!AllDigits(offset)) diagnostics_.WarnAt(startxref, "no number follows \"startxref\"");
    file_.xref_offset = ParseUInt(offset);
  }
  if (!chain.Read(file_.xref_offset)) return false;
  if (diagnostics_.Warnings().Size() > 0) file_.oddity = ZDiagnostics::Describe(*diagnostics_.Warnings().begin());
  if (!NamesVersion()) {
    diagnostics_.Warn("the header \"" + PDFVersion().Mid(0, kShownHeader) +
                      "\" has no version; a rewritten file gets version 1.7");
  }
  return PrepareEncryption();
}

bool ZPDFParser::PrepareEncryption() {
  if (ZPDFNodeDictionary* dictionary = EncryptionDico()) {
    LoadValues(*dictionary);
    encryption_ = std::make_unique<ZPDFEncryption>(dictionary, IDOriginal(), user_password_);
    encryption_->SetEncryptions(encryptions_);
    // Trying the password also finds out how the key is derived, which is needed to decrypt every object.
    if (!encryption_->CanBeDecrypted()) {
      diagnostics_.Warn("strings and streams are not decrypted: " + EncryptionRefusal(*encryption_));
    } else if (const Chaine damage = encryption_->Damage(); !damage.IsEmpty()) {
      diagnostics_.Warn("the encryption dictionary is damaged: " + damage);
    } else if (!encryption_->ConfirmsPermissions()) {
      diagnostics_.Warn(
          "\"/Perms\" of the encryption dictionary does not agree with \"/P\": the permissions may have been changed");
    }
  } else if (NodeCast<ZPDFNodeIndirectReference>(trailer_->GetDirect("/Encrypt")) != nullptr) {
    return Fail("the encryption dictionary that the trailer refers to is missing");
  }
  return true;
}

ZPDFNodeIndirectObject* ZPDFParser::GetObject(const ZPDFObjectIdentifier& id) {
  ZPDFObjectLocation* location = locations_.Find(id.Number());
  if (location == nullptr || (location->id != id && !TakesGeneration(*location, id))) return nullptr;
  if (location->requested || !location->in_use) return location->object;
  if (loading_ >= kMaxLoading) return nullptr;
  location->requested = true;
  loading_++;
  // Loading resolves references, but adds no location, so `location` stays valid.
  location->object = location->packed ? LoadPacked(id, location->offset) : LoadObject(id, location->offset);
  loading_--;
  return location->object;
}

ZPDFNodeIndirectObject* ZPDFParser::LoadObject(const ZPDFObjectIdentifier& id, uint32_t offset) {
  if (offset >= raw_data_.size()) {
    diagnostics_.WarnObject(id.Number(), id.Generation(),
                            "the cross-reference table gives this object an offset past the end of the file", offset);
    return nullptr;
  }
  const size_t reach = file_.search_budget == 0 ? kShortSearch : raw_data_.size() - offset;
  ZPDFTokenizedString text(SousChaine(raw_data_, offset, reach));
  text.SetDocument(pool_.get());
  text.SetDiagnostics(&diagnostics_);
  text.SetObject(id.Number(), id.Generation());
  text.TrimLeftComments();
  const size_t begin = text.Offset();
  const std::optional<ZPDFObjectHead> head = TakeObjectHead(text);
  const bool has_number = head && head->id.Number() == id.Number();
  ZPDFNodeIndirectObject* object = nullptr;
  if (offset == 0)
    diagnostics_.WarnObject(id.Number(), id.Generation(),
                            "the cross-reference table gives this object the offset 0, where the file begins");
  // After a recovery the record may have another generation than the header: recovery has chosen one of them.
  if (has_number && (head->id == id || file_.recovered)) {
    if (!head->is_sound) text.Warn("a blank is missing after \"obj\"");
    // A cross-reference stream is not encrypted.
    const bool in_clear = !file_.xref_streams.empty() && file_.xref_streams.contains(offset);
    object = ZPDFNodeIndirectObject::BuildFrom(text, id, this, in_clear ? nullptr : encryption_.get());
  } else if (has_number) {
    WarnOfGeneration(id, head->id.Generation());
  } else {
    diagnostics_.WarnObject(id.Number(), id.Generation(),
                            "this object is not at the offset that the cross-reference table gives", begin);
  }
  const uint64_t looked_at = text.Offset() - offset + text.SearchedInVain();
  file_.SpendSearched(looked_at);
  return object;
}

ZPDFNodeIndirectObject* ZPDFParser::AddIndirectObject() {
  const uint32_t number = locations_.IsEmpty() ? kFirstNumberOfEmptyDocument : locations_.HighestNumber() + 1;
  const ZPDFObjectIdentifier id(number, 0);
  auto* object = new ZPDFNodeIndirectObject(encryption_.get(), id, this);
  object->SetModified(true, false);
  locations_.Append(id)->object = object;
  if (trailer_ == nullptr) trailer_ = std::make_unique<ZPDFNodeDictionary>(this);
  const uint32_t size = trailer_->GetUIntValue("/Size");
  trailer_->SetValue("/Size", std::max(size + 1, number + 1));
  return object;
}

uint32_t ZPDFParser::FreeNumber() const {
  const uint32_t highest = locations_.IsEmpty() ? kFirstNumberOfEmptyDocument - 1 : locations_.HighestNumber();
  return std::max(highest + 1, trailer_ == nullptr ? 0 : trailer_->GetUIntValue("/Size"));
}

void ZPDFParser::TakeNumber(uint32_t number) {
  locations_.Append({number, 0});
  trailer_->SetValue("/Size", number + 1);
}

ZPDFNodeDictionary* ZPDFParser::Root() { return TargetDictionary(trailer_.get(), "/Root"); }
ZPDFNodeDictionary* ZPDFParser::AcroForm() { return TargetDictionary(Root(), "/AcroForm"); }
ZPDFNodeDictionary* ZPDFParser::ViewerPreferences() { return TargetDictionary(Root(), "/ViewerPreferences"); }
ZPDFNodeDictionary* ZPDFParser::EncryptionDico() { return TargetDictionary(trailer_.get(), "/Encrypt"); }

const ZPDFNodeDictionary* ZPDFParser::Root() const { return const_cast<ZPDFParser*>(this)->Root(); }
const ZPDFNodeDictionary* ZPDFParser::AcroForm() const { return const_cast<ZPDFParser*>(this)->AcroForm(); }
const ZPDFNodeDictionary* ZPDFParser::ViewerPreferences() const {
  return const_cast<ZPDFParser*>(this)->ViewerPreferences();
}
const ZPDFNodeDictionary* ZPDFParser::EncryptionDico() const { return const_cast<ZPDFParser*>(this)->EncryptionDico(); }

const ZPDFNodeArray* ZPDFParser::TrailerDicoIDS() const {
  return trailer_ == nullptr ? nullptr : NodeCast<ZPDFNodeArray>(std::as_const(*trailer_).GetTarget("/ID"));
}

Chaine ZPDFParser::IDString(size_t index) const {
  const ZPDFNodeArray* ids = TrailerDicoIDS();
  const ZPDFNode* id = ids == nullptr ? nullptr : ids->GetTargetAt(index);
  return id == nullptr ? Chaine() : id->GetStringValue();
}

Chaine ZPDFParser::IDOriginal() const { return IDString(0); }

Chaine ZPDFParser::IDModified() const { return IDString(1); }

bool ZPDFParser::CanBeDecrypted() const { return encryption_ == nullptr || encryption_->CanBeDecrypted(); }

PTableau<const ZPDFNodeIndirectObject*> ZPDFParser::ModifiedObjects() const {
  PTableau<const ZPDFNodeIndirectObject*> modified;
  for (const ZPDFObjectLocation& location : locations_) {
    if (location.object != nullptr && location.object->IsModified()) modified.push_back(location.object);
  }
  return modified;
}

void ZPDFParser::ResetModifiedObjects() {
  for (const ZPDFObjectLocation& location : locations_) {
    if (location.object != nullptr) location.object->SetModified(false, true);
  }
}

void ZPDFParser::GetUsedObjects(ZPDFObjectMap& map) const {
  if (trailer_ != nullptr) trailer_->GetReferencedObjects(map);
}

Chaine ZPDFParser::PDFVersion() const { return raw_data_.Mid(0, raw_data_.View().find_first_of("\r\n")); }

bool ZPDFParser::NamesVersion() const {
  const std::string_view file = raw_data_;
  return file.size() >= 8 && Is(file[5], kDigit) && file[6] == '.' && Is(file[7], kDigit);
}

void ZPDFParser::Rebase(const Chaine& raw_data, uint32_t xref_offset,
                        const PTableau<std::pair<ZPDFObjectIdentifier, uint32_t>>& offsets,
                        const ZPDFEncryption* encryption) {
  raw_data_ = raw_data;
  file_ = FileState(raw_data.size());
  file_.xref_offset = xref_offset;
  file_.section_count = 1;
  encryption_ = encryption == nullptr ? nullptr : std::make_unique<ZPDFEncryption>(*encryption);
  auto found = offsets.begin();
  std::vector<std::pair<ZPDFObjectIdentifier, uint32_t>> added;
  for (ZPDFObjectLocation& location : locations_) {
    while (found != offsets.end() && found->first < location.id) added.push_back(*found++);
    location.in_use = found != offsets.end() && found->first == location.id;
    location.packed = false;
    location.offset = location.in_use ? (found++)->second : 0;
    if (location.object != nullptr) location.object->SetEncryption(encryption_.get());
  }
  added.insert(added.end(), found, offsets.end());
  locations_.DropFree();
  for (const auto& [id, offset] : added) locations_.AddOlder(id, offset, true);
  locations_.Settle();
  trailer_->RemoveValue("/Prev");
  trailer_->RemoveValue("/XRefStm");
  trailer_->SetValue("/Size", offsets.empty() ? 1U : offsets.back().first.Number() + 1);
  ZPDFNode* encrypt = encryption_ == nullptr ? nullptr : encryption_->Dictionary()->Clone();
  trailer_->SetValue("/Encrypt", encrypt);
  trailer_->SetModified(false, true);
}

}  // namespace zforms
