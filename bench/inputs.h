#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zforms::bench {

// The contents of the generated forms and their new values, shared by the generator of the inputs and every program
// that fills them. Fields are counted in document order; of each four fields, three are text fields and one is a check
// box. Names are ASCII, values UTF-8.
constexpr uint32_t kFieldsInGroup = 100;
constexpr uint32_t kFieldsOnPage = 50;
constexpr uint32_t kMaxLength = 60;
// The number of fields in the form of the large file, and how many of them are filled, from the first.
constexpr uint32_t kBigFormFields = 400;
constexpr uint32_t kBigFilledFields = 50;

inline bool IsCheckBox(uint32_t field) { return field % 4 == 3; }

std::string GroupName(uint32_t group);
std::string PartialName(uint32_t field);
std::string OldValue(uint32_t field);
std::string NewValue(uint32_t field);
// The new values of the first `count` fields.
std::vector<std::string> NewValues(uint32_t count);
// The new values of the first `count` fields as an XFDF document.
std::string XFDFText(uint32_t count);

}  // namespace zforms::bench
