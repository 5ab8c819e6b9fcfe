#include "zforms/pdf/parser/parser.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/pdf_text.h"
#include "tests/support/test_document.h"

namespace zforms {
namespace {

TEST(ParserTest, ReferencesThatLeadNowhereEnd) {
  PdfText text = Catalog();
  text.Object(2, "3 0 R")
      .Object(3, "4 0 R")
      .Object(4, "(end)")
      .Object(5, "6 0 R")
      .Object(6, "5 0 R")
      .Object(7, "7 0 R");
  text.Object(8, "<</Kids[8 0 R 9 0 R]/Parent 9 0 R>>").Object(9, "<</Kids[8 0 R]/Missing 77 0 R/Wrong 4 3 R>>");
  text.Stream(10, "<</Length 11 0 R>>", "abc").Stream(11, "<</Length 10 0 R>>", "defg");
  text.Xref().Trailer("/Root 1 0 R/All[2 0 R 5 0 R 7 0 R 8 0 R 10 0 R 11 0 R]/Two 2 0 R/Five 5 0 R/Seven 7 0 R");
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
  ZPDFNodeDictionary& trailer = *parser.TrailerDico();
  EXPECT_EQ(trailer.GetStringValue("/Two"), "end");
  EXPECT_EQ(TextOf(trailer.GetTarget("/Five")) + TextOf(trailer.GetTarget("/Seven")), "nullnull");
  EXPECT_EQ(trailer.GetStringValue("/Five"), "");
  ZPDFObjectMap used;
  parser.GetUsedObjects(used);
  EXPECT_EQ(used.size(), 11U);
  EXPECT_EQ(used.begin()->second, parser.GetObject({1, 0}));
}

TEST(ParserTest, LongChainsDoNotRecurse) {
  constexpr uint32_t kCount = 100000;
  PdfText next = Catalog();
  for (uint32_t i = 2; i <= kCount; i++) next.Object(i, "<</Next " + std::to_string(i % kCount + 1) + " 0 R>>");
  next.Xref().Trailer("/Root 2 0 R");
  // The length of each stream is in the next stream.
  PdfText lengths = Catalog();
  for (uint32_t i = 2; i <= kCount; i++) lengths.Stream(i, "<</Length " + std::to_string(i + 1) + " 0 R>>", "x");
  lengths.Object(kCount + 1, "1").Xref().Trailer("/Root 2 0 R");
  PdfText references = Catalog();
  for (uint32_t i = 2; i <= kCount; i++) references.Object(i, std::to_string(i + 1) + " 0 R");
  references.Xref().Trailer("/Root 2 0 R");
  const std::pair<const PdfText*, size_t> cases[] = {{&next, kCount}, {&references, kCount - 1}, {&lengths, 1}};
  for (const auto& [text, count] : cases) {
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(text->Bytes(), ""));
    ZPDFObjectMap used;
    parser.GetUsedObjects(used);
    EXPECT_EQ(used.size(), count);
    for (const auto& [id, object] : used) ASSERT_EQ(object->GetID(), id);
  }
}

TEST(ParserTest, AddIndirectObjectNumbersAboveAll) {
  const struct {
    PdfText text;
    const char* size;
    uint32_t number;
    uint32_t size_after;
  } cases[] = {
      {std::move(Catalog().Object(57, "1")), "58", 58, 59},
      {std::move(Catalog().Object(57, "1")), "60", 58, 61},
      {std::move(Catalog().Object(57, "1")), "5", 58, 59},
      {std::move(Catalog().Object(57, "1")), "4294967295", 58, 59},
      {std::move(Catalog().Object(57, "1").Free(99)), "100", 100, 101},
      {std::move(Catalog().Object(57, "1", 4)), "57 0 R", 58, 59},
  };
  for (const auto& c : cases) {
    PdfText text = c.text;
    text.Xref().Line("trailer<</Root 1 0 R/Size " + std::string(c.size) + ">>").End();
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), ""));
    ZPDFNodeIndirectObject* added = parser.AddIndirectObject();
    EXPECT_EQ(added->GetID(), ZPDFObjectIdentifier(c.number, 0));
    EXPECT_EQ(parser.TrailerDico()->GetUIntValue("/Size"), c.size_after) << c.size;
    EXPECT_TRUE(added->IsModified() && parser.TrailerDico()->IsModified());
    EXPECT_EQ(parser.GetObject({c.number, 0}), added);
    EXPECT_EQ(ValueOf(parser, c.number), "");
    const std::unique_ptr<ZPDFNodeIndirectReference> reference(added->AllocReference());
    added->SetChild(new ZPDFNodeNumeric(7));
    EXPECT_EQ(reference->GetTarget()->GetIntValue(), 7);
    EXPECT_EQ(parser.AddIndirectObject()->GetID().Number(), c.number + 1);
    EXPECT_EQ(parser.TrailerDico()->GetUIntValue("/Size"), c.size_after + 1);
  }
  ZPDFParser empty;
  EXPECT_EQ(empty.AddIndirectObject()->GetID().Number(), 1000U);
  EXPECT_EQ(empty.AddIndirectObject()->GetID().Number(), 1001U);
  EXPECT_EQ(empty.TrailerDico()->GetUIntValue("/Size"), 1002U);
  // Object numbers near the limit still allow new objects.
  ZPDFParser high;
  ASSERT_TRUE(
      high.ReadFromRaw(Catalog().Xref("4294967294 1\n@1 0 n\n1 1\n@1 0 n\n").Trailer("/Root 1 0 R").Bytes(), ""));
  EXPECT_EQ(high.AddIndirectObject()->GetID().Number(), 2U);
  EXPECT_EQ(high.AddIndirectObject()->GetID().Number(), 3U);
  EXPECT_NE(high.Root(), nullptr);
}

TEST(ParserTest, ModifiedObjectsInIdentifierOrder) {
  PdfText text = Catalog();
  for (uint32_t i = 2; i < 30; i++) text.Object(i, "<</A<</B[1(x)]>>>>", i % 3);
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(text.Xref().Trailer("/Root 1 0 R").Bytes(), ""));
  const auto modified = [&parser] {
    std::string numbers;
    for (const ZPDFNodeIndirectObject* object : parser.ModifiedObjects()) {
      numbers += std::to_string(object->GetID().Number()) + " ";
    }
    return numbers;
  };
  EXPECT_EQ(modified(), "");
  parser.AddIndirectObject();
  for (const uint32_t number : {23U, 4U, 9U, 11U}) {
    auto* dictionary = NodeCast<ZPDFNodeDictionary>(parser.GetObject({number, number % 3})->GetDirectAt(0));
    NodeCast<ZPDFNodeDictionary>(dictionary->GetTarget("/A"))
        ->GetTarget("/B")
        ->GetTargetAt(1)
        ->SetModified(number != 9, false);
  }
  EXPECT_EQ(modified(), "4 11 23 30 ");
  parser.ResetModifiedObjects();
  EXPECT_EQ(modified(), "");
}

TEST(ParserTest, CopiesShareBytesAndOwnTheirNodes) {
  PdfText text = Catalog();
  text.Object(2, "<</A(old)/Next 3 0 R>>").Object(3, "<</B(old)>>").Object(4, "<</C(old)>>");
  text.Xref().Trailer("/Root 1 0 R/First 2 0 R");
  auto original = std::make_unique<ZPDFParser>();
  ASSERT_TRUE(original->ReadFromRaw(text.Bytes(), "pw"));
  const auto set = [](ZPDFParser& parser, uint32_t number, const char* key, const char* value) {
    NodeCast<ZPDFNodeDictionary>(parser.GetObject({number, 0})->GetDirectAt(0))->SetValue(key, value);
  };
  set(*original, 3, "/B", "edited");
  original->AddIndirectObject()->SetChild(new ZPDFNodeNumeric(5));
  ZPDFParser assigned;
  ASSERT_TRUE(assigned.ReadFromRaw(Catalog().Object(8, "8").Xref().Trailer("/Root 1 0 R").Bytes(), ""));
  assigned.GetObject({8, 0});
  ContentOf(*original);
  assigned = *original;
  EXPECT_EQ(TextOf(NodeCast<ZPDFNodeDictionary>(assigned.TrailerDico()->GetTarget("/First"))->GetTarget("/Next")),
            "<</B(edited)>>");
  ZPDFParser copy(assigned);
  EXPECT_TRUE(copy.RawData().SharesBytesWith(original->RawData()));
  EXPECT_EQ(copy.UserPassword(), "pw");
  EXPECT_EQ(ContentOf(copy), ContentOf(*original));
  EXPECT_EQ(copy.ModifiedObjects().size(), 2U);
  EXPECT_EQ(assigned.GetObject({8, 0}), nullptr);
  // An edit affects only its own document. So does resolving a reference, before the copy was made or afterwards.
  set(*original, 2, "/A", "original");
  set(copy, 3, "/B", "copy");
  original.reset();
  auto* first = NodeCast<ZPDFNodeDictionary>(copy.TrailerDico()->GetTarget("/First"));
  EXPECT_EQ(first, copy.GetObject({2, 0})->GetDirectAt(0));
  EXPECT_EQ(first->GetStringValue("/A"), "old");
  EXPECT_EQ(TextOf(first->GetTarget("/Next")), "<</B(copy)>>");
  EXPECT_EQ(ValueOf(assigned, 3) + ValueOf(assigned, 4) + ValueOf(assigned, 5), "<</B(edited)>><</C(old)>>5");
  EXPECT_EQ(copy.AddIndirectObject()->GetID().Number(), 6U);
  EXPECT_EQ(assigned.GetObject({6, 0}), nullptr);
}

TEST(ParserTest, CopiesAreReadByThreadsOfTheirOwn) {
  PdfText text = Catalog();
  for (uint32_t i = 2; i < 500; i++) text.Object(i, "<</A 1/B(text)/C/Name/D[1 2/Three]/E 1 0 R/F<</G 2/H 3>>>>");
  ZPDFParser original;
  ASSERT_TRUE(original.ReadFromRaw(text.Xref().Trailer("/Root 1 0 R").Bytes(), ""));
  for (uint32_t i = 1; i < 500; i++) original.GetObject({i, 0});
  ZPDFParser copies[3] = {original, original, original};
  std::string contents[3];
  std::thread threads[3];
  for (size_t i = 0; i < 3; i++) threads[i] = std::thread([&, i] { contents[i] = ContentOf(copies[i]); });
  for (std::thread& thread : threads) thread.join();
  for (const std::string& content : contents) EXPECT_EQ(content, ContentOf(original));
}

}  // namespace
}  // namespace zforms
