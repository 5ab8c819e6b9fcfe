#pragma once

#include <string>
#include <vector>

#include "tool/store/store.h"

namespace zforms::tool {

// One line for each submission, one column for each field of any submission. Unless `raw`, a "'" precedes texts that a
// spreadsheet would run as a formula.
std::string SubmissionsAsCSV(const std::vector<Submission>& submissions, bool raw);
// A list of objects.
std::string SubmissionsAsJSON(const std::vector<Submission>& submissions);
// Reads the fields from the document of a rejected submission, for which the store has no fields.
void ReadSubmittedFields(Submission* submission);

}  // namespace zforms::tool
