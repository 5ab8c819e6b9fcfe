#include "tool/batch/merged_output.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/text/text.h"

namespace zforms::tool {
namespace {

constexpr std::string_view kSuffix = ".pdf";
// The first version of PDF with cross-reference streams.
constexpr const char* kLeastVersion = "%PDF-1.5";
// Entries of the template's catalog that apply to all its pages.
constexpr std::string_view kKeptKeys[] = {"/OCProperties", "/OutputIntents", "/Lang"};

// The header line, with the highest of three versions: in the template's header, in its catalog, and needed by this
// file.
std::string HeaderOf(ZAcroForm& form) {
  const std::string version = form.Parser()->Root()->GetIdentifier("/Version").ToString();
  const std::string in_catalog = version.empty() ? "" : "%PDF-" + version.substr(1);
  const std::string in_header = form.Parser()->NamesVersion() ? form.Parser()->PDFVersion().ToString() : "";
  return std::max({in_header, in_catalog, std::string(kLeastVersion)});
}

}  // namespace

MergedOutput::MergedOutput(std::string path) : path_(std::move(path)) {}

MergedOutput::~MergedOutput() = default;

void MergedOutput::SetForm(const ZAcroForm& form) { form_ = std::make_unique<ZAcroForm>(form); }

bool MergedOutput::Fail(BatchFault* fault) const {
  *fault = {"the file " + path_ + " cannot be written: " + file_->Error(), true};
  return false;
}

LooseObject MergedOutput::Shared(uint32_t number) {
  ZPDFParser& parser = *form_->Parser();
  const ZPDFObjectLocation* const location = parser.ObjectLocations().Find(number);
  const ZPDFNodeIndirectObject* const object = location == nullptr ? nullptr : parser.GetObject(location->id);
  return object == nullptr ? LooseObject{number, "null", {}} : RowPagesMaker::Shared(*object);
}

bool MergedOutput::Open(uint64_t, BatchFault* fault) {
  if (form_->Parser()->IsEncrypted() || form_->Parser()->Root() == nullptr) {
    *fault = {
        "the form is encrypted, and --merge needs one without encryption; \"zforms rewrite --decrypt\" decrypts it"};
    return false;
  }
  maker_ = std::make_unique<RowPagesMaker>(*form_);
  file_ = std::make_unique<MergedFile>([this](uint32_t number) { return Shared(number); });
  return file_->Open(path_, HeaderOf(*form_), maker_->HighestNumber()) || Fail(fault);
}

void MergedOutput::Enter(Seat* seat, BatchFault*) { seat->place = Place::kFree; }

bool MergedOutput::WritePages(const Seat& seat, const RowPages& pages, BatchFault* fault) {
  std::string_view title = seat.name;
  if (title.ends_with(kSuffix)) title.remove_suffix(kSuffix.size());
  return file_->Add(pages, UTF8ToPDFText(title).ToString()) || Fail(fault);
}

bool MergedOutput::Write(const Seat&, unsigned, const Chaine&, BatchFault* fault) { return Fail(fault); }

bool MergedOutput::Finish(BatchFault* fault) {
  std::vector<std::pair<std::string, LooseObject>> catalog;
  for (const std::string_view key : kKeptKeys) {
    if (const ZPDFNode* value = form_->Parser()->Root()->GetDirect(key)) {
      catalog.emplace_back(key, RowPagesMaker::Shared(*value));
    }
  }
  return file_->Finish(catalog) || Fail(fault);
}

}  // namespace zforms::tool
