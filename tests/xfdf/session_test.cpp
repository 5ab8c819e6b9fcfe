// The host's data in a document: session infos, and transactions that are accepted once.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "zforms/platform/base/clock.h"
#include "zforms/xfdf/session_infos.h"
#include "zforms/xfdf/transaction.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

class StoppedClock : public ZClock {
 public:
  explicit StoppedClock(uint64_t now) : ticks(now) {}
  uint64_t Ticks() const override { return ticks; }

  uint64_t ticks;
};

// The document as a viewer submits it.
ZXFDF SentBack(const ZXFDF& xfdf) {
  ZXFDF back;
  back.FromChaine(xfdf.AsChaine());
  EXPECT_EQ(back.LastError(), "");
  return back;
}

ZXFDF Submission(uint64_t id, const std::string& count) {
  ZXFDF xfdf;
  xfdf.SessionID().SetTransactionID(id);
  xfdf.SessionID().SetParam("Transaction.Count", count);
  return SentBack(xfdf);
}

TEST(SessionInfos, ParametersOfEveryTextSurviveFiveRounds) {
  const std::string texts[] = {"<&>\"'", "a\r\nb\nc\rd\n\r\n", " \t blanks ", "&#10;&amp;", "]]>", "é€\U0001F600", ""};
  ZXFDF xfdf;
  for (const std::string& text : texts) xfdf.SessionID().SetParam("p" + text, text);
  for (int round = 0; round < 5; round++) {
    xfdf = SentBack(xfdf);
    for (const std::string& text : texts) {
      EXPECT_EQ(xfdf.SessionID().Param("p" + text), text) << round;
      xfdf.SessionID().SetParam("p" + text, text);
    }
  }
  // The value contains no line end, which a single-line field would lose.
  EXPECT_EQ(xfdf.Fields()[ZXFDF::kSessionIDField].Value().AsChaine().View().find_first_of("\r\n"),
            std::string_view::npos);
}

TEST(SessionInfos, NamesIgnoreCaseAndTheFirstIsMeant) {
  ZXFDF xfdf;
  ZXFDF::SessionInfos& session = xfdf.SessionID();
  session.SetParam("Key", "1");
  session.SetParam("KEY", "2");
  EXPECT_EQ(session.Param("key"), "2");
  EXPECT_TRUE(session.HasParam("kEy"));
  EXPECT_FALSE(session.HasParam("k"));
  EXPECT_EQ(xfdf.Fields()[ZXFDF::kSessionIDField].Value().AsChaine(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><Params><Param name=\"Key\">2</Param></Params>");
  xfdf.Fields()[ZXFDF::kSessionIDField] =
      "\n<?xml version='1.0' encoding='ISO-8859-1'?>\n<Params>\n <!-- c -->\n <Param name='a'><![CDATA[1\n]]></Param>"
      "<Param>nameless</Param><Other name='a'>x</Other><Param name='A'>é</Param></Params>";
  EXPECT_EQ(session.Param("a"), "1\n");
  session.SetParam("b", "3");
  EXPECT_EQ(SentBack(xfdf).SessionID().Param("a"), "1\n");
  session.SetParam("a", "4");
  EXPECT_EQ(session.Param("A"), "4");
  EXPECT_EQ(session.Param("b"), "3");
}

TEST(SessionInfos, DamagedTextIsAnEmptyList) {
  const std::string whole = "<Params><Param name=\"a\">1</Param><Param name=\"b\">2</Param></Params>";
  for (size_t length = 0; length < whole.size(); length++) {
    ZXFDF xfdf;
    xfdf.Fields()[ZXFDF::kSessionIDField] = whole.substr(0, length);
    EXPECT_FALSE(xfdf.SessionID().HasParam("a")) << length;
    EXPECT_EQ(xfdf.SessionID().Transaction(), ZXFDFTransactionInfos());
    xfdf.SessionID().SetParam("c", "3");
    EXPECT_FALSE(xfdf.SessionID().HasParam("a"));
    EXPECT_EQ(SentBack(xfdf).SessionID().Param("c"), "3");
  }
}

TEST(SessionInfos, Numbers) {
  ZXFDF xfdf;
  ZXFDF::SessionInfos& session = xfdf.SessionID();
  EXPECT_EQ(session.Folder(), ZXFDFFolderInfos());
  EXPECT_NE(session.SetTransactionID(0), 0u);
  EXPECT_EQ(session.SetTransactionID(UINT64_MAX), UINT64_MAX);
  EXPECT_EQ(session.Param("Transaction.ID"), "18446744073709551615");
  EXPECT_EQ(session.IncTransactionCount(), 1u);
  session.SetParam("transaction.count", " 4294967294 ");
  EXPECT_EQ(session.IncTransactionCount(), UINT32_MAX);
  EXPECT_EQ(session.IncTransactionCount(), UINT32_MAX);
  EXPECT_EQ(session.Transaction(), (ZXFDFTransactionInfos{UINT64_MAX, UINT32_MAX}));
  session.SetFolder(UINT64_MAX, static_cast<uint32_t>(-1));
  session.SetSoftware("Café");
  ZXFDF back = SentBack(xfdf);
  EXPECT_EQ(back.SessionID().Folder(), (ZXFDFFolderInfos{UINT64_MAX, static_cast<uint32_t>(-1)}));
  EXPECT_EQ(back.SessionID().Software(), "Café");
  // A negative year reaches a host that uses a signed type for it.
  back.SessionID().SetParam("Folder.Exercice", "-1");
  EXPECT_EQ(static_cast<int32_t>(back.SessionID().Folder().exercice), -1);
  EXPECT_EQ(session.SetTransactionID(0, StoppedClock(0)), 1u);
}

TEST(SessionInfos, TheFieldMayGoAndComeBack) {
  ZXFDF xfdf;
  xfdf.SessionID().SetParam("a", "1");
  xfdf.Fields().Free();
  EXPECT_FALSE(xfdf.SessionID().HasParam("a"));
  xfdf.SessionID().SetParam("a", "2");
  const ZXFDF moved(std::move(xfdf));
  EXPECT_EQ(moved.SessionID().Param("a"), "2");
  ZXFDF read = moved;
  read.FromChaine("<xfdf/>");
  EXPECT_FALSE(read.HasSessionID());
  EXPECT_EQ(read.SessionID().Param("a"), "");
}

TEST(Transaction, ASubmissionIsAcceptedOnce) {
  ZXFDFTransaction manager;
  ZXFDF form;
  EXPECT_FALSE(manager.IsAcceptable(form));
  EXPECT_FALSE(manager.IncTransactionIn(form));
  EXPECT_TRUE(manager.StartTransactionFor(form));
  const ZXFDF first = SentBack(form);
  ZXFDF accepted = first;
  EXPECT_TRUE(manager.IncTransactionIn(accepted));
  EXPECT_EQ(accepted.SessionID().Transaction().count, 1u);
  ZXFDF replay = first;
  EXPECT_FALSE(manager.IncTransactionIn(replay));
  EXPECT_EQ(replay.AsChaine(), first.AsChaine());
  ZXFDF next = SentBack(accepted);
  EXPECT_TRUE(manager.IncTransactionIn(next));
  EXPECT_FALSE(manager.IsAcceptable(first));
  EXPECT_FALSE(manager.IsAcceptable(SentBack(accepted)));
  EXPECT_FALSE(ZXFDFTransaction().IsAcceptable(next));
  ZXFDF damaged = first;
  damaged.Fields()[ZXFDF::kSessionIDField] = "<Params>";
  EXPECT_FALSE(manager.IsAcceptable(damaged));
}

TEST(Transaction, CountsJumpAndNeverWrap) {
  ZXFDFTransaction manager;
  ZXFDF form;
  manager.StartTransactionFor(form);
  const uint64_t id = form.SessionID().Transaction().id;
  const struct {
    const char* count;
    bool accepted;
  } kCases[] = {{"5", true},  {"5", false},          {"6", true},           {"4294967294", true},
                {"7", false}, {"4294967295", true},  {"4294967295", false}, {"0", false},
                {"", false},  {"99999999999", false}};
  for (const auto& c : kCases) {
    ZXFDF submission = Submission(id, c.count);
    EXPECT_EQ(manager.IncTransactionIn(submission), c.accepted) << c.count;
  }
  ZXFDF foreign = Submission(id + 1, "0");
  EXPECT_FALSE(manager.IncTransactionIn(foreign));
}

TEST(Transaction, ThoseOfAnEarlierRunGoOn) {
  const StoppedClock clock(700);
  ZXFDFTransaction earlier(clock);
  ZXFDF xfdf;
  earlier.StartTransactionFor(xfdf);
  const ZXFDF first = SentBack(xfdf);
  EXPECT_TRUE(earlier.IncTransactionIn(xfdf));

  ZXFDFTransaction manager(clock);
  EXPECT_FALSE(manager.IsAcceptable(xfdf));
  manager.Restore(700, 1);
  EXPECT_FALSE(manager.IsAcceptable(first));
  EXPECT_TRUE(manager.IncTransactionIn(xfdf));
  ZXFDF other;
  manager.StartTransactionFor(other);
  EXPECT_EQ(other.SessionID().Transaction().id, 701U);
  // A submission that could not be stored may be sent again.
  manager.Restore(700, 0);
  EXPECT_TRUE(manager.IsAcceptable(first));
}

TEST(Transaction, AClockThatStandsStillOrGoesBackGivesNewIds) {
  StoppedClock clock(100);
  ZXFDFTransaction manager(clock);
  const auto start = [&](uint64_t ticks) {
    clock.ticks = ticks;
    ZXFDF xfdf;
    EXPECT_TRUE(manager.StartTransactionFor(xfdf));
    return xfdf.SessionID().Transaction().id;
  };
  const struct {
    uint64_t ticks;
    uint64_t id;
  } kCases[] = {{100, 100},
                {100, 101},
                {103, 103},
                {100, 102},
                {101, 104},
                {99, 99},
                {99, 105},
                {0, 1},
                {0, 2},
                {UINT64_MAX - 1, UINT64_MAX - 1},
                {UINT64_MAX - 1, UINT64_MAX},
                {UINT64_MAX, 3},
                {98, 98},
                {98, 106}};
  for (const auto& c : kCases) EXPECT_EQ(start(c.ticks), c.id) << c.ticks;
  // Testing each used id would take hours.
  for (uint64_t i = 0; i < 20'000; i++) ASSERT_EQ(start(1000), 1000 + i);
}

TEST(Transaction, EightThreadsShareAManager) {
  constexpr size_t kThreads = 8;
  constexpr int kForms = 100;
  const StoppedClock clock(1);
  ZXFDFTransaction manager(clock);
  std::array<std::vector<uint64_t>, kThreads> ids;
  // All threads submit the same document.
  ZXFDF shared;
  manager.StartTransactionFor(shared);
  const Chaine shared_text = shared.AsChaine();
  std::atomic<int> shared_accepted = 0;
  const auto work = [&](size_t thread) {
    for (int i = 0; i < kForms; i++) {
      ZXFDF xfdf;
      manager.StartTransactionFor(xfdf);
      ids[thread].push_back(xfdf.SessionID().Transaction().id);
      ZXFDF replay = xfdf;
      if (!manager.IncTransactionIn(xfdf) || !manager.IsAcceptable(xfdf) || manager.IncTransactionIn(replay)) {
        ids[thread].clear();
        return;
      }
      ZXFDF same;
      same.FromChaine(shared_text);
      if (manager.IncTransactionIn(same)) shared_accepted++;
    }
  };
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; i++) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
  std::set<uint64_t> all;
  for (const auto& some : ids) all.insert(some.begin(), some.end());
  EXPECT_EQ(all.size(), kThreads * kForms);
  EXPECT_EQ(shared_accepted, 1);
}

}  // namespace
}  // namespace zforms
