#include "tool/pages/office_pages.h"

#include <memory>

#include "tool/office/office.h"
#include "tool/pages/drawn_page.h"
#include "tool/pages/opening_page.h"
#include "tool/pages/reader_page.h"
#include "tool/pages/submissions_page.h"
#include "zforms/platform/crypto/random_token.h"

namespace zforms::tool {

const ReaderPage* AddPages(Office& office, const std::string& reader_folder, bool scripts) {
  auto reader = std::make_unique<ReaderPage>(&office, reader_folder, scripts);
  if (reader_folder.empty() || !reader->HasPage()) reader.reset();
  ReaderPage* const shown = reader.release();
  office.Server().SetPageHandler(ZInetURL("/"), new OpeningPage(&office, shown), true);
  if (shown != nullptr) {
    office.Server().SetPageHandler(ZInetURL("/reader/"), shown, true);
    office.Server().SetPageHandler(ZInetURL("/reader/print.pdf"), new DrawnPage(&office), true);
  }
  return shown;
}

std::string AddSubmissionsPage(Office& office, const std::string& data) {
  const std::string key = RandomToken();
  office.Server().SetPageHandler(ZInetURL("/submissions/"), new SubmissionsPage(&office, data, key), true);
  return key;
}

}  // namespace zforms::tool
