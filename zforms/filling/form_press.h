#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zforms/acroform/acro_form.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/platform/base/export.h"

namespace zforms {
class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;

// FormPress is a form that is filled again and again from the state in which it was
// read: each time what the filling changed is written as an update behind the bytes
// read, and then taken back. The bytes are those that filling a fresh copy would give.
// Made, with copies of its own, by the thread that has the form; then used by one.
class ZFORMS_API FormPress {
 public:
  // `names` are the full names, in UTF-8, of the fields that will be filled.
  // The guard says what they are locked for, and what goes with a change; it outlives this.
  FormPress(const ZAcroForm& form, const std::vector<std::string>& names, const FillingGuard& guard);
  ~FormPress();

  // A value of the field whose name is the one of that number.
  struct Value {
    size_t name;
    PTableau<Chaine> texts;
  };
  // The form with the values, which the fields take.
  Chaine Fill(const std::vector<Value>& values);

 private:
  // A dictionary that filling may change, and what it was.
  struct Kept {
    ZPDFNodeDictionary* dictionary;
    std::unique_ptr<ZPDFNodeDictionary> original;
  };

  void Prepare();
  void Keep(ZPDFNodeDictionary* dictionary);
  bool IsChanged() const;
  bool TakeBack();

  const ZAcroForm original_;
  std::vector<Chaine> names_;
  const FillingGuard& guard_;
  std::unique_ptr<ZAcroForm> form_;  // null when it has to be copied anew
  std::unique_ptr<ZCheckedFiller> filler_;
  std::vector<Kept> kept_;
  // Those from which the guard took what goes with a change: written with every change.
  PTableau<ZPDFNodeDictionary*> dropped_;
  // The objects where those dictionaries stand, in the order of their numbers.
  PTableau<ZPDFNodeIndirectObject*> objects_;
};

}  // namespace zforms
