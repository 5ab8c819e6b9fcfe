// Generates the files that the benchmarks read; the same arguments always give the same bytes.

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "bench/inputs.h"

namespace zforms::bench {
namespace {

constexpr uint32_t kBigObjects = 200'000;
constexpr uint32_t kBigStreams = 1024;
constexpr size_t kBigStreamSize = 65'536;
constexpr uint32_t kRefsInTable = 1000;

std::string Ref(uint32_t number) { return std::to_string(number) + " 0 R"; }

std::string Refs(uint32_t first, uint32_t count) {
  std::string text = "[";
  for (uint32_t i = 0; i < count; i++) text += (i == 0 ? "" : " ") + Ref(first + i);
  return text + "]";
}

// A PDF 1.4 file with one classic cross-reference table, written object by object.
class Document {
 public:
  Document() : text_("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n") {
    info_ = Add("<</Title (Benchmark input) /CreationDate (D:20240101000000Z)>>");
  }

  uint32_t Reserve(uint32_t count = 1) {
    const auto first = static_cast<uint32_t>(offsets_.size());
    offsets_.resize(offsets_.size() + count);
    return first;
  }
  uint32_t Count() const { return static_cast<uint32_t>(offsets_.size() - 1); }

  void Put(uint32_t number, std::string_view body) {
    offsets_[number] = text_.size();
    text_ += std::to_string(number) + " 0 obj\n";
    text_.append(body) += "\nendobj\n";
  }
  uint32_t Add(std::string_view body) {
    const uint32_t number = Reserve();
    Put(number, body);
    return number;
  }
  uint32_t AddStream(const std::string& entries, std::string_view data) {
    std::string body = "<<" + entries + " /Length " + std::to_string(data.size()) + ">>\nstream\n";
    body.append(data) += "\nendstream";
    return Add(body);
  }

  std::string Finish(uint32_t catalog) {
    const size_t section = text_.size();
    text_ += "xref\n0 " + std::to_string(offsets_.size()) + "\n0000000000 65535 f \n";
    char line[32];
    for (size_t i = 1; i < offsets_.size(); i++) {
      std::snprintf(line, sizeof line, "%010zu 00000 n \n", offsets_[i]);
      text_ += line;
    }
    text_ += "trailer\n<</Size " + std::to_string(offsets_.size()) + " /Root " + Ref(catalog) + " /Info " + Ref(info_) +
             " /ID [<00112233445566778899AABBCCDDEEFF> <00112233445566778899AABBCCDDEEFF>]>>\nstartxref\n" +
             std::to_string(section) + "\n%%EOF\n";
    return std::move(text_);
  }

 private:
  std::string text_;
  std::vector<size_t> offsets_ = {0};
  uint32_t info_;
};

// The text as a PDF string object. All its characters must be in Latin-1, which agrees with PDFDocEncoding for letters.
std::string PDFText(std::string_view utf8) {
  std::string text = "(";
  for (size_t i = 0; i < utf8.size(); i++) {
    const auto c = static_cast<unsigned char>(utf8[i]);
    if (c == '(' || c == ')' || c == '\\') text += '\\';
    if (c < 0x80) {
      text += utf8[i];
    } else {
      text += static_cast<char>((c & 3) << 6 | (static_cast<unsigned char>(utf8[++i]) & 63));
    }
  }
  return text + ")";
}

// Makes a form whose fields are merged with their widgets, and its pages.
class FormMaker {
 public:
  FormMaker(Document& document, uint32_t fields) : document_(document), fields_(fields) {
    font_ = document.Add("<</Type /Font /Subtype /Type1 /Name /Helv /BaseFont /Helvetica /Encoding /WinAnsiEncoding>>");
    mark_ = document.AddStream("/Type /XObject /Subtype /Form /BBox [0 0 12 12]", "0 0 1 rg 2 2 8 8 re f");
    pages_ = document.Reserve();
    first_group_ = document.Reserve(Parts(kFieldsInGroup));
    first_page_ = document.Reserve(Parts(kFieldsOnPage));
    first_field_ = document.Reserve(fields);
  }

  // Adds the form and its pages to the document; returns the entries of the catalog.
  std::string Make() {
    for (uint32_t group = 0; group < Parts(kFieldsInGroup); group++) PutGroup(group);
    for (uint32_t field = 0; field < fields_; field++) PutField(field);
    for (uint32_t page = 0; page < Parts(kFieldsOnPage); page++) PutPage(page);
    const uint32_t pages = Parts(kFieldsOnPage);
    document_.Put(pages_, "<</Type /Pages /Count " + std::to_string(pages) + " /MediaBox [0 0 595 842] /Kids " +
                              Refs(first_page_, pages) + ">>");
    return "/Pages " + Ref(pages_) + " /AcroForm <</Fields " + Refs(first_group_, Parts(kFieldsInGroup)) +
           " /DA (/Helv 10 Tf 0 g) /DR <</Font <</Helv " + Ref(font_) + ">>>>>>";
  }

 private:
  uint32_t Parts(uint32_t size) const { return (fields_ + size - 1) / size; }
  uint32_t PartSize(uint32_t part, uint32_t size) const { return std::min(size, fields_ - part * size); }

  void PutGroup(uint32_t group) {
    document_.Put(first_group_ + group,
                  "<</T (" + GroupName(group) + ") /Kids " +
                      Refs(first_field_ + group * kFieldsInGroup, PartSize(group, kFieldsInGroup)) + ">>");
  }

  void PutField(uint32_t field) {
    const uint32_t x = 60 + field % 2 * 250;
    const uint32_t y = 790 - field % kFieldsOnPage / 2 * 30;
    const uint32_t width = IsCheckBox(field) ? 12 : 200;
    const std::string common = "<</Type /Annot /Subtype /Widget /T (" + PartialName(field) + ") /Parent " +
                               Ref(first_group_ + field / kFieldsInGroup) + " /P " +
                               Ref(first_page_ + field / kFieldsOnPage) + " /Rect [" + std::to_string(x) + " " +
                               std::to_string(y) + " " + std::to_string(x + width) + " " + std::to_string(y + 12) +
                               "] /F 4 ";
    if (IsCheckBox(field)) {
      document_.Put(first_field_ + field, common + "/FT /Btn /V /Off /AS /Off /MK <</CA (4)>> /AP <</N <</Yes " +
                                              Ref(mark_) + " /Off " + Ref(mark_) + ">>>>>>");
    } else {
      document_.Put(first_field_ + field, common + "/FT /Tx /V " + PDFText(OldValue(field)) +
                                              " /DA (/Helv 10 Tf 0 g) /MaxLen " + std::to_string(kMaxLength) + ">>");
    }
  }

  void PutPage(uint32_t page) {
    const uint32_t contents =
        document_.AddStream("", "BT /Helv 14 Tf 60 815 Td (Page " + std::to_string(page + 1) + ") Tj ET");
    document_.Put(first_page_ + page, "<</Type /Page /Parent " + Ref(pages_) + " /Resources <</Font <</Helv " +
                                          Ref(font_) + ">>>> /Contents " + Ref(contents) + " /Annots " +
                                          Refs(first_field_ + page * kFieldsOnPage, PartSize(page, kFieldsOnPage)) +
                                          ">>");
  }

  Document& document_;
  uint32_t fields_;
  uint32_t font_;
  uint32_t mark_;
  uint32_t pages_;
  uint32_t first_group_;
  uint32_t first_page_;
  uint32_t first_field_;
};

std::string Record(uint32_t i, const std::string& extra) {
  const std::string number = std::to_string(i);
  return "<</Type /Record /Number " + number + " /Title (Record " + number + " of the archive) /Kept true /Box [0 0 " +
         std::to_string(i % 600) + " " + std::to_string(i % 800) +
         ".25] /Mark <0a1b2c3d4e5f> /Tags [/One /Two /Three] /Next null" + extra + ">>";
}

// Pseudo-random bytes, which contain a PDF keyword only by chance.
std::string Noise(size_t size, uint32_t seed) {
  std::string bytes(size, '\0');
  for (char& c : bytes) {
    seed = seed * 1'664'525 + 1'013'904'223;
    c = static_cast<char>(seed >> 24);
  }
  return bytes;
}

// Adds records, and tables that refer to the records, until the document has `total` objects. `streams` is the number
// of records that refer to a stream. Returns the catalog entry that refers to the tables.
std::string AddArchive(Document& document, uint32_t total, uint32_t streams) {
  const uint32_t left = total - document.Count() - 2 - streams;  // without the catalog and the list of tables
  const uint32_t tables = (left + kRefsInTable) / (kRefsInTable + 1);
  const uint32_t records = left - tables;
  const uint32_t first_record = document.Reserve(records);
  for (uint32_t i = 0; i < records; i++) {
    std::string extra;
    if (i < streams) extra = " /Data " + Ref(document.AddStream("", Noise(kBigStreamSize, i)));
    document.Put(first_record + i, Record(i, extra));
  }
  const uint32_t first_table = document.Reserve(tables);
  for (uint32_t i = 0; i < tables; i++) {
    const uint32_t start = i * kRefsInTable;
    document.Put(first_table + i, Refs(first_record + start, std::min(kRefsInTable, records - start)));
  }
  return " /Archive " + Ref(document.Add(Refs(first_table, tables)));
}

std::string Catalog(const std::string& entries) { return "<</Type /Catalog " + entries + ">>"; }

std::string MakeForm(uint32_t fields) {
  Document document;
  const std::string entries = FormMaker(document, fields).Make();
  return document.Finish(document.Add(Catalog(entries)));
}

std::string MakeBig(uint32_t) {
  Document document;
  std::string entries = FormMaker(document, kBigFormFields).Make();
  entries += AddArchive(document, kBigObjects, kBigStreams);
  return document.Finish(document.Add(Catalog(entries)));
}

constexpr const char* kNoPages = "/Pages <</Type /Pages /Count 0 /Kids []>>";

std::string MakeObjects(uint32_t count) {
  Document document;
  const std::string archive = AddArchive(document, count, 0);
  return document.Finish(document.Add(Catalog(kNoPages + archive)));
}

// A document that consists mainly of one object.
std::string MakeWith(std::string_view body) {
  Document document;
  const uint32_t object = document.Add(body);
  return document.Finish(document.Add(Catalog(kNoPages + (" /Extra " + Ref(object)))));
}

// A document with many numbers on one line.
std::string MakeLine(uint32_t count) {
  std::string line = "[";
  for (uint32_t i = 0; i < count; i++) line += std::to_string(i % 1000) + (i % 3 == 0 ? ".5 " : " ");
  return MakeWith(line + "]");
}

std::string Repeated(std::string_view text, uint32_t count) {
  std::string result;
  for (uint32_t i = 0; i < count; i++) result += text;
  return result;
}

// A document with `depth` nested arrays.
std::string MakeNest(uint32_t depth) { return MakeWith(Repeated("[ ", depth) + Repeated("] ", depth)); }
// A document with `count` arrays, one of which contains the others side by side.
std::string MakeFlat(uint32_t count) { return MakeWith("[ " + Repeated("[ ] ", count - 1) + "] "); }

int Usage() {
  std::cerr << "usage: zforms_bench_inputs (form FIELDS | xfdf FIELDS | big 0 | objects COUNT | line NUMBERS |\n"
               "                            nest BRACKETS | flat BRACKETS) FILE\n";
  return 2;
}

int Run(const std::vector<std::string>& arguments) {
  static const std::map<std::string, std::function<std::string(uint32_t)>> kMakers = {
      {"form", MakeForm}, {"xfdf", XFDFText}, {"big", MakeBig},  {"objects", MakeObjects},
      {"line", MakeLine}, {"nest", MakeNest}, {"flat", MakeFlat}};
  if (arguments.size() != 3) return Usage();
  const auto maker = kMakers.find(arguments[0]);
  const std::string& digits = arguments[1];
  uint32_t count = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
  if (maker == kMakers.end() || error != std::errc() || *end != '\0') return Usage();
  std::ofstream file(arguments[2], std::ios::binary);
  file << maker->second(count) << std::flush;
  if (file) return 0;
  std::cerr << arguments[2] << ": cannot be written\n";
  return 1;
}

}  // namespace
}  // namespace zforms::bench

int main(int argc, char** argv) { return zforms::bench::Run({argv + 1, argv + argc}); }
