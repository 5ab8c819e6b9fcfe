#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "zforms/pdf/crypt/encryptions.h"
#include "zforms/pdf/node.h"
#include "zforms/pdf/node_pool.h"
#include "zforms/pdf/object_provider.h"
#include "zforms/pdf/parser/locations.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/secret_text.h"
#include "zforms/platform/files/file_io.h"

namespace zforms {

class ZPDFEncryption;
class ZPDFNodeArray;
class ZPDFNodeDictionary;
class ZPDFNodeIndirectReference;
class ZPDFObjectStream;

// ZPDFParser opens a PDF file, which it reads into memory or maps, and loads its objects when they are first requested.
// It owns every object that it loaded or added; nodes become invalid when it reads another file or is destroyed. Copies
// share the bytes of the file and own clones of the loaded objects, including edits. One parser, with all its nodes, is
// used by one thread at a time.
//
// Reads files with cross-reference tables, cross-reference streams or both (ISO 32000-1 7.5.4, 7.5.8), and objects in
// object streams (7.5.7).
class ZFORMS_API ZPDFParser final : public IPDFObjectProvider {
 public:
  using TokenizedString = ZPDFTokenizedString;
  using ObjectLocation = ZPDFObjectLocation;

  ZPDFParser();
  ZPDFParser(const ZPDFParser& other);
  ZPDFParser& operator=(const ZPDFParser& other);
  ~ZPDFParser() override;

  // The object with that identifier, loaded on first request; null when no section lists it, it is free, or there is no
  // such object at its offset.
  ZPDFNodeIndirectObject* GetObject(const ZPDFObjectIdentifier& id) override;

  // Read a file, or its bytes. False, with a reason in Diagnostics(), when it cannot be read or its structure is
  // damaged; the parser is then empty. With a wrong password the document is read anyway, with a warning: see
  // CanBeDecrypted.
  bool Read(const Chaine& path_name, const Chaine& user_password);
  bool ReadFromRaw(const Chaine& raw_data, const Chaine& user_password);

  // The limits for reading an input for ReadFromRaw: at most 4 GB, and only the first 4 KB when these contain no
  // header. With `recover`, a file of known size is read even without a header; an input of unknown size must begin
  // with a header or an object.
  static ReadLimits InputLimits(bool recover);

  // Sets whether the next read recovers a damaged file. Records that do not point to their object are corrected by a
  // scan of the file. The tables are rebuilt from the scan, with the newest complete version of each object, when they
  // cannot be read, contain any fault, lead to no catalog, or do not list objects at the end of the file. Diagnostics()
  // describes what was done.
  void SetRecovery(bool recover) { recovery_ = recover; }
  bool Recovers() const { return recovery_; }
  // Sets whether Read maps large files into memory instead of reading them: see MapFile.
  void SetFileMapping(bool map) { maps_file_ = map; }
  // Sets which encrypted documents the next read opens: kRC4Only at first.
  void SetEncryptions(ZPDFEncryptions encryptions) { encryptions_ = encryptions; }
  ZPDFEncryptions Encryptions() const { return encryptions_; }
  // True when the file was recovered. Then no update can be appended to it: it must be saved in full. RawData() then
  // begins with the header: bytes before the header are removed, and a file without one gets the header of PDF 1.4.
  bool IsRecovered() const { return file_.recovered; }
  // True when recovery found fewer pages than the page tree should have.
  bool HasLostPages() const { return file_.lost_pages; }

  // Adds an empty object, marked as modified. Its number is higher than all others (1000 in an empty document), and
  // "/Size" of the trailer is kept above it. Set the value with SetChild. Owned by the parser.
  ZPDFNodeIndirectObject* AddIndirectObject();

  // The newest trailer; null before a successful read.
  ZPDFNodeDictionary* TrailerDico() { return trailer_.get(); }
  const ZPDFNodeDictionary* TrailerDico() const { return trailer_.get(); }
  // The document catalog: "/Root" of the trailer. Null when absent.
  ZPDFNodeDictionary* Root();
  const ZPDFNodeDictionary* Root() const;
  // "/AcroForm" of the catalog; null when absent.
  ZPDFNodeDictionary* AcroForm();
  const ZPDFNodeDictionary* AcroForm() const;
  // "/ViewerPreferences" of the catalog; null when absent.
  ZPDFNodeDictionary* ViewerPreferences();
  const ZPDFNodeDictionary* ViewerPreferences() const;
  // "/Encrypt" of the trailer; null when absent.
  ZPDFNodeDictionary* EncryptionDico();
  const ZPDFNodeDictionary* EncryptionDico() const;
  // The bytes of the first and of the second string of "/ID" in the trailer; empty when absent.
  Chaine IDOriginal() const;
  Chaine IDModified() const;

  bool IsEncrypted() const { return EncryptionDico() != nullptr; }
  // True when the password opens the document, or the document is not encrypted.
  bool CanBeDecrypted() const;
  // The document's security handler, null when it is not encrypted. Owned by the parser.
  const ZPDFEncryption* Encryption() const { return encryption_.get(); }
  const Chaine& UserPassword() const { return user_password_; }

  // The loaded objects that are modified, in identifier order.
  PTableau<const ZPDFNodeIndirectObject*> ModifiedObjects() const;
  void ResetModifiedObjects();
  // Adds every object that can be reached from the trailer.
  void GetUsedObjects(ZPDFObjectMap& map) const;

  // The header line, such as "%PDF-1.4".
  Chaine PDFVersion() const;
  // True when the header line has a version: two digits with a point between them.
  bool NamesVersion() const;
  // The byte offset of the newest cross-reference section, 0 when unknown.
  uint32_t XRefOffset() const { return file_.xref_offset; }
  const Chaine& RawData() const { return raw_data_; }
  const Chaine& PathName() const { return path_name_; }
  // Why the last read failed, and the warnings. Loading objects adds more warnings.
  const ZDiagnostics& Diagnostics() const { return diagnostics_; }

  // Facts about the structure of the file, for tools that report them.
  size_t SectionCount() const { return file_.section_count; }
  // True when the newest section is a cross-reference stream, so that an update must use one too.
  bool XRefIsStream() const { return file_.xref_is_stream; }
  // True when any section that was read is a cross-reference stream, also in a hybrid file (ISO 32000-1 7.5.8.4).
  bool HasXRefStreams() const { return !file_.xref_streams.empty(); }
  // A number that no object of the document has.
  uint32_t FreeNumber() const;
  // Records that the number was used for an object written outside the parser.
  void TakeNumber(uint32_t number);
  bool IsLinearized() const { return file_.linearized; }
  // True when the object with this identifier is missing because of damage. That is so when the object is not where its
  // record says; no record has the number; the generation is higher than the record's; or the record says that the
  // object is free, although the tables have faults or the record points to the object. A reference to an object that
  // was freed correctly means null (ISO 32000-1 7.3.10).
  bool IsLost(const ZPDFObjectIdentifier& id) const;
  // The number of complete objects after the last "startxref" that no table lists: they belong to a later revision
  // whose end was lost. Scans that part of the file.
  size_t UnlistedAtEnd() const;
  const ZPDFLocations& ObjectLocations() const { return locations_; }

  // Renumbers the objects. Those in the list get the numbers from 1 on, in the order of the list; all others, including
  // targets of dangling references, get the numbers after them. Generations become 0. Objects that are not loaded
  // cannot be loaded until Rebase. Returns the old identifiers in the order of the new ones; TakeBack undoes the change
  // with them.
  PTableau<ZPDFObjectIdentifier> Renumber(const PTableau<ZPDFObjectIdentifier>& first);
  void TakeBack(const PTableau<ZPDFObjectIdentifier>& former);
  // Call it after the document was saved in full as `raw_data`. Objects are then at `offsets`, which are in identifier
  // order and list every object of the file, and are encrypted by a copy of `encryption` (null: not encrypted). The
  // trailer describes the new file. Loaded objects are kept.
  void Rebase(const Chaine& raw_data, uint32_t xref_offset,
              const PTableau<std::pair<ZPDFObjectIdentifier, uint32_t>>& offsets, const ZPDFEncryption* encryption);

 private:
  friend class ZPDFRecovery;
  friend class ZPDFSectionChain;
  friend class ZPDFUsedObjectSearch;

  // What is known of the file besides its nodes and their locations. Copied, cleared and replaced as a whole.
  struct FileState {
    FileState() = default;
    // Sets the budgets for a file of that size.
    explicit FileState(size_t file_size);

    uint32_t xref_offset = 0;
    size_t section_count = 0;
    bool linearized = false;
    bool xref_is_stream = false;
    Chaine oddity;  // the first fault found in the cross-reference sections
    bool recovered = false;
    bool lost_pages = false;
    std::set<uint32_t> xref_streams;
    // The object streams that were decoded, by number; each is decoded once. The decoded bytes of all object streams
    // and cross-reference streams together are limited to 8 MB plus 64 times the file's size, at most 512 MB, so that a
    // small file cannot use much memory. See stream_filters.h for the limit of one stream.
    std::unordered_map<uint32_t, std::shared_ptr<ZPDFObjectStream>> object_streams;
    size_t decode_budget = 0;
    // How many more bytes may be read while loading, so that a file with damaged or overlapping objects costs at most a
    // few times its size.
    uint64_t search_budget = 0;

    void SpendDecoded(size_t bytes) { decode_budget -= std::min(decode_budget, bytes); }
    void SpendSearched(uint64_t bytes) { search_budget -= std::min(search_budget, bytes); }
  };

  void Clean();
  void CopyFrom(const ZPDFParser& other);
  bool Analyze();
  bool PrepareEncryption();
  bool Fail(std::string_view reason);
  ZPDFNodeIndirectObject* LoadObject(const ZPDFObjectIdentifier& id, uint32_t offset);
  ZPDFNodeIndirectObject* LoadPacked(const ZPDFObjectIdentifier& id, uint32_t stream_number);
  ZPDFNodeIndirectObject* BuildPacked(const ZPDFObjectIdentifier& id, const SousChaine& part);
  // The decoded object stream of that number, null when there is none.
  ZPDFObjectStream* ObjectStream(uint32_t number);
  std::optional<uint32_t> GenerationAt(const ZPDFObjectLocation& location) const;
  bool TakesGeneration(ZPDFObjectLocation& location, const ZPDFObjectIdentifier& id);
  void WarnOfGeneration(const ZPDFObjectIdentifier& listed, uint32_t generation);
  bool IsWrong(const ZPDFObjectLocation& location) const;
  bool LeadsToObject(const ZPDFObjectLocation& location) const {
    return GenerationAt(location) == location.id.Generation();
  }
  std::vector<ZPDFNodeIndirectReference*> LoadedReferences() const;
  void SetNumbers(const std::map<ZPDFObjectIdentifier, ZPDFObjectIdentifier>& numbers);
  const ZPDFNodeArray* TrailerDicoIDS() const;
  Chaine IDString(size_t index) const;

  Chaine raw_data_;
  Chaine path_name_;
  SecretText user_password_;
  bool recovery_ = false;
  bool maps_file_ = false;
  ZPDFEncryptions encryptions_ = ZPDFEncryptions::kRC4Only;
  FileState file_;
  ZPDFNodePool::User pool_ = ZPDFNodePool::Make();
  ZPDFLocations locations_;
  std::unique_ptr<ZPDFNodeDictionary> trailer_;
  std::unique_ptr<ZPDFEncryption> encryption_;
  ZDiagnostics diagnostics_;
  ZDiagnostics packed_diagnostics_;  // the warnings about the packed object that is being loaded
  int loading_ = 0;                  // how many objects are being loaded, each because the one before needs it
};

}  // namespace zforms
