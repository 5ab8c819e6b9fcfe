#include "zforms/pdf/parser/file_scan.h"

#include <algorithm>

#include "zforms/pdf/syntax/char_class.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

constexpr std::string_view kObj = "obj";
constexpr std::string_view kStream = "stream";
constexpr std::string_view kEndstream = "endstream";
constexpr std::string_view kEndobj = "endobj";
constexpr std::string_view kTrailer = "trailer";
constexpr std::string_view kLength = "/Length";

// Finds the next occurrence of a word; searches again only after that place is passed.
class NextPlace {
 public:
  NextPlace(std::string_view text, std::string_view word) : text_(text), word_(word) {}
  size_t From(size_t at) {
    if (!known_ || (place_ != std::string_view::npos && place_ < at)) place_ = text_.find(word_, at);
    known_ = true;
    return place_;
  }

 private:
  std::string_view text_;
  std::string_view word_;
  size_t place_ = 0;
  bool known_ = false;
};

class FileScan {
 public:
  explicit FileScan(std::string_view file) : file_(file), endstream_(file, kEndstream), endobj_(file, kEndobj) {}

  ZPDFFileScan Run() {
    while (at_ < file_.size()) Step();
    return std::move(found_);
  }

 private:
  void Step() {
    switch (file_[at_]) {
      case 'o': StandsHere(kObj) ? AddObject() : Skip(1); break;
      case 's': StandsHere(kStream) ? SkipStream() : Skip(1); break;
      case 't': StandsHere(kTrailer) ? AddTrailer() : Skip(1); break;
      case '/': NoteName(); break;
      case 'e': StandsHere(kEndobj) ? EndObject(kEndobj.size()) : Skip(1); break;
      default: Skip(1); break;
    }
  }

  bool StandsHere(std::string_view word) const { return file_.substr(at_).starts_with(word); }
  void Skip(size_t count) { at_ += count; }
  bool SpecialAt(size_t at) const { return at >= file_.size() || Is(file_[at], kBlankOrSpecial); }

  // The start of the run of characters of this class that ends at `end`.
  size_t RunBefore(size_t end, CharClass kind) const {
    while (end > 0 && Is(file_[end - 1], kind)) end--;
    return end;
  }

  void AddObject() {
    const size_t generation_end = RunBefore(at_, kBlank);
    const size_t generation = RunBefore(generation_end, kDigit);
    const size_t number_end = RunBefore(generation, kBlank);
    const size_t number = RunBefore(number_end, kDigit);
    const bool numbers = number < number_end && number_end < generation && generation < generation_end;
    Skip(kObj.size());
    if (!numbers || !SpecialAt(at_) || !BeginsHere(number)) return;
    EndObject(0);
    const ZPDFObjectIdentifier id(ParseUInt(file_.substr(number, number_end - number)),
                                  ParseUInt(file_.substr(generation, generation_end - generation)));
    found_.objects.push_back({id, static_cast<uint32_t>(number)});
    inside_ = true;
  }

  // Marks the newest object as complete. Also called where the next object or a trailer begins, because some writers
  // omit "endobj".
  void EndObject(size_t length) {
    if (!found_.objects.empty()) found_.objects.back().whole = true;
    Skip(length);
  }

  // True when an object may begin at `at`: at the start of the file or of a line, or after "endobj". Elsewhere, the
  // words may be part of a string.
  bool BeginsHere(size_t at) const {
    const size_t before = RunBefore(at, kBlank);
    const std::string_view blanks = file_.substr(before, at - before);
    return before == 0 || blanks.find_first_of("\r\n") != std::string_view::npos ||
           file_.substr(0, before).ends_with(kEndobj);
  }

  void AddTrailer() {
    Skip(kTrailer.size());
    if (!SpecialAt(at_)) return;
    EndObject(0);
    found_.trailers.push_back(static_cast<uint32_t>(at_));
    inside_ = false;
  }

  void NoteName() {
    const size_t start = at_;
    Skip(1);
    while (!SpecialAt(at_)) Skip(1);
    if (!inside_) return;
    const std::string_view name = file_.substr(start, at_ - start);
    ZPDFFileScan::Object& object = found_.objects.back();
    object.names_object_stream = object.names_object_stream || name == "/ObjStm";
    object.names_xref_stream = object.names_xref_stream || name == "/XRef";
    object.names_catalog = object.names_catalog || name == "/Catalog";
    object.names_security = object.names_security || name == "/Standard";
  }

  // Skips the data of the object's stream: by its stated length when "endstream" follows there, else up to the next
  // word that ends it.
  void SkipStream() {
    const size_t keyword = at_;
    Skip(kStream.size());
    const bool begins = inside_ && at_ < file_.size() && Is(file_[at_], kBlank) && keyword > 0 &&
                        (Is(file_[keyword - 1], kBlank) || file_[keyword - 1] == '>');
    if (!begins) return;
    inside_ = false;
    const size_t end = EndOfStated(keyword);
    at_ = end != 0 ? end : std::max(at_, std::min({endstream_.From(at_), endobj_.From(at_), file_.size()}));
  }

  size_t EndOfStated(size_t keyword) const {
    const size_t start = found_.objects.back().offset;
    const std::string_view dictionary = file_.substr(start, keyword - start);
    const size_t entry = dictionary.find(kLength);
    if (entry == std::string_view::npos) return 0;
    const std::string_view value = dictionary.substr(entry + kLength.size());
    // If "/Length" is a reference, its object number is used as the length. This does no harm: "endstream" hardly ever
    // follows there by chance.
    const size_t data = at_ + (file_.substr(at_).starts_with("\r\n") ? 2 : 1);
    size_t end = data + ParseUInt(value.substr(0, value.find_first_of("/>")));
    while (end < file_.size() && Is(file_[end], kBlank)) end++;
    return end < file_.size() && file_.substr(end).starts_with(kEndstream) ? end + kEndstream.size() : 0;
  }

  std::string_view file_;
  NextPlace endstream_;
  NextPlace endobj_;
  size_t at_ = 0;
  bool inside_ = false;  // true within the newest object, before its stream
  ZPDFFileScan found_;
};

}  // namespace

ZPDFFileScan ScanFile(std::string_view file) { return FileScan(file).Run(); }

}  // namespace zforms
