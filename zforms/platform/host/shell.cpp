#include "zforms/platform/host/shell.h"

#include "zforms/platform/host/version_resource.h"

namespace zforms {

ZShell::~ZShell() = default;

uint64_t ZShell::VersionOfClass(const Chaine& class_id) {
  const Chaine program = ServerOfClass(class_id);
  return program.IsEmpty() ? 0 : GetAppVersionValue(program);
}

}  // namespace zforms
