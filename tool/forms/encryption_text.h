#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace zforms {
class ZPDFEncryption;
}

namespace zforms::tool {

// Each permission in words, and whether the flags ("/P") grant it at that revision of the security handler (ISO 32000-1
// table 22). Revision 0 stands for a document that is not encrypted.
std::vector<std::pair<std::string, bool>> PermissionsOf(uint32_t flags, uint32_t revision);

// The permissions that are granted, or that are not: "print, fill in fields"; empty when there are none.
std::string PermissionsText(const ZPDFEncryption& encryption, bool granted);

// Which password opened the document. Precondition: encryption.CanBeDecrypted().
std::string OpenedByText(const ZPDFEncryption& encryption);

}  // namespace zforms::tool
