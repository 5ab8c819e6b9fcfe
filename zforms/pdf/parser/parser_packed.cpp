// The parser's functions for object streams and the objects inside them.

#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/object_stream.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// The longest chain of "/Extends" that is followed.
constexpr int kMostExtended = 16;

}  // namespace

ZPDFObjectStream* ZPDFParser::ObjectStream(uint32_t number) {
  const auto known = file_.object_streams.find(number);
  if (known != file_.object_streams.end()) return known->second.get();
  // Marks the stream as missing until it is read: reading it could need an object that it contains itself.
  file_.object_streams[number] = nullptr;
  const ZPDFObjectLocation* location = locations_.Find(number);
  if (location == nullptr || location->packed) return nullptr;
  const ZPDFNodeIndirectObject* object = GetObject(location->id);
  const auto* stream = object == nullptr ? nullptr : NodeCast<ZPDFNodeStream>(object->GetDirectAt(0));
  if (stream == nullptr) return nullptr;
  auto opened = std::make_shared<ZPDFObjectStream>(*stream, file_.decode_budget);
  file_.SpendDecoded(opened->Decoded());
  if (!opened->Fault().IsEmpty()) diagnostics_.WarnObject(number, 0, opened->Fault());
  file_.object_streams[number] = opened;
  return opened.get();
}

ZPDFNodeIndirectObject* ZPDFParser::LoadPacked(const ZPDFObjectIdentifier& id, uint32_t stream_number) {
  uint32_t number = stream_number;
  const char* fault = " does not contain this object";
  for (int i = 0; i < kMostExtended && number != 0; i++) {
    ZPDFObjectStream* const stream = ObjectStream(number);
    if (stream == nullptr) {
      if (i == 0) fault = " cannot be read";
      break;
    }
    if (const ZPDFObjectStream::Part* part = stream->Find(id.Number())) {
      const SousChaine text(stream->Text(), part->begin, part->end - part->begin);
      return BuildPacked(id, text);
    }
    number = stream->Extends();
  }
  diagnostics_.WarnObject(id.Number(), id.Generation(), "object stream " + FormatUInt(stream_number) + fault);
  return nullptr;
}

ZPDFNodeIndirectObject* ZPDFParser::BuildPacked(const ZPDFObjectIdentifier& id, const SousChaine& part) {
  ZPDFTokenizedString text(part);
  text.SetDocument(pool_.get());
  text.SetDiagnostics(&packed_diagnostics_);
  ZPDFNodeIndirectObject* object = ZPDFNodeIndirectObject::BuildPacked(text, id, this, encryption_.get());
  if (packed_diagnostics_.Warnings().Size() > 0) {
    // Drops the offsets of the warnings, because they are offsets in the stream, not in the file.
    for (ZDiagnostics::Warning warning : packed_diagnostics_.Warnings()) {
      warning.offset = ZDiagnostics::kNoOffset;
      diagnostics_.Warn(warning);
    }
    packed_diagnostics_.Clear();
  }
  return object;
}

}  // namespace zforms
