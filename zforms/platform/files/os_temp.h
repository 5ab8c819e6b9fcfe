#pragma once

#include "zforms/platform/base/chaine.h"

namespace zforms {

// Makes a new folder, open to this user alone, in the system's folder for
// temporary files. Its path; empty when it cannot be made.
Chaine MakePrivateFolder();
// Removes the folder and all in it; follows no links.
void RemoveFolder(const Chaine& path);

}  // namespace zforms
