#pragma once

#include <cstdint>

#include "zforms/acroform/file_spec.h"
#include "zforms/acroform/lazy_wrapper.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

class ZPDFNodeDictionary;

// The action that a field's widget runs when it is activated, "/A" (ISO 32000-1
// 12.6). The form model cares whether it submits the form, and where to. A view
// onto the dictionary, which the document owns.
class ZFORMS_API ZAcroFormAction {
 public:
  // Bits of "/Flags" that say what of a form is submitted and in what format, FDF
  // without any of them (ISO 32000-1 table 237).
  static constexpr uint32_t kSubmitAllButFlag = 0x1;  // all fields but those named
  static constexpr uint32_t kSubmitHTMLFlag = 0x4;
  static constexpr uint32_t kSubmitXFDFFlag = 0x20;
  static constexpr uint32_t kSubmitPDFFlag = 0x100;

  virtual ~ZAcroFormAction();
  ZAcroFormAction(const ZAcroFormAction&) = default;
  ZAcroFormAction& operator=(const ZAcroFormAction&) = default;

  // The name "/S" with its slash, such as "/SubmitForm"; empty when absent.
  Chaine Type() const;
  bool IsSubmitForm() const;
  // Whether other actions follow, in "/Next".
  bool HasNext() const;

  // The file specification "/F"; null when absent or when it is a plain string.
  bool HasFile() const;
  ZAcroFormFileSpec* File();
  const ZAcroFormFileSpec* File() const;

  // Whether "/F" is a file specification that holds a URL.
  bool HasURL() const;
  // Empty without a file specification.
  ZInetURL URL() const;
  // A file specification is made where "/F" is none.
  void SetURL(const ZInetURL& url);

 protected:
  friend class LazyWrapper<ZAcroFormAction>;
  explicit ZAcroFormAction(ZPDFNodeDictionary* dictionary) : dictionary_(dictionary) {}

 private:
  ZPDFNodeDictionary* dictionary_;
  LazyWrapper<ZAcroFormFileSpec> file_;
};

}  // namespace zforms
