#pragma once

#include <string>
#include <vector>

#include "platform/chaine.h"

namespace zforms::tool {

// What a form lacks to be served, in words for who designs it; empty when nothing does.
std::vector<std::string> CheckTemplate(const Chaine& path);

}  // namespace zforms::tool
