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
  SecretString password = {};  // of an encrypted document; UTF-8
  bool recover = false;        // read a damaged file by searching it for objects; it is then saved as a new file
  // Keep the XFA form. Filling would otherwise remove it, because it still has the old values.
  bool keep_xfa = false;
  // Make changes that signatures forbid; the signatures are then no longer valid. Write a new file even when it lacks
  // parts of pages or of the form that cannot be read.
  bool force = false;
  bool draw = false;         // draw the fields that are filled in (see Draw), instead of asking viewers to do so
  ZDrawingFonts fonts = {};  // for characters that the form's own fonts lack
  // Follow the scripts of the form that only call the common functions, such as AFSimple_Calculate: compute fields from
  // others, refuse numbers that are out of range, and draw values in their formats. A value in the data is kept even
  // where a script computes another one; a warning reports the difference.
  bool calculate = true;
};

// ZForm is a PDF form for hosts with common needs: open it, list its fields, fill it, save it. Texts and paths are
// UTF-8. Hosts that need more use the classes behind it: see Document().
//
//   zforms::ZForm form;
//   if (form.Open("form.pdf")) {
//     form.SetValue("person.name", "Zoé Łoś");
//     form.FillFromFile("values.xfdf");
//     form.Save("filled.pdf");
//   }
//   for (const zforms::ZFormMessage& message : form.TakeMessages()) std::cerr << message.text << "\n";
//
// It owns the document, and returns copies, except for Document(). One thread at a time uses it; different forms are
// independent. A form can be moved; after that, the old object can only be destroyed or assigned to.
class ZFORMS_API ZForm {
 public:
  enum class SaveAs : uint8_t {
    kUpdate,   // appends the changes to the bytes read; writes a recovered or re-encrypted document as a new file
    kNewFile,  // writes all objects in use to a new file; signatures are no longer valid
  };

  ZForm();
  ~ZForm();
  ZForm(ZForm&& other) noexcept;
  ZForm& operator=(ZForm&& other) noexcept;

  // Open a document: a file, or bytes, which are copied. False when it cannot be read or the password does not open it:
  // the messages say why, and the former document stays open. A document without a form can be opened too.
  bool Open(const std::string& path, const ZFormOptions& options = {});
  bool OpenBytes(std::string_view bytes, const ZFormOptions& options = {});
  // Sets whether the next Open maps a file of 1 MB or more into memory instead of reading it, where the system can do
  // this: listing or filling some fields then costs time and memory for the form, not for the whole file. No other
  // program may change the file while the form is open: if one truncates it, this process receives SIGBUS, which the
  // host may handle (see MappedFileAt). Saving over the file is safe.
  void SetFileMapping(bool map);
  // Whether the document has a form whose fields can be read and filled.
  bool HasForm() const;

  // The fields in the order of the form's tree. Fields that a page shows but the form does not list come last. Each
  // call reads all fields again.
  std::vector<ZFormField> Fields() const;
  // The fields whose values are exported. Without `all`, fields with the flag NoExport are left out, and a note lists
  // those with a value. A warning lists the names that are shared by several fields with different
  // values.
  std::vector<ZFormField> ExportedFields(bool all = false);

  // Set the value of all fields with this full name. A choice field takes the value of an option or the text that
  // viewers show for it. A check box takes the name of its state, or a word such as "yes" or "no". Only a list box
  // takes several values. False when no field has the name, or when the field does not take a value: it then keeps its
  // old value, and a warning gives the reason.
  bool SetValue(const std::string& name, const std::string& value);
  bool SetValues(const std::string& name, const std::vector<std::string>& values);

  // Fill the form from XFDF, FDF, one JSON object, or CSV with the names in its first line and the values in its
  // second. The format is recognized by the first characters of the data, or else by the suffix of `name`, the name of
  // the data's file. A value that a field does not take gives a warning; the other values are written. False when
  // nothing could be filled: the data cannot be read, no column of the CSV has the name of a field, the document has no
  // form, or it forbids every change.
  bool Fill(std::string_view data, const std::string& name = {});
  bool FillFromFile(const std::string& path);

  // Draws all fields, so that every viewer shows their values. Text that does not fit, and characters that no font has,
  // give warnings. With the option `draw` this is not needed for fields that were filled in: they are drawn before the
  // form is saved, and so are all fields if the form asks viewers to draw them ("/NeedAppearances"). That key is then
  // removed, unless a field could not be drawn completely. False when a field could not be drawn completely, or when
  // the document forbids every change.
  bool Draw();

  // Returns the values of the exported fields in this format. XFDF and FDF also contain the identifiers and the file
  // name of the document. JSON is one object; CSV has a line with the names and a line with the values. Empty for a
  // document without a form; the messages say so.
  std::string Export(ExportFormat format, bool all = false);

  // Make the fields with these full names, and the fields below them, part of the pages; without names, all fields.
  // With the option `draw`, fields that were filled in are drawn first. The document is then read again without these
  // fields, so pointers to its fields are no longer valid. False when nothing was flattened: the messages say why. A
  // signed form needs ZFormOptions::force.
  bool Flatten(const std::vector<std::string>& names = {});

  // Save to a file or to bytes. A file is replaced in one step, unless an update is appended to it. The saved bytes are
  // then the base of the next save. False when saving fails, or when a new file would lose parts of pages or of the
  // form and ZFormOptions::force is not set; the messages say why.
  bool Save(const std::string& path, SaveAs mode = SaveAs::kUpdate);
  bool SaveBytes(std::string* bytes, SaveAs mode = SaveAs::kUpdate);

  // The messages since the last call, in the order in which they arose; messages about faults of the file come last.
  ZFormMessages TakeMessages();

  // The document itself, which this object owns. Do not load another document into it.
  ZAcroForm& Document();
  const ZAcroForm& Document() const;

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace zforms
