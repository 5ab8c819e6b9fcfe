#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/chaine.h"

namespace zforms {
class ZAcroFormServerForm;
}

namespace zforms::tool {

// What a form lacks to be served, in words for who designs it; empty when nothing does.
std::vector<std::string> CheckTemplate(const Chaine& path);
std::vector<std::string> CheckTemplate(const ZAcroFormServerForm& form);

// Bit 6 of a submit action's "/Flags": the values go out as XFDF (ISO 32000-1 table 237).
inline constexpr uint32_t kSubmitsXFDF = 0x20;

}  // namespace zforms::tool
