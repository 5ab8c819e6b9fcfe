#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "zforms/c/handle.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/form.h"
#include "zforms/zforms_form.h"

namespace zforms {
class ZAcroFormField;
}

// The handle of a form.
struct zforms_form : zforms::c::Handle {
  // The fields as they were last read. Until a document is opened or fields are flattened, only their values change.
  struct Fields {
    bool are_read = false;
    std::vector<zforms::ZFormField> reports;
    std::vector<const zforms::ZAcroFormField*> sources;
    std::unordered_map<std::string, std::vector<size_t>> by_name;
  };

  // Reads the fields unless they were read before.
  const Fields& ReadFields();
  void DropFields() { fields = {}; }
  // Reads the values of the fields of that name again.
  void RefreshFields(const std::string& name);
  // Reports the messages of the form: see zforms::c::Finish.
  zforms_status Finish(bool done);

  zforms::ZForm form;
  zforms::GuardOptions guard_options;
  bool draws = false;
  bool calculates = true;
  zforms::ZDrawingFonts fonts;
  zforms::c::Listener listener;
  zforms::c::Pending pending;
  Fields fields;
};
