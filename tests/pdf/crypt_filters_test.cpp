// Security handlers with crypt filters and AES ("/V" 4 and 5).

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "tests/support/hex_text.h"
#include "tests/support/pdf_text.h"
#include "tests/support/test_document.h"
#include "zforms/pdf/crypt/encrypter_aes.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/crypt/encryption_method.h"
#include "zforms/pdf/crypt/long_key_passwords.h"

namespace zforms {
namespace {

const std::string kFilters =
    "/CF<</StdCF<</CFM/AESV2/Length 16>>/Old<</CFM/V2>>/No<</CFM/None>>>>/StmF/StdCF/StrF/StdCF/Length 128/P -4";

// A handler of a document with these entries, with "/O" and "/U" for the passwords.
struct Handler {
  explicit Handler(const std::string& entries, const char* user = "user", const char* owner = "owner")
      : node(Parse("<</Filter/Standard" + entries + ">>")), dictionary(NodeCast<ZPDFNodeDictionary>(node.get())) {
    encryption = std::make_unique<ZPDFEncryption>(dictionary, "identifier", user);
    encryption->SetEncryptions(ZPDFEncryptions::kAll);
    encryption->SetPasswords(user, owner);
  }
  ZPDFEncryption OpenedBy(const char* password) const {
    ZPDFEncryption opened(dictionary, "identifier", password);
    opened.SetEncryptions(ZPDFEncryptions::kAll);
    return opened;
  }
  NodePtr node;
  ZPDFNodeDictionary* dictionary;
  std::unique_ptr<ZPDFEncryption> encryption;
};

// Dictionaries of documents by Acrobat with the passwords "user" and "owner", from the tests of pdf.js.
TEST(LongKeyPasswordsTest, PublishedVectors) {
  const struct {
    uint32_t revision;
    const char *u, *o, *ue, *oe, *key;
  } vectors[] = {
      {5, "83F28FA057028A864FFDBDADE04990F1BE51C50FF96991970FC24103017EBBDD75A904209F6516DCA85ED7C06426BC28",
       "3C6289233365C898D2B2E2E486CDA318CC7EB1246A32247DD2ACAB78DE6C8B73F37647998011653EC8F5F20CDA7B1878",
       "2396C3A9F53333FF9E9E21F2E74B7DBE197EAC72C3F489F5EAA52A4A3C261111",
       "D5CA0EBD6E4C46BF06C30ABE9D649055083E7BB29CE53228E5D836DE22266ADF",
       "3F7288D1573D0C1EF901BA90FEF8A3999733850A5098CE0F48BBE721E0EF0DD5"},
      {6, "5EE6CD4BA663FA4CDB801155391121A4962E67B0A09CBBE9A6DFA3FD93EB5FB853F59265C6F722C6BF0B105EEDD814AF",
       "58E83E36F51AF5D1897BDD48C73125D91F4A73A77F9EB04D2DA3572F275AD98D8EE8A9D0CAD605B91DD0B92E0B4C8795",
       "79D002B5E6599C3CFD8FD41C54B4C4B1AD80DD6B2E145EBA87335F1814DFFE24",
       "D149E04D679BC9B5BE44DF143E5A38D205F0B280EE7C44FEFDF43E6CD0870AFB",
       "2ADAD527495B484F4326F88512BD3D226B4F1D383BB5D576712241D257AE16EF"},
  };
  for (const auto& v : vectors) {
    const ZPDFLongKeyStrings strings{Unhex(v.o), Unhex(v.u), Unhex(v.oe), Unhex(v.ue), {}};
    for (const auto kind : {ZPDFPasswordKind::kUser, ZPDFPasswordKind::kOwner}) {
      const char* const right = kind == ZPDFPasswordKind::kUser ? "user" : "owner";
      const char* const wrong = kind == ZPDFPasswordKind::kUser ? "owner" : "user";
      ZPDFLongKey key;
      EXPECT_FALSE(OpenLongKey(strings, v.revision, kind, wrong, &key));
      EXPECT_FALSE(OpenLongKey(strings, 11 - v.revision, kind, right, &key));
      EXPECT_TRUE(OpenLongKey(strings, v.revision, kind, right, &key)) << v.revision << right;
      EXPECT_EQ(Hex(key.View()), v.key);
    }
  }
}

TEST(CryptFiltersTest, EitherPasswordOpensAndChangesKeepThat) {
  for (const char* entries :
       {"/V 1/R 2/P -4", "/V 1/R 3/P -4", "/V 2/R 3/Length 128/P -4", "/V 2/R 3/Length 40/P -4"}) {
    // Without SetEncryptions(kAll), only the user password opens the document.
    const Handler handler(entries);
    EXPECT_FALSE(ZPDFEncryption(handler.dictionary, "identifier", "owner").CanBeDecrypted());
  }
  for (const std::string& entries :
       {std::string("/V 1/R 2/P -4"), std::string("/V 1/R 3/P -4"), std::string("/V 2/R 3/Length 128/P -4"),
        "/V 4/R 4" + kFilters, "/V 4/R 4/EncryptMetadata false" + kFilters,
        std::string("/V 5/R 6/P -4/CF<</A<</CFM/AESV3>>>>/StmF/A/StrF/A")}) {
    Handler handler(entries);
    handler.encryption->SetStandardFlags(0xFFFFF0C0);
    const std::unique_ptr<ZPDFEncrypter> writer(handler.encryption->AllocEncrypter({3, 0}));
    const struct {
      const char* password;
      bool opens, by_owner;
    } cases[] = {{"user", true, false}, {"owner", true, true}, {"", false, false}, {"use", false, false}};
    for (const auto& c : cases) {
      const ZPDFEncryption opened = handler.OpenedBy(c.password);
      EXPECT_EQ(opened.CanBeDecrypted(), c.opens) << entries << c.password;
      if (!c.opens) continue;
      EXPECT_EQ(opened.IsOpenedByOwner(), c.by_owner) << entries;
      EXPECT_EQ(opened.HasOwnerRights(), c.by_owner) << entries;
      EXPECT_TRUE(opened.ConfirmsPermissions());
      EXPECT_EQ(opened.StandardFlags(), 0xFFFFF0C0);
      const std::unique_ptr<ZPDFEncrypter> reader(ZPDFEncryption(opened).AllocEncrypter({3, 0}));
      EXPECT_EQ(reader->Decrypt(writer->Encrypt("some text")), "some text") << entries;
    }
    // Without an owner password, whoever opens the document may do everything.
    EXPECT_TRUE(Handler(entries, "same", "").encryption->HasOwnerRights());
    ZPDFEncryption by_owner = handler.OpenedBy("owner");
    ASSERT_TRUE(by_owner.CanBeDecrypted());
    by_owner.SetStandardFlags(0xFFFFFFFC);
    EXPECT_TRUE(handler.OpenedBy("user").CanBeDecrypted()) << entries;
    EXPECT_TRUE(handler.OpenedBy("user").AlgorithmCode() < 5 || by_owner.ConfirmsPermissions());
  }
}

TEST(CryptFiltersTest, WhatIsSupported) {
  const struct {
    std::string entries, method;
    bool supported;
  } cases[] = {
      {"/V 4/R 4" + kFilters, "AES, 128 bits", true},
      {"/V 4/R 4/EncryptMetadata false" + kFilters, "AES, 128 bits, metadata not encrypted", true},
      {"/V 4/R 4/StmF/Old/StrF/Identity" + kFilters, "RC4, 128 bits, by crypt filters, streams only", true},
      {"/V 4/R 4/StmF/No/StrF/StdCF" + kFilters, "AES, 128 bits, strings only", true},
      {"/V 4/R 4/P -4", "crypt filters that encrypt nothing", true},
      {"/V 4/R 4/StmF/Missing" + kFilters, "algorithm 4 with \"/AESV2\"", false},
      {"/V 4/R 4/P -4/StmF/A/StrF/A/CF<</A<</CFM/AESV3>>>>", "AES, 256 bits", false},
      {"/V 5/R 6/P -4/StmF/A/StrF/A/CF<</A<</CFM/AESV2>>>>", "AES, 128 bits", false},
      {"/V 5/R 7/P -4/StmF/A/StrF/A/CF<</A<</CFM/AESV3>>>>", "AES, 256 bits", false},
      {"/V 6/R 7/P -4/StmF/A/StrF/A/CF<</A<</CFM/AESV4>>>>", "algorithm 6 with \"/AESV4\"", false},
      {"/V 4/R 4/P -4/StmF/A/StrF/A/CF<</A<</CFM 5>>>>", "algorithm 4 with a crypt filter that names no method", false},
      {"/V 3/R 3/P -4", "algorithm 3", false},
  };
  for (const auto& c : cases) {
    const Handler handler(c.entries);
    if (c.entries.find("Missing") == std::string::npos) {
      EXPECT_EQ(EncryptionMethod(*handler.encryption), c.method) << c.entries;
    }
    EXPECT_EQ(handler.encryption->CanBeDecrypted(), c.supported) << c.entries;
    const ZPDFEncryption by_default(handler.dictionary, "identifier", "user");
    EXPECT_FALSE(by_default.CanBeDecrypted()) << c.entries;
  }
}

// Which data of a document are encrypted: those whose stored form differs from the plain one.
TEST(CryptFiltersTest, StreamsHaveTheirOwnRules) {
  const std::string file_filter = "/EFF/Identity" + kFilters;
  const struct {
    std::string entries;
    const char* dictionary;
    bool encrypted;
  } cases[] = {
      {kFilters, "", true},
      {kFilters, "/Type/XRef", false},
      {kFilters, "/Type/Metadata", true},
      {"/EncryptMetadata false" + kFilters, "/Type/Metadata", false},
      {"/EncryptMetadata false" + kFilters, "/Type/Metadata/Filter[/Crypt]/DecodeParms[<</Name/StdCF>>]", true},
      {"/EncryptMetadata false" + kFilters, "/Type/XObject", true},
      {kFilters, "/Filter/Crypt", false},
      {kFilters, "/Filter[/Crypt/FlateDecode]/DecodeParms[<</Name/Identity>>null]", false},
      {kFilters, "/Filter[/FlateDecode]/DecodeParms[<</Name/Identity>>]", true},
      {kFilters, "/Filter/Crypt/DecodeParms<</Name/Old>>", true},
      {kFilters, "/Filter/Crypt/DecodeParms<</Name/No>>", false},
      {kFilters, "/Type/EmbeddedFile", true},
      {file_filter, "/Type/EmbeddedFile", false},
      {file_filter, "", true},
      {"/StmF/Identity" + kFilters, "", false},
  };
  for (const auto& c : cases) {
    const Handler handler("/V 4/R 4" + c.entries);
    ZPDFNodeIndirectObject object(handler.encryption.get(), {3, 0}, nullptr);
    auto* const stream = new ZPDFNodeStream("data");
    const NodePtr entries = Parse(std::string("<<") + c.dictionary + "/S(text)>>");
    const auto* const extra = NodeCast<ZPDFNodeDictionary>(entries.get());
    for (size_t i = 0; i < extra->Size(); i++) stream->Dico()->SetValue(extra->KeyAt(i), extra->ValueAt(i)->Clone());
    object.SetChild(stream);
    Chaine text;
    ZPDFOutStream out(&text);
    object.SendTo(out, nullptr);
    EXPECT_EQ(text.View().find("\ndata\r\n") == std::string_view::npos, c.encrypted) << c.entries << c.dictionary;
    EXPECT_EQ(text.View().find("(text)"), std::string_view::npos) << "strings are encrypted";
    PdfText file;
    file.Header().Object(1, "<<>>");
    // "/Length" is the size of the encrypted data in the file, and of the decrypted data in the node.
    ZPDFTokenizedString written{text};
    const std::unique_ptr<ZPDFNodeIndirectObject> again(
        ZPDFNodeIndirectObject::BuildFrom(written, nullptr, handler.encryption.get()));
    const auto* const read = NodeCast<ZPDFNodeStream>(again->GetDirectAt(0));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->Data(), "data") << c.entries << c.dictionary;
    EXPECT_EQ(read->Dico()->GetUIntValue("/Length"), 4U);
    EXPECT_EQ(read->Dico()->GetStringValue("/S"), "text");
    stream->DropCryptFilter();
    EXPECT_EQ(TextOf(stream->Dico()).find("Crypt"), std::string::npos);
  }
}

TEST(EncrypterAESTest, DamagedDataGiveWhatCanBeRead) {
  const ZPDFEncrypterAES encrypter(std::string(32, 'k'));
  const std::string stored = encrypter.Encrypt("0123456789abcdef0123").ToString();
  ASSERT_EQ(stored.size(), 48U);
  EXPECT_NE(encrypter.Encrypt("0123456789abcdef0123"), stored) << "a start vector of its own";
  std::string wrong_padding = stored;
  wrong_padding[31] ^= 1;  // changes the last byte of the next block
  const struct {
    std::string data, plain, fault;
  } cases[] = {
      {stored, "0123456789abcdef0123", ""},
      {"", "", ""},
      {stored.substr(0, 5), stored.substr(0, 5), "is too short for AES, and is read without decryption"},
      {stored.substr(0, 16), "", ""},
      {stored.substr(0, 20), "", "ends within an AES block, which is left out"},
      {stored.substr(0, 47), "0123456789abcdef", "ends within an AES block, which is left out"},
      {stored.substr(0, 32), "0123456789abcdef", "does not end with the padding of AES"},
  };
  for (const auto& c : cases) {
    std::string fault;
    EXPECT_EQ(encrypter.DecryptChecked(c.data, &fault), c.plain);
    EXPECT_EQ(fault, c.fault);
  }
  std::string fault;
  EXPECT_EQ(encrypter.DecryptChecked(wrong_padding, &fault).size(), 32U);
  EXPECT_EQ(fault, "does not end with the padding of AES");
}

// The undamaged parts of a document are read, with warnings. A damaged dictionary is not reported as a wrong password.
TEST(CryptFiltersTest, DamagedDocuments) {
  const std::unique_ptr<ZPDFEncryption> made(ZPDFEncryption::CreateAES256("user", "owner"));
  const std::unique_ptr<ZPDFEncrypter> encrypter(made->AllocEncrypter({3, 0}));
  const Chaine text = encrypter->Encrypt("text");
  const auto read = [&](const std::function<void(ZPDFNodeDictionary&)>& damage, const std::string& object) {
    const std::unique_ptr<ZPDFNodeDictionary> dictionary(made->Dictionary()->Clone());
    damage(*dictionary);
    PdfText file;
    file.Header().Object(1, "<<>>").Object(3, object).Xref();
    file.Trailer("/Root 1 0 R/Encrypt" + TextOf(dictionary.get()));
    ZPDFParser parser;
    parser.SetEncryptions(ZPDFEncryptions::kAll);
    EXPECT_TRUE(parser.ReadFromRaw(file.Bytes(), "user"));
    const std::string value = ValueOf(parser, 3);
    return value + " " + WarningsOf(parser);
  };
  const auto nothing = [](ZPDFNodeDictionary&) {};
  const std::string sound = "<</A<" + Hex(text) + ">/B<" + Hex(text) + ">>>";
  const std::string plain = "<</A<" + Hex("text") + ">/B<" + Hex("text") + ">>>";
  EXPECT_EQ(read(nothing, sound), plain + " ");
  const std::string cut = "<</A<" + Hex(text).substr(0, 60) + ">/B<" + Hex(text) + ">>>";
  const std::string with_cut = read(nothing, cut);
  EXPECT_NE(with_cut.find("an encrypted string ends within an AES block"), std::string::npos) << with_cut;
  EXPECT_NE(with_cut.find("/B<" + Hex("text")), std::string::npos) << "nothing else is lost";
  const std::pair<const char*, size_t> lengths[] = {{"/O", 48}, {"/U", 48}, {"/OE", 32}, {"/UE", 32}};
  for (const auto& [key, length] : lengths) {
    for (const size_t shorter : {size_t{0}, length - 1}) {
      const std::string said =
          read([&](ZPDFNodeDictionary& d) { d.SetValue(key, d.GetStringValue(key).Mid(0, shorter)); }, sound);
      EXPECT_NE(said.find(std::string("the encryption dictionary is damaged: \"") + key), std::string::npos) << said;
      EXPECT_EQ(said.starts_with(plain), key[1] == 'O') << "the user password opens it unless its own strings are cut";
    }
    // Some writers append zero bytes to these strings.
    EXPECT_EQ(read([&](ZPDFNodeDictionary& d) { d.SetValue(key, d.GetStringValue(key) + std::string_view("\0\0", 2)); },
                   sound),
              plain + " ");
  }
  for (const char* perms : {"", "sixteen bytes of"}) {
    const std::string said = read([&](ZPDFNodeDictionary& d) { d.SetValue("/Perms", perms); }, sound);
    EXPECT_NE(said.find("does not agree with \"/P\": the permissions may have been changed"), std::string::npos)
        << said;
    EXPECT_TRUE(said.starts_with(plain)) << said;
  }
}

// "/Contents" of a signature is not encrypted, in any order of the entries. Other "/Contents" are encrypted.
TEST(CryptFiltersTest, SignaturesStayInClear) {
  const std::unique_ptr<ZPDFEncryption> made(ZPDFEncryption::CreateAES256("", "owner"));
  const std::string note = Hex(std::unique_ptr<ZPDFEncrypter>(made->AllocEncrypter({3, 0}))->Encrypt("note"));
  const struct {
    std::string stored, plain;
  } cases[] = {
      {"<</Contents<0102>/ByteRange[0 1 ]>>", "<</Contents<0102>/ByteRange[0 1 ]>>"},
      {"<</ByteRange[0 1 ]/Contents(ab)>>", "<</ByteRange[0 1 ]/Contents(ab)>>"},
      {"<</Contents<" + note + ">/T<" + note + ">>>", "<</Contents<" + Hex("note") + ">/T<" + Hex("note") + ">>>"},
      {"<</Contents<</T<" + note + ">>>/ByteRange[0 ]>>", "<</Contents<</T<" + Hex("note") + ">>>/ByteRange[0 ]>>"},
  };
  for (const auto& c : cases) {
    PdfText file;
    file.Header().Object(1, "<<>>").Object(3, c.stored).Xref();
    file.Trailer("/Root 1 0 R/Encrypt" + TextOf(made->Dictionary()));
    ZPDFParser parser;
    parser.SetEncryptions(ZPDFEncryptions::kAll);
    ASSERT_TRUE(parser.ReadFromRaw(file.Bytes(), ""));
    EXPECT_EQ(ValueOf(parser, 3), c.plain);
    EXPECT_EQ(WarningsOf(parser), "");
    // The object is written, and read back in both ways of reading.
    Chaine text;
    ZPDFOutStream out(&text);
    parser.GetObject({3, 0})->SendTo(out, nullptr);
    ZPDFTokenizedString written{text};
    const std::unique_ptr<ZPDFNodeIndirectObject> again(
        ZPDFNodeIndirectObject::BuildFrom(written, nullptr, parser.Encryption()));
    EXPECT_EQ(TextOf(again->GetDirectAt(0)), c.plain);
  }
}

TEST(CryptFiltersTest, PasswordsThatAreNotAllowedAreRefused) {
  EXPECT_EQ(std::unique_ptr<ZPDFEncryption>(ZPDFEncryption::CreateAES256("\x07", "")), nullptr);
  EXPECT_EQ(std::unique_ptr<ZPDFEncryption>(ZPDFEncryption::CreateAES256("", "\xFF")), nullptr);
  const std::unique_ptr<ZPDFEncryption> made(ZPDFEncryption::CreateAES256("\u2168", std::string(200, 'x')));
  ASSERT_NE(made, nullptr);
  for (const std::string& password : {std::string("IX"), std::string(127, 'x')}) {
    ZPDFEncryption opened(*made);
    const std::unique_ptr<ZPDFNodeDictionary> dictionary(made->Dictionary()->Clone());
    ZPDFEncryption by_password(dictionary.get(), "", password);
    by_password.SetEncryptions(ZPDFEncryptions::kAll);
    EXPECT_TRUE(by_password.CanBeDecrypted()) << password;
    EXPECT_FALSE(opened.SetPasswords("\x07", ""));
    EXPECT_TRUE(opened.CanBeDecrypted()) << "nothing was changed";
  }
}

}  // namespace
}  // namespace zforms
