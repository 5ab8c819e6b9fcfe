#pragma once

#include "zforms/platform/base/chaine.h"

struct hb_blob_t;

namespace zforms {

// The bytes of a font file, mapped into memory. The caller owns the blob; null when the file cannot be read. The path
// is UTF-8.
hb_blob_t* OpenFontBytes(const Chaine& path);

}  // namespace zforms
