#include "zforms/platform/xml/xml.h"

namespace zforms {

ZXMLReader::ZXMLReader(const ZXMLReader& other)
    : document_(other.document_ == nullptr ? nullptr : other.document_->Clone()),
      version_(other.version_),
      standalone_(other.standalone_),
      last_error_(other.last_error_) {}

ZXMLReader& ZXMLReader::operator=(const ZXMLReader& other) {
  if (this != &other) *this = ZXMLReader(other);
  return *this;
}

ZXMLReader& ZXMLReader::operator=(ZXMLReader&& other) noexcept {
  if (this == &other) return *this;
  document_ = std::move(other.document_);
  memory_ = std::move(other.memory_);
  version_ = std::move(other.version_);
  standalone_ = std::move(other.standalone_);
  last_error_ = std::move(other.last_error_);
  return *this;
}

void ZXMLReader::Clear() {
  document_.reset();
  memory_.reset();
  version_.Clear();
  standalone_.Clear();
  last_error_.clear();
}

ZXMLElement& ZXMLReader::Create(std::string_view root_name) {
  Clear();
  document_ = std::make_unique<ZXMLElement>(Chaine());
  return document_->Add(root_name);
}

ZXMLElement* ZXMLReader::Data() { return document_ == nullptr ? nullptr : document_->FirstChild(); }

const ZXMLElement* ZXMLReader::Data() const { return document_ == nullptr ? nullptr : document_->FirstChild(); }

ZXMLOptimizeFOStream::ZXMLOptimizeFOStream(ZInetOStream* target, unsigned options)
    : ZInetFilterOStream(target), block_(std::make_unique_for_overwrite<char[]>(kCapacity)), options_(options) {}

ZXMLOptimizeFOStream::~ZXMLOptimizeFOStream() { Flush(); }

bool ZXMLOptimizeFOStream::Flush() {
  if (count_ != 0 && ok_) ok_ = Target()->Write(block_.get(), count_);
  count_ = 0;
  return ok_;
}

void ZXMLOptimizeFOStream::PutLong(std::string_view text) {
  Flush();
  if (text.size() < kCapacity) {
    text.copy(block_.get(), text.size());
    count_ = text.size();
  } else if (ok_) {
    ok_ = Target()->Write(text.data(), text.size());
  }
}

}  // namespace zforms
