#pragma once

#include <random>
#include <string>
#include <string_view>

#include "tests/support/dump.h"

namespace zforms {

// Random values from a seed. Values for all readers have no duplicate or empty names, no references and no null,
// because readers differ in how they treat these.
class Forest {
 public:
  explicit Forest(uint32_t seed, bool for_all_readers = false) : for_all_readers_(for_all_readers), random_(seed) {}

  std::string Bytes(size_t most) {
    using namespace std::string_view_literals;
    constexpr std::string_view kTricky = "()\\\\\r\n%<>[]{}/ \0endstream\t"sv;
    std::string text;
    const bool any = random_() % 2 == 0;
    for (size_t length = random_() % most; text.size() < length;) {
      text += any ? static_cast<char>(random_()) : kTricky[random_() % kTricky.size()];
    }
    return text;
  }
  // A name that was read never contains "#", so none is generated.
  std::string Name() {
    std::string name = "/" + Bytes(random_() % 20 == 0 ? 300 : 12);
    std::erase(name, '#');
    if (for_all_readers_) {
      std::erase(name, '\0');
      name += std::to_string(names_++);
    }
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
      case 7:
        if (for_all_readers_) return new ZPDFNodeIndirectReference({1, 0}, nullptr);
        return new ZPDFNodeIndirectReference({Number(), Number(70000)}, nullptr);
      case 8:
        if (for_all_readers_) return new ZPDFNodeNumeric(8);
        return ZPDFNodeNull::Default();
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
  std::string Text() { return Written(*NodePtr(Tree(4))); }
  ZPDFNode* Stream() {
    auto* stream = new ZPDFNodeStream(Bytes(400));
    for (size_t size = random_() % 5; size > 0; size--) stream->Dico()->SetValue(Name(), Tree(2));
    return stream;
  }

 private:
  uint32_t Number(uint32_t limit = UINT32_MAX) { return static_cast<uint32_t>(random_()) % limit; }

  const bool for_all_readers_;
  int names_ = 0;
  std::mt19937 random_;
};

}  // namespace zforms
