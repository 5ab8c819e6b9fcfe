#include "tool/forms/encryption_text.h"

#include "zforms/pdf/crypt/encryption.h"

namespace zforms::tool {
namespace {

struct Permission {
  uint32_t mask;
  const char* words;
};

constexpr uint32_t kAnnotations = 0x20;

constexpr Permission kPermissions[] = {
    {0x4, "print"},
    {0x8, "change the contents"},
    {0x10, "copy text and graphics"},
    {kAnnotations, "add annotations"},
    {0x100, "fill in fields"},
    {0x200, "extract text for accessibility"},
    {0x400, "assemble pages"},
    {0x800, "print in high quality"},
};
// Higher flags are defined only from revision 3 on.
constexpr uint32_t kHighestOfRevision2 = kAnnotations;

}  // namespace

std::vector<std::pair<std::string, bool>> PermissionsOf(uint32_t flags, uint32_t revision) {
  std::vector<std::pair<std::string, bool>> permissions;
  for (const Permission& permission : kPermissions) {
    if (revision == 2 && permission.mask > kHighestOfRevision2) break;
    const bool is_both = revision == 2 && permission.mask == kAnnotations;
    permissions.emplace_back(is_both ? "add annotations, fill in fields" : permission.words,
                             (flags & permission.mask) != 0);
  }
  return permissions;
}

std::string PermissionsText(const ZPDFEncryption& encryption, bool granted) {
  std::string text;
  for (const auto& [words, is_granted] : PermissionsOf(encryption.StandardFlags(), encryption.StandardRevision())) {
    if (is_granted == granted) text += (text.empty() ? "" : "; ") + words;
  }
  return text;
}

std::string OpenedByText(const ZPDFEncryption& encryption) {
  if (encryption.IsOpenedByOwner()) return "the owner password";
  return encryption.UserPassword().IsEmpty() ? "no password (the user password is empty)" : "the user password";
}

}  // namespace zforms::tool
