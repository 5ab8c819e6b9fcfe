#pragma once

#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNodeDictionary;

// The pages of a document in order, from the page tree at "/Pages" of its catalog (ISO 32000-1 7.7.3). A node that the
// tree reaches a second time, and levels below the 200th, are left out. The document owns the pages.
ZFORMS_API PTableau<ZPDFNodeDictionary*> PagesOf(ZPDFNodeDictionary& catalog);
ZFORMS_API PTableau<const ZPDFNodeDictionary*> PagesOf(const ZPDFNodeDictionary& catalog);

}  // namespace zforms
