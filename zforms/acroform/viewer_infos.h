#pragma once

#include <string_view>

#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeDictionary;

// The viewer preferences, "/ViewerPreferences" of the catalog (ISO 32000-1 12.2). A view onto the dictionary, which the
// document owns. Absent preferences are false; setters write only changes.
class ZFORMS_API ZAcroFormViewerInfos {
 public:
  virtual ~ZAcroFormViewerInfos();
  ZAcroFormViewerInfos(const ZAcroFormViewerInfos&) = default;
  ZAcroFormViewerInfos& operator=(const ZAcroFormViewerInfos&) = default;

  // Each pair of functions reads and sets the key of the same name.
  bool HideToolbar() const { return Get("/HideToolbar"); }
  void SetHideToolbar(bool hide) const { Set("/HideToolbar", hide); }
  bool HideMenubar() const { return Get("/HideMenubar"); }
  void SetHideMenubar(bool hide) const { Set("/HideMenubar", hide); }
  bool HideWindowUI() const { return Get("/HideWindowUI"); }
  void SetHideWindowUI(bool hide) const { Set("/HideWindowUI", hide); }
  bool FitWindow() const { return Get("/FitWindow"); }
  void SetFitWindow(bool fit) const { Set("/FitWindow", fit); }
  bool CenterWindow() const { return Get("/CenterWindow"); }
  void SetCenterWindow(bool center) const { Set("/CenterWindow", center); }
  bool DisplayDocTitle() const { return Get("/DisplayDocTitle"); }
  void SetDisplayDocTitle(bool display) const { Set("/DisplayDocTitle", display); }

  ZPDFNodeDictionary* Dico() { return dictionary_; }
  const ZPDFNodeDictionary* Dico() const { return dictionary_; }
  // True when the dictionary or a node below it is marked as modified.
  bool IsModified() const;
  // Marks only the dictionary itself, not the nodes below it.
  void SetModified(bool modified);

 protected:
  friend class ZAcroForm;
  explicit ZAcroFormViewerInfos(ZPDFNodeDictionary* dictionary) : dictionary_(dictionary) {}

 private:
  bool Get(std::string_view key) const;
  void Set(std::string_view key, bool value) const;

  ZPDFNodeDictionary* dictionary_;
};

}  // namespace zforms
