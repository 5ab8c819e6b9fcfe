#include "zforms/platform/base/chaine.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "zforms/platform/base/containers.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kLong = "a text that is too long to live inside the object";

TEST(ChaineTest, CopiesAndPartsShareLongTextOnly) {
  const Chaine text(kLong);
  Chaine copy;
  copy = text;
  EXPECT_TRUE(copy.SharesBytesWith(text));
  EXPECT_TRUE(text.Mid(2).SharesBytesWith(text));
  EXPECT_EQ(text.Mid(2).data(), text.data() + 2);
  EXPECT_FALSE(text.Mid(2, Chaine::kInlineCapacity).SharesBytesWith(text));
  EXPECT_FALSE(Chaine(kLong).SharesBytesWith(text));
  const Chaine literal = Chaine::Literal(kLong);
  EXPECT_EQ(literal.data(), kLong.data());
  EXPECT_EQ(literal.Mid(7, 30), kLong.substr(7, 30));
  Chaine few("few");
  Chaine literal_copy = literal;
  for (Chaine* wiped : {&copy, &few, &literal_copy}) {
    wiped->Wipe();
    EXPECT_EQ(*wiped, "");
    *wiped += "reused";
    EXPECT_EQ(*wiped, "reused");
  }
  EXPECT_EQ(text, kLong);
  EXPECT_EQ(literal, kLong);
}

TEST(ChaineTest, AppendingDisturbsNoOtherWindow) {
  Chaine first(kLong);
  first.Reserve(1000);
  Chaine second = first;
  Chaine cut = first;
  cut.Truncate(20);
  const Chaine part = first.Mid(10, 30);
  first += " and one";
  second += " and two";
  cut += " and three";
  EXPECT_EQ(first, std::string(kLong) + " and one");
  EXPECT_EQ(second, std::string(kLong) + " and two");
  EXPECT_EQ(cut, std::string(kLong.substr(0, 20)) + " and three");
  EXPECT_EQ(part, kLong.substr(10, 30));
}

TEST(ChaineTest, ComparesUnsignedBytes) {
  const std::string_view kOrdered[] = {"",   "\0"sv, "\0a"sv, "A",    "a",    "a\0"sv,
                                       "aa", "b",    "\x7F",  "\x80", "\xFF", "\xFF\xFF"};
  for (size_t i = 0; i < std::size(kOrdered); i++) {
    for (size_t j = 0; j < std::size(kOrdered); j++) {
      const Chaine a(kOrdered[i]);
      const Chaine b(kOrdered[j]);
      EXPECT_EQ(a < b, i < j) << i << " " << j;
      EXPECT_EQ(a == b, i == j) << i << " " << j;
      EXPECT_EQ(a + b, std::string(kOrdered[i]) + std::string(kOrdered[j]));
    }
  }
}

TEST(ChaineTest, AgreesWithStdString) {
  std::mt19937 random(4711);
  const auto below = [&random](size_t limit) { return static_cast<size_t>(random() % limit); };
  const auto bytes = [&](size_t length) {
    std::string text;
    while (text.size() < length) text += static_cast<char>(random());
    return text;
  };
  std::vector<Chaine> texts(8);
  std::vector<std::string> models(8);
  for (int step = 0; step < 40000; step++) {
    const size_t i = below(8);
    const size_t j = below(8);
    switch (below(9)) {
      case 0:
        texts[i] = texts[j];
        models[i] = models[j];
        break;
      case 1: {
        const size_t from = below(models[j].size() + 3);
        const size_t length = below(60);
        texts[i] = texts[j].Mid(from, length);
        models[i] = std::string(models[j], std::min(from, models[j].size()), length);
        break;
      }
      case 2: {
        const std::string more = bytes(below(40));
        texts[i] += more;
        models[i] += more;
        break;
      }
      case 3:
        texts[i].Append(texts[j]);
        models[i] += std::string(models[j]);
        break;
      case 4: {
        const size_t length = below(models[i].size() + 5);
        texts[i].Truncate(length);
        models[i].resize(std::min(length, models[i].size()));
        break;
      }
      case 5: texts[i].Reserve(below(200)); break;
      case 6: {
        Chaine moved = std::move(texts[i]);
        texts[i] = std::move(moved);
        break;
      }
      case 7:
        texts[i] = Chaine(bytes(below(50)));
        models[i] = texts[i].ToString();
        break;
      default:
        texts[i] += 'c';
        models[i] += 'c';
        break;
    }
    if (models[i].size() > 500) {
      texts[i].Clear();
      models[i].clear();
    }
    for (size_t k = 0; k < texts.size(); k++) ASSERT_EQ(texts[k], models[k]) << "step " << step << " text " << k;
  }
}

TEST(ChaineTest, ThreadsMayAppendToWindowsOfOneBuffer) {
  Chaine shared(kLong);
  shared.Reserve(100000);
  std::vector<Chaine> texts(4, shared);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < texts.size(); i++) {
    threads.emplace_back([&texts, i] {
      for (int k = 0; k < 2000; k++) texts[i] += static_cast<char>('a' + i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < texts.size(); i++) {
    EXPECT_EQ(texts[i], std::string(kLong) + std::string(2000, static_cast<char>('a' + i)));
  }
}

TEST(ChaineTest, NoTextIsLongerThanMemory) {
  Chaine text("some bytes that stand in a block");
  EXPECT_THROW(text.Reserve(SIZE_MAX - 10), std::bad_alloc);
  EXPECT_THROW(Chaine().Reserve(SIZE_MAX), std::bad_alloc);
  EXPECT_EQ(text, "some bytes that stand in a block");
}

// The system's allocator maps such large blocks into memory, and can move them without copying.
TEST(ChaineTest, LargeTextsGrowAndShrink) {
  constexpr size_t kMiB = size_t{1} << 20;
  const auto piece = [](size_t i) { return std::string(kMiB, static_cast<char>('a' + i)); };
  for (const size_t pieces : {15u, 16u, 17u, 33u}) {
    Chaine text;
    for (size_t i = 0; i < pieces; i++) text += piece(i);
    const Chaine shared = text;
    Chaine sole(text.View());
    for (Chaine* each : {&text, &sole}) {
      each->Truncate(3 * kMiB);
      each->Reserve(4 * kMiB);
      *each += "end";
      each->Reserve(20 * kMiB);
      *each += std::string(40 * kMiB, 'z');
      ASSERT_EQ(each->size(), 43 * kMiB + 3);
      EXPECT_EQ(each->View().substr(2 * kMiB, kMiB), piece(2));
      EXPECT_EQ(each->View().substr(3 * kMiB, 5), "endzz");
      EXPECT_EQ(each->Last(), 'z');
    }
    ASSERT_EQ(shared.size(), pieces * kMiB);
    for (size_t i = 0; i < pieces; i++) EXPECT_EQ(shared.View().substr(i * kMiB, kMiB), piece(i));
  }
}

TEST(ContainersTest, DictionnaryAgreesWithStdMap) {
  std::mt19937 random(12);
  FDictionnary<int> dictionary;
  std::map<std::string, int> model;
  for (int step = 0; step < 8000; step++) {
    // Long and short keys, some with a zero byte.
    std::string key = "key" + std::to_string(random() % 60);
    if (random() % 3 == 0) key += std::string(20, '\0');
    switch (random() % 6) {
      case 0: ASSERT_EQ(dictionary.Remove(key), model.erase(key) == 1); break;
      case 1:
        dictionary[key] += step;
        model[key] += step;
        break;
      default:
        dictionary.Set(key, step);
        model[key] = step;
        break;
    }
    const int* found = dictionary.Find(key);
    ASSERT_EQ(found != nullptr, model.contains(key));
    ASSERT_EQ(found != nullptr ? *found : 0, model.contains(key) ? model[key] : 0);
    if (random() % 8 != 0) continue;
    ASSERT_EQ(dictionary.Size(), model.size());
    size_t position = 0;
    for (const auto& [model_key, value] : model) {
      ASSERT_EQ(dictionary.At(position).first, model_key);
      ASSERT_EQ(dictionary.At(position++).second, value);
    }
    for (const auto& [own_key, value] : dictionary) ASSERT_EQ(model.at(own_key.ToString()), value);
  }
  dictionary.Clear();
  EXPECT_EQ(dictionary.Size(), 0u);
  EXPECT_FALSE(dictionary.Exist("key1"));
}

}  // namespace
}  // namespace zforms
