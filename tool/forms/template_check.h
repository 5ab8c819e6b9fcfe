#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zforms/platform/base/chaine.h"

namespace zforms {
class ZAcroFormServerForm;
}

namespace zforms::tool {

// What a form lacks for serving, in words for its designer; empty when nothing is missing.
std::vector<std::string> CheckTemplate(const Chaine& path);
std::vector<std::string> CheckTemplate(const ZAcroFormServerForm& form);

}  // namespace zforms::tool
