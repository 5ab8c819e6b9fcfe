#include "zforms/pdf/parser/stream_filters.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/parser/byte_filters.h"
#include "zforms/pdf/parser/predictor.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/platform/text/characters.h"

namespace zforms {
namespace {

constexpr std::string_view kTooLarge = "its decoded data is larger than zforms allows";
constexpr std::string_view kDamaged = "its compressed data is damaged";
// Messages show at most this many bytes of the name of an unsupported filter.
constexpr size_t kShownName = 40;
constexpr std::string_view kNoFilterName = "its filter is not a name";
constexpr size_t kFirstPiece = 4096;
// From this many decoded bytes on, the remaining length is measured before memory is allocated for it.
constexpr size_t kUnmeasured = 16 << 20;
// A stream with more filters is refused.
constexpr size_t kMostFilters = 8;

// The zlib state; the destructor frees it.
class Inflater {
 public:
  Inflater() : ready_(inflateInit(&state_) == Z_OK) {}
  ~Inflater() {
    if (ready_) inflateEnd(&state_);
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  ZPDFDecodedStream Run(const Chaine& data, size_t limit) {
    ZPDFDecodedStream result;
    if (!ready_ || data.size() > UINT32_MAX) return {false, {}, kDamaged};
    state_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    state_.avail_in = static_cast<uInt>(data.size());
    int status = Z_OK;
    size_t piece = std::clamp(data.size() * 4, kFirstPiece, kUnmeasured);
    for (; status == Z_OK; piece = result.data.size()) {
      const size_t allowed = limit - result.data.size();
      if (result.data.size() >= kUnmeasured) {
        piece = Measure(allowed);
        if (piece > allowed) return {false, {}, kTooLarge, limit};
      }
      // Allows one byte more than the limit, to distinguish data that are too long from data that fit exactly.
      status = Piece(&result.data, std::min(piece, allowed) + 1);
      if (result.data.size() > limit) return {false, {}, kTooLarge, limit};
    }
    result.produced = result.data.size();
    // Keeps the data before the damage: they are often complete.
    if (status != Z_STREAM_END) result.fault = kDamaged;
    result.usable = status == Z_STREAM_END || !result.data.IsEmpty();
    return result;
  }

 private:
  // Counts the remaining bytes, at most one more than allowed, without storing them.
  size_t Measure(size_t allowed) {
    z_stream ahead{};
    if (inflateCopy(&ahead, &state_) != Z_OK) return allowed + 1;
    std::array<Bytef, size_t{1} << 16> scratch;
    size_t count = 0;
    for (int status = Z_OK; status == Z_OK && count <= allowed; count += scratch.size() - ahead.avail_out) {
      ahead.next_out = scratch.data();
      ahead.avail_out = static_cast<uInt>(scratch.size());
      status = inflate(&ahead, Z_NO_FLUSH);
    }
    inflateEnd(&ahead);
    return std::min(count, allowed + 1);
  }

  int Piece(Chaine* out, size_t room) {
    const size_t before = out->size();
    state_.next_out = reinterpret_cast<Bytef*>(out->AppendUninitialized(room));
    state_.avail_out = static_cast<uInt>(room);
    const int status = inflate(&state_, Z_NO_FLUSH);
    out->Truncate(before + room - state_.avail_out);
    return status == Z_OK && state_.avail_out > 0 ? Z_BUF_ERROR : status;
  }

  z_stream state_{};
  bool ready_;
};

const ZPDFNodeDictionary* ParametersAt(const ZPDFNode* parameters, size_t index) {
  if (const auto* array = NodeCast<ZPDFNodeArray>(parameters)) {
    parameters = array->GetTargetAt(index);
  } else if (index > 0) {
    return nullptr;
  }
  return NodeCast<ZPDFNodeDictionary>(parameters);
}

ZPDFPredictor PredictorOf(const ZPDFNodeDictionary* parameters) {
  ZPDFPredictor layout;
  if (parameters == nullptr) return layout;
  const auto take = [parameters](const char* key, uint32_t* value) {
    if (NodeCast<ZPDFNodeNumeric>(parameters->GetTarget(key)) != nullptr) *value = parameters->GetUIntValue(key);
  };
  take("/Predictor", &layout.predictor);
  take("/Colors", &layout.colors);
  take("/BitsPerComponent", &layout.bits);
  take("/Columns", &layout.columns);
  return layout;
}

// Undoes one of the filters in byte_filters.h; nothing for another filter.
std::optional<ZPDFDecodedStream> UndoByteFilter(std::string_view name, const Chaine& data, size_t limit) {
  std::optional<Chaine> undone;
  if (name == "/ASCIIHexDecode") {
    undone = UndoASCIIHex(data, limit);
  } else if (name == "/ASCII85Decode") {
    undone = UndoASCII85(data, limit);
  } else if (name == "/RunLengthDecode") {
    undone = UndoRunLength(data, limit);
  } else {
    return std::nullopt;
  }
  if (!undone) return ZPDFDecodedStream{false, {}, kTooLarge, limit};
  return ZPDFDecodedStream{true, *undone, {}, undone->size()};
}

ZPDFDecodedStream UndoFilter(const Chaine& name, const ZPDFNodeDictionary* parameters, const Chaine& data,
                             size_t limit) {
  if (std::optional<ZPDFDecodedStream> undone = UndoByteFilter(name, data, limit)) return std::move(*undone);
  if (name != "/FlateDecode") {
    return {false, {}, "unsupported filter " + name.Mid(0, SizeOfWholeCharacters(name, kShownName))};
  }
  ZPDFDecodedStream result = Inflater().Run(data, limit);
  if (!result.usable) return result;
  std::optional<Chaine> samples = UndoPredictor(PredictorOf(parameters), result.data);
  if (!samples) return {false, {}, "its data does not fit its predictor (\"/DecodeParms\")", result.produced};
  result.data = std::move(*samples);
  return result;
}

}  // namespace

ZPDFDecodedStream DecodeStream(const ZPDFNodeStream& stream, size_t limit) {
  const ZPDFNode* filter = stream.Dico()->GetTarget("/Filter");
  if (NodeCast<ZPDFNodeNull>(filter) != nullptr) filter = nullptr;
  const auto* const filters = NodeCast<ZPDFNodeArray>(filter);
  const size_t count = filters != nullptr ? filters->Size() : filter == nullptr ? 0 : 1;
  const ZPDFNode* const parameters = stream.Dico()->GetTarget("/DecodeParms");
  ZPDFDecodedStream result{true, stream.Data(), {}};
  limit = std::min({limit, kMostDecodedOfStream, kDecodedStreamBase + kDecodedOfStream * result.data.size()});
  if (count > kMostFilters) return {false, {}, "it has too many filters"};
  for (size_t i = 0; i < count; i++) {
    const ZPDFNode* const name = filters != nullptr ? filters->GetTargetAt(i) : filter;
    if (NodeCast<ZPDFNodeIdentifier>(name) == nullptr) return {false, {}, kNoFilterName, result.produced};
    const ZPDFDecodedStream before = std::move(result);
    result = UndoFilter(name->GetIdentifier(), ParametersAt(parameters, i), before.data, limit - before.produced);
    result.produced += before.produced;
    if (!result.usable) return result;
    if (result.fault.IsEmpty()) result.fault = before.fault;
  }
  return result;
}

Chaine FlateEncoded(std::string_view bytes) {
  uLongf length = compressBound(static_cast<uLong>(bytes.size()));
  Chaine result;
  auto* const out = reinterpret_cast<Bytef*>(result.AppendUninitialized(length));
  compress2(out, &length, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uLong>(bytes.size()),
            Z_DEFAULT_COMPRESSION);
  result.Truncate(length);
  return result;
}

}  // namespace zforms
