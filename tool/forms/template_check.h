#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zforms/platform/base/chaine.h"

namespace zforms {
class ZAcroFormServerForm;
}

namespace zforms::tool {

// What a form lacks to be served, in words for who designs it; empty when nothing does.
std::vector<std::string> CheckTemplate(const Chaine& path);
std::vector<std::string> CheckTemplate(const ZAcroFormServerForm& form);

}  // namespace zforms::tool
