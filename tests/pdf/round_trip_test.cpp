#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>

#include "tests/support/dump.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

// The key stream depends on the place, so that parts put together wrongly show.
class XorEncrypter final : public ZPDFEncrypter {
 public:
  XorEncrypter* Clone() const override { return new XorEncrypter; }
  Chaine Encrypt(const Chaine& data) const override {
    std::string text = data.ToString();
    for (size_t i = 0; i < text.size(); i++) text[i] = static_cast<char>(text[i] ^ static_cast<char>(0x5A + i * 7));
    return text;
  }
};

class Forest {
 public:
  explicit Forest(uint32_t seed) : random_(seed) {}

  std::string Bytes(size_t most) {
    constexpr std::string_view kTricky = "()\\\\\r\n%<>[]{}/ \0endstream\t"sv;
    std::string text;
    const bool any = random_() % 2 == 0;
    for (size_t length = random_() % most; text.size() < length;) {
      text += any ? static_cast<char>(random_()) : kTricky[random_() % kTricky.size()];
    }
    return text;
  }
  // Names are read with "#" gone, so none holds one.
  std::string Name() {
    std::string name = "/" + Bytes(random_() % 20 == 0 ? 300 : 12);
    std::erase(name, '#');
    return name;
  }
  ZPDFNode* Tree(int depth) {
    switch (random_() % (depth > 0 ? 11 : 9)) {
      case 0: return new ZPDFNodeLiteralString(Bytes(40));
      case 1: return new ZPDFNodeLiteralString(Bytes(700));
      case 2: return new ZPDFNodeHexaString(Bytes(200));
      case 3: return new ZPDFNodeIdentifier(Name());
      case 4: return new ZPDFNodeNumeric(static_cast<int32_t>(Number()));
      case 5: return new ZPDFNodeNumeric(static_cast<int32_t>(Number()) / 4096.0);
      case 6: return new ZPDFNodeBoolean(random_() % 2 == 0);
      case 7: return new ZPDFNodeIndirectReference({Number(), Number(70000)}, nullptr);
      case 8: return ZPDFNodeNull::Default();
      case 9: return Array(depth - 1);
      default: return Dictionary(depth - 1);
    }
  }
  ZPDFNode* Array(int depth) {
    auto* array = new ZPDFNodeArray;
    for (size_t size = random_() % 8; array->Size() < size;) array->AppendValue(Tree(depth));
    return array;
  }
  ZPDFNodeDictionary* Dictionary(int depth) {
    auto* dictionary = new ZPDFNodeDictionary;
    for (size_t size = random_() % 8; size > 0; size--) dictionary->SetValue(Name(), Tree(depth));
    return dictionary;
  }
  ZPDFNode* Stream() {
    auto* stream = new ZPDFNodeStream(Bytes(400));
    for (size_t size = random_() % 5; size > 0; size--) stream->Dico()->SetValue(Name(), Tree(2));
    return stream;
  }

 private:
  uint32_t Number(uint32_t limit = UINT32_MAX) { return static_cast<uint32_t>(random_()) % limit; }

  std::mt19937 random_;
};

TEST(RoundTripTest, WhatIsWrittenIsReadBack) {
  const XorEncrypter encrypter;
  for (uint32_t seed = 0; seed < 1500; seed++) {
    Forest forest(seed);
    const NodePtr tree(seed % 3 == 0 ? forest.Stream() : forest.Tree(5));
    const std::string dump = Dump(tree.get());
    for (const ZPDFEncrypter* used : {static_cast<const ZPDFEncrypter*>(&encrypter),
                                      static_cast<const ZPDFEncrypter*>(ZPDFEncrypterNeutral::Default())}) {
      const std::string text = Written(*tree, used);
      const NodePtr read = Parse(text, used);
      ASSERT_EQ(Dump(read.get()), dump) << "seed " << seed << "\n" << text;
      ASSERT_EQ(Written(*read, used), text) << "seed " << seed;
      ASSERT_FALSE(read->IsModified());
      const std::string among = seed % 3 == 0 ? "{}" : "{/A 1; /B " + dump + "; /C 2}";
      ASSERT_EQ(Dump(Parse(seed % 3 == 0 ? "<<>>" : "<</A 1/B " + text + "/C 2>>", used).get()), among);
      ZPDFTokenizedString object(Chaine("1 0 obj\n" + Written(*tree) + "\nendobj"));
      const NodePtr whole(ZPDFNodeIndirectObject::BuildFrom(object, nullptr, nullptr));
      ASSERT_EQ(Dump(whole->GetDirectAt(0)), dump) << "seed " << seed;
    }
  }
}

TEST(RoundTripTest, NestingIsLimited) {
  const std::pair<std::string_view, std::string_view> kPairs[] = {
      {"[", "]"}, {"<</A", ">>"}, {"[<</A", ">>]"}, {"", "]"}, {"", ">>"}, {"<</A[", "]"},
  };
  for (const auto& [open, close] : kPairs) {
    for (const int depth : {500 / static_cast<int>(open.size() == 5 ? 2 : 1), 502, 100000}) {
      std::string text;
      for (int i = 0; i < depth; i++) text += open;
      for (int i = 0; i < depth; i++) text += close;
      ZPDFTokenizedString tokens{Chaine(text)};
      ZDiagnostics diagnostics;
      tokens.SetDiagnostics(&diagnostics);
      const NodePtr node(ZPDFNode::BuildFrom(tokens, nullptr, ZPDFEncrypterNeutral::Default()));
      size_t cut = 0;
      for (const auto& warning : diagnostics.Warnings())
        cut += warning.text.View().starts_with("nested too deep") ? 1 : 0;
      EXPECT_EQ(cut > 0, depth > 500) << depth << open;
      EXPECT_EQ(Dump(Parse(Written(*node)).get()), Dump(node.get()));
    }
  }
}

TEST(RoundTripTest, AnySoupIsEatenToTheEnd) {
  constexpr std::string_view kPieces[] = {
      "<<",     ">>",  "[",        "]",         "(",         ")",  "<",    ">",    "{",    "}",   "/",  "%",
      "\\",     "\n",  " ",        "5",         " 0 R",      "R",  "/A",   "null", "true", "#",   "#2", "#4142",
      "endobj", "obj", "stream\n", "endstream", "/Length 2", "\r", "\x80", "-",    ".",    "\0"sv};
  std::mt19937 random(8);
  for (int round = 0; round < 20000; round++) {
    std::string text;
    for (size_t count = random() % 30; count > 0; count--) text += kPieces[random() % std::size(kPieces)];
    ZPDFTokenizedString tokens{Chaine(text)};
    while (!tokens.IsEmpty()) {
      const size_t before = tokens.GetLength();
      const NodePtr node(ZPDFNode::BuildFrom(tokens, nullptr, ZPDFEncrypterNeutral::Default()));
      ASSERT_LT(tokens.GetLength(), before) << text;
      if (node == nullptr) continue;
      const std::string written = Written(*node);
      ASSERT_EQ(Written(*Parse(written)), written) << text;
    }
    ZPDFTokenizedString object(Chaine("1 0 obj" + text));
    NodePtr(ZPDFNodeIndirectObject::BuildFrom(object, nullptr, nullptr));
  }
}

double SecondsToParse(const std::string& text) {
  const std::clock_t start = std::clock();
  const NodePtr node = Parse(text);
  if (node != nullptr) Written(*node);
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Ten times the text takes about ten times as long; what is quadratic takes a hundred times.
TEST(RoundTripTest, TimeIsLinear) {
  const struct {
    std::string_view open, piece, close;
    size_t count;
  } kCases[] = {
      {"[", "1 ", "]", 100000},
      {"[(%)", "1 ", "]", 10000},
      {"<<", "/A 1", ">>", 5000},
      {"[", "(a)", "]", 10000},
      {"", ")", "", 10000},
      {"[", "(", ")]", 10000},
      {"[", "<", "]", 10000},
      {"[", "%\n1", "]", 10000},
      {"/", "#2341", "", 10000},
      {"/", "#23", "", 10000},
      {"<</A", " endstream", ">>", 5000},
      {"[", "R ", "]", 10000},
      {"[", "<<5>>", "]", 5000},
      {"[", "\\(", ")]", 10000},
      {"[", "{", "]", 10000},
      {"<</A", " endstream", "", 5000},
      {"[", "[[[]", "]", 5000},
      {"<", "4 ", ">", 10000},
  };
  for (const auto& [open, piece, close, count] : kCases) {
    std::string text;
    for (size_t i = 0; i < count; i++) text += piece;
    const std::string base = text;
    for (int i = 0; i < 9; i++) text += base;
    const double once = SecondsToParse(std::string(open) + base + std::string(close));
    const double tenfold = SecondsToParse(std::string(open) + text + std::string(close));
    EXPECT_LT(tenfold, 40 * once + 0.2) << open << piece << close;
  }
}

}  // namespace
}  // namespace zforms
