#pragma once

#include "zforms/platform/base/export.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

class ZPDFNodeDictionary;
template <class Wrapper>
class LazyWrapper;

// A file specification (ISO 32000-1 7.11); the form model supports only the kind with a URL. A view onto the
// dictionary, which the document owns.
class ZFORMS_API ZAcroFormFileSpec {
 public:
  virtual ~ZAcroFormFileSpec();
  ZAcroFormFileSpec(const ZAcroFormFileSpec&) = default;
  ZAcroFormFileSpec& operator=(const ZAcroFormFileSpec&) = default;

  // True when "/FS" is the name "/URL".
  bool IsURL() const;
  // The URL in the string "/F"; empty when absent.
  ZInetURL URL() const;
  // Sets "/FS" to "/URL" and "/F" to the URL's text; keeps other keys.
  void SetURL(const ZInetURL& url);

 protected:
  friend class LazyWrapper<ZAcroFormFileSpec>;
  explicit ZAcroFormFileSpec(ZPDFNodeDictionary* dictionary) : dictionary_(dictionary) {}

 private:
  ZPDFNodeDictionary* dictionary_;
};

}  // namespace zforms
