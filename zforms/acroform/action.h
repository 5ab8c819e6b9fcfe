#pragma once

#include <cstdint>

#include "zforms/acroform/file_spec.h"
#include "zforms/acroform/lazy_wrapper.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

class ZPDFNodeDictionary;

// The action of a field's widget, "/A" (ISO 32000-1 12.6), run when the widget is activated. The form model only needs
// to know whether it submits the form, and to which URL. A view onto the dictionary, which the document owns. One
// thread at a time.
class ZFORMS_API ZAcroFormAction {
 public:
  // Bits of "/Flags", which select the fields and the format of a submission; the format is FDF when no format bit is
  // set (ISO 32000-1 table 237).
  static constexpr uint32_t kSubmitAllButFlag = 0x1;  // all fields except the listed ones
  static constexpr uint32_t kSubmitHTMLFlag = 0x4;
  static constexpr uint32_t kSubmitXFDFFlag = 0x20;
  static constexpr uint32_t kSubmitPDFFlag = 0x100;

  virtual ~ZAcroFormAction();
  ZAcroFormAction(const ZAcroFormAction&) = default;
  ZAcroFormAction& operator=(const ZAcroFormAction&) = default;

  // The name "/S" with its slash, such as "/SubmitForm"; empty when absent.
  Chaine Type() const;
  bool IsSubmitForm() const;
  // True when "/Next" has further actions.
  bool HasNext() const;

  // True when "/F" is present: a file specification, as a dictionary or a string. File returns null for a string.
  bool HasFile() const;
  ZAcroFormFileSpec* File();
  const ZAcroFormFileSpec* File() const;

  // True when "/F" is a file specification with a URL.
  bool HasURL() const;
  // Empty without a file specification.
  ZInetURL URL() const;
  // Sets the URL. Creates the file specification dictionary when "/F" is not one.
  void SetURL(const ZInetURL& url);

 protected:
  friend class LazyWrapper<ZAcroFormAction>;
  explicit ZAcroFormAction(ZPDFNodeDictionary* dictionary) : dictionary_(dictionary) {}

 private:
  ZPDFNodeDictionary* dictionary_;
  LazyWrapper<ZAcroFormFileSpec> file_;
};

}  // namespace zforms
