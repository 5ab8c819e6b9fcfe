#include "zforms/pdf/parser/stream_filters.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/deflate.h"
#include "tests/support/dump.h"
#include "zforms/pdf/parser/predictor.h"

namespace zforms {
namespace {

using namespace std::string_literals;

std::string Undone(const ZPDFPredictor& layout, std::string_view data) {
  const std::optional<Chaine> samples = UndoPredictor(layout, Chaine(data));
  return samples ? Visible(*samples) : "none";
}

TEST(PredictorTest, RowsOfEachFilter) {
  const ZPDFPredictor png{15, 1, 8, 4}, rgb{15, 3, 8, 2};
  const struct {
    ZPDFPredictor layout;
    std::string data, samples;
  } cases[] = {
      {{1, 1, 8, 4}, "as it is", "as it is"},
      {png, "\0abcd"s, "abcd"},
      {png, "\1a\1\1\1"s, "abcd"},
      {png, "\2abcd\2\1\1\1\1"s, "abcdbcde"},
      // The average of the left byte and the byte above: 97/2, then (49 + 98)/2.
      {png, "\0abcd\3\1\1\1\1"s, "abcd1JW^"},
      {png, "\4a\1\1\1\4\1\1\1\1"s, "abcdbcde"},
      {rgb, "\1abc\1\1\1\1def\0\0\0"s, "abcbcddefdef"},
      {rgb, "\0abcdef\4\1\1\1\0\0\0"s, "abcdefbcddef"},
      // A tie of the Paeth filter: the corner (10) is as far from the estimate as the left byte (8) and, in the next
      // row, the byte above (8).
      {{15, 1, 8, 2}, "\0\x0A\x0B\4\xFE\0"s, "\\0A\\0B\\08\\08"},
      {{15, 1, 8, 2}, "\0\x0A\x08\4\1\0"s, "\\0A\\08\\0B\\08"},
      // A last row that is truncated, even to only its tag.
      {png, "\0abcd\2\1\1"s, "abcdbc"},
      {png, "\0abcd\2"s, "abcd"},
      {png, "\0"s, ""},
      {png, "", ""},
      {png, "\7abcd"s, "none"},
      // Each row selects its own filter, whatever the predictor says.
      {{10, 1, 8, 4}, "\1a\1\1\1"s, "abcd"},
      {{2, 1, 8, 4}, "a\1\1\1b\1\1\1"s, "abcdbcde"},
      {{2, 3, 8, 2}, "abc\1\1\1"s, "abcbcd"},
      {{2, 1, 4, 4}, "\x51\x11\xF2\x01"s, "Vx\\F1\\12"},
      {{2, 1, 1, 8}, "\xC0"s, "\\80"},
      {{2, 1, 16, 2}, "\x41\xFF\x00\x01"s, "A\\FFB\\00"},
      {{2, 1, 8, 0}, "ab", "none"},
      {{2, 0, 8, 1}, "ab", "none"},
      {{12, 1, 7, 1}, "ab", "none"},
      {{12, 1, 8, UINT32_MAX}, "ab", "none"},
      {{3, 1, 8, 1}, "ab", "none"},
      {{16, 1, 8, 1}, "ab", "none"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Undone(c.layout, c.data), c.samples) << c.layout.predictor << " " << Visible(c.data);
  }
}

TEST(StreamFiltersTest, DictionariesAndData) {
  const std::string text(5000, 'x');
  const std::string packed = Deflated(text);
  const std::string rows = Deflated("\2ab\2\1\1"s);
  const struct {
    const char* dictionary;
    std::string data, result, fault;  // the fault reported together with usable data, or without data
  } cases[] = {
      {"<<>>", "as it is", "as it is", ""},
      {"<</Filter null>>", "as it is", "as it is", ""},
      {"<</Filter[]>>", "as it is", "as it is", ""},
      {"<</Filter/FlateDecode>>", packed, text, ""},
      {"<</Filter/FlateDecode/DecodeParms null>>", packed, text, ""},
      {"<</Filter[/FlateDecode]/DecodeParms[null]>>", packed, text, ""},
      {"<</Filter[/FlateDecode/FlateDecode]>>", Deflated(packed), text, ""},
      {"<</Filter/FlateDecode/DecodeParms<</Predictor 12/Columns 2>>>>", rows, "abbc", ""},
      {"<</Filter[/FlateDecode]/DecodeParms<</Predictor 12/Columns 2>>>>", rows, "abbc", ""},
      {"<</Filter[/FlateDecode/FlateDecode]/DecodeParms[null<</Predictor 12/Columns 2>>]>>", Deflated(rows), "abbc",
       ""},
      {"<</Filter/FlateDecode/DecodeParms<</Predictor 2/BitsPerComponent 3>>>>", rows, "",
       "its data does not fit its predictor (\"/DecodeParms\")"},
      {"<</Filter/FlateDecode>>", packed.substr(0, packed.size() - 4), text, "its compressed data is damaged"},
      {"<</Filter/FlateDecode>>", "no zlib data", "", "its compressed data is damaged"},
      {"<</Filter/FlateDecode>>", "", "", "its compressed data is damaged"},
      {"<</Filter/LZWDecode>>", packed, "", "unsupported filter /LZWDecode"},
      {"<</Filter[/FlateDecode/DCTDecode]>>", packed, "", "unsupported filter /DCTDecode"},
      {"<</Filter/abcdefghijklmnopqrstuvwxyz0123456789abc\xC3\xA9>>", packed, "",
       "unsupported filter /abcdefghijklmnopqrstuvwxyz0123456789abc"},
      {"<</Filter(FlateDecode)>>", packed, "", "its filter is not a name"},
      {"<</Filter/ASCIIHexDecode>>", "61 6\n2c3 7>61", "ab\xC3p", ""},
      {"<</Filter/ASCIIHexDecode>>", "616x62", "a`", ""},
      {"<</Filter/ASCII85Decode>>", "87cUR\nD]j7BEbo80z~>87", "Hello world!\0\0\0\0"s, ""},
      {"<</Filter/ASCII85Decode>>", "87cURD]j7BEbo7~>", "Hello world", ""},
      {"<</Filter/ASCII85Decode>>", "87cUR87v", "HellH", ""},
      {"<</Filter/ASCII85Decode>>", std::string(30000, 'z'), "", "its decoded data is larger than zforms allows"},
      {"<</Filter/RunLengthDecode>>", "\2abc\xFFx\x80zz", "abcxx", ""},
      {"<</Filter/RunLengthDecode>>", "\5ab", "ab", ""},
      {"<</Filter/RunLengthDecode>>", "\5", "", ""},
      {"<</Filter[/ASCIIHexDecode/RunLengthDecode]>>", "FE61 00 62", "aaab", ""},
  };
  for (const auto& c : cases) {
    ZPDFNodeStream stream(c.data);
    const NodePtr parsed = Parse(c.dictionary);
    const auto& entries = *NodeCast<ZPDFNodeDictionary>(parsed.get());
    for (size_t i = 0; i < entries.Size(); i++) {
      stream.Dico()->SetValue(entries.KeyAt(i), entries.ValueAt(i)->Clone());
    }
    const ZPDFDecodedStream decoded = DecodeStream(stream, 100000);
    EXPECT_EQ(decoded.data, c.result) << c.dictionary;
    EXPECT_EQ(decoded.fault, c.fault) << c.dictionary;
    EXPECT_EQ(decoded.usable, c.fault.empty() || !c.result.empty()) << c.dictionary;
  }
}

TEST(StreamFiltersTest, BombsEndAtTheLimit) {
  ZPDFNodeStream stream(Deflated(std::string(1000, 'x')));
  stream.Dico()->SetIdentifier("/Filter", "/FlateDecode");
  for (const size_t limit : {size_t{0}, size_t{999}, size_t{1000}, size_t{1001}}) {
    const ZPDFDecodedStream decoded = DecodeStream(stream, limit);
    EXPECT_EQ(decoded.usable, limit >= 1000) << limit;
    EXPECT_EQ(decoded.data.size(), limit >= 1000 ? 1000U : 0U) << limit;
    EXPECT_EQ(decoded.produced, std::min<size_t>(limit, 1000)) << limit;
  }
  // The limit for a stream depends on its own size, even if more is allowed in total.
  for (const size_t size : {kDecodedStreamBase, 2 * kDecodedStreamBase}) {
    ZPDFNodeStream large(Deflated(std::string(size, 'x')));
    large.Dico()->SetIdentifier("/Filter", "/FlateDecode");
    EXPECT_EQ(DecodeStream(large, SIZE_MAX / 2).usable, size == kDecodedStreamBase) << size;
  }
  // The output between two filters counts too.
  ZPDFNodeStream twice(Deflated(Deflated(std::string(1 << 20, 'x'))));
  twice.Dico()->SetValue("/Filter", Parse("[/FlateDecode/FlateDecode]").release());
  EXPECT_TRUE(DecodeStream(twice, (1 << 20) + 5000).usable);
  EXPECT_FALSE(DecodeStream(twice, 1 << 20).usable);
}

TEST(StreamFiltersTest, LargeStreamsAreMeasuredBeforeTheyAreKept) {
  std::string text;
  for (uint32_t i = 0; text.size() < 20 << 20; i++) {
    if (i % 256 == 0) text.append(8000, 'x');
    text += static_cast<char>(i * i * 2654435761U >> 24);
  }
  const std::string packed = Deflated(text);
  for (const size_t cut : {size_t{0}, size_t{20}}) {
    ZPDFNodeStream stream(packed.substr(0, packed.size() - cut));
    stream.Dico()->SetIdentifier("/Filter", "/FlateDecode");
    const ZPDFDecodedStream decoded = DecodeStream(stream, text.size());
    EXPECT_TRUE(decoded.usable);
    EXPECT_EQ(decoded.fault.IsEmpty(), cut == 0);
    EXPECT_TRUE(std::string_view(text).starts_with(decoded.data.View()));
    EXPECT_EQ(decoded.data.size() == text.size(), cut == 0);
    EXPECT_GT(decoded.data.size(), 19U << 20);
    EXPECT_FALSE(DecodeStream(stream, 19 << 20).usable);
  }
}

}  // namespace
}  // namespace zforms
