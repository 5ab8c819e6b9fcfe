#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/deflate.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

// Builds the text of a PDF, for tests: the caller lists the parts of the file, and offsets are computed.
//
//   PdfText().Header()
//       .Object(1, "<</Type/Catalog>>").Stream(5, "<</X 1>>", "data")
//       .Xref().Trailer("/Root 1 0 R")                               // the file
//       .Object(1, "<<>>").Free(5).Xref().Trailer("/Root 1 0 R")     // an update
//       .Bytes()
class PdfText {
 public:
  // `line_end` separates all parts: a line feed, a carriage return, or both.
  explicit PdfText(std::string_view line_end = "\n") : line_end_(line_end) {}

  PdfText& Header(std::string_view version = "1.4") {
    return Line("%PDF-" + std::string(version)).Line("%\xE2\xE3\xCF\xD3");
  }
  // Adds bytes unchanged, without or with a line end.
  PdfText& Raw(std::string_view bytes) {
    text_ += bytes;
    return *this;
  }
  PdfText& Line(std::string_view bytes) { return Raw(bytes).Raw(line_end_); }

  PdfText& Object(uint32_t number, std::string_view value, uint32_t generation = 0) {
    At(number, generation);
    return Line(Numbers(number, generation) + " obj").Line(value).Line("endobj");
  }
  // Adds "/Length" to the dictionary unless it has one.
  PdfText& Stream(uint32_t number, std::string_view dictionary, std::string_view data, uint32_t generation = 0) {
    std::string value(dictionary);
    if (value.find("/Length") == std::string::npos) {
      value.insert(value.rfind(">>"), "/Length " + std::to_string(data.size()));
    }
    value += line_end_ + "stream\r\n" + std::string(data) + "\r\nendstream";
    return Object(number, value, generation);
  }
  // Makes the next section list the object at this position, whatever follows.
  PdfText& At(uint32_t number, uint32_t generation = 0) {
    offsets_[number] = text_.size();
    pending_[number] = {text_.size(), generation, 'n'};
    return *this;
  }
  // Marks the object as free in the next section.
  PdfText& Free(uint32_t number, uint32_t generation = 1) {
    pending_[number] = {0, generation, 'f'};
    return *this;
  }

  // Adds a section for everything added since the last one, in subsections without gaps.
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
  // Adds a section with this table, in which "@4" is replaced by the ten-digit offset of object 4.
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
  // Adds the trailer with "/Size", these entries and, in an update, "/Prev"; then "startxref" and "%%EOF".
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

  // Adds a deflated object stream with these objects; `entries` are added to its dictionary.
  PdfText& Pack(uint32_t number, const std::vector<std::pair<uint32_t, std::string>>& objects,
                std::string_view entries = "") {
    std::string header, body;
    for (size_t i = 0; i < objects.size(); i++) {
      header += Numbers(objects[i].first, static_cast<uint32_t>(body.size())) + " ";
      body += objects[i].second + " ";
      PlacePacked(objects[i].first, number, static_cast<uint32_t>(i));
    }
    const std::string dictionary = "<</Type/ObjStm/N " + std::to_string(objects.size()) + "/First " +
                                   std::to_string(header.size()) + "/Filter/FlateDecode" + std::string(entries) + ">>";
    return Stream(number, dictionary, Deflated(header + body));
  }
  // Makes the next section list the object at that index of an object stream, whether it is there or not.
  PdfText& PlacePacked(uint32_t number, uint32_t stream, uint32_t index) {
    pending_[number] = {stream, index, 'p'};
    return *this;
  }
  // Adds a section as a cross-reference stream for everything added since the last one, deflated, with PNG rows;
  // `entries` are those of the trailer. Then adds "startxref" and "%%EOF".
  PdfText& XrefStream(uint32_t number, std::string_view entries, size_t width = 3) {
    At(number);
    xref_ = offsets_[number];
    return XrefStreamOf(number, pending_, entries, width).End();
  }
  // Adds the cross-reference stream of a hybrid file, which has only the packed objects. The next table lists these as
  // free; its trailer must have the offset of this stream as "/XRefStm".
  PdfText& HiddenXrefStream(uint32_t number) {
    std::map<uint32_t, Place> packed;
    for (auto& [packed_number, place] : pending_) {
      if (place.kind != 'p') continue;
      packed[packed_number] = place;
      place = {0, 65535, 'f'};
    }
    return XrefStreamOf(number, packed, "", 3);
  }

  // Removes bytes at the end.
  PdfText& Truncate(size_t count) {
    text_.resize(text_.size() - std::min(count, text_.size()));
    return *this;
  }

  Chaine Bytes() const { return text_; }
  size_t Size() const { return text_.size(); }
  // The offset of the newest version of the object, and of the newest section.
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
  PdfText& XrefStreamOf(uint32_t number, const std::map<uint32_t, Place>& places, std::string_view entries,
                        size_t width) {
    std::string records, index;
    for (auto first = places.begin(); first != places.end();) {
      uint32_t count = 0;
      for (auto each = first; each != places.end() && each->first == first->first + count; ++each) count++;
      index += Numbers(first->first, count) + " ";
      for (uint32_t i = 0; i < count; i++, ++first) Record(first->second, width, &records);
    }
    if (!pending_.empty()) size_ = std::max(size_, pending_.rbegin()->first + 1);
    std::string dictionary = "<</Type/XRef/W[1 " + std::to_string(width) + " 2]/Index[" + index + "]/Size " +
                             std::to_string(size_) + "/Filter[/FlateDecode]/DecodeParms[<</Predictor 12/Columns " +
                             std::to_string(width + 3) + ">>]" + std::string(entries);
    if (previous_) dictionary += " /Prev " + std::to_string(*previous_);
    return Stream(number, dictionary + ">>", Deflated(PngUp(records, width + 3)));
  }
  static void Record(const Place& place, size_t width, std::string* records) {
    const auto append = [records](size_t value, size_t bytes) {
      while (bytes-- > 0) *records += static_cast<char>(value >> (8 * bytes) & 0xFF);
    };
    append(place.kind == 'p' ? 2 : place.kind == 'n' ? 1 : 0, 1);
    append(place.offset, width);
    append(place.generation, 2);
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

// A file that begins with a document catalog, object 1.
inline PdfText Catalog(std::string_view line_end = "\n") {
  return std::move(PdfText(line_end).Header().Object(1, "<</Type/Catalog>>"));
}

}  // namespace zforms
