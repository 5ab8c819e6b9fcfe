#include "zforms/xfdf/line_end_filters.h"

#include <algorithm>
#include <cstring>

namespace zforms {

namespace {

// Calls `put` with the text up to each line feed that needs a carriage return, and with the rest.
template <class Put>
void ForEachRun(std::string_view text, Put put) {
  size_t run = 0;
  for (size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1)) {
    if (at != 0 && text[at - 1] == '\r') continue;
    put(text.substr(run, at - run), true);
    run = at;
  }
  put(text.substr(run), false);
}

Chaine WithCarriageReturns(const Chaine& text) {
  size_t missing = 0;
  ForEachRun(text, [&](std::string_view, bool needs_return) { missing += needs_return ? 1 : 0; });
  if (missing == 0) return text;
  Chaine result;
  char* to = result.AppendUninitialized(text.size() + missing);
  ForEachRun(text, [&](std::string_view run, bool needs_return) {
    to += run.copy(to, run.size());
    if (needs_return) *to++ = '\r';
  });
  return result;
}

}  // namespace

void ZInetLFToCRLFIStream::Load() {
  if (loaded_) return;
  loaded_ = true;
  text_ = WithCarriageReturns(Source()->ReadAll());
}

size_t ZInetLFToCRLFIStream::Read(char* to, size_t size) {
  Load();
  if (size == 0) return 0;
  const size_t count = text_.View().substr(at_).copy(to, std::max<size_t>(size - 1, 1));
  at_ += count;
  return count;
}

Chaine ZInetLFToCRLFIStream::ReadAll() {
  Load();
  const Chaine rest = text_.Mid(at_);
  at_ = text_.size();
  return rest;
}

bool ZInetCRLFToLFOStream::Write(const char* from, size_t size) {
  while (size != 0) {
    const void* found = std::memchr(from, '\r', size);
    const size_t run = found == nullptr ? size : static_cast<size_t>(static_cast<const char*>(found) - from);
    if (run != 0 && !Target()->Write(from, run)) return false;
    const size_t done = found == nullptr ? run : run + 1;
    from += done;
    size -= done;
  }
  return true;
}

}  // namespace zforms
