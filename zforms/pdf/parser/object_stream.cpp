#include "zforms/pdf/parser/object_stream.h"

#include <algorithm>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// Removes a number and the blanks before it from the front; false when there is none.
bool TakeNumber(std::string_view* text, uint32_t* number) {
  size_t at = 0;
  while (at < text->size() && Is((*text)[at], kBlank)) at++;
  const size_t start = at;
  while (at < text->size() && Is((*text)[at], kDigit)) at++;
  *number = ParseUInt(text->substr(start, at - start));
  text->remove_prefix(at);
  return at > start;
}

}  // namespace

ZPDFObjectStream::ZPDFObjectStream(const ZPDFNodeStream& stream, size_t limit) {
  ZPDFDecodedStream decoded = DecodeStream(stream, limit);
  decoded_ = decoded.produced;
  text_ = std::move(decoded.data);
  damaged_ = !decoded.fault.IsEmpty();
  if (damaged_) fault_ = "the object stream cannot be read completely: " + decoded.fault;
  const ZPDFNodeDictionary& dictionary = *stream.Dico();
  const auto* extends = NodeCast<ZPDFNodeIndirectReference>(dictionary.GetDirect("/Extends"));
  if (extends != nullptr) extends_ = extends->GetID().Number();
  if (decoded.usable) ReadHeader(dictionary.GetUIntValue("/N"), dictionary.GetUIntValue("/First"));
}

// Reads `count` pairs of an object's number and its offset relative to `first`.
void ZPDFObjectStream::ReadHeader(size_t count, size_t first) {
  std::string_view header = text_.View().substr(0, first);
  // Reserves no more than the header can contain: a pair takes at least four bytes, the last one three.
  parts_.reserve(std::min(count, header.size() / 4 + 1));
  Part part{};
  uint32_t offset = 0;
  while (parts_.size() < count && TakeNumber(&header, &part.number) && TakeNumber(&header, &offset)) {
    part.begin = std::min(first + offset, text_.size());
    parts_.push_back(part);
  }
  if (parts_.size() < count && fault_.IsEmpty()) fault_ = "the object stream lists fewer objects than \"/N\" says";
  // Each object ends where the next one begins, so that reading all of them takes linear time.
  std::stable_sort(parts_.begin(), parts_.end(), [](const Part& a, const Part& b) { return a.begin < b.begin; });
  for (size_t i = 0; i < parts_.size(); i++) {
    parts_[i].end = i + 1 < parts_.size() ? parts_[i + 1].begin : text_.size();
  }
  std::stable_sort(parts_.begin(), parts_.end(), [](const Part& a, const Part& b) { return a.number < b.number; });
  const auto same = [](const Part& a, const Part& b) { return a.number == b.number; };
  const auto repeated = std::unique(parts_.begin(), parts_.end(), same);
  if (repeated != parts_.end() && fault_.IsEmpty()) fault_ = "the object stream lists an object more than once";
  parts_.erase(repeated, parts_.end());
}

const ZPDFObjectStream::Part* ZPDFObjectStream::Find(uint32_t number) {
  // Fast path: objects are often requested in the order of their numbers.
  if (next_ >= parts_.size() || parts_[next_].number != number) {
    const auto before = [](const Part& part, uint32_t wanted) { return part.number < wanted; };
    const auto found = std::lower_bound(parts_.begin(), parts_.end(), number, before);
    if (found == parts_.end() || found->number != number) return nullptr;
    next_ = static_cast<size_t>(found - parts_.begin());
  }
  return &parts_[next_++];
}

}  // namespace zforms
