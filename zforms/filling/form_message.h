#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zforms {

// What is to be said of a form, or of the data that it is filled with.
struct ZFormMessage {
  enum class Severity : uint8_t {
    kNote,     // worth knowing, though nothing is wrong
    kWarning,  // done, but not all of it or not as it should be
    kFailure,  // not done
  };
  enum class About : uint8_t {
    kForm,
    kData,  // the values to fill in; the text names the field
    kFile,  // something odd in the file of the form, with its object number where that is known
  };
  // The option that would change the outcome (see ZFormOptions).
  enum class Remedy : uint8_t {
    kNone,
    kForceFilling,   // `force` fills the form
    kForceWriting,   // `force` writes the value, or the file
    kForceXFA,       // `force` takes the XFA form out
    kKeepXFA,        // `keep_xfa` leaves it
    kRecover,        // `recover` reads the file
    kExportAll,      // `all` takes the fields that are left out
    kNoRecovery,     // not even `recover` reads it
    kForceLosses,    // `force` writes a new file without what cannot be read
    kRecoverLosses,  // `recover` looks in the file for what cannot be read, `force` writes the rest
  };

  Severity severity = Severity::kWarning;
  About about = About::kForm;
  std::string text;  // UTF-8
  Remedy remedy = Remedy::kNone;
};

using ZFormMessages = std::vector<ZFormMessage>;

}  // namespace zforms
