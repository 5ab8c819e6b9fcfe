#include "zforms/pdf/writer/updater.h"

#include <algorithm>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/encrypter.h"

namespace zforms {

namespace {

Chaine TextOf(const ZPDFNodeDictionary* trailer) {
  Chaine text;
  ZPDFOutStream out(&text);
  if (trailer != nullptr) trailer->SendTo(out, ZPDFEncrypterNeutral::Default());
  return text;
}

}  // namespace

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
  // Writes the line end before the first object here: the output stream sees only the appended text and cannot know
  // whether the base ends a line.
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
  trailer_.reset(trailer->Clone());
  SetNumber(*trailer_, "/Prev", previous_xref_);
}

// Appends the section as a cross-reference stream: an indirect object that lists itself too, and is not encrypted.
void ZPDFUpdater::AppendXrefStream(Chaine* tail, uint32_t offset) const {
  ZPDFXrefManager xref = xref_;
  xref.Record({xref_stream_number_, 0}, offset);
  ZPDFXrefManager::StreamSection section = xref.BuildStreamSection();
  ZPDFNodeIndirectObject object(nullptr, {xref_stream_number_, 0}, nullptr);
  auto* stream = new ZPDFNodeStream(section.records);
  object.SetChild(stream);
  ZPDFNodeDictionary& dictionary = *stream->Dico();
  dictionary.SetIdentifier("/Type", "/XRef");
  for (size_t i = 0; trailer_ != nullptr && i < trailer_->Size(); i++) {
    const ZPDFNode* value = trailer_->ValueAt(i);
    if (value != nullptr) dictionary.SetValue(trailer_->KeyAt(i), value->Clone());
  }
  SetNumber(dictionary, "/Size", std::max(dictionary.GetUIntValue("/Size"), xref_stream_number_ + 1));
  const auto set_numbers = [&dictionary](const char* key, const auto& numbers) {
    auto* array = new ZPDFNodeArray;
    for (const uint32_t number : numbers) array->AppendValue(number);
    dictionary.SetValue(key, array);
  };
  set_numbers("/W", section.widths);
  set_numbers("/Index", section.index);
  ZPDFOutStream out(tail);
  object.SendTo(out, ZPDFEncrypterNeutral::Default());
  out.NewLine();
}

ZPDFUpdater::NewEnd ZPDFUpdater::BuildEnd() const {
  NewEnd end{base_, Length()};
  if (!modified_) return end;
  Chaine tail;
  if (appended_.IsEmpty() && !base_.IsEmpty() && !Is(base_.Last(), kLineEnd)) {
    tail += '\n';
    end.xref_offset++;
  }
  if (xref_stream_number_ != 0) {
    AppendXrefStream(&tail, end.xref_offset);
  } else {
    tail += xref_.BuildSection();
    tail += "trailer\n";
    tail += TextOf(trailer_.get());
    tail += '\n';
  }
  AppendEnd(&tail, end.xref_offset);
  // Reserves room for a next, smaller update.
  const size_t update = appended_.size() + tail.size();
  if (!end.bytes.IsEmpty()) end.bytes.Reserve(end.bytes.size() + update + update / 8);
  end.bytes += appended_;
  end.bytes += tail;
  return end;
}

void ZPDFUpdater::Accept(const NewEnd& end) {
  section_written_ = modified_;
  SetRawData(end.bytes, end.xref_offset);
  xref_stream_number_ = 0;
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
