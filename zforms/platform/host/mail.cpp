#include "zforms/platform/host/mail.h"

namespace zforms {

ZMailer::~ZMailer() = default;

}  // namespace zforms
