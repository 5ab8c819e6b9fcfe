#include "zforms/pdf/crypt/encryption.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/hex_text.h"
#include "tests/support/pdf_text.h"
#include "tests/support/test_document.h"
#include "zforms/pdf/crypt/encrypter_standard.h"

namespace zforms {
namespace {

// The first string of "/ID" that qpdf --static-id writes.
constexpr const char* kIdentifier = "31415926535897932384626433832795";

// A dictionary with these entries, and with "/O" and "/U" for the passwords.
struct Handler {
  Handler(const std::string& entries, const char* user, const char* owner)
      : node(Parse("<</Filter/Standard" + entries + ">>")),
        dictionary(NodeCast<ZPDFNodeDictionary>(node.get())),
        encryption(dictionary, "identifier", user) {
    encryption.SetPasswords(user, owner);
  }
  NodePtr node;
  ZPDFNodeDictionary* dictionary;
  ZPDFEncryption encryption;
};

// Written by qpdf 11.3.0: qpdf --allow-weak-crypto --static-id --stream-data=preserve --encrypt USER OWNER
// 40 --modify=n|128 --use-aes=n --print=none -- plain.pdf out.pdf, where plain.pdf has "/T(plain text)" in
// object 3 and the stream "0 0 9 9 r" in object 4. All digits are from out.pdf.
struct QpdfFile {
  const char *user, *owner, *dictionary, *o, *u, *string, *stream;
};
constexpr QpdfFile kQpdfFiles[] = {
    {"usr", "own", "/Length 40/P -4/R 2/V 1", "0462807DD3B6D6AECC90F2491A9E85BE7BF3674FE091AB1A0E8D8CBFDFD61704",
     "F14E62BEFA50B0A9DF8B9E7D44255E32BAC9C98748EFEF463EC3CE824486ACD7", "8BEBE24F7A3C2A1B909B", "20BE452CB049556272"},
    {"", "own", "/P -12/R 2/V 1", "59AEBC0B228D02A1DD1AFD7BE52AD249AFDC6FD71EF9234A49BFA56EB72C801A",
     "60DF8AB014E0690A1FD3F1A5F54541AC6681C3400A53D61B93B22E36B56BADA2", "C9E91775697FFB858F0D", "1F41ECF055BECBB016"},
    {"usr", "own", "/Length 128/P -2056/R 3/V 2", "3837D2C19F7D45B8CDC1A4D746A59970CD40314831B28750D53A11E31CE9300A",
     "D9E6B9CCF1983661E4F3E2012690F1990122456A91BAE5134273A6DB134C87C4", "76B0EB76DA85F4A78E42", "8087DAE7DA4026033C"},
    {"a password longer than thirty-two bytes", "", "/Length 128/P 4294967292/R 3/V 2",
     "679BFCB44BB906794A9A8EBCE5B21BF110B405481480B4073039DD1DC6A3C835",
     "1067AA5F8D7D7251B77304718A2CB7080122456A91BAE5134273A6DB134C87C4", "3BDFAF9AF99534CCD589", "EDA54C8A959103150E"},
};

std::string EncryptDictionary(const QpdfFile& file) {
  return std::string("<</Filter/Standard") + file.dictionary + "/O<" + file.o + ">/U<" + file.u + ">>>";
}

Chaine FileOf(const QpdfFile& file, bool inline_dictionary) {
  PdfText text;
  text.Header().Object(1, "<</Type/Catalog>>").Object(3, std::string("<</T<") + file.string + ">>>");
  text.Stream(4, "<</Length 9>>", Unhex(file.stream)).Object(5, EncryptDictionary(file)).Object(6, "(clear)");
  const std::string encrypt = inline_dictionary ? EncryptDictionary(file) : "5 0 R";
  return text.Xref().Trailer(std::string("/Root 1 0 R/ID[<") + kIdentifier + "><00>]/Encrypt " + encrypt).Bytes();
}

TEST(EncryptionTest, ReadsWhatQpdfEncrypted) {
  for (const QpdfFile& file : kQpdfFiles) {
    for (const bool inline_dictionary : {true, false}) {
      ZPDFParser parser;
      ASSERT_TRUE(parser.ReadFromRaw(FileOf(file, inline_dictionary), file.user));
      EXPECT_TRUE(parser.IsEncrypted());
      EXPECT_TRUE(parser.CanBeDecrypted()) << file.dictionary;
      EXPECT_EQ(ValueOf(parser, 3), "<</T<" + Hex("plain text") + ">>>") << file.dictionary;
      const auto* stream = NodeCast<ZPDFNodeStream>(parser.GetObject({4, 0})->GetDirectAt(0));
      ASSERT_NE(stream, nullptr);
      EXPECT_EQ(stream->Data(), "0 0 9 9 r");
      // The encryption dictionary itself is not encrypted.
      EXPECT_EQ(parser.EncryptionDico()->GetStringValue("/U"), Unhex(file.u));
      EXPECT_EQ(parser.IDOriginal(), Unhex(kIdentifier));
    }
    for (const char* wrong : {"own", "Usr", "usr ", "wrong"}) {
      ZPDFParser parser;
      ASSERT_TRUE(parser.ReadFromRaw(FileOf(file, true), wrong));
      EXPECT_FALSE(parser.CanBeDecrypted()) << file.dictionary << wrong;
    }
  }
}

TEST(EncryptionTest, DerivesWhatQpdfDerived) {
  for (const QpdfFile& file : kQpdfFiles) {
    const NodePtr node = Parse(EncryptDictionary(file));
    auto* dictionary = NodeCast<ZPDFNodeDictionary>(node.get());
    ZPDFEncryption encryption(dictionary, Unhex(kIdentifier), "");
    dictionary->SetValue("/O", "");
    dictionary->SetValue("/U", "");
    encryption.SetPasswords(file.user, file.owner);
    EXPECT_EQ(Hex(encryption.StandardOwnerKey()), file.o) << file.dictionary;
    // At revision 3 only the first half of "/U" is defined.
    const size_t digits = encryption.StandardRevision() == 2 ? 64 : 32;
    EXPECT_EQ(Hex(encryption.StandardUserKey()).substr(0, digits), std::string(file.u).substr(0, digits));
    EXPECT_EQ(encryption.StandardUserKey().size(), 32U);
  }
}

// With "/V" 1 the key has 40 bits, and "/Length" does not matter. Some writers give "/Length" in bytes. The
// dictionaries are those above, with another length.
TEST(EncryptionTest, KeyLengthsThatAreNotStated) {
  const struct {
    int file;
    const char *length, *instead;
    uint32_t bits;
  } cases[] = {
      {0, "/Length 40", "/Length 128", 40}, {0, "/Length 40", "/Length 16", 40},   {0, "/Length 40", "/Length 5", 40},
      {1, "/P", "/Length 0/P", 40},         {2, "/Length 128", "/Length 16", 128}, {2, "/Length 128", "/Length 40", 0},
      {2, "/Length 128", "/Length 17", 0},
  };
  for (const auto& c : cases) {
    QpdfFile file = kQpdfFiles[c.file];
    std::string dictionary = file.dictionary;
    file.dictionary =
        dictionary.replace(dictionary.find(c.length), std::string_view(c.length).size(), c.instead).c_str();
    ZPDFParser parser;
    ASSERT_TRUE(parser.ReadFromRaw(FileOf(file, true), file.user));
    EXPECT_EQ(parser.CanBeDecrypted(), c.bits != 0) << dictionary;
    EXPECT_EQ(ValueOf(parser, 3) == "<</T<" + Hex("plain text") + ">>>", c.bits != 0) << dictionary;
    EXPECT_EQ(WarningsOf(parser).find("not decrypted") == std::string::npos, c.bits != 0) << dictionary;
    if (c.bits == 0) continue;
    ZPDFEncryption handler(*parser.Encryption());
    EXPECT_EQ(handler.UsedKeyLength(), c.bits);
    handler.SetStandardFlags(0);
    handler.SetOwnerPassword("other");
    EXPECT_TRUE(ZPDFEncryption(handler).CanBeDecrypted()) << dictionary;
    // After a wrong password, the key length is again the one in "/Length".
    ASSERT_TRUE(parser.ReadFromRaw(FileOf(file, true), "wrong"));
    EXPECT_FALSE(parser.CanBeDecrypted());
  }
}

TEST(EncryptionTest, CreateStandardMakesItsDictionary) {
  const std::unique_ptr<ZPDFEncryption> made(ZPDFEncryption::CreateStandard("0123456789abcdef", "usr", "own"));
  const ZPDFNodeDictionary& dictionary = *made->Dictionary();
  const std::string text = TextOf(&dictionary);
  EXPECT_TRUE(text.starts_with("<</Filter/Standard/V 1/Length 40/R 3/P -4/EncryptMetadata true/O(")) << text;
  EXPECT_EQ(dictionary.Size(), 8U);
  // Computed independently, with Python's hashlib.
  EXPECT_EQ(Hex(made->StandardOwnerKey()), "7679ED0670F7D9647DFCD3D0AF58EF34317B2F5B6138486A9A1D64085F86F513");
  EXPECT_EQ(Hex(made->StandardUserKey()), "C855A3B240CFFB5B1F5612FD381C989C28BF4E5E4E758A4164004E56FFFA0108");
  EXPECT_EQ(Hex(made->StandardComputedUserEncryptionKey()), "278A98D190");
  EXPECT_EQ(made->KeyLength(), 40U);
  EXPECT_EQ(made->StandardFlags(), 0xFFFFFFFCU);
  EXPECT_TRUE(made->CanBeDecrypted());
}

TEST(EncryptionTest, SettersKeepEverythingConsistent) {
  for (const char* entries : {"/V 1/R 2/P -4", "/V 1/R 3/P -4", "/V 2/R 3/Length 128/P -4/EncryptMetadata false"}) {
    Handler handler(entries, "user", "");
    ZPDFEncryption& encryption = handler.encryption;
    EXPECT_TRUE(encryption.CanBeDecrypted());
    // Without an owner password the user password is used.
    EXPECT_EQ(encryption.StandardOwnerKey(), Handler(entries, "user", "user").encryption.StandardOwnerKey());
    const Chaine owner_key = encryption.StandardOwnerKey();
    Chaine key = encryption.StandardComputedUserEncryptionKey();
    const struct {
      uint32_t flags;
      const char* text;
    } cases[] = {{0xFFFFF0C0, "-3904"}, {0, "0"}, {0x7FFFFFFF, "2147483647"}, {0x80000000, "-2147483648"}};
    for (const auto& c : cases) {
      encryption.SetStandardFlags(c.flags);
      EXPECT_EQ(TextOf(handler.dictionary->GetDirect("/P")), c.text);
      EXPECT_EQ(encryption.StandardFlags(), c.flags);
      EXPECT_EQ(encryption.StandardOwnerKey(), owner_key);
      EXPECT_NE(encryption.StandardComputedUserEncryptionKey(), key);
      EXPECT_TRUE(encryption.CanBeDecrypted());
      key = encryption.StandardComputedUserEncryptionKey();
    }
    encryption.SetOwnerPassword("other");
    EXPECT_NE(encryption.StandardOwnerKey(), owner_key);
    EXPECT_NE(encryption.StandardComputedUserEncryptionKey(), key);
    EXPECT_TRUE(encryption.CanBeDecrypted());
    encryption.SetPasswords("new user", "other");
    EXPECT_EQ(encryption.UserPassword(), "new user");
    EXPECT_TRUE(encryption.CanBeDecrypted());
    EXPECT_FALSE(ZPDFEncryption(handler.dictionary, "identifier", "user").CanBeDecrypted());
    EXPECT_FALSE(ZPDFEncryption(handler.dictionary, "other file", "new user").CanBeDecrypted());
  }
}

TEST(EncryptionTest, WhatCanBeDecrypted) {
  const struct {
    const char* entries;
    bool readable;
  } cases[] = {
      {"/V 1/R 2/P -4", true},
      {"/V 2/R 3/P -4/Length 40", true},
      {"/V 2/R 3/P -4/Length 41", true},
      {"/V 2/R 3/P -4/Length 56", true},
      {"/V 2/R 2/P -4/Length 128", true},
      {"/V 2/R 3/P -4/Length 135", true},
      {"/V 2/R 3/P -4/Length 136", false},
      {"/V 2/R 3/P -4/Length 39", false},
      {"/V 2/R 3/P -4/Length 16", false},
      {"/V 2/R 3/P -4/Length 0", false},
      {"/V 2/R 2/P -4/Length -128", false},
      {"/V 2/R 3/P -4/Length/Long", false},
      {"/R 3/P -4", false},
      {"/V 0/R 3/P -4", false},
      {"/V 3/R 3/P -4", false},
      {"/V 4/R 4/P -4/Length 128", false},
      {"/V 1/R 3/P -4/Filter/Other", true},  // the first one is used
  };
  for (const auto& c : cases) {
    const Handler handler(c.entries, "user", "owner");
    EXPECT_EQ(handler.encryption.CanBeDecrypted(), c.readable) << c.entries;
    const std::unique_ptr<ZPDFEncrypter> encrypter(handler.encryption.AllocEncrypter({3, 0}));
    EXPECT_EQ(encrypter->Decrypt(encrypter->Encrypt("text")), "text");
  }
  // Revision 2 compares all of "/U", revision 3 its first half.
  for (const bool second_half : {true, false}) {
    for (const char* entries : {"/V 1/R 2/P -4", "/V 1/R 3/P -4"}) {
      Handler handler(entries, "user", "owner");
      std::string key = handler.encryption.StandardUserKey().ToString();
      key[second_half ? 31 : 15] ^= 1;
      handler.dictionary->SetValue("/U", Chaine(key));
      EXPECT_EQ(handler.encryption.CanBeDecrypted(), second_half && handler.encryption.StandardRevision() == 3);
    }
  }
  Handler other("/V 1/R 2/P -4", "user", "owner");
  other.dictionary->SetIdentifier("/Filter", "/Other");
  EXPECT_FALSE(other.encryption.CanBeDecrypted());
  ZPDFNodeDictionary empty;
  EXPECT_FALSE(ZPDFEncryption(&empty, "", "").CanBeDecrypted());
  EXPECT_EQ(ZPDFEncryption(&empty, "", "").KeyLength(), 40U);
  EXPECT_TRUE(ZPDFEncryption(&empty, "", "").StandardEncryptMetadata());
}

// With unencrypted metadata at revision 3, some writers use this setting to compute the key, and others do not.
TEST(EncryptionTest, UnencryptedMetadataInOrOutOfTheKey) {
  // At revision 2 the key never depends on "/EncryptMetadata".
  EXPECT_EQ(Handler("/V 1/R 2/P -4/EncryptMetadata false", "user", "").encryption.StandardUserKey(),
            Handler("/V 1/R 2/P -4", "user", "").encryption.StandardUserKey());
  for (const char* declared : {"/EncryptMetadata false", "/EncryptMetadata true"}) {
    for (const char* derived : {"/EncryptMetadata false", "/EncryptMetadata true", ""}) {
      const std::string entries = "/V 2/R 3/Length 128/P -4";
      const Handler writer(entries + derived, "user", "owner");
      const std::unique_ptr<ZPDFEncrypter> encrypter(writer.encryption.AllocEncrypter({3, 0}));
      PdfText text;
      text.Header().Object(1, "<<>>").Object(3, "<" + Hex(encrypter->Encrypt("secret")) + ">").Xref();
      text.Trailer("/Root 1 0 R/ID[(identifier)]/Encrypt<</Filter/Standard" + entries + declared + "/O<" +
                   Hex(writer.encryption.StandardOwnerKey()) + ">/U<" + Hex(writer.encryption.StandardUserKey()) +
                   ">>>");
      // Objects are decrypted correctly, whether or not the password was checked before.
      const bool readable =
          declared != std::string("/EncryptMetadata true") || derived != std::string("/EncryptMetadata false");
      ZPDFParser parser;
      ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), "user"));
      EXPECT_EQ(ValueOf(parser, 3) == "<" + Hex("secret") + ">", readable) << declared << derived;
      EXPECT_EQ(parser.CanBeDecrypted(), readable) << declared << derived;
      ASSERT_TRUE(parser.ReadFromRaw(text.Bytes(), "wrong"));
      EXPECT_FALSE(parser.CanBeDecrypted());
    }
  }
}

// The values of the encryption dictionary may be indirect objects, which are not encrypted.
TEST(EncryptionTest, CopiesOutliveTheDocumentThatHoldsTheirValues) {
  const QpdfFile& file = kQpdfFiles[2];
  PdfText text;
  text.Header().Object(1, "<<>>").Object(3, std::string("<") + file.string + ">");
  text.Object(7, std::string("<") + file.o + ">").Object(8, "-2056").Object(9, std::string("<") + file.u + ">").Xref();
  text.Trailer(std::string("/Root 1 0 R/ID[<") + kIdentifier +
               ">]/Encrypt<</Filter/Standard/V 2/R 3/Length 128/O 7 0 R/P 8 0 R/U 9 0 R>>");
  auto parser = std::make_unique<ZPDFParser>();
  ASSERT_TRUE(parser->ReadFromRaw(text.Bytes(), "usr"));
  EXPECT_TRUE(parser->CanBeDecrypted());
  const ZPDFEncryption handler(*parser->Encryption());
  ZPDFParser copy(*parser);
  parser.reset();
  EXPECT_TRUE(handler.CanBeDecrypted());
  EXPECT_TRUE(copy.CanBeDecrypted());
  EXPECT_EQ(ValueOf(copy, 3), "<" + Hex("plain text") + ">");
}

TEST(EncrypterTest, EachObjectHasItsKey) {
  for (const char* entries :
       {"/V 1/R 2/P -4", "/V 1/R 3/P -4", "/V 2/R 3/Length 88/P -4", "/V 2/R 3/Length 128/P -4"}) {
    const Handler handler(entries, "user", "owner");
    const std::string data = std::string("some data with \0 in it", 22);
    std::vector<Chaine> all;
    const ZPDFObjectIdentifier ids[] = {{1, 0}, {2, 0}, {1, 1}, {256, 0}, {65536, 0}, {1, 256}};
    for (const ZPDFObjectIdentifier& id : ids) {
      const std::unique_ptr<ZPDFEncrypter> one(ZPDFEncryption::AllocEncrypter(&handler.encryption, id));
      const std::unique_ptr<ZPDFEncrypter> other(handler.encryption.AllocEncrypter(id));
      const std::unique_ptr<ZPDFEncrypter> clone(one->Clone());
      const Chaine encrypted = one->Encrypt(data);
      EXPECT_EQ(one->Encrypt(data), encrypted) << "each call starts anew";
      EXPECT_EQ(other->Decrypt(encrypted), data);
      EXPECT_EQ(clone->Decrypt(encrypted), data);
      EXPECT_TRUE(one->Encrypt("").IsEmpty());
      for (const Chaine& earlier : all) EXPECT_NE(earlier, encrypted);
      all.push_back(encrypted);
    }
    // The key depends only on the low three bytes of the number and the low two of the generation.
    const std::unique_ptr<ZPDFEncrypter> high(handler.encryption.AllocEncrypter({0x7F000001, 0x10000}));
    EXPECT_EQ(high->Encrypt(data), all[0]);
  }
  const std::unique_ptr<ZPDFEncrypter> neutral(ZPDFEncryption::AllocEncrypter(nullptr, {1, 0}));
  EXPECT_EQ(neutral->Encrypt("text"), "text");
}

}  // namespace
}  // namespace zforms
