#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/crypto/secret.h"

namespace zforms {

// Passwords and file keys of revisions 5 and 6, whose key of 256 bits is random and stored encrypted (ISO 32000-2
// 7.6.4.3.3 to 7.6.4.4.9). Passwords are bytes; only the first 127 count.

using ZPDFLongKey = SecretBytes<32>;

// The strings of the encryption dictionary. "/O" and "/U" have at least 48 bytes, "/OE" and "/UE" 32, "/Perms" 16;
// further bytes are ignored.
struct ZPDFLongKeyStrings {
  Chaine o, u, oe, ue, perms;
};

enum class ZPDFPasswordKind : uint8_t { kUser, kOwner };

// Whether `password` is the user password or the owner password, as `kind` says. If so, writes the file key to `key`.
// Algorithm 2.A. Precondition: the strings are long enough.
bool OpenLongKey(const ZPDFLongKeyStrings& strings, uint32_t revision, ZPDFPasswordKind kind, std::string_view password,
                 ZPDFLongKey* key);

// Makes the strings of revision 6 for a file key, except "/Perms", with random salts. Algorithms 8 and 9.
ZPDFLongKeyStrings LockLongKey(const ZPDFLongKey& key, std::string_view user, std::string_view owner);

// Makes "/Perms" for these permissions. Algorithm 10.
Chaine PermissionsFor(std::string_view key, uint32_t flags, bool encrypts_metadata);
// Whether "/Perms" agrees with these permissions. Algorithm 13. Precondition: it has at least 16 bytes.
bool ConfirmsPermissions(const Chaine& perms, std::string_view key, uint32_t flags, bool encrypts_metadata);

// Computes the hash of a password with a salt, and for the owner password also with "/U" (`user_entry`): SHA-256 at
// revision 5, algorithm 2.B at revision 6, which runs at most 288 rounds.
void HashPassword(uint32_t revision, std::string_view password, std::string_view salt, std::string_view user_entry,
                  ZPDFLongKey* hash);

}  // namespace zforms
