// Fills a PDF form from an XFDF, FDF, JSON or CSV file, saves it under another name, and prints the values of the saved
// file:
//   fill_form FORM.pdf DATA FILLED.pdf

#include <iostream>

#include "zforms/form.h"

namespace {

using zforms::ZForm;
using zforms::ZFormMessage;

// Prints the failures, warnings and notes of the form.
void PrintMessages(ZForm& form) {
  for (const ZFormMessage& message : form.TakeMessages()) {
    const char* const kind = message.severity == ZFormMessage::Severity::kFailure   ? "error: "
                             : message.severity == ZFormMessage::Severity::kWarning ? "warning: "
                                                                                    : "note: ";
    std::cerr << kind << message.text << "\n";
  }
}

bool Fill(const char* form_path, const char* data_path, const char* filled_path) {
  ZForm form;
  const bool saved = form.Open(form_path) && form.FillFromFile(data_path) && form.Save(filled_path);
  PrintMessages(form);
  return saved;
}

bool PrintValues(const char* path) {
  ZForm form;
  if (!form.Open(path)) {
    PrintMessages(form);
    return false;
  }
  for (const zforms::ZFormField& field : form.ExportedFields()) {
    if (!field.values.empty()) std::cout << field.name << " = " << field.Value() << "\n";
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: fill_form FORM.pdf DATA FILLED.pdf\n";
    return 2;
  }
  return Fill(argv[1], argv[2], argv[3]) && PrintValues(argv[3]) ? 0 : 1;
}
