#include "zforms/filling/row_reader.h"

namespace zforms {

RowReader::~RowReader() = default;

}  // namespace zforms
