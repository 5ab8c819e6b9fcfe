#pragma once

#include <memory>
#include <optional>

#include "zforms/pdf/crypt/encryptions.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/secret_text.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFObjectIdentifier;
class ZPDFEncrypterStandard;
class ZPDFFilterKeys;
struct ZPDFLongKeyStrings;
template <size_t kSize>
class SecretBytes;

// ZPDFEncryption is the standard security handler (ISO 32000-1 7.6.3, ISO 32000-2 7.6.4): it reads and writes the
// entries of an encryption dictionary, derives or decrypts the file key, checks whether a password opens the file, and
// makes new dictionaries. Supports RC4 with keys of 40 to 128 bits ("/V" 1 and 2, "/R" 2 and 3) and, where
// SetEncryptions allows it, crypt filters with RC4 and AES ("/V" 4 and 5, "/R" 4 to 6).
//
// Copies are deep: each owns its dictionary. The destructor wipes keys and passwords; a host wipes its own copy of a
// password with Chaine::Wipe. One thread at a time.
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
  // A handler as above, but with AES of 256 bits, a random key and revision 6. Passwords are UTF-8. Null when a
  // password has characters that are not allowed in passwords (RFC 4013).
  static ZPDFEncryption* CreateAES256(const Chaine& user_password, const Chaine& owner_password);

  // Sets which documents can be decrypted; kRC4Only at first.
  void SetEncryptions(ZPDFEncryptions encryptions);

  // The dictionary that all accessors read.
  const ZPDFNodeDictionary* Dictionary() const { return dictionary_; }
  const Chaine& Filter() const;            // "/Filter" with its slash
  uint32_t AlgorithmCode() const;          // "/V"; 0 when absent
  uint32_t KeyLength() const;              // "/Length" in bits; 40 when absent
  uint32_t StandardRevision() const;       // "/R"
  uint32_t StandardFlags() const;          // "/P" as an unsigned number
  bool StandardEncryptMetadata() const;    // "/EncryptMetadata"; true when absent
  const Chaine& StandardOwnerKey() const;  // the bytes of "/O"
  const Chaine& StandardUserKey() const;   // the bytes of "/U"
  // The password that was passed to the constructor, with which CanBeDecrypted tries to open the file.
  const Chaine& UserPassword() const { return user_password_; }

  // Change the passwords or the permissions. Each function updates "/O", "/U" and "/P" as needed; with AES of 256 bits
  // also "/OE", "/UE" and "/Perms". With AES of 256 bits, a new password also makes a new file key. False, with nothing
  // changed, when AES of 256 bits does not allow a character of a password (RFC 4013), or when the revision is above 6.
  bool SetPasswords(const Chaine& user, const Chaine& owner);
  bool SetOwnerPassword(const Chaine& owner);
  void SetStandardFlags(uint32_t flags);

  // The file key, computed on first use (ISO 32000-1 algorithm 2). Empty from revision 5 on, where it is random.
  const Chaine& StandardComputedUserEncryptionKey() const;
  // True when this kind of encryption is supported; opening also needs the right password.
  bool IsSupported() const;
  // True when this kind of encryption is supported and the password is right. The owner password opens a file only
  // where all encryptions are allowed. When the expected key length fails, tries others: at "/V" 1 the length of 40
  // bits, which is the only one allowed there; and the value of "/Length" as a number of bytes, if it is 5 to 16.
  bool CanBeDecrypted() const;
  // The length of the key in use, in bits: KeyLength(), unless the version sets another length or CanBeDecrypted()
  // found one.
  uint32_t UsedKeyLength() const { return static_cast<uint32_t>(KeyBytes() * 8); }
  // True when the password is the owner password and not the user password. Precondition: CanBeDecrypted().
  bool IsOpenedByOwner() const { return opening_.by_owner; }
  // True when no permission limits the changes: the file was opened by the owner password, or it has no owner password
  // other than the user password or the empty one. Precondition: CanBeDecrypted().
  bool HasOwnerRights() const;
  // What is wrong with the strings of the dictionary, such as a wrong length; empty when nothing is wrong.
  Chaine Damage() const;
  // Whether "/Perms" confirms the permissions; true up to revision 4, which has none. Precondition: CanBeDecrypted().
  bool ConfirmsPermissions() const;

  // A new encrypter for that object; a null handler gives a neutral one. The caller owns it.
  static ZPDFEncrypter* AllocEncrypter(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id);
  ZPDFEncrypter* AllocEncrypter(const ZPDFObjectIdentifier& id) const { return AllocEncrypter(this, id); }

 private:
  // What is known after the file was opened with a password.
  struct Opening {
    SecretText key;                                   // the file key up to revision 4
    std::shared_ptr<const SecretBytes<32>> long_key;  // the file key from revision 5 on
    size_t key_bytes = 0;                             // 0 means KeyLength()
    Chaine confirmed_by;                              // the value of "/U" with which the key was checked
    SecretText user_password;                         // the user password, decrypted with the owner password
    bool by_owner = false;
    std::optional<bool> owner_rights;
    std::shared_ptr<const ZPDFFilterKeys> filter_keys;  // null until needed, and when there are no crypt filters
    bool is_refused = false;                            // the password was tried and does not open the file
  };

  static ZPDFEncryption* Create(std::unique_ptr<ZPDFNodeDictionary> dictionary, const Chaine& file_identifier);
  bool HasLongKey() const { return StandardRevision() >= 5; }
  const SecretText& KeyPassword() const { return opening_.by_owner ? opening_.user_password : user_password_; }
  // The possible lengths of the key in bytes, the most likely one first.
  PTableau<size_t> KeySizes() const;
  size_t KeyBytes() const;
  SecretText ComputeKey(const Chaine& user_password, size_t length, bool encrypt_metadata) const;
  Chaine StandardComputeO(const Chaine& owner) const;
  Chaine StandardComputeU(const Chaine& key) const;
  bool MatchesUserKey(const Chaine& key) const;
  bool IsConfirmed() const;
  bool OpenWith(const Chaine& user_password, Opening* opening) const;
  PTableau<SecretText> UserPasswordsBehind(const Chaine& owner) const;
  bool OpenShort(const Chaine& password, bool as_owner, Opening* opening) const;
  bool OpenLong(const Chaine& password, bool as_owner, Opening* opening) const;
  bool Open(const Chaine& password, bool as_owner, Opening* opening) const;
  ZPDFLongKeyStrings LongKeyStrings() const;
  bool SetLongKey(const Chaine& user, const Chaine& owner);

  ZPDFNodeDictionary* dictionary_;
  std::unique_ptr<ZPDFNodeDictionary> owned_dictionary_;
  SecretText user_password_;
  Chaine file_identifier_;
  ZPDFEncryptions encryptions_ = ZPDFEncryptions::kRC4Only;
  mutable Opening opening_;
};

}  // namespace zforms
