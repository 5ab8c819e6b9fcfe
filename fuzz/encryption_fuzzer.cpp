// Takes the input as a file that may be encrypted by any method, and opens it with the password "user" and without one.
// Saves its reachable objects twice: as an update in which one string of each object is changed, and as a complete new
// file. Checks that both are read back equal.

#include <cstdint>
#include <cstdlib>

#include "fuzz/round_trip.h"
#include "zforms/pdf/crypt/encryption_method.h"

using namespace zforms;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Chaine file(reinterpret_cast<const char*>(data), size);
  for (const char* password : {"user", ""}) {
    ZPDFParser parser;
    parser.SetEncryptions(ZPDFEncryptions::kAll);
    if (!parser.ReadFromRaw(file, password)) {
      if (parser.Diagnostics().Failure().IsEmpty()) std::abort();
      continue;
    }
    const ZPDFEncryption* const encryption = parser.Encryption();
    if (encryption != nullptr && EncryptionMethod(*encryption).IsEmpty()) std::abort();
    if (encryption != nullptr && !encryption->CanBeDecrypted() && EncryptionRefusal(*encryption).IsEmpty())
      std::abort();
    if (encryption != nullptr && encryption->CanBeDecrypted()) encryption->HasOwnerRights();
    RoundTrip(parser);
  }
  return 0;
}
