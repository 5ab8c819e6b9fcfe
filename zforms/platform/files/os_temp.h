#pragma once

#include "zforms/platform/base/chaine.h"

namespace zforms {

// Creates a new folder, accessible to this user only, in the system's folder for temporary files. Returns its path;
// empty when this fails.
Chaine MakePrivateFolder();
// Removes the folder and its contents; does not follow links.
void RemoveFolder(const Chaine& path);

}  // namespace zforms
