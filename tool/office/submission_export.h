#pragma once

#include <string>
#include <vector>

#include "tool/store/store.h"

namespace zforms::tool {

// A table in CSV, with a line for each submission and a column for each field of any submission. Unless `raw`, a "'"
// precedes texts that a spreadsheet would run as a formula.
std::string SubmissionsAsCSV(const std::vector<Submission>& submissions, bool raw);
// A JSON array with an object for each submission.
std::string SubmissionsAsJSON(const std::vector<Submission>& submissions);
// Reads the fields from the document of a rejected submission, for which the store has no fields.
void ReadSubmittedFields(Submission* submission);

}  // namespace zforms::tool
