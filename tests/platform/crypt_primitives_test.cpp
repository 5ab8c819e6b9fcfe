#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "zforms/platform/crypto/aes.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/crypto/rc4.h"
#include "zforms/platform/crypto/secret.h"
#include "zforms/platform/crypto/sha2.h"
#include "zforms/platform/text/sasl_prep.h"

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

std::string Unhex(std::string_view digits) {
  std::string bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
  }
  return bytes;
}

TEST(SHA2Test, PublishedVectors) {
  // FIPS 180-4 examples.
  const struct {
    SHA2 kind;
    const char *text, *digest;
  } kVectors[] = {
      {SHA2::k256, "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {SHA2::k256, "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {SHA2::k384, "abc",
       "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7"},
      {SHA2::k512, "abc",
       "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
       "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
  };
  for (const auto& [kind, text, digest] : kVectors) {
    std::string out(kLongestSHA2, '\0');
    out.resize(SHA2Of(kind, text, out.data()));
    EXPECT_EQ(Hex(out), digest);
  }
}

// FIPS 197 appendix C and NIST SP 800-38A F.2: one block without chaining, four chained ones.
TEST(AESTest, PublishedVectors) {
  const std::string chained_plain = Unhex(
      "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e5130c81c46a35ce411e5fbc1191a0a52ef"
      "f69f2445df4f9b17ad2b417be66c3710");
  const struct {
    const char *key, *block, *chained_key, *chained;
  } kVectors[] = {
      {"000102030405060708090a0b0c0d0e0f", "69c4e0d86a7b0430d8cdb78070b4c55a", "2b7e151628aed2a6abf7158809cf4f3c",
       "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b273bed6b8e3c1743b7116e69e22229516"
       "3ff1caa1681fac09120eca307586e1a7"},
      {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f", "8ea2b7ca516745bfeafc49904b496089",
       "603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
       "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d39f23369a9d9bacfa530e26304231461"
       "b2eb05e2c39be9fcda6c19078c6a9d1b"},
  };
  const std::string plain_block = Unhex("00112233445566778899aabbccddeeff");
  for (const auto& [key, block, chained_key, chained] : kVectors) {
    std::string out(64, '\0');
    AES(AES::Direction::kEncrypt, Unhex(key)).ECB(plain_block.data(), out.data(), 16);
    EXPECT_EQ(Hex(out.substr(0, 16)), block);
    AES(AES::Direction::kDecrypt, Unhex(key)).ECB(out.data(), out.data(), 16);
    EXPECT_EQ(out.substr(0, 16), plain_block);
    for (const size_t piece : {size_t{16}, size_t{48}, size_t{64}}) {  // the start vector goes on
      AES::Block iv;
      const AES encrypt(AES::Direction::kEncrypt, Unhex(chained_key));
      const AES decrypt(AES::Direction::kDecrypt, Unhex(chained_key));
      const auto run = [&](const AES& cipher, const std::string& from) {
        for (size_t i = 0; i < iv.size(); i++) iv[i] = static_cast<char>(i);
        for (size_t at = 0; at < 64; at += piece) {
          cipher.CBC(&iv, from.data() + at, out.data() + at, std::min(piece, 64 - at));
        }
      };
      run(encrypt, chained_plain);
      EXPECT_EQ(Hex(out), chained);
      run(decrypt, Unhex(chained));
      EXPECT_EQ(out, chained_plain);
    }
  }
}

TEST(SecretTest, ComparedDrawnAndWiped) {
  EXPECT_TRUE(EqualsInConstantTime("same", "same"));
  EXPECT_TRUE(EqualsInConstantTime("", ""));
  EXPECT_FALSE(EqualsInConstantTime("same", "samE"));
  EXPECT_FALSE(EqualsInConstantTime("same", "same "));
  std::string first(1000, '\0');
  std::string second = first;
  FillRandom(first.data(), first.size());
  FillRandom(second.data(), second.size());
  EXPECT_NE(first.substr(0, 16), second.substr(0, 16));
  EXPECT_NE(first.substr(984), std::string(16, '\0')) << "more than the system gives at once";
  WipeBytes(first.data(), first.size());
  EXPECT_EQ(first, std::string(1000, '\0'));
}

// RFC 4013 section 3, and one row for each rule; compared with Python's stringprep.
TEST(SASLPrepTest, PreparesOrRefuses) {
  const struct {
    const char *typed, *prepared;  // null: refused
  } cases[] = {
      {"I\u00ADX", "IX"},
      {"user", "user"},
      {"USER", "USER"},
      {"\u00AA", "a"},
      {"\u2168", "IX"},
      {"\x07", nullptr},
      {"\u0627\u0031", nullptr},
      {"", ""},
      {"a\u00A0b\u3000c\u2003d", "a b c d"},
      {"a\u200Bb\uFEFF\u2060", "ab"},
      {"e\u0301", "\u00E9"},
      {"\uFB01\uFF21", "fiA"},
      {"\u0627\u0031\u0628", "\u0627\u0031\u0628"},
      {"\u05D0a\u05D0", nullptr},
      {"pass\x7F", nullptr},
      {"\u200E", nullptr},
      {"\u2028", nullptr},
      {"\uE000", nullptr},
      {"\uFFFF", nullptr},
      {"\U0001FFFE", nullptr},
      {"\uFDD0", nullptr},
      {"\uFFFD", nullptr},
      {"\u2FF0", nullptr},
      {"\u0340", "\u0300"},
      {"\U000E0041", nullptr},
      {"\U0001D173", nullptr},
      {"\x80", nullptr},
  };
  for (const auto& [typed, prepared] : cases) {
    EXPECT_EQ(SASLPrep(typed), prepared == nullptr ? std::nullopt : std::optional<SecretText>(prepared)) << typed;
  }
  EXPECT_EQ(SASLPrep(std::string(1025, 'a')), std::nullopt);
}

}  // namespace
}  // namespace zforms
