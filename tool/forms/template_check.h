#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zforms/platform/base/chaine.h"

namespace zforms {
class ZAcroFormServerForm;
}

namespace zforms::tool {

// The faults of a form that is to be served, as messages for its designer; empty when there are none.
std::vector<std::string> CheckTemplate(const Chaine& path);
std::vector<std::string> CheckTemplate(const ZAcroFormServerForm& form);

}  // namespace zforms::tool
