// Any bytes as a file: what can be reached in it is written, as an update with a string of each object
// changed and in full, and read back equal.

#include <cstdint>
#include <cstdlib>

#include "fuzz/round_trip.h"

using namespace zforms;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ZPDFParser parser;
  if (parser.ReadFromRaw(Chaine(reinterpret_cast<const char*>(data), size), "user")) {
    RoundTrip(parser);
  } else if (parser.Diagnostics().Failure().IsEmpty()) {
    std::abort();
  }
  return 0;
}
