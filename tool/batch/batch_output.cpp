#include "tool/batch/batch_output.h"

namespace zforms::tool {

BatchOutput::~BatchOutput() = default;

bool BatchOutput::Take(BatchFault*) { return true; }

bool BatchOutput::Finish(BatchFault*) { return true; }

}  // namespace zforms::tool
