#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/chaine.h"

namespace zforms {

// A PDF text under construction, for tests: says what stands in the file and
// counts the offsets itself.
//
//   PdfText().Header()
//       .Object(1, "<</Type/Catalog>>").Stream(5, "<</X 1>>", "data")
//       .Xref().Trailer("/Root 1 0 R")                               // the file
//       .Object(1, "<<>>").Free(5).Xref().Trailer("/Root 1 0 R")     // an update
//       .Bytes()
class PdfText {
 public:
  // `line_end` stands between all the pieces: "\n", "\r" or "\r\n".
  explicit PdfText(std::string_view line_end = "\n") : line_end_(line_end) {}

  PdfText& Header(std::string_view version = "1.4") {
    return Line("%PDF-" + std::string(version)).Line("%\xE2\xE3\xCF\xD3");
  }
  // Bytes as they are, and bytes with a line end.
  PdfText& Raw(std::string_view bytes) {
    text_ += bytes;
    return *this;
  }
  PdfText& Line(std::string_view bytes) { return Raw(bytes).Raw(line_end_); }

  PdfText& Object(uint32_t number, std::string_view value, uint32_t generation = 0) {
    At(number, generation);
    return Line(Numbers(number, generation) + " obj").Line(value).Line("endobj");
  }
  // "/Length" is put into the dictionary unless it is there already.
  PdfText& Stream(uint32_t number, std::string_view dictionary, std::string_view data, uint32_t generation = 0) {
    std::string value(dictionary);
    if (value.find("/Length") == std::string::npos) {
      value.insert(value.rfind(">>"), "/Length " + std::to_string(data.size()));
    }
    value += line_end_ + "stream\r\n" + std::string(data) + "\r\nendstream";
    return Object(number, value, generation);
  }
  // The next section lists the object as standing here, whatever follows.
  PdfText& At(uint32_t number, uint32_t generation = 0) {
    offsets_[number] = text_.size();
    pending_[number] = {text_.size(), generation, 'n'};
    return *this;
  }
  // The next section lists the object as freed.
  PdfText& Free(uint32_t number, uint32_t generation = 1) {
    pending_[number] = {0, generation, 'f'};
    return *this;
  }

  // A section with all that came since the last one, in subsections without holes.
  PdfText& Xref() {
    if (!previous_) Free(0, 65535);
    BeginXref();
    for (auto first = pending_.begin(); first != pending_.end();) {
      auto last = first;
      uint32_t count = 0;
      while (last != pending_.end() && last->first == first->first + count) count++, ++last;
      Line(Numbers(first->first, count));
      for (; first != last; ++first) Entry(first->second);
    }
    return *this;
  }
  // A section with this table, in which "@4" stands for the ten digits of where object 4 is.
  PdfText& Xref(std::string_view table) {
    BeginXref();
    for (size_t i = 0; i < table.size(); i++) {
      if (table[i] != '@') {
        text_ += table[i];
        continue;
      }
      const size_t digits = std::min(table.find_first_not_of("0123456789", i + 1), table.size()) - i - 1;
      text_ += Padded(OffsetOf(static_cast<uint32_t>(std::stoul(std::string(table.substr(i + 1, digits))))), 10);
      i += digits;
    }
    return *this;
  }
  // The trailer with "/Size", these entries and, in an update, "/Prev"; then "startxref" and "%%EOF".
  PdfText& Trailer(std::string_view entries) {
    if (!offsets_.empty()) size_ = std::max(size_, offsets_.rbegin()->first + 1);
    std::string dictionary = "/Size " + std::to_string(size_) + " " + std::string(entries);
    if (previous_) dictionary += " /Prev " + std::to_string(*previous_);
    return Line("trailer").Line("<<" + dictionary + ">>").End();
  }
  PdfText& End() {
    Line("startxref").Line(std::to_string(xref_)).Line("%%EOF");
    previous_ = xref_;
    pending_.clear();
    return *this;
  }

  // Takes bytes away at the end.
  PdfText& Truncate(size_t count) {
    text_.resize(text_.size() - std::min(count, text_.size()));
    return *this;
  }

  Chaine Bytes() const { return text_; }
  size_t Size() const { return text_.size(); }
  // Where the newest version of the object, and the newest section, stand.
  size_t OffsetOf(uint32_t number) const { return offsets_.at(number); }
  size_t XrefOffset() const { return xref_; }

 private:
  struct Place {
    size_t offset;
    uint32_t generation;
    char kind;
  };

  static std::string Numbers(uint32_t a, uint32_t b) { return std::to_string(a) + " " + std::to_string(b); }
  static std::string Padded(size_t value, size_t width) {
    const std::string digits = std::to_string(value);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
  }
  void BeginXref() {
    xref_ = text_.size();
    Line("xref");
  }
  void Entry(const Place& place) {
    Raw(Padded(place.offset, 10) + " " + Padded(place.generation, 5) + " " + place.kind);
    Line(line_end_.size() == 1 ? " " : "");
  }

  std::string line_end_;
  std::string text_;
  std::map<uint32_t, size_t> offsets_;
  std::map<uint32_t, Place> pending_;
  size_t xref_ = 0;
  uint32_t size_ = 1;
  std::optional<size_t> previous_;
};

}  // namespace zforms
