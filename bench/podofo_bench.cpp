// The jobs of library.h with PoDoFo, without drawing and flattening. It has no function for the full name of a field,
// so the names are built while the tree is walked.

#include <podofo/podofo.h>

#include <stdexcept>

#include "bench/driver.h"
#include "bench/inputs.h"
#include "bench/library.h"

namespace zforms::bench {
namespace {

using PoDoFo::PdfMemDocument;
using PoDoFo::PdfObject;

const PoDoFo::pdf_utf8* UTF8(const std::string& text) {
  return reinterpret_cast<const PoDoFo::pdf_utf8*>(text.c_str());
}

class PoDoFoLibrary : public Library {
 public:
  PoDoFoLibrary(const std::string& file, const std::vector<std::string>& new_values)
      : file_(file), new_values_(new_values) {
    PoDoFo::PdfError::EnableLogging(false);
    PoDoFo::PdfError::EnableDebug(false);
  }

  Tally List() override {
    Tally tally;
    WithDocument(false, [&](PdfMemDocument& document) {
      ForEachField(document, [&](const PdfObject& field, const std::string& name) {
        const PdfObject* value = field.GetIndirectKey("V");
        tally.items += field.GetIndirectKey("FT") != nullptr ? 1 : 0;
        tally.bytes += name.size();
        tally.bytes += value->IsName() ? value->GetName().GetName().size() : value->GetString().GetStringUtf8().size();
        return true;
      });
    });
    return tally;
  }

  uint64_t Parse() override {
    uint64_t loaded = 0;
    WithDocument(false, [&](PdfMemDocument& document) {
      // IsNull loads the object.
      for (const PdfObject* object : document.GetObjects()) loaded += object->IsNull() ? 0 : 1;
    });
    return loaded;
  }

  uint64_t Fill(std::string* saved) override {
    return SaveWith(true, saved, [&](PdfMemDocument& document, PoDoFo::PdfOutputDevice& out) {
      size_t filled = 0;
      ForEachField(document, [&](PdfObject& field, const std::string&) {
        SetValue(field, new_values_[filled++]);
        return filled < new_values_.size();
      });
      document.WriteUpdate(&out);
    });
  }

  uint64_t Rewrite(std::string* saved) override {
    return SaveWith(false, saved, [](PdfMemDocument& document, PoDoFo::PdfOutputDevice& out) { document.Write(&out); });
  }

 private:
  template <class Work>
  void WithDocument(bool for_update, const Work& work) {
    try {
      PdfMemDocument document;
      document.LoadFromBuffer(file_.data(), static_cast<long>(file_.size()), for_update);
      work(document);
    } catch (const PoDoFo::PdfError& error) {
      throw std::runtime_error(std::string("PoDoFo: ") + PoDoFo::PdfError::ErrorName(error.GetError()));
    }
  }

  template <class Work>
  uint64_t SaveWith(bool for_update, std::string* saved, const Work& work) {
    uint64_t size = 0;
    WithDocument(for_update, [&](PdfMemDocument& document) {
      PoDoFo::PdfRefCountedBuffer buffer;
      PoDoFo::PdfOutputDevice out(&buffer);
      work(document, out);
      size = out.GetLength();
      if (saved != nullptr) saved->assign(buffer.GetBuffer(), size);
    });
    return size;
  }

  // Passes the terminal fields to `work` until it returns false.
  template <class Work>
  static void ForEachField(PdfMemDocument& document, const Work& work) {
    PdfObject* form = document.GetCatalog()->GetIndirectKey("AcroForm");
    Walk(document, form->GetIndirectKey("Fields")->GetArray(), "", work);
  }

  template <class Work>
  static bool Walk(PdfMemDocument& document, const PoDoFo::PdfArray& fields, const std::string& above,
                   const Work& work) {
    for (const PdfObject& reference : fields) {
      PdfObject& field = *document.GetObjects().GetObject(reference.GetReference());
      const std::string name = above + field.GetIndirectKey("T")->GetString().GetStringUtf8();
      const PdfObject* kids = field.GetIndirectKey("Kids");
      if (kids != nullptr ? !Walk(document, kids->GetArray(), name + ".", work) : !work(field, name)) return false;
    }
    return true;
  }

  static void SetValue(PdfObject& field, const std::string& value) {
    if (field.GetIndirectKey("FT")->GetName() == "Btn") {
      field.GetDictionary().AddKey("V", PoDoFo::PdfName(value));
      field.GetDictionary().AddKey("AS", PoDoFo::PdfName(value));
    } else {
      field.GetDictionary().AddKey("V", PoDoFo::PdfString(UTF8(value)));
    }
  }

  const std::string& file_;
  std::vector<std::string> new_values_;
};

}  // namespace

std::unique_ptr<Library> MakeLibrary(const std::string& file, const std::vector<std::string>& new_values) {
  return std::make_unique<PoDoFoLibrary>(file, new_values);
}

}  // namespace zforms::bench

int main(int argc, char** argv) { return zforms::bench::RunBenchmarks(argc, argv); }
