// Files, streams, variants and URLs.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <string>

#include "tests/support/random_text.h"
#include "tests/support/temp_path.h"
#include "zforms/platform/data/variant.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/files/os_file.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

// A folder for the test.
class FolderTest : public testing::Test {
 protected:
  FolderTest() {
    folder_ = TempPath(testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(folder_);
  }

  Chaine At(const std::string& name) const { return Chaine(folder_.string() + "/" + name); }
  static Chaine Content(const Chaine& path) {
    Chaine bytes;
    std::string error;
    EXPECT_TRUE(ReadFile(path, &bytes, &error)) << error;
    return bytes;
  }
  size_t FileCount() const {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
  }

  fs::path folder_;
};

using FileIO = FolderTest;
using FileStreams = FolderTest;

TEST_F(FileIO, StoresFromTheFirstByteAndCutsTheRest) {
  const Chaine path = At("a é.bin");
  const Chaine bytes("\0one\r\ntwo\xFF"s);
  for (const Chaine& written : {bytes + bytes, bytes, Chaine()}) {
    ASSERT_TRUE(StoreFile(path, written));
    EXPECT_EQ(Content(path), written);
  }
}

TEST_F(FileIO, ReadsWithRoomToAppend) {
  ASSERT_TRUE(StoreFile(At("a"), Chaine(1'000'000, 'x')));
  Chaine bytes = Content(At("a"));
  const char* before = bytes.data();
  bytes.Append(std::string(150'000, 'y'));
  EXPECT_EQ(bytes.data(), before);
}

TEST_F(FileIO, SaysWhyItFails) {
  fs::create_directory(folder_ / "sub");
  ASSERT_TRUE(StoreFile(At("file"), "x"));
  const struct {
    Chaine path;
    bool reads, stores, replaces;
  } kCases[] = {
      {"", false, false, false},
      {At("missing"), false, true, true},
      {At("no/such/folder"), false, false, false},
      {At("sub"), false, false, false},
      {At("file/below"), false, false, false},
      {At("file") + Chaine("\0more"s), false, false, false},
  };
  for (const auto& c : kCases) {
    Chaine bytes("kept");
    std::string error;
    EXPECT_EQ(ReadFile(c.path, &bytes, &error), c.reads) << c.path.View();
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(bytes, "kept");
    error.clear();
    EXPECT_EQ(StoreFile(c.path, "new", &error), c.stores) << c.path.View();
    EXPECT_EQ(error.empty(), c.stores) << error;
    error.clear();
    EXPECT_EQ(ReplaceFile(c.path, "newer", &error), c.replaces) << c.path.View();
    EXPECT_EQ(error.empty(), c.replaces) << error;
  }
  EXPECT_EQ(Content(At("file")), "x");
  EXPECT_EQ(Content(At("missing")), "newer");
  EXPECT_EQ(FileCount(), 3u) << "a temporary file is left";
}

TEST_F(FileIO, RenamesOverAFileOrToAFreeName) {
  const Chaine a = At("a \xE2\x82\xAC"), b = At("b"), free = At("free");
  ASSERT_TRUE(StoreFile(a, "a") && StoreFile(b, "b"));
  EXPECT_EQ(RenameFileToFree(a, b), std::errc::file_exists);
  EXPECT_FALSE(RenameFileToFree(a, free));
  EXPECT_EQ(KindOfFile(a), OsFileKind::kAbsent);
  EXPECT_FALSE(RenameFile(b, free));
  EXPECT_EQ(KindOfFile(b), OsFileKind::kAbsent);
  EXPECT_EQ(Content(free), "b");
  EXPECT_EQ(RenameFile(a, free), std::errc::no_such_file_or_directory);
  EXPECT_EQ(RenameFileToFree(a, b), std::errc::no_such_file_or_directory);
}

TEST_F(FileIO, InputsWithoutEndAreGivenUp) {
  ASSERT_TRUE(StoreFile(At("file"), Chaine(9000, 'x')));
  const auto look = [](std::string_view head, uint64_t) { return head.starts_with("x") ? "" : "no x"s; };
  const struct {
    ReadLimits limits;
    uint64_t size;  // of all bytes of the input
    size_t most_read;
    std::string error;
  } kCases[] = {
      {{}, 9000, 9000, ""},
      {{9000, look}, 9000, 9000, ""},
      {{8999, nullptr}, 9000, 9000, "is longer than 8999 bytes"},
      {{(1 << 20) - 1, nullptr}, UINT64_MAX, 1 << 20, "is larger than 1 MB"},
      {{SIZE_MAX, [](std::string_view head, uint64_t) { return std::to_string(head.size()); }},
       UINT64_MAX,
       4096,
       "4096"},
      {{SIZE_MAX, [](std::string_view head, uint64_t) { return std::to_string(head.size()); }}, 7, 7, "7"},
  };
  for (const auto& c : kCases) {
    uint64_t given = 0;
    const auto step = [&](char* to, size_t size, bool*) {
      const size_t count = static_cast<size_t>(std::min<uint64_t>({size, c.size - given, 1000}));
      std::fill_n(to, count, 'x');
      given += count;
      return count;
    };
    Chaine bytes;
    std::string error;
    EXPECT_EQ(ReadToEnd(step, 0, &bytes, &error, c.limits), c.error.empty());
    EXPECT_EQ(error, c.error);
    EXPECT_EQ(bytes.size(), c.error.empty() ? c.size : 0) << c.error;
    EXPECT_LE(given, c.most_read) << c.error;
    const bool is_file = c.size == 9000;
    EXPECT_EQ(is_file && ReadFile(At("file"), &bytes, nullptr, c.limits), is_file && c.error.empty());
  }
}

TEST_F(FileStreams, WhatIsWrittenInPiecesIsReadInPieces) {
  std::mt19937 random(1);
  for (const bool buffering : {true, false}) {
    Chaine expected;
    ZInetFileOStream out(At("a"));
    ZInetComputeSizeOStream counter;
    EXPECT_TRUE(out.SetBuffering(buffering));
    for (int i = 0; i < 200; i++) {
      const Chaine piece(random() % (i % 20 == 0 ? 200'000 : 300), static_cast<char>(random()));
      expected += piece;
      ASSERT_TRUE(out.Write(piece.data(), piece.size()));
      counter.Write(piece.data(), piece.size());
    }
    EXPECT_TRUE(out.Close());
    EXPECT_FALSE(out.Close());
    EXPECT_EQ(counter.Size(), expected.size());

    ZInetFileIStream in(At("a"));
    char piece[1000];
    Chaine read;
    while (const size_t got = in.Read(piece, 1 + random() % sizeof piece)) read += std::string_view(piece, got);
    EXPECT_EQ(read, expected);
    EXPECT_EQ(ZInetFileIStream(At("a")).ReadAll(), expected);
  }
}

TEST_F(FileStreams, FailuresShow) {
  ZInetFileIStream in(At("missing"));
  char byte;
  EXPECT_FALSE(in.IsOpen());
  EXPECT_EQ(in.Read(&byte, 1), 0u);
  EXPECT_FALSE(in.Error().empty());
  EXPECT_FALSE(ZInetFileIStream(Chaine(folder_.string())).Error().empty());
  ZInetFileOStream out(At("no/folder"));
  EXPECT_FALSE(out.IsOpen());
  EXPECT_FALSE(out.Write("x", 1));
  EXPECT_FALSE(out.Close());
  ZInetFileOStream full("/dev/full");
  if (!full.IsOpen()) GTEST_SKIP() << "no device that is full";
  EXPECT_TRUE(full.Write("x", 1));
  EXPECT_FALSE(full.Close());
  EXPECT_FALSE(full.Error().empty());
}

TEST(MemoryStreams, ShareAndAppend) {
  const Chaine text(1000, 'x');
  ZInetChaineIStream in(text);
  char start[10];
  EXPECT_EQ(in.Read(start, sizeof start), 10u);
  EXPECT_TRUE(in.ReadAll().SharesBytesWith(text));
  EXPECT_EQ(in.ReadAll(), "");
  sBlob blob{Chaine("old")};
  ZInetBlobOStream(&blob).Write("new", 3);
  EXPECT_EQ(ZInetBlobIStream(&blob).ReadAll(), "new");
  EXPECT_EQ(ZInetBlobIStream(nullptr).ReadAll(), "");
}

TEST(Variant, Text) {
  const struct {
    ZVariant value;
    const char* text;
    bool empty;
  } kCases[] = {
      {ZVariant(), "", true},
      {"", "", true},
      {" ", " ", false},
      {Chaine("abc"), "abc", false},
      {-7, "-7", false},
      {4'000'000'000u, "4000000000", false},
      {std::numeric_limits<int64_t>::min(), "-9223372036854775808", false},
      {0.1, "0.1", false},
      {1e21, "1000000000000000000000", false},
      {true, "true", false},
      {false, "false", false},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.value.AsChaine(), c.text);
    EXPECT_EQ(c.value.IsEmpty(), c.empty) << c.text;
  }
  EXPECT_FALSE(ZVariant("1") == ZVariant(1));
  EXPECT_FALSE(ZVariant(1) == ZVariant(true));
}

// The parts, joined by "|".
std::string Parts(const ZInetURL& url) {
  std::string text = url.Protocol().ToString() + "|" + url.User().ToString() + "|" + url.Server().ToString() + "|" +
                     std::to_string(url.Port()) + "|" + url.Path().ToString();
  for (size_t i = 0; i < url.ParamCount(); i++) {
    text += "|" + url.ParamName(i).ToString() + "=" + url.ParamValue(i).ToString();
  }
  return text + "|" + url.Reference().ToString();
}

TEST(InetURL, Parts) {
  const struct {
    const char* text;
    const char* parts;
  } kCases[] = {
      {"", "|||0||"},
      {"http://localhost:8080/App/acroform/get.cgi?code=F%201&Action=consult#p",
       "http||localhost|8080|/App/acroform/get.cgi|code=F 1|Action=consult|p"},
      {"HTTP://me:pw@[::1]:80?x", "http|me:pw|[::1]|80||x=|"},
      {"http://h:99999/a", "http||h|0|/a|"},
      {"file:///C|/dir/form.pdf", "file|||0|/C|/dir/form.pdf|"},
      {"C:\\dir\\a.pdf", "|||0|C:\\dir\\a.pdf|"},
      {"form.pdf?a=1=2&&b", "|||0|form.pdf|a=1=2|=|b=|"},
      {"//server/x#a#b", "||server|0|/x|a#b"},
      {"mailto:a@b.ch", "mailto|||0|a@b.ch|"},
      {"#%zz%4", "|||0||%zz%4"},
      {"http:///?&", "http|||0|/|=|=|"},
  };
  for (const auto& c : kCases) {
    const ZInetURL url(c.text);
    EXPECT_EQ(Parts(url), c.parts);
    EXPECT_EQ(url.AsChaine(false, false), c.text);
    // A URL that is built again from its parts is the same, except for "/" before a query.
    ZInetURL rebuilt = url;
    rebuilt.SetReference(url.Reference());
    EXPECT_EQ(Parts(ZInetURL(rebuilt.AsChaine())), Parts(rebuilt)) << rebuilt.AsChaine().View();
  }
}

TEST(InetURL, Changes) {
  ZInetURL url("/App/acroform/");
  url.MoveTo("get.cgi");
  url.SetParam("code", "F&1 é");
  url.SetProtocol("http");
  url.SetServer("localhost");
  url.SetPort(8080);
  url.SetParam("Action", "modify");
  EXPECT_EQ(url.AsChaine(), "http://localhost:8080/App/acroform/get.cgi?code=F%261%20%C3%A9&Action=modify");
  EXPECT_EQ(url.Param("CODE"), "F&1 é");
  url.SetParam("ACTION", "consult");
  EXPECT_EQ(url.AsChaine(false, true), "/App/acroform/get.cgi?code=F%261%20%C3%A9&Action=consult");
  url.RemoveParam("code");
  url.RemoveParam("Action");
  url.SetServer("h:81");
  url.SetPath("/a b/%41?");
  url.SetReference("x y");
  EXPECT_EQ(url.AsChaine(), "http://h:81/a%20b/%41%3F#x%20y");
  EXPECT_EQ(url.FileName(), "A?");
  EXPECT_FALSE(url.HasParam("code"));
  EXPECT_EQ(ZInetURL("http://me:pw@h/p").AsChaine(true), "http://h/p");
  EXPECT_EQ(ZInetURL("http://h?q#r").AsChaine(false, true), "/?q");
}

// The examples of RFC 3986 5.4, with the base given there.
TEST(InetURL, MovesToRelativeReferences) {
  const struct {
    const char* relative;
    const char* result;
  } kCases[] = {
      {"gg:h", "gg:h"},
      {"ftp://h/x/../y", "ftp://h/y"},
      {"g", "http://a/b/c/g"},
      {"./g", "http://a/b/c/g"},
      {"g/", "http://a/b/c/g/"},
      {"/g", "http://a/g"},
      {"//g", "http://g"},
      {"?y", "http://a/b/c/d;p?y"},
      {"g?y", "http://a/b/c/g?y"},
      {"#s", "http://a/b/c/d;p?q#s"},
      {";x", "http://a/b/c/;x"},
      {"", "http://a/b/c/d;p?q"},
      {".", "http://a/b/c/"},
      {"..", "http://a/b/"},
      {"../../g", "http://a/g"},
      {"../../../g", "http://a/g"},
      {"/./g", "http://a/g"},
      {"./g/.", "http://a/b/c/g/"},
      {"g/../h", "http://a/b/c/h"},
      {"g?y/./x", "http://a/b/c/g?y/./x"},
  };
  for (const auto& c : kCases) {
    ZInetURL url("http://a/b/c/d;p?q");
    url.MoveTo(c.relative);
    EXPECT_EQ(url.AsChaine(), c.result) << c.relative;
  }
}

TEST(InetURL, LocalFiles) {
  const struct {
    const char* text;
    bool local;
    const char* path;
  } kCases[] = {
      {"file:///C|/dir/a%20b.pdf", true, "C:/dir/a b.pdf"},
      {"file:///C:/dir/a.pdf", true, "C:/dir/a.pdf"},
      {"FILE://localhost/d|/x", true, "d:/x"},
      {"file:/tmp/%C3%A9.pdf", true, "/tmp/é.pdf"},
      {"file:C|/x", true, "C:/x"},
      {"file://server/share/x.pdf", false, "/share/x.pdf"},
      {"http://h/C:/x", false, "C:/x"},
      {"C:/x", false, "C:/x"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(ZInetURL(c.text).IsLocalFile(), c.local) << c.text;
    EXPECT_EQ(ZInetURL(c.text).Path(true), c.path) << c.text;
  }
  for (const char* path : {"C:/dir/a b%.pdf", "/tmp/ä#?.pdf", "/"}) {
    EXPECT_TRUE(ZInetURL::FromLocalPath(path).IsLocalFile());
    EXPECT_EQ(ZInetURL::FromLocalPath(path).Path(true), path);
  }
  EXPECT_EQ(ZInetURL::FromLocalPath("C:\\dir\\a.pdf").AsChaine(), "file:///C:/dir/a.pdf");
}

TEST(InetURL, AnyTextComesBackAndAnyParameterIsCarried) {
  std::mt19937 random(3);
  for (int i = 0; i < 20'000; i++) {
    const std::string text = RandomText(random, ":/?#[]@!&=%41.a|C\\ \xC3\xA9", 24);
    ZInetURL url(text);
    ASSERT_EQ(url.AsChaine(), text);
    const std::string value = RandomText(random, "&=%+ a\n\xFF#?", 8);
    url.SetParam("k&", value);
    ASSERT_EQ(ZInetURL(url.AsChaine()).Param("K&"), value) << url.AsChaine().View();
  }
}

}  // namespace
}  // namespace zforms
