// The jobs of library.h with qpdf, without drawing and flattening. It cannot write updates, so filling saves the whole
// file.

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFAcroFormDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include "bench/driver.h"
#include "bench/inputs.h"
#include "bench/library.h"

namespace zforms::bench {
namespace {

class QPDFLibrary : public Library {
 public:
  QPDFLibrary(const std::string& file, const std::vector<std::string>& new_values)
      : file_(file), new_values_(new_values) {}

  Tally List() override {
    QPDF document;
    Open(document);
    QPDFAcroFormDocumentHelper form(document);
    Tally tally;
    for (QPDFFormFieldObjectHelper& field : form.getFormFields()) {
      if (field.getFieldType().empty()) continue;
      tally.items++;
      QPDFObjectHandle value = field.getValue();
      tally.bytes += field.getFullyQualifiedName().size();
      tally.bytes += value.isName() ? value.getName().size() - 1 : field.getValueAsString().size();
    }
    return tally;
  }

  uint64_t Parse() override {
    QPDF document;
    Open(document);
    uint64_t loaded = 0;
    for (const auto& [id, entry] : document.getXRefTable()) {
      // Asking for the type loads the object.
      if (entry.getType() != 0 && document.getObject(id).getTypeCode() != ot_null) loaded++;
    }
    return loaded;
  }

  uint64_t Fill(std::string* saved) override {
    QPDF document;
    Open(document);
    QPDFObjectHandle groups = document.getRoot().getKey("/AcroForm").getKey("/Fields");
    const int group_count = groups.getArrayNItems();
    size_t filled = 0;
    for (int i = 0; i < group_count && filled < new_values_.size(); i++) {
      QPDFObjectHandle kids = groups.getArrayItem(i).getKey("/Kids");
      const int kid_count = kids.getArrayNItems();
      for (int j = 0; j < kid_count && filled < new_values_.size(); j++) {
        SetValue(kids.getArrayItem(j), new_values_[filled++]);
      }
    }
    return Write(document, saved);
  }

  uint64_t Rewrite(std::string* saved) override {
    QPDF document;
    Open(document);
    return Write(document, saved);
  }

 private:
  void Open(QPDF& document) {
    document.setSuppressWarnings(true);
    document.processMemoryFile("input", file_.data(), file_.size());
    if (document.anyWarnings()) throw std::runtime_error("qpdf: the file is odd");
  }

  static void SetValue(QPDFObjectHandle field, const std::string& value) {
    if (field.getKey("/FT").getName() == "/Btn") {
      field.replaceKey("/V", QPDFObjectHandle::newName("/" + value));
      field.replaceKey("/AS", QPDFObjectHandle::newName("/" + value));
    } else {
      field.replaceKey("/V", QPDFObjectHandle::newUnicodeString(value));
    }
  }

  static uint64_t Write(QPDF& document, std::string* saved) {
    QPDFWriter writer(document);
    writer.setOutputMemory();
    writer.setObjectStreamMode(qpdf_o_disable);
    writer.setStreamDataMode(qpdf_s_preserve);
    writer.write();
    const auto bytes = writer.getBufferSharedPointer();
    if (saved != nullptr) saved->assign(reinterpret_cast<const char*>(bytes->getBuffer()), bytes->getSize());
    return bytes->getSize();
  }

  const std::string& file_;
  std::vector<std::string> new_values_;
};

}  // namespace

std::unique_ptr<Library> MakeLibrary(const std::string& file, const std::vector<std::string>& new_values) {
  return std::make_unique<QPDFLibrary>(file, new_values);
}

}  // namespace zforms::bench

int main(int argc, char** argv) { return zforms::bench::RunBenchmarks(argc, argv); }
