#include "platform/mail.h"

namespace zforms {

ZMailer::~ZMailer() = default;

}  // namespace zforms
