#pragma once

#include <memory>

#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFObjectIdentifier;
class ZPDFEncrypterStandard;

// ZPDFEncryption is the standard security handler (ISO 32000-1 7.6.3): it reads and writes the entries of an encryption
// dictionary, derives the file key from the user password, checks whether that password opens the file, and makes new
// dictionaries. Supports RC4 with keys of 40 to 128 bits ("/V" 1 and 2, "/R" 2 and 3).
//
// Copies are deep: each owns its dictionary. One thread at a time.
class ZFORMS_API ZPDFEncryption {
 public:
  using Encrypter = ZPDFEncrypter;
  using EncrypterNeutral = ZPDFEncrypterNeutral;
  using EncrypterStandard = ZPDFEncrypterStandard;

  // Uses the dictionary of a file without owning it. `file_identifier` is the first string of "/ID".
  ZPDFEncryption(ZPDFNodeDictionary* dictionary, const Chaine& file_identifier, const Chaine& user_password);
  ZPDFEncryption(const ZPDFEncryption& other);
  ZPDFEncryption& operator=(const ZPDFEncryption& other);
  virtual ~ZPDFEncryption();

  // A handler with a new dictionary: 40-bit RC4, revision 3, every permission. The caller owns it. An empty owner
  // password is replaced by the user password.
  static ZPDFEncryption* CreateStandard(const Chaine& file_identifier, const Chaine& user_password,
                                        const Chaine& owner_password);

  // The dictionary behind all accessors.
  const ZPDFNodeDictionary* Dictionary() const { return dictionary_; }
  // "/Filter" with its slash; "/V", 0 when absent; "/Length" in bits, 40 when
  // absent; "/R"; "/P" as unsigned; "/EncryptMetadata", true when absent; the
  // bytes of "/O" and "/U".
  const Chaine& Filter() const;
  uint32_t AlgorithmCode() const;
  uint32_t KeyLength() const;
  uint32_t StandardRevision() const;
  uint32_t StandardFlags() const;
  bool StandardEncryptMetadata() const;
  const Chaine& StandardOwnerKey() const;
  const Chaine& StandardUserKey() const;
  const Chaine& UserPassword() const { return user_password_; }

  // Each updates "/O", "/U" and "/P" as needed.
  void SetPasswords(const Chaine& user, const Chaine& owner);
  void SetOwnerPassword(const Chaine& owner);
  void SetStandardFlags(uint32_t flags);

  // The file key, computed on first use (ISO 32000-1 algorithm 2).
  const Chaine& StandardComputedUserEncryptionKey() const;
  // True when the key has 5 to 16 bytes; files with other keys cannot be decrypted.
  bool IsKeyLengthSupported() const { return !KeySizes().empty(); }
  // True when handler and version are supported and the user password is right. The owner password does not open a
  // file. When the key length stated by "/Length" fails, tries 40 bits at "/V" 1, which allows no others, and reads a
  // "/Length" of 5 to 16 as bytes.
  bool CanBeDecrypted() const;
  // The bits of the key in use: those of KeyLength() unless CanBeDecrypted() found another length.
  uint32_t UsedKeyLength() const { return static_cast<uint32_t>(KeyBytes() * 8); }

  // A new encrypter for that object; a null handler gives a neutral one. The caller owns it.
  static ZPDFEncrypter* AllocEncrypter(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id);
  ZPDFEncrypter* AllocEncrypter(const ZPDFObjectIdentifier& id) const { return AllocEncrypter(this, id); }

 private:
  // The possible lengths of the key in bytes, the one stated by "/Length" first.
  PTableau<size_t> KeySizes() const;
  size_t KeyBytes() const;
  Chaine ComputeKey(bool encrypt_metadata) const;
  Chaine StandardComputeO(const Chaine& owner) const;
  Chaine StandardComputeU() const;
  bool MatchesUserKey() const;
  bool MatchesWithEitherMetadata() const;

  ZPDFNodeDictionary* dictionary_;
  std::unique_ptr<ZPDFNodeDictionary> owned_dictionary_;
  Chaine user_password_;
  Chaine file_identifier_;
  mutable Chaine user_key_;
  mutable size_t key_bytes_ = 0;  // 0 means the length stated by "/Length"
};

}  // namespace zforms
