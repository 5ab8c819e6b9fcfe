#include "platform/shell.h"

namespace zforms {

ZShell::~ZShell() = default;

}  // namespace zforms
