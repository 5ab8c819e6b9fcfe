#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "tests/support/hex_text.h"
#include "zforms/platform/crypto/aes.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/crypto/rc4.h"
#include "zforms/platform/crypto/secret.h"
#include "zforms/platform/crypto/sha2.h"
#include "zforms/platform/text/sasl_prep.h"

namespace zforms {
namespace {

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
      {"", "D41D8CD98F00B204E9800998ECF8427E"},
      {"a", "0CC175B9C0F1B6A831C399E269772661"},
      {"abc", "900150983CD24FB0D6963F7D28E17F72"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57EDF4A22BE3C955AC49DA2E2107B67A"}};
  for (const auto& [text, digest] : kVectors) EXPECT_EQ(Hex(MD5Of(text)), digest) << text;
  EXPECT_EQ(Hex(MD5Of(std::string(1000000, 'a'))), "7707D6AE4E027C70EEA2A935C2296F21");
}

TEST(MD5Test, ACopyGoesOnFromTheSameState) {
  const std::string text = Counting(260);
  for (const size_t first : {size_t{0}, size_t{1}, size_t{63}, size_t{64}, size_t{130}}) {
    MD5 pieces;
    pieces.Update(std::string_view(text).substr(0, first));
    const MD5::Bytes between = pieces.Digest();
    MD5 copy = pieces;
    EXPECT_EQ(copy.Digest(), between);
    copy.Update(std::string_view(text).substr(first));
    const MD5::Bytes digest = copy.Digest();
    EXPECT_EQ(Hex({reinterpret_cast<const char*>(digest.data()), digest.size()}), Hex(MD5Of(text)));
    EXPECT_EQ(pieces.Digest(), between);
  }
}

TEST(RC4Test, PublishedVectors) {
  EXPECT_EQ(Hex(RC4("Key").Apply("Plaintext")), "BBF316E8D940AF0AD3");
  // RFC 6229: the 40-bit and the 128-bit key that count up from 1.
  const std::string key = Counting(17).substr(1);
  const std::string short_key = key.substr(0, 5);
  EXPECT_EQ(KeyStream(short_key, 0, 16), "B2396305F03DC027CCC3524A0A1118A8");
  EXPECT_EQ(KeyStream(short_key, 240, 16), "28CB1132C96CE286421DCAADB8B69EAE");
  EXPECT_EQ(KeyStream(short_key, 4096, 16), "FF25B58995996707E51FBDF08B34D875");
  EXPECT_EQ(KeyStream(key, 0, 16), "9AC7CC9A609D1EF7B2932899CDE41B97");
  EXPECT_EQ(KeyStream(key, 240, 16), "065902E4B620F6CC36C8589F66432F2B");
  EXPECT_EQ(KeyStream(key, 4096, 16), "A36A4C301AE8AC13610CCBC12256CACC");
}

TEST(RC4Test, PiecesAndCopiesGoOnFromTheSameState) {
  const std::string text = Counting(5000);
  const Chaine whole = RC4("Key").Apply(text);
  for (const size_t piece : {1u, 7u, 2048u, 4999u}) {
    RC4 cipher("Key");
    std::string bytes = text;
    for (size_t at = 0; at < bytes.size(); at += piece) {
      const RC4 copy = cipher;
      cipher.Apply(bytes.data() + at, bytes.data() + at, std::min(piece, bytes.size() - at));
      if (at % 2 == 0) continue;
      RC4 again = copy;
      EXPECT_EQ(again.Apply(text.substr(at, piece)), bytes.substr(at, piece));
    }
    EXPECT_EQ(whole, Chaine(bytes)) << piece;
  }
}

TEST(RC4Test, OddKeyLengths) {
  const std::string key = Counting(300);
  EXPECT_EQ(KeyStream(key, 0, 32), KeyStream(key.substr(0, 256), 0, 32));
  EXPECT_NE(KeyStream(key.substr(0, 255), 0, 1000), KeyStream(key.substr(0, 256), 0, 1000));
  EXPECT_EQ(KeyStream("", 0, 32), KeyStream(std::string_view("\0", 1), 0, 32));
}

TEST(SHA2Test, PublishedVectors) {
  // FIPS 180-4 examples.
  const struct {
    SHA2 kind;
    const char *text, *digest;
  } kVectors[] = {
      {SHA2::k256, "abc", "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"},
      {SHA2::k256, "", "E3B0C44298FC1C149AFBF4C8996FB92427AE41E4649B934CA495991B7852B855"},
      {SHA2::k384, "abc",
       "CB00753F45A35E8BB5A03D699AC65007272C32AB0EDED1631A8B605A43FF5BED8086072BA1E7CC2358BAECA134C825A7"},
      {SHA2::k512, "abc",
       "DDAF35A193617ABACC417349AE20413112E6FA4E89A97EA20A9EEEE64B55D39A"
       "2192992A274FC1A836BA3C23A3FEEBBD454D4423643CE80E2A9AC94FA54CA49F"},
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
      "6BC1BEE22E409F96E93D7E117393172AAE2D8A571E03AC9C9EB76FAC45AF8E5130C81C46A35CE411E5FBC1191A0A52EF"
      "F69F2445DF4F9B17AD2B417BE66C3710");
  const struct {
    const char *key, *block, *chained_key, *chained;
  } kVectors[] = {
      {"000102030405060708090A0B0C0D0E0F", "69C4E0D86A7B0430D8CDB78070B4C55A", "2B7E151628AED2A6ABF7158809CF4F3C",
       "7649ABAC8119B246CEE98E9B12E9197D5086CB9B507219EE95DB113A917678B273BED6B8E3C1743B7116E69E22229516"
       "3FF1CAA1681FAC09120ECA307586E1A7"},
      {"000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F", "8EA2B7CA516745BFEAFC49904B496089",
       "603DEB1015CA71BE2B73AEF0857D77811F352C073B6108D72D9810A30914DFF4",
       "F58C4C04D6E5F1BA779EABFB5F7BFBD69CFC4E967EDB808D679F777BC6702C7D39F23369A9D9BACFA530E26304231461"
       "B2EB05E2C39BE9FCDA6C19078C6A9D1B"},
  };
  const std::string plain_block = Unhex("00112233445566778899AABBCCDDEEFF");
  for (const auto& [key, block, chained_key, chained] : kVectors) {
    std::string out(64, '\0');
    AES(AES::Direction::kEncrypt, Unhex(key)).ECB(plain_block.data(), out.data(), 16);
    EXPECT_EQ(Hex(out.substr(0, 16)), block);
    AES(AES::Direction::kDecrypt, Unhex(key)).ECB(out.data(), out.data(), 16);
    EXPECT_EQ(out.substr(0, 16), plain_block);
    // Several calls continue one chain: each call leaves the initialization vector for the next one.
    for (const size_t piece : {size_t{16}, size_t{48}, size_t{64}}) {
      AES::Block iv;
      const AES encrypt(AES::Direction::kEncrypt, Unhex(chained_key));
      const AES decrypt(AES::Direction::kDecrypt, Unhex(chained_key));
      const auto run = [&](const AES& cipher, const std::string& from) {
        for (size_t i = 0; i < iv.size(); i++) iv[i] = static_cast<char>(i);
        for (size_t at = 0; at < 64; at += piece) {
          cipher.CBC(&iv, from.data() + at, out.data() + at, std::min(piece, 64 - at));
        }
        EXPECT_EQ(Hex({iv.data(), iv.size()}), Hex(Unhex(chained).substr(48)));
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
