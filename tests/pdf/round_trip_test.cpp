#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "tests/support/cpu_time.h"
#include "tests/support/forest.h"
#include "tests/support/raw_value.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/node_pool.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

// Encrypts each byte by its position, so that the test detects parts that are joined wrongly.
class XorEncrypter final : public ZPDFEncrypter {
 public:
  XorEncrypter* Clone() const override { return new XorEncrypter; }
  Chaine Encrypt(const Chaine& data) const override {
    std::string text = data.ToString();
    for (size_t i = 0; i < text.size(); i++) text[i] = static_cast<char>(text[i] ^ static_cast<char>(0x5A + i * 7));
    return text;
  }
};

// Simple values of a document are parsed when they are first requested, even after the document was destroyed.
void ExpectUnreadValuesToLast(const std::string& text, const std::string& dump, const ZPDFEncrypter* encrypter) {
  ZPDFTokenizedString tokens{Chaine(text)};
  ZPDFNodePool::User pool = ZPDFNodePool::Make();
  tokens.SetDocument(pool.get());
  const NodePtr node(ReadForward(tokens, nullptr, encrypter));
  pool.reset();
  ASSERT_EQ(Written(*node, encrypter), text);
  const NodePtr copy(node->Clone());
  node->SetModified(true, true);
  for (const ZPDFNode* each : {node.get(), copy.get()}) {
    ASSERT_EQ(Dump(each), dump);
    ASSERT_EQ(Written(*each, encrypter), text);
  }
  ASSERT_FALSE(copy->IsModified());
}

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
      if (seed % 3 != 0) ExpectUnreadValuesToLast(text, dump, used);
      const std::string among = seed % 3 == 0 ? "{}" : "{/A 1; /B " + dump + "; /C 2}";
      ASSERT_EQ(Dump(Parse(seed % 3 == 0 ? "<<>>" : "<</A 1/B " + text + "/C 2>>", used).get()), among);
      ZPDFTokenizedString object(Chaine("1 0 obj\n" + Written(*tree) + "\nendobj"));
      const NodePtr whole(ZPDFNodeIndirectObject::BuildFrom(object, nullptr, nullptr));
      ASSERT_EQ(Dump(whole->GetDirectAt(0)), dump) << "seed " << seed;
    }
  }
}

TEST(RoundTripTest, ValuesAreWrittenFromTheirTextAsByNodes) {
  const char* const kTexts[] = {
      "<</A[1 2 0 R(a)/B<</C 12 0 R>>]/D<414a>/E(\\(\\))/F null/G -.5/H true>>",
      "<< /A\t[ 1\r\n2 0\nR ]\n/B /C /D(x)/E[[1]2[/A]] >>",
      "<</A(a\nb)/B(a\\\nb)/C(a(b)c)/D<41 42>>>",
      "<</A<4>/B<>>>",
      "<</A 1/A 2>>",
      "<</A 007 0 R>>",
      "<</A 1 % comment\n0 R>>",
      "[1 0 R 2 0 R]",
      "12 0 R",
      "<<>>",
      "[]",
      "<</A>>",
      "[<</A<<>>>>[]]",
  };
  size_t count = 0;
  for (const char* text : kTexts) EXPECT_EQ(FaultOfRaw(text, &count), "");
  EXPECT_EQ(count, 8U);
  const size_t few = count;
  for (uint32_t seed = 0; seed < 1500; seed++) {
    Forest forest(seed);
    std::string text = Written(*NodePtr(forest.Tree(5)));
    if (seed % 2 == 0) std::replace(text.begin(), text.end(), '\n', ' ');
    ASSERT_EQ(FaultOfRaw(text, &count), "") << "seed " << seed;
    ASSERT_EQ(FaultOfRaw("[" + text + " " + std::string(seed % 300, '1') + "]", &count), "") << "seed " << seed;
  }
  EXPECT_GT(count, few + 500);
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
        cut += warning.text.View().starts_with("arrays or dictionaries are nested too deep") ? 1 : 0;
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
  const CpuTime time;
  const NodePtr node = Parse(text);
  if (node != nullptr) Written(*node);
  return time.Seconds();
}

// Ten times the text must take about ten times as long; quadratic code would take a hundred times.
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
