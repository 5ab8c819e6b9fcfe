#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/pdf_text.h"
#include "tests/support/test_document.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/text/text.h"

namespace zforms {

// A document with a form under construction, for tests. Object 1 is the catalog,
// object 2 the form; others are numbered by the caller, from 10 on.
//
//   FormText().Field(10, "<</FT/Tx/T(a)>>").Infos("/DA(/F 0 Tf)").Form()
class FormText {
 public:
  // An object, and one that "/Fields" lists.
  FormText& Object(uint32_t number, std::string_view value) {
    body_.Object(number, value);
    return *this;
  }
  FormText& Field(uint32_t number, std::string_view value) {
    fields_ += " " + std::to_string(number) + " 0 R";
    return Object(number, value);
  }
  // What stands in "/Fields", the form, the catalog and the trailer besides.
  FormText& Fields(std::string_view elements) { return Add(&fields_, elements); }
  FormText& Infos(std::string_view entries) { return Add(&infos_, entries); }
  FormText& Catalog(std::string_view entries) { return Add(&catalog_, entries); }
  FormText& Trailer(std::string_view entries) { return Add(&trailer_, entries); }

  Chaine Bytes() const {
    PdfText text = body_;
    text.Object(1, "<</Type/Catalog/AcroForm 2 0 R" + catalog_ + ">>");
    text.Object(2, "<</Fields[" + fields_ + "]" + infos_ + ">>");
    return text.Xref().Trailer("/Root 1 0 R" + trailer_).Bytes();
  }
  ZAcroForm Form() const {
    ZAcroForm form;
    ZInetChaineIStream in(Bytes());
    form.Load(in, "");
    return form;
  }

 private:
  FormText& Add(std::string* to, std::string_view text) {
    *to += " " + std::string(text);
    return *this;
  }

  PdfText body_ = std::move(PdfText().Header());
  std::string fields_, infos_, catalog_, trailer_;
};

// Written text without its line ends, and without blanks before "]".
inline std::string InOneLine(std::string text) {
  std::erase_if(text, [](char c) { return c == '\n' || c == '\r'; });
  for (size_t at = 0; (at = text.find(" ]", at)) != std::string::npos;) text.erase(at, 1);
  return text;
}

inline std::string LineOf(const ZPDFNode* node) { return InOneLine(TextOf(node)); }

// The value of an object of the form's document, in one line.
inline std::string ObjectOf(const ZAcroForm& form, uint32_t number) {
  ZPDFParser parser(*form.Parser());
  return InOneLine(ValueOf(parser, number));
}

inline Chaine Saved(ZAcroForm& form) {
  Chaine bytes;
  ZInetChaineOStream out(bytes);
  EXPECT_TRUE(form.Save(out)) << form.Diagnostics().Failure().View();
  return bytes;
}
inline Chaine SavedFull(ZAcroForm& form) {
  Chaine bytes;
  ZInetChaineOStream out(bytes);
  EXPECT_TRUE(form.SaveFull(out)) << form.Diagnostics().Failure().View();
  return bytes;
}

inline ZAcroForm Loaded(const Chaine& bytes, const Chaine& password = "") {
  ZAcroForm form;
  ZInetChaineIStream in(bytes);
  EXPECT_TRUE(form.Load(in, password)) << form.Diagnostics().Failure().View();
  return form;
}

// "name=value " of every field that has a value.
inline std::string ValuesOf(const ZAcroForm& form) {
  std::string values;
  for (const auto& [name, fields] : form.FlatFields()) {
    if (fields[0]->HasValue()) values += PDFTextToUTF8(name).ToString() + "=" + fields[0]->ValueUTF8().ToString() + " ";
  }
  return values;
}

inline std::string WarningsOf(const ZAcroForm& form) {
  std::string all;
  for (const ZDiagnosticsWarning& warning : form.Diagnostics().Warnings()) {
    all += ZDiagnostics::Describe(warning).ToString() + "\n";
  }
  return all;
}

}  // namespace zforms
