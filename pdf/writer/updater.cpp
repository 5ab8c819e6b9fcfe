#include "pdf/writer/updater.h"

#include <memory>

#include "pdf/crypt/encrypter.h"
#include "pdf/dictionary_node.h"
#include "pdf/indirect_object.h"
#include "pdf/parser/char_class.h"

namespace zforms {

ZPDFUpdater::ZPDFUpdater() = default;

ZPDFUpdater::~ZPDFUpdater() = default;

Chaine ZPDFUpdater::RawData() const {
  Chaine bytes = base_;
  bytes += appended_;
  return bytes;
}

void ZPDFUpdater::SetRawData(const Chaine& data, uint32_t xref_offset) {
  base_ = data;
  appended_.Clear();
  previous_xref_ = xref_offset;
  modified_ = false;
  xref_.Reset();
}

bool ZPDFUpdater::AddNode(const ZPDFNodeIndirectObject* object) {
  if (!object->IsModified()) return false;
  // The line end that the output stream would put before the object is put here,
  // since it sees only what was appended and must not touch what was read.
  if (appended_.IsEmpty() && !base_.IsEmpty() && !Is(base_.Last(), kLineEnd)) appended_ += '\n';
  xref_.Record(object->GetID(), Length());
  ZPDFOutStream out(&appended_);
  out.NewLine();
  object->SendTo(out, nullptr);
  out.NewLine();
  modified_ = true;
  return true;
}

void ZPDFUpdater::SetTrailer(const ZPDFNodeDictionary* trailer) {
  if (trailer->IsModified()) modified_ = true;
  const std::unique_ptr<ZPDFNodeDictionary> clone(trailer->Clone());
  clone->SetValue("/Prev", previous_xref_);
  trailer_text_.Clear();
  ZPDFOutStream out(&trailer_text_);
  clone->SendTo(out, ZPDFEncrypterNeutral::Default());
}

ZPDFUpdater::NewEnd ZPDFUpdater::BuildEnd() const {
  NewEnd end{base_, Length()};
  if (!modified_) return end;
  Chaine tail = appended_;
  if (tail.IsEmpty() && !base_.IsEmpty() && !Is(base_.Last(), kLineEnd)) {
    tail += '\n';
    end.xref_offset++;
  }
  tail += xref_.BuildSection();
  tail += "trailer\n";
  tail += trailer_text_;
  tail += '\n';
  AppendEnd(&tail, end.xref_offset);
  // With room for a next, smaller update behind it.
  const size_t length = end.bytes.size() + tail.size();
  if (!end.bytes.IsEmpty()) end.bytes.Reserve(length + tail.size() / 8);
  end.bytes += tail;
  return end;
}

void ZPDFUpdater::Accept(const NewEnd& end) {
  section_written_ = modified_;
  SetRawData(end.bytes, end.xref_offset);
}

bool ZPDFUpdater::Write(ZInetOStream& out) {
  const NewEnd end = BuildEnd();
  const bool sent = Send(out, end.bytes);
  Accept(end);
  return sent;
}

bool ZPDFUpdater::Write(const Chaine& path) {
  const NewEnd end = BuildEnd();
  if (!Store(path, end.bytes)) return false;
  Accept(end);
  return true;
}

}  // namespace zforms
