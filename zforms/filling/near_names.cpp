#include "zforms/filling/near_names.h"

#include <algorithm>
#include <string>

#include "zforms/platform/text/letter_case.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr size_t kMost = 3;
constexpr size_t kLongestName = 200;
// The most steps that all comparisons together may take: some tenths of a second.
constexpr size_t kWork = 50'000'000;
// The distance of a name that differs only in separators.
constexpr size_t kSameLetters = 1;
// The distance of a name that differs only before its last part.
constexpr size_t kSameLastPart = 2;
// The distance of a name with wrong letters is this plus the number of wrong letters.
constexpr size_t kWrongLetters = 2;
constexpr size_t kFar = SIZE_MAX;

// The characters in lower case, with accents and letters composed as in file names (see FoldFileName).
std::u32string Folded(const Chaine& name) {
  const Chaine units = UTF8ToUTF16BE(FoldFileName(name));
  std::u32string folded;
  for (size_t i = 0; i + 1 < units.size(); i += 2) {
    folded +=
        static_cast<char32_t>((static_cast<unsigned char>(units[i]) << 8) | static_cast<unsigned char>(units[i + 1]));
  }
  return folded;
}

std::u32string LastPart(const std::u32string& folded) { return folded.substr(folded.rfind(U'.') + 1); }

bool IsSeparator(char32_t c) { return c == U'.' || c == U'_' || c == U'-' || c == U' ' || c == U'[' || c == U']'; }

bool HaveSameLetters(const std::u32string& a, const std::u32string& b) {
  size_t i = 0;
  size_t j = 0;
  while (true) {
    while (i < a.size() && IsSeparator(a[i])) i++;
    while (j < b.size() && IsSeparator(b[j])) j++;
    if (i == a.size() || j == b.size()) return i == a.size() && j == b.size();
    if (a[i++] != b[j++]) return false;
  }
}

// The number of characters to insert, delete, replace or swap with a neighbour; kFar when it is more than `limit`
// (optimal string alignment).
size_t Distance(const std::u32string& a, const std::u32string& b, size_t limit) {
  if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit) return kFar;
  std::vector<size_t> before(b.size() + 1);
  std::vector<size_t> above(b.size() + 1);
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); j++) above[j] = j;
  for (size_t i = 1; i <= a.size(); i++) {
    row[0] = i;
    for (size_t j = 1; j <= b.size(); j++) {
      const bool same = a[i - 1] == b[j - 1];
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (same ? 0 : 1)});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
    }
    std::swap(before, above);
    std::swap(above, row);
    if (*std::min_element(above.begin(), above.end()) > limit) return kFar;
  }
  return above[b.size()] <= limit ? above[b.size()] : kFar;
}

size_t HowFar(const std::u32string& name, const std::u32string& known, size_t limit) {
  if (name == known) return 0;
  if (HaveSameLetters(name, known)) return kSameLetters;
  if (LastPart(name) == LastPart(known)) return kSameLastPart;
  const size_t distance = Distance(name, known, limit);
  return distance == kFar ? kFar : kWrongLetters + distance;
}

}  // namespace

NearNames::NearNames(const PTableau<Chaine>& names) : work_left_(kWork) {
  for (const Chaine& name : names) {
    if (name.size() <= kLongestName) names_.push_back({name, Folded(name)});
  }
}

PTableau<Chaine> NearNames::Of(const Chaine& name) {
  if (name.IsEmpty() || name.size() > kLongestName) return {};
  const std::u32string folded = Folded(name);
  // Accepts one wrong letter for every three letters of the last part: at least one, at most three.
  const size_t limit = std::clamp<size_t>((LastPart(folded).size() + 1) / 3, 1, 3);
  size_t nearest = kFar;
  PTableau<Chaine> found;
  for (const Known& known : names_) {
    const size_t work = 50 + folded.size() +
                        (known.folded.size() > folded.size() + limit || folded.size() > known.folded.size() + limit
                             ? 0
                             : folded.size() * known.folded.size());
    if (work > work_left_) return {};
    work_left_ -= work;
    const size_t far = HowFar(folded, known.folded, limit);
    if (far == kFar || far > nearest) continue;
    if (far < nearest) found.clear();
    nearest = far;
    if (found.size() < kMost) found.push_back(known.name);
  }
  return found;
}

}  // namespace zforms
