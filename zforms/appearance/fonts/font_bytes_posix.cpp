#include <hb.h>

#include "zforms/appearance/fonts/font_bytes.h"

namespace zforms {

hb_blob_t* OpenFontBytes(const Chaine& path) { return hb_blob_create_from_file_or_fail(path.ToString().c_str()); }

}  // namespace zforms
