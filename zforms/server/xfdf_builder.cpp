#include "zforms/server/xfdf_builder.h"

#include "zforms/acroform/acro_form.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/server/acro_form_server.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

ZAcroFormServerXFDFBuilder::ZAcroFormServerXFDFBuilder(const ZAcroFormServer* server, const Chaine& code)
    : server_(server), code_(code), parser_(std::make_unique<ZPDFParser>()) {
  const Chaine path = PDFLocalFilePathName();
  parser_->SetEncryptions(server_->Encryptions());
  if (path.IsEmpty() || !parser_->Read(path, Chaine())) parser_.reset();
}

ZAcroFormServerXFDFBuilder::~ZAcroFormServerXFDFBuilder() = default;

Chaine ZAcroFormServerXFDFBuilder::PDFLocalFilePathName() const { return server_->PDFLocalFilePathName(code_); }

ZInetURL ZAcroFormServerXFDFBuilder::PDFURL() const { return server_->GetPDFURL(code_, ZDocument::eModify); }

bool ZAcroFormServerXFDFBuilder::HasPDF() const { return parser_ != nullptr; }

bool ZAcroFormServerXFDFBuilder::SetAutoMap(const Chaine& default_rubric, bool known_rubrics_only) {
  ZAcroForm form;
  form.SetPageFields(true);
  if (!HasPDF() || !form.Load(parser_.get())) return false;
  ReadMapsPDF(form, default_rubric, known_rubrics_only);
  return true;
}

ZXFDF ZAcroFormServerXFDFBuilder::CreateXFDF() const {
  if (!HasPDF()) return {};
  ZXFDF xfdf = ZXFDFMapper::CreateXFDF(PDFURL(), parser_->IDOriginal(), parser_->IDModified());
  xfdf.SessionID().SetSoftware(server_->AppShortName());
  xfdf.SessionID().SetFolder(server_->CurrentFolderInfos());
  return xfdf;
}

bool ZAcroFormServerXFDFBuilder::ShowXFDF(bool external) const {
  return HasPDF() && server_->ShowXFDF(CreateXFDF(), external);
}

}  // namespace zforms
