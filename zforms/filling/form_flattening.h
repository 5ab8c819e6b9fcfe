#pragma once

#include <string>
#include <vector>

#include "zforms/filling/filling_guard.h"
#include "zforms/filling/form_message.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;

// Flattens the fields of these full names, in UTF-8, or all fields when no name is given: see ZFormFlattener. A signed
// form is flattened only with GuardOptions::force. Parts that the change makes outdated are removed, as far as the
// options allow (see FillingGuard::Drop). False, with a message, when nothing is flattened.
ZFORMS_API bool FlattenForm(ZAcroForm& form, const std::vector<std::string>& fields, const GuardOptions& options,
                            ZFormMessages* messages);

}  // namespace zforms
