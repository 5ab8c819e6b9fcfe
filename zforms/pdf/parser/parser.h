#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "zforms/pdf/node.h"
#include "zforms/pdf/node_pool.h"
#include "zforms/pdf/object_provider.h"
#include "zforms/pdf/parser/locations.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/files/file_io.h"

namespace zforms {

class ZPDFEncryption;
class ZPDFNodeArray;
class ZPDFNodeDictionary;
class ZPDFNodeIndirectReference;
class ZPDFObjectStream;
struct ZPDFFileScan;

// ZPDFParser opens a PDF file that is held in memory once and loads its objects
// when they are first asked for. It owns every object that it loaded or added;
// nodes handed out become invalid when it reads again or is destroyed. Copies
// share the bytes of the file and own clones of the loaded objects, edits
// included. One parser, with all its nodes, belongs to one thread at a time.
//
// Reads files with cross-reference tables, cross-reference streams or both (ISO
// 32000-1 7.5.4, 7.5.8), and objects in object streams (7.5.7).
class ZFORMS_API ZPDFParser final : public IPDFObjectProvider {
 public:
  using TokenizedString = ZPDFTokenizedString;
  using ObjectLocation = ZPDFObjectLocation;

  ZPDFParser();
  ZPDFParser(const ZPDFParser& other);
  ZPDFParser& operator=(const ZPDFParser& other);
  ~ZPDFParser() override;

  // The object with that identifier, loaded on first request; null when no
  // section lists it, it is free, or no such object stands at its offset.
  ZPDFNodeIndirectObject* GetObject(const ZPDFObjectIdentifier& id) override;

  // Read a file, or its bytes. False, with a reason in Diagnostics(), when it
  // cannot be read or its frame is damaged; the parser is then empty. A document
  // whose password is wrong is read all the same, with a warning: see CanBeDecrypted.
  bool Read(const Chaine& path_name, const Chaine& user_password);
  bool ReadFromRaw(const Chaine& raw_data, const Chaine& user_password);

  // What is to be read of an input for ReadFromRaw: no more than 4 GB, and only the
  // first 4 KB where these hold no header. To be recovered, a file of known size needs
  // none, and another may have the beginning of an object there instead.
  static ReadLimits InputLimits(bool recover);

  // From now on a damaged file is recovered when it is read: records that do not lead
  // to their object are put right by a scan of the file. Tables that cannot be read, in
  // which anything is odd, that lead to no catalog or that objects stand behind are
  // made anew of all that the scan finds, the newest whole version of each object.
  // Diagnostics() say what was done.
  void SetRecovery(bool recover) { recovery_ = recover; }
  bool Recovers() const { return recovery_; }
  // Whether something was done, so that no update fits the file: it has to be saved
  // anew. RawData() then begins with the header, whatever stood before it, and with
  // that of PDF 1.4 where there was none.
  bool IsRecovered() const { return recovered_; }
  // Whether recovery found fewer pages than the page tree had room for.
  bool HasLostPages() const { return lost_pages_; }

  // A new empty object, numbered above all others (1000 in an empty document) and
  // marked modified; "/Size" of the trailer is kept above it. Set its value with
  // SetChild. Owned by the parser.
  ZPDFNodeIndirectObject* AddIndirectObject();

  // The newest trailer; null before a successful read.
  ZPDFNodeDictionary* TrailerDico() { return trailer_.get(); }
  const ZPDFNodeDictionary* TrailerDico() const { return trailer_.get(); }
  // "/Root" of the trailer, "/AcroForm" and "/ViewerPreferences" of the root,
  // "/Encrypt" of the trailer, as dictionaries; null when absent.
  ZPDFNodeDictionary* Root();
  const ZPDFNodeDictionary* Root() const;
  ZPDFNodeDictionary* AcroForm();
  const ZPDFNodeDictionary* AcroForm() const;
  ZPDFNodeDictionary* ViewerPreferences();
  const ZPDFNodeDictionary* ViewerPreferences() const;
  ZPDFNodeDictionary* EncryptionDico();
  const ZPDFNodeDictionary* EncryptionDico() const;
  // The bytes of the two strings of "/ID"; empty when absent.
  Chaine IDOriginal() const;
  Chaine IDModified() const;

  bool IsEncrypted() const { return EncryptionDico() != nullptr; }
  // Whether the password opens the document; true for one that is not encrypted.
  bool CanBeDecrypted() const;
  // The document's security handler, null when it is not encrypted. Owned here.
  const ZPDFEncryption* Encryption() const { return encryption_.get(); }
  const Chaine& UserPassword() const { return user_password_; }

  // The loaded objects that are marked anywhere in their tree, in identifier order.
  PTableau<const ZPDFNodeIndirectObject*> ModifiedObjects() const;
  void ResetModifiedObjects();
  // Adds every object that can be reached from the trailer.
  void GetUsedObjects(ZPDFObjectMap& map) const;

  // The header line, such as "%PDF-1.4".
  Chaine PDFVersion() const;
  // Whether the header line names a version, as two digits with a point between them.
  bool NamesVersion() const;
  // The byte offset of the cross-reference section in use, 0 when unknown.
  uint32_t XRefOffset() const { return xref_offset_; }
  const Chaine& RawData() const { return raw_data_; }
  const Chaine& PathName() const { return path_name_; }
  // Why the last read failed, and what was odd; grows while objects are loaded.
  const ZDiagnostics& Diagnostics() const { return diagnostics_; }

  // How the file was found to be built, for tools that report on it.
  size_t SectionCount() const { return section_count_; }
  // Whether the newest section is a cross-reference stream, so that an update has to
  // be one too.
  bool XRefIsStream() const { return xref_is_stream_; }
  // Whether any section that was read is one, as in hybrid files too (ISO 32000-1 7.5.8.4).
  bool HasXRefStreams() const { return !xref_streams_.empty(); }
  // A number that no object of the document has, and, once something was written
  // under it outside the parser, that it is taken.
  uint32_t FreeNumber() const;
  void TakeNumber(uint32_t number);
  bool IsLinearized() const { return linearized_; }
  // Whether it is a fault that there is no object of that identifier: it is not where its
  // record says, no record has its number, or its generation is yet to come; or the
  // record says free, in tables that are odd or though it leads to the object. What was
  // freed in order stands for null (ISO 32000-1 7.3.10).
  bool IsLost(const ZPDFObjectIdentifier& id) const;
  // How many whole objects stand behind the last "startxref" without being listed:
  // what is left of a later revision whose end was lost. Looks through that part.
  size_t UnlistedAtEnd() const;
  const ZPDFLocations& ObjectLocations() const { return locations_; }

  // Numbers the objects anew: those of the list get 1 and up, in its order, and all others,
  // references to nothing included, the numbers behind them; generations become 0. Until a
  // Rebase, objects that are not loaded cannot be. Returns the former identifiers in the
  // order of the new ones, which as a list take everything back.
  PTableau<ZPDFObjectIdentifier> Renumber(const PTableau<ZPDFObjectIdentifier>& first);
  void TakeBack(const PTableau<ZPDFObjectIdentifier>& former);
  // After the document was saved anew as `raw_data`: from now on objects stand at
  // `offsets` (others are gone), are enciphered by a copy of `encryption` (none
  // when null) and the trailer speaks of the new file. Loaded objects stay.
  // `offsets` are in identifier order.
  void Rebase(const Chaine& raw_data, uint32_t xref_offset,
              const PTableau<std::pair<ZPDFObjectIdentifier, uint32_t>>& offsets, const ZPDFEncryption* encryption);

 private:
  void Clean();
  void CopyFrom(const ZPDFParser& other);
  void SetBudgets();
  bool Analyze();
  bool PrepareEncryption();
  bool Fail(std::string_view reason);
  uint32_t FindLinearizedXref(size_t start);
  uint32_t XrefStreamAfter(const ZPDFTokenizedString& dictionary);
  bool FillLocations(uint32_t offset);
  uint32_t PreviousSection(const ZPDFNodeDictionary& trailer, uint32_t offset);
  std::unique_ptr<ZPDFNodeDictionary> ReadSection(const ZPDFTokenizedString& file, uint32_t offset, Chaine* reason);
  std::unique_ptr<ZPDFNodeDictionary> ReadXrefStream(const ZPDFTokenizedString& file, uint32_t offset, Chaine* reason);
  void ReadHybridPart(const ZPDFTokenizedString& file, const ZPDFNodeDictionary& trailer, size_t first_record);
  ZPDFNodeIndirectObject* LoadObject(const ZPDFObjectIdentifier& id, uint32_t offset);
  ZPDFNodeIndirectObject* LoadPacked(const ZPDFObjectIdentifier& id, uint32_t stream_number);
  ZPDFNodeIndirectObject* BuildPacked(const ZPDFObjectIdentifier& id, const SousChaine& part);
  std::optional<uint32_t> GenerationAt(const ZPDFObjectLocation& location) const;
  bool TakesGeneration(ZPDFObjectLocation& location, const ZPDFObjectIdentifier& id);
  void WarnOfGeneration(const ZPDFObjectIdentifier& listed, uint32_t generation);
  bool Recover(bool analyzed);
  Chaine Damage(bool analyzed) const;
  bool Rebuild(const Chaine& reason);
  bool SettleHeader(const Chaine& reason, Chaine* said);
  void AddFound(const ZPDFFileScan& scan, const ZPDFLocations& listed);
  void RepairLocations();
  std::vector<ZPDFNodeIndirectReference*> LoadedReferences() const;
  void SetNumbers(const std::map<ZPDFObjectIdentifier, ZPDFObjectIdentifier>& numbers);
  bool IsWrong(const ZPDFObjectLocation& location) const;
  bool LeadsToObject(const ZPDFObjectLocation& location) const {
    return GenerationAt(location) == location.id.Generation();
  }
  bool SettleGeneration(ZPDFObjectLocation& location);
  void FindTrailer(const ZPDFFileScan& scan);
  void FindEncryption(const ZPDFFileScan& scan);
  void AddPackedObjects(const ZPDFFileScan& scan);
  void FindCatalog(const ZPDFFileScan& scan);
  // The decoded object stream of that number, null when there is none.
  ZPDFObjectStream* ObjectStream(uint32_t number);
  const ZPDFNodeArray* TrailerDicoIDS() const;
  Chaine IDString(size_t index) const;

  Chaine raw_data_;
  Chaine path_name_;
  Chaine user_password_;
  uint32_t xref_offset_ = 0;
  ZPDFNodePool pool_;
  ZPDFLocations locations_;
  std::unique_ptr<ZPDFNodeDictionary> trailer_;
  std::unique_ptr<ZPDFEncryption> encryption_;
  ZDiagnostics diagnostics_;
  ZDiagnostics packed_diagnostics_;  // of the packed object that is being loaded
  size_t section_count_ = 0;
  bool linearized_ = false;
  bool xref_is_stream_ = false;
  Chaine oddity_;  // the first thing that was odd in the cross-reference sections
  bool recovery_ = false;
  bool recovered_ = false;
  bool lost_pages_ = false;
  std::set<uint32_t> sections_;  // where sections were read, so that none is read twice
  std::set<uint32_t> xref_streams_;
  // Each is decoded once; the budget is what they and the cross-reference streams may
  // take together, 8 MB and 64 times the file, at most 512 MB, so that the cache is
  // bounded and a small file cannot blow up. See pdf/stream_filters.h for one stream.
  std::unordered_map<uint32_t, std::shared_ptr<ZPDFObjectStream>> object_streams_;
  size_t decode_budget_ = 0;
  // How many bytes may still be looked at, so that a file made of damaged or
  // overlapping objects costs no more than a few times its size.
  uint64_t search_budget_ = 0;
  int loading_ = 0;  // how many objects are being loaded, each for the one before
};

}  // namespace zforms
