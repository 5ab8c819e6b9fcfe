#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zforms/acroform/form_field.h"
#include "zforms/appearance/drawing_fonts.h"
#include "zforms/filling/export_format.h"
#include "zforms/filling/form_message.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/base/secret_text.h"

namespace zforms {

class ZAcroForm;

// How a form is opened and filled.
struct ZFORMS_API ZFormOptions {
  SecretString password = {};  // UTF-8; opens an encrypted document
  bool recover = false;        // read a damaged file by searching it for objects; it is then saved as a new file
  bool keep_xfa = false;       // leave an XFA form that holds the former values
  // Make the changes that signatures forbid; these are then no longer valid. Write a new file even when pages or the
  // form lose what cannot be read.
  bool force = false;
  bool draw = false;         // draw the fields that are filled in (see Draw), instead of asking viewers to do so
  ZDrawingFonts fonts = {};  // for characters that the form's own fonts lack
  // Follow the scripts of the form that are calls of the common functions: compute the fields that depend on what is
  // filled in, refuse numbers that are out of range, and draw values in their formats. The data win over what is
  // computed, and a difference is a warning.
  bool calculate = true;
};

// ZForm is a PDF form for the common host: open it, list its fields, fill it, save it. Texts and paths are UTF-8. The
// classes below it stay at hand for hosts that need more (see Document); session infos are a matter of ZXFDF.
//
//   zforms::ZForm form;
//   if (form.Open("form.pdf")) {
//     form.SetValue("person.name", "Zoé Łoś");
//     form.FillFromFile("values.xfdf");
//     form.Save("filled.pdf");
//   }
//   for (const zforms::ZFormMessage& message : form.TakeMessages()) std::cerr << message.text << "\n";
//
// It owns the document. Everything that it returns is a value of the caller's. One thread at a time; different forms
// are independent. A form can be moved; one that was moved from can only be destroyed or assigned to.
class ZFORMS_API ZForm {
 public:
  enum class SaveAs : uint8_t {
    kUpdate,   // what changed is appended to the bytes read; a recovered or re-encrypted document is written as new
    kNewFile,  // all objects in use are written; signatures are no longer valid
  };

  ZForm();
  ~ZForm();
  ZForm(ZForm&& other) noexcept;
  ZForm& operator=(ZForm&& other) noexcept;

  // Open a document: a file, or bytes, which are copied. False, with a failure among the messages, when it cannot be
  // read or the password does not open it; what was open before then stays. A document without a form opens as well.
  bool Open(const std::string& path, const ZFormOptions& options = {});
  bool OpenBytes(std::string_view bytes, const ZFormOptions& options = {});
  // Sets whether the next Open maps a file of 1 MB or more into memory instead of reading it, where the system can do
  // this: listing or filling some fields then costs time and memory for the form, not for the whole file. No other
  // program may change the file while the form is open; one that cuts it short makes this process fail with SIGBUS,
  // which the host may handle (see MappedFileAt). Saving over the file is safe.
  void SetFileMapping(bool map);
  // Whether the document has a form whose fields can be read and filled.
  bool HasForm() const;

  // The fields in the order of the form's tree, those that only pages show at the end. Each call reads all of them.
  std::vector<ZFormField> Fields() const;
  // The fields with data, without those that the form marks as not to be sent, unless `all` is wanted. A note names
  // the fields with a value that are left out.
  std::vector<ZFormField> ExportedFields(bool all = false);

  // Set all fields of that full name. A choice takes its value or the text that viewers show for it; a check box
  // "yes", "no" and the like too; radio buttons and check boxes then show their new state. Several values are for a
  // list box. False, with a warning that says why and names what the field takes, when a value is not taken: the field
  // then keeps what it holds.
  bool SetValue(const std::string& name, const std::string& value);
  bool SetValues(const std::string& name, const std::vector<std::string>& values);

  // Fill from XFDF, FDF, one JSON object, or CSV with one row below the names; the first characters say which, else the
  // ending of `name`, that of the data's file. Each value that is not taken is a warning; the others are written. False
  // when nothing could be filled: the data cannot be read, no column of the CSV has the name of a field, the document
  // has no form, or it forbids every change.
  bool Fill(std::string_view data, const std::string& name = {});
  bool FillFromFile(const std::string& path);

  // Draws all fields, so that every viewer shows their values without drawing them itself; what does not fit or has no
  // font is a warning. With the option `draw` what was filled in is drawn as well, after Fill and before Save: those
  // fields, or all when the form asks viewers to draw them ("/NeedAppearances"). That request then goes; it stays where
  // a field could not be drawn completely. False when that is so, or when the document forbids every change.
  bool Draw();

  // The values of the exported fields in a format: XFDF and FDF with the identifiers of the document, and its file;
  // JSON as one object; CSV as the names and one row. Empty, with a failure, for a document without a form.
  std::string Export(ExportFormat format, bool all = false);

  // Make the fields of these full names, and those below them, part of the pages; all fields without names. What was
  // filled in is drawn first if the options say so. The document is then read again as it would be saved: its fields
  // are gone, and references to them are no longer valid. False, with a failure, when nothing was flattened; a signed
  // form needs ZFormOptions::force.
  bool Flatten(const std::vector<std::string>& names = {});

  // Save to a file, which is replaced in one step unless an update is appended to it, or to bytes. What was saved is
  // then the base of the next save. False, with a failure among the messages, when that is not possible, or when a new
  // file would lose parts of pages or of the form and this is not forced.
  bool Save(const std::string& path, SaveAs mode = SaveAs::kUpdate);
  bool SaveBytes(std::string* bytes, SaveAs mode = SaveAs::kUpdate);

  // What was to say since the last call, in its order; what is odd about the file comes last.
  ZFormMessages TakeMessages();

  // The document itself, of which this is the owner. Do not load another one into it.
  ZAcroForm& Document();
  const ZAcroForm& Document() const;

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace zforms
