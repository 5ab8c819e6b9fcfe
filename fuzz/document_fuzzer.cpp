// Takes the input as a file. Saves its reachable objects twice: as an update in which one string of each object is
// changed, and as a complete new file. Checks that both are read back equal.

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
