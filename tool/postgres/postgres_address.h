#pragma once

#include <string>
#include <string_view>

namespace zforms::tool {

// Whether a text is the address of a database of PostgreSQL: "postgresql://..." or "postgres://...".
bool IsPostgresAddress(std::string_view address);

// The address without its passwords, which may be before the host or among the parameters.
std::string WithoutPasswords(std::string_view address);

// False when a message of libpq could show a part of a password. This is so when the address has more than one "@", or
// an "@" after the host: then it is unclear where the password ends.
bool IsUnambiguous(std::string_view address);

}  // namespace zforms::tool
