#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/forest.h"
#include "tests/support/pdf_text.h"
#include "tests/support/temp_path.h"
#include "tests/support/test_document.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/writer/saver.h"
#include "zforms/pdf/writer/updater.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {
namespace {

constexpr const char* kHead = "0000000000 65535 f\r\n";

TEST(XrefManagerTest, SectionsByteForByte) {
  struct Entry {
    uint32_t number, generation, offset;
  };
  const struct {
    std::vector<Entry> entries;
    std::string section;
  } cases[] = {
      {{}, "xref\r\n0 1\r\n0000000000 65535 f\r\n"},
      {{{7, 0, 70}, {3, 0, 30}, {1, 0, 10}, {8, 0, 80}, {2, 0, 20}},
       std::string("xref\r\n0 4\r\n") + kHead +
           "0000000010 00000 n\r\n0000000020 00000 n\r\n0000000030 00000 n\r\n"
           "7 2\r\n0000000070 00000 n\r\n0000000080 00000 n\r\n"},
      {{{5, 0, 1}, {6, 0, 2}},
       std::string("xref\r\n0 1\r\n") + kHead + "5 2\r\n0000000001 00000 n\r\n0000000002 00000 n\r\n"},
      {{{1, 0, 1}, {1, 0, 4294967295}, {1, 3, 2}, {2, 65536 + 7, 3}},
       std::string("xref\r\n0 4\r\n") + kHead + "4294967295 00000 n\r\n0000000002 00003 n\r\n0000000003 00007 n\r\n"},
      {{{0, 7, 99}, {4, 12, 5}},
       std::string("xref\r\n0 2\r\n") + kHead + "0000000000 00007 f\r\n4 1\r\n0000000005 00012 n\r\n"},
  };
  for (const auto& c : cases) {
    ZPDFXrefManager manager;
    for (const Entry& entry : c.entries) manager.Record({entry.number, entry.generation}, entry.offset);
    EXPECT_EQ(manager.BuildSection(), c.section);
    manager.Reset();
    EXPECT_EQ(manager.BuildSection(), cases[0].section);
  }
}

// Objects for the saver that belong to no parser.
class Objects {
 public:
  ZPDFNodeIndirectObject* Add(ZPDFObjectIdentifier id, std::string_view value) {
    objects_.push_back(std::make_unique<ZPDFNodeIndirectObject>(nullptr, id, nullptr));
    objects_.back()->SetChild(Parse(value).release());
    map_[id] = objects_.back().get();
    return objects_.back().get();
  }
  const ZPDFObjectMap& Map() const { return map_; }

 private:
  std::vector<std::unique_ptr<ZPDFNodeIndirectObject>> objects_;
  ZPDFObjectMap map_;
};

const ZPDFNodeDictionary* AsDictionary(const NodePtr& node) { return NodeCast<ZPDFNodeDictionary>(node.get()); }
ZPDFNodeDictionary* DictionaryAt(ZPDFParser& parser, uint32_t number) {
  return NodeCast<ZPDFNodeDictionary>(parser.GetObject({number, 0})->GetDirectAt(0));
}

std::string Sent(ZPDFWriter& writer) {
  Chaine bytes;
  ZInetChaineOStream out(bytes);
  EXPECT_TRUE(writer.Write(out));
  return bytes.ToString();
}

TEST(SaverTest, WholeFileByteForByte) {
  Objects objects;
  objects.Add({3, 0}, "(text)");
  objects.Add({1, 2}, "<</Type/Catalog/N 5>>");
  const NodePtr trailer = Parse("<</Size 99/Prev 5/Root 1 2 R/Encrypt<</Filter/Standard>>/XRefStm 9>>");
  ZPDFSaver saver(nullptr);
  saver.SetPDFVersion("%PDF-1.3");
  saver.SetObjects(objects.Map());
  saver.SetTrailer(AsDictionary(trailer));
  const std::string expected =
      "%PDF-1.3\n%\xFF\xFE\xFD\xFC\n"
      "1 2 obj\n<<\n/Type/Catalog\n/N 5\n>>\nendobj\n"
      "3 0 obj\n(text)\nendobj\n"
      "xref\r\n0 2\r\n0000000000 65535 f\r\n0000000015 00002 n\r\n3 1\r\n0000000055 00000 n\r\n"
      "trailer\n<<\n/Size 3\n/Root 1 2 R\n>>\n\nstartxref\n77\n%%EOF";
  EXPECT_EQ(Sent(saver), expected);
  EXPECT_EQ(saver.XRefOffset(), expected.find("xref"));
  EXPECT_EQ(saver.RawData(), expected);
  EXPECT_EQ(Sent(saver), expected);
  EXPECT_EQ(saver.Offsets().back().second, expected.find("3 0 obj"));
  // A failed save keeps the bytes; a later save writes them.
  saver.SetPDFVersion("%PDF-1.5");
  for (const char* path : {"", "/no/such/folder/x.pdf"}) EXPECT_FALSE(saver.Write(Chaine(path)));
  EXPECT_FALSE(saver.Failure().empty());
  EXPECT_EQ(saver.RawData(), "%PDF-1.5" + expected.substr(8));
  const std::string path = TempPath("zforms_saver.pdf");
  ASSERT_TRUE(StoreFile(path, std::string(5000, 'x')));
  EXPECT_TRUE(saver.Write(Chaine(path)));
  Chaine stored;
  ASSERT_TRUE(ReadFile(path, &stored));
  EXPECT_EQ(stored, saver.RawData());
}

// Four objects, one of them with generation 3. The file has no line end at its end.
Chaine BaseFile() {
  PdfText text;
  text.Header().Object(1, "<</Type/Catalog/Pages 2 0 R>>").Object(2, "<</Type/Pages/Count 0/Kids[]>>");
  text.Object(4, "<</A(old)>>").Object(9, "[(old)]", 3).Xref().Trailer("/Root 1 0 R");
  return text.Truncate(1).Bytes();
}

TEST(UpdaterTest, AppendsByteForByte) {
  for (const char* line_end : {"", "\n", "\r", "\r\n", " "}) {
    const Chaine base = BaseFile() + line_end;
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(base, ""));
    parser.TrailerDico()->SetValue("/Prev", 77);
    DictionaryAt(parser, 4)->SetValue("/A", "new");
    parser.GetObject({9, 3})->SetChild(Parse("[5]").release());
    ZPDFUpdater updater;
    updater.SetRawData(base, parser.XRefOffset());
    for (const uint32_t number : {1U, 9U, 4U}) updater.AddNode(parser.GetObject({number, number == 9 ? 3U : 0U}));
    updater.SetTrailer(parser.TrailerDico());
    const bool ended = *line_end == '\n' || *line_end == '\r';
    const std::string start = base.ToString() + (ended ? "" : "\n");
    const std::string objects = "9 3 obj\n[5 ]\nendobj\n4 0 obj\n<<\n/A(new)\n>>\nendobj\n";
    EXPECT_EQ(updater.RawData(), start + objects);
    const std::string expected =
        start + objects + "xref\r\n0 1\r\n" + kHead + "4 1\r\n0000000" + std::to_string(start.size() + 20) +
        " 00000 n\r\n9 1\r\n0000000" + std::to_string(start.size()) +
        " 00003 n\r\ntrailer\n<<\n/Size 10\n/Root 1 0 R\n/Prev " + std::to_string(parser.XRefOffset()) +
        "\n>>\nstartxref\n" + std::to_string(start.size() + objects.size()) + "\n%%EOF";
    // A failed save can be repeated.
    for (const char* path : {"", "/no/such/folder/x.pdf"}) EXPECT_FALSE(updater.Write(Chaine(path)));
    EXPECT_EQ(updater.RawData(), start + objects);
    EXPECT_EQ(updater.XRefOffset(), parser.XRefOffset());
    EXPECT_EQ(Sent(updater), expected);
    EXPECT_EQ(updater.XRefOffset(), start.size() + objects.size());
    EXPECT_TRUE(updater.SectionWritten());
    EXPECT_EQ(updater.RawData(), expected);
    // The updater is now in its initial state with the new bytes: nothing to append, nothing modified.
    EXPECT_EQ(Sent(updater), expected);
    EXPECT_EQ(updater.XRefOffset(), expected.size());
    EXPECT_FALSE(updater.SectionWritten());
  }
}

// A number in the trailer must be direct: readers of the trailer cannot resolve references yet, even to an object with
// the same number.
TEST(UpdaterTest, NumbersOfTheTrailerStandInIt) {
  const Chaine base = BaseFile();
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(base, ""));
  const auto lead_to = [&parser](const char* key, uint32_t value) {
    parser.GetObject({4, 0})->SetChild(new ZPDFNodeNumeric(value));
    parser.TrailerDico()->SetValue(key, parser.GetObject({4, 0})->AllocReference());
  };
  lead_to("/Prev", parser.XRefOffset());
  ZPDFUpdater updater;
  updater.SetRawData(base, parser.XRefOffset());
  updater.SetTrailer(parser.TrailerDico());
  ZPDFParser updated;
  ASSERT_TRUE(updated.ReadFromRaw(Sent(updater), ""));
  EXPECT_EQ(updated.SectionCount(), 2U);
  lead_to("/Size", 1);
  ZPDFSaver saver(nullptr);
  saver.SetTrailer(parser.TrailerDico());
  EXPECT_NE(Sent(saver).find("/Size 1\n"), std::string::npos);
}

TEST(UpdaterTest, NothingModifiedWritesTheSameBytes) {
  const Chaine base = BaseFile();
  ZPDFParser parser;
  ASSERT_TRUE(parser.ReadFromRaw(base, ""));
  ZPDFUpdater updater;
  updater.SetRawData(base, parser.XRefOffset());
  updater.AddNode(parser.GetObject({4, 0}));
  updater.SetTrailer(parser.TrailerDico());
  EXPECT_EQ(Sent(updater), base.ToString());
  EXPECT_FALSE(updater.SectionWritten());
  EXPECT_FALSE(parser.TrailerDico()->Exist("/Prev"));
  // A changed trailer is written even when no object has changed.
  updater.SetRawData(base, parser.XRefOffset());
  parser.TrailerDico()->SetValue("/Note", 5);
  updater.SetTrailer(parser.TrailerDico());
  const std::string written = Sent(updater);
  EXPECT_TRUE(written.starts_with(base.ToString() + "\nxref\r\n0 1\r\n" + kHead + "trailer\n<<\n")) << written;
  const size_t section = base.size() + 1;
  EXPECT_EQ(updater.XRefOffset(), section);
  EXPECT_TRUE(written.ends_with("\nstartxref\n" + std::to_string(section) + "\n%%EOF")) << written;
  ZPDFParser again;
  ASSERT_TRUE(again.ReadFromRaw(written, ""));
  EXPECT_EQ(again.TrailerDico()->GetIntValue("/Note"), 5);
  EXPECT_EQ(again.SectionCount(), 2U);
  EXPECT_EQ(ContentOf(again), ContentOf(parser));
}

std::string Values(const ZPDFObjectMap& map) {
  std::string content;
  for (const auto& [id, object] : map) {
    content += std::to_string(id.Number()) + "." + std::to_string(id.Generation()) + " ";
    content += Dump(object->GetDirectAt(0)) + "\n";
  }
  return content;
}

// True when two values are equal, ignoring the kind of strings and the order of keys.
bool SameValue(const ZPDFNode* a, const ZPDFNode* b) {
  if (a == nullptr || b == nullptr || a->Size() != b->Size()) return false;
  if (NodeCast<ZPDFNodeString>(a) != nullptr && NodeCast<ZPDFNodeString>(b) != nullptr) {
    return a->GetStringValue() == b->GetStringValue();
  }
  const auto* dictionary = NodeCast<ZPDFNodeDictionary>(b);
  for (size_t i = 0; i < a->Size(); i++) {
    const ZPDFNode* mine = a->GetDirectAt(i);
    const ZPDFNode* other = b->GetDirectAt(i);
    if (NodeCast<ZPDFNodeDictionary>(a) != nullptr) {
      if (dictionary == nullptr) return false;
      other = dictionary->GetDirect(mine->GetDirectAt(0)->GetIdentifier());
      mine = mine->GetDirectAt(1);
    }
    if (!SameValue(mine, other)) return false;
  }
  return a->Size() > 0 || Dump(a) == Dump(b);
}

// The encryption of the saved files: none, a new handler, or a handler with the 128-bit key of the dictionary.
std::unique_ptr<ZPDFEncryption> MakeHandler(int kind, const NodePtr& dictionary) {
  if (kind == 0) return nullptr;
  if (kind == 1) return std::unique_ptr<ZPDFEncryption>(ZPDFEncryption::CreateStandard("identifier", "user", "owner"));
  ZPDFEncryption over(NodeCast<ZPDFNodeDictionary>(dictionary.get()), "identifier", "user");
  over.SetPasswords("user", "owner");
  return std::make_unique<ZPDFEncryption>(over);
}

// Checks that this parser and qpdf read back what was written: in full, then with an update.
TEST(WritersTest, RandomDocumentsAreReadBackEqual) {
  const bool qpdf = HasQpdf();
  const std::string path = TempPath("zforms_random.pdf");
  for (uint32_t seed = 0; seed < 60; seed++) {
    Forest random(seed, true);
    Objects objects;
    objects.Add({1, 0}, "<</Type/Catalog/Pages 2 0 R/All[4 0 R 5 0 R]>>");
    objects.Add({2, 0}, "<</Type/Pages/Kids[3 0 R]/Count 1>>");
    objects.Add({3, 0}, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>");
    objects.Add({4, 0}, "<</Value " + random.Text() + ">>");
    const std::string data = random.Bytes(300);
    auto* stream = new ZPDFNodeStream(data);
    stream->Dico()->SetValue("/S", random.Bytes(20));
    objects.Add({5, 0}, "0")->SetChild(stream);
    const NodePtr trailer = Parse("<</Root 1 0 R/ID[(identifier)(other)]>>");
    const NodePtr large = Parse("<</Filter/Standard/V 2/R 3/Length 128/P -4>>");
    const std::unique_ptr<ZPDFEncryption> handler = MakeHandler(static_cast<int>(seed % 3), large);
    ZPDFSaver saver(handler.get());
    saver.SetPDFVersion("%PDF-1.4");
    saver.SetObjects(objects.Map());
    saver.SetTrailer(AsDictionary(trailer));
    const std::string saved = Sent(saver);

    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(saved, "user"));
    EXPECT_TRUE(parser.CanBeDecrypted());
    EXPECT_EQ(ContentOf(parser), Values(objects.Map())) << seed;
    EXPECT_EQ(parser.EncryptionDico() == nullptr ? "" : Dump(parser.EncryptionDico()),
              handler == nullptr ? "" : Dump(handler->Dictionary()));
    EXPECT_EQ(WarningsOf(parser), "") << seed;
    for (const auto& [id, offset] : saver.Offsets()) {
      EXPECT_TRUE(saved.substr(offset).starts_with(std::to_string(id.Number()) + " 0 obj\n"));
    }
    DictionaryAt(parser, 4)->SetValue("/Value", random.Bytes(100));
    DictionaryAt(parser, 4)->SetValue("/More", Parse(random.Text()).release());
    parser.AddIndirectObject()->SetChild(Parse("[" + random.Text() + "]").release());
    ZPDFUpdater updater;
    updater.SetRawData(saved, parser.XRefOffset());
    for (const ZPDFNodeIndirectObject* object : parser.ModifiedObjects()) updater.AddNode(object);
    updater.SetTrailer(parser.TrailerDico());
    const std::string updated = Sent(updater);
    EXPECT_TRUE(updated.starts_with(saved));
    ZPDFParser again;
    ASSERT_TRUE(again.ReadFromRaw(updated, "user"));
    EXPECT_EQ(ContentOf(again), ContentOf(parser)) << seed;
    EXPECT_EQ(WarningsOf(again), "") << seed;
    if (!qpdf) continue;
    const CommandResult check = RunQpdf("--password=user --check", updated, path);
    EXPECT_EQ(check.status, 0) << seed << check.output;
    for (const uint32_t number : {4U, 6U}) {
      const std::string show = "qpdf --password=user --show-object=" + std::to_string(number) + " " + path;
      const NodePtr theirs = Parse(RunCommand(show).output);
      const ZPDFNode* ours = again.GetObject({number, 0})->GetDirectAt(0);
      EXPECT_TRUE(SameValue(ours, theirs.get())) << seed << "\n" << Dump(ours) << "\n" << Dump(theirs.get());
    }
    EXPECT_EQ(RunCommand("qpdf --password=user --show-object=5 --raw-stream-data " + path).output, data) << seed;
  }
  if (!qpdf) GTEST_SKIP() << "qpdf is not installed: what it reads was not compared";
}

}  // namespace
}  // namespace zforms
