#include "tool/store/store.h"

namespace zforms::tool {

Store::~Store() = default;
StoreSink::~StoreSink() = default;
SubmissionQueue::~SubmissionQueue() = default;
SharedForms::~SharedForms() = default;

}  // namespace zforms::tool
