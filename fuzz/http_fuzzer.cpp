#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "zforms/platform/http/http_request_reader.h"

using zforms::HTTPRequestReader;
using State = HTTPRequestReader::State;

namespace {

constexpr uint16_t kPort = 8080;

zforms::sHTTPServerLimits Limits() {
  zforms::sHTTPServerLimits limits;
  limits.header_bytes = 2000;
  limits.header_fields = 16;
  limits.body_bytes = 3000;
  return limits;
}

struct Outcome {
  bool complete = false;
  int status = 0;
  size_t taken = 0;
  std::string request;
};

// Passes the bytes to the request reader in pieces of this size, as a connection does.
Outcome Read(std::string_view bytes, size_t piece) {
  const zforms::sHTTPServerLimits limits = Limits();
  HTTPRequestReader reader(limits, kPort);
  Outcome outcome;
  size_t shown = 0;
  while (shown < bytes.size() && reader.GetState() < State::eComplete) {
    shown = std::min(shown + piece, bytes.size());
    outcome.taken += reader.Take(bytes.substr(outcome.taken, shown - outcome.taken));
    if (outcome.taken > shown || reader.BodySize() > limits.body_bytes) std::abort();
    // Checks that not too many bytes remain untaken, because they must fit into a connection's buffer.
    if (reader.GetState() < State::eComplete && shown - outcome.taken > limits.header_bytes) std::abort();
  }
  outcome.status = reader.Verdict().status;
  outcome.complete = reader.GetState() == State::eComplete;
  if (outcome.complete == (outcome.status != 0) && reader.GetState() >= State::eComplete) std::abort();
  if (!outcome.complete) return outcome;
  const zforms::ZHTTPReadRequest request = reader.TakeRequest();
  // Checks that an accepted request names this server, and only once.
  if (request.Header().CountOf("Host") != 1 || !zforms::IsOwnAuthority(request.Host(), kPort)) std::abort();
  if (!request.URL().Server().IsEmpty() || !request.URL().Path().View().starts_with('/')) std::abort();
  outcome.request = (request.Method() + " " + request.URL().AsChaine()).ToString();
  for (size_t i = 0; i < request.Header().Count(); i++) {
    const zforms::ZHTTPHeader::Field& field = request.Header()[i];
    if (!zforms::ZHTTPHeader::IsToken(field.name) || !zforms::ZHTTPHeader::IsFieldValue(field.value)) std::abort();
    outcome.request += "\n" + field.name.ToString() + ": " + field.value.ToString();
  }
  outcome.request += "\n\n" + request.Body().ToString();
  return outcome;
}

}  // namespace

// Checks that a request gives the same result in pieces of any size: it is complete with the same number of bytes
// taken, or refused.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const Outcome whole = Read(bytes, size + 1);
  for (const size_t piece : {size_t{1}, size_t{5}}) {
    const Outcome pieces = Read(bytes, piece);
    // Skips requests with too long headers (status 431): a line near the limit may be accepted in one piece and refused
    // in several.
    if (whole.status == 431 || pieces.status == 431) continue;
    if (whole.complete != pieces.complete) std::abort();
    if (whole.complete && (whole.taken != pieces.taken || whole.request != pieces.request)) std::abort();
  }
  return 0;
}
