#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zforms {

// A message about a form, or about the data with which it is filled.
struct ZFormMessage {
  enum class Severity : uint8_t {
    kNote,     // information; nothing is wrong
    kWarning,  // done, but not all of it or not as it should be
    kFailure,  // not done
  };
  enum class About : uint8_t {
    kForm,
    kData,  // the values to fill in; the text names the field
    kFile,  // a fault in the file of the form, with its object number if known
  };
  // The option that would change the outcome (see ZFormOptions).
  enum class Remedy : uint8_t {
    kNone,
    kForceFilling,   // `force` fills the form
    kForceWriting,   // `force` writes the value, or the file
    kForceXFA,       // `force` removes the XFA form
    kKeepXFA,        // `keep_xfa` keeps the XFA form
    kRecover,        // `recover` reads the file
    kExportAll,      // `all` includes the fields that are left out
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
