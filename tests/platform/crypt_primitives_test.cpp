#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/crypto/rc4.h"

namespace zforms {
namespace {

std::string Hex(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    text += kDigits[static_cast<uint8_t>(c) >> 4];
    text += kDigits[static_cast<uint8_t>(c) & 15];
  }
  return text;
}

std::string Counting(size_t length) {
  std::string bytes;
  for (size_t i = 0; i < length; ++i) bytes += static_cast<char>(i & 0xff);
  return bytes;
}

std::string KeyStream(std::string_view key, size_t offset, size_t length) {
  const Chaine stream = RC4(key).Apply(std::string(offset + length, '\0'));
  return Hex(stream.View().substr(offset));
}

TEST(MD5Test, PublishedVectors) {
  // RFC 1321 appendix A.5.
  const std::pair<const char*, const char*> kVectors[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"}};
  for (const auto& [text, digest] : kVectors) EXPECT_EQ(Hex(MD5Of(text)), digest) << text;
  EXPECT_EQ(Hex(MD5Of(std::string(1000000, 'a'))), "7707d6ae4e027c70eea2a935c2296f21");
}

// Every length around the block boundaries, compared with
//   python3 -c "import hashlib as h; m = h.md5
//   print(m(b''.join(m(bytes(i & 255 for i in range(n))).digest() for n in range(300))).hexdigest())"
TEST(MD5Test, EveryLengthPadsRight) {
  MD5 all;
  for (size_t length = 0; length < 300; ++length) all.Update(MD5Of(Counting(length)));
  const MD5::Bytes digest = all.Digest();
  EXPECT_EQ(Hex({reinterpret_cast<const char*>(digest.data()), digest.size()}), "25fecb951fbcca8a0793500af76dfab4");
}

TEST(MD5Test, PiecesGiveTheDigestOfTheWhole) {
  const std::string text = Counting(260);
  for (size_t first = 0; first <= 130; ++first) {
    for (const size_t second : {size_t{0}, size_t{1}, size_t{63}, size_t{64}, size_t{65}, 130 - first}) {
      MD5 pieces;
      pieces.Update(std::string_view(text).substr(0, first));
      const MD5::Bytes between = pieces.Digest();
      MD5 copy = pieces;
      EXPECT_EQ(copy.Digest(), between);
      copy.Update(std::string_view(text).substr(first, second));
      copy.Update(std::string_view(text).substr(first + second));
      const MD5::Bytes digest = copy.Digest();
      ASSERT_EQ(Hex({reinterpret_cast<const char*>(digest.data()), digest.size()}), Hex(MD5Of(text)));
      EXPECT_EQ(pieces.Digest(), between);
    }
  }
}

TEST(RC4Test, PublishedVectors) {
  EXPECT_EQ(Hex(RC4("Key").Apply("Plaintext")), "bbf316e8d940af0ad3");
  EXPECT_EQ(Hex(RC4("Wiki").Apply("pedia")), "1021bf0420");
  EXPECT_EQ(Hex(RC4("Secret").Apply("Attack at dawn")), "45a01f645fc35b383552544b9bf5");
  // RFC 6229: the 40-bit and the 128-bit key that count up from 1.
  const std::string key = Counting(17).substr(1);
  const std::string short_key = key.substr(0, 5);
  EXPECT_EQ(KeyStream(short_key, 0, 16), "b2396305f03dc027ccc3524a0a1118a8");
  EXPECT_EQ(KeyStream(short_key, 240, 16), "28cb1132c96ce286421dcaadb8b69eae");
  EXPECT_EQ(KeyStream(short_key, 4096, 16), "ff25b58995996707e51fbdf08b34d875");
  EXPECT_EQ(KeyStream(key, 0, 16), "9ac7cc9a609d1ef7b2932899cde41b97");
  EXPECT_EQ(KeyStream(key, 240, 16), "065902e4b620f6cc36c8589f66432f2b");
  EXPECT_EQ(KeyStream(key, 4096, 16), "a36a4c301ae8ac13610ccbc12256cacc");
}

// Long runs use a wider copy of the state, which must be copied back.
TEST(RC4Test, PiecesGiveTheKeyStreamOfTheWhole) {
  const std::string text = Counting(10000);
  const Chaine whole = RC4("Key").Apply(text);
  for (const size_t piece : {1u, 7u, 8u, 9u, 100u, 2047u, 2048u, 2049u, 5000u, 9999u}) {
    RC4 cipher("Key");
    std::string bytes = text;
    for (size_t at = 0; at < bytes.size(); at += piece) {
      cipher.Apply(bytes.data() + at, bytes.data() + at, std::min(piece, bytes.size() - at));
    }
    EXPECT_EQ(whole, Chaine(bytes)) << piece;
  }
}

TEST(RC4Test, CopiesGoOnFromTheSameState) {
  RC4 original("Key");
  original.Apply("some bytes before");
  RC4 copy = original;
  const Chaine first = original.Apply("the same text");
  EXPECT_NE(first, original.Apply("the same text"));
  EXPECT_EQ(copy.Apply("the same text"), first);
  EXPECT_TRUE(copy.Apply("").IsEmpty());
}

TEST(RC4Test, OddKeyLengths) {
  const std::string key = Counting(300);
  EXPECT_EQ(KeyStream(key, 0, 32), KeyStream(key.substr(0, 256), 0, 32));
  EXPECT_NE(KeyStream(key.substr(0, 255), 0, 1000), KeyStream(key.substr(0, 256), 0, 1000));
  EXPECT_EQ(KeyStream("", 0, 32), KeyStream(std::string_view("\0", 1), 0, 32));
}

}  // namespace
}  // namespace zforms
