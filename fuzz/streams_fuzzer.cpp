// Tests cross-reference streams, object streams, and the recovery that works without them. The first character of the
// input selects its format. "0" to "3": one line with dictionary entries of a cross-reference stream, one line with
// those of an object stream, then the data of both, separated by a line "--". With "1" and "3" the data of the
// cross-reference stream are compressed, with "2" and "3" the data of the object stream. Any other character: a file to
// be recovered. The objects that are found must be read back equal after saving.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz/round_trip.h"
#include "tests/support/pdf_text.h"

using namespace zforms;

namespace {

// Returns the text before the mark and removes both.
std::string_view TakeUpTo(std::string_view mark, std::string_view* text) {
  const size_t at = std::min(text->find(mark), text->size());
  const std::string_view taken = text->substr(0, at);
  text->remove_prefix(std::min(at + mark.size(), text->size()));
  return taken;
}

// Makes the file from the input. Object 1 is always at offset 15 and object stream 5 at offset 48, so that the records
// of the input can refer to them.
Chaine FileOf(int kind, std::string_view input) {
  const std::string section_entries(TakeUpTo("\n", &input));
  const std::string entries(TakeUpTo("\n", &input));
  const std::string records(TakeUpTo("\n--\n", &input));
  PdfText text;
  text.Header("1.5").Object(1, "<</Type/Catalog>>");
  text.Stream(5, "<</Type/ObjStm" + entries + ">>", (kind & 2) != 0 ? Deflated(input) : std::string(input));
  text.Stream(6, "<</Type/XRef" + section_entries + ">>", (kind & 1) != 0 ? Deflated(records) : records);
  text.Line("startxref").Line(std::to_string(text.OffsetOf(6))).Line("%%EOF");
  return text.Bytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
  const int kind = data[0] - '0';
  const bool recover = kind < 0 || kind > 3;
  ZPDFParser parser;
  parser.SetRecovery(recover);
  if (parser.ReadFromRaw(recover ? Chaine(input) : FileOf(kind, input), "user")) {
    for (const ZPDFObjectLocation& location : parser.ObjectLocations()) parser.GetObject(location.id);
    RoundTrip(parser);
  } else if (parser.Diagnostics().Failure().IsEmpty()) {
    std::abort();
  }
  return 0;
}
