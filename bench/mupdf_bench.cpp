// The jobs with MuPDF. The job that fills without drawing sets the values directly in the objects, because MuPDF's form
// functions also draw the fields.

#include <mupdf/fitz.h>
#include <mupdf/pdf.h>

#include <cstring>
#include <stdexcept>

#include "bench/driver.h"
#include "bench/inputs.h"
#include "bench/library.h"

namespace zforms::bench {
namespace {

void Ignore(void*, const char*) {}

// The bytes saved; MuPDF appends an update to the contents of its destination.
struct Saved {
  fz_buffer* buffer;
};

void WriteSaved(fz_context* context, void* state, const void* data, size_t size) {
  fz_append_data(context, static_cast<Saved*>(state)->buffer, data, size);
}

int64_t TellSaved(fz_context*, void* state) { return static_cast<int64_t>(static_cast<Saved*>(state)->buffer->len); }

// Accepts only a seek to the end of the output, since MuPDF needs no other.
void SeekSaved(fz_context* context, void* state, int64_t offset, int whence) {
  const bool to_end = whence == SEEK_END ? offset == 0 : whence == SEEK_SET && offset == TellSaved(context, state);
  if (!to_end) fz_throw(context, FZ_ERROR_GENERIC, "the output cannot go back");
}

void TruncateSaved(fz_context*, void*) {}

// Opens the output for reading, which MuPDF needs to complete signatures.
fz_stream* ReadSaved(fz_context* context, void* state) {
  return fz_open_buffer(context, static_cast<Saved*>(state)->buffer);
}

class MuPDFLibrary : public Library {
 public:
  MuPDFLibrary(const std::string& file, const std::vector<std::string>& new_values)
      : file_(file), new_values_(new_values), context_(fz_new_context(nullptr, nullptr, FZ_STORE_DEFAULT)) {
    fz_set_warning_callback(context_, Ignore, nullptr);
    fz_set_error_callback(context_, Ignore, nullptr);
  }
  ~MuPDFLibrary() override { fz_drop_context(context_); }

  Tally List() override {
    Tally tally;
    WithDocument([&](pdf_document* document) { AddFields(Fields(document), &tally); });
    return tally;
  }

  uint64_t Parse() override {
    uint64_t loaded = 0;
    WithDocument([&](pdf_document* document) {
      const int count = pdf_xref_len(context_, document);
      for (int i = 1; i < count; i++) {
        const pdf_xref_entry* entry = pdf_get_xref_entry_no_null(context_, document, i);
        const bool in_use = entry->type == 'n' || entry->type == 'o';  // 'o': compressed in an object stream
        if (in_use && pdf_cache_object(context_, document, i)->obj != nullptr) loaded++;
      }
    });
    return loaded;
  }

  uint64_t Fill(std::string* saved) override {
    return SaveWith(saved, [&](pdf_document* document, fz_output* out) {
      size_t filled = 0;
      SetValues(document, Fields(document), &filled);
      fz_write_data(context_, out, file_.data(), file_.size());
      pdf_write_options options = pdf_default_write_options;
      options.do_incremental = 1;
      pdf_write_document(context_, document, out, &options);
    });
  }

  uint64_t Draw(std::string* saved) override {
    return SaveWith(saved, [&](pdf_document* document, fz_output* out) {
      size_t filled = 0;
      draws_ = true;
      SetValues(document, Fields(document), &filled);
      draws_ = false;
      const int pages = pdf_count_pages(context_, document);
      for (int i = 0; i < pages; i++) {
        pdf_page* page = pdf_load_page(context_, document, i);
        pdf_update_page(context_, page);
        fz_drop_page(context_, &page->super);
      }
      pdf_write_options options = pdf_default_write_options;
      pdf_write_document(context_, document, out, &options);
    });
  }

  uint64_t Rewrite(std::string* saved) override {
    return SaveWith(saved, [&](pdf_document* document, fz_output* out) {
      pdf_write_options options = pdf_default_write_options;
      options.do_garbage = 1;
      pdf_write_document(context_, document, out, &options);
    });
  }

 private:
  // MuPDF's errors longjmp over C++ frames, so `work` must not own anything with a destructor.
  template <class Work>
  void WithDocument(const Work& work) {
    fz_stream* stream = nullptr;
    pdf_document* document = nullptr;
    bool repaired = false;
    bool failed = false;
    fz_var(stream);
    fz_var(document);
    fz_var(repaired);
    fz_try(context_) {
      stream = fz_open_memory(context_, reinterpret_cast<const unsigned char*>(file_.data()), file_.size());
      document = pdf_open_document_with_stream(context_, stream);
      work(document);
      repaired = document->repair_attempted != 0;
    }
    fz_always(context_) {
      pdf_drop_document(context_, document);
      fz_drop_stream(context_, stream);
    }
    fz_catch(context_) failed = true;
    if (failed) throw std::runtime_error(std::string("MuPDF: ") + fz_caught_message(context_));
    if (repaired) throw std::runtime_error("MuPDF took the file for damaged");
  }

  template <class Work>
  uint64_t SaveWith(std::string* saved, const Work& work) {
    Saved result{nullptr};
    WithDocument([&](pdf_document* document) {
      result.buffer = fz_new_buffer(context_, file_.size() + file_.size() / 4);
      fz_output* out = fz_new_output(context_, 0, &result, WriteSaved, nullptr, nullptr);
      out->seek = SeekSaved;
      out->tell = TellSaved;
      out->as_stream = ReadSaved;
      out->truncate = TruncateSaved;
      work(document, out);
      fz_close_output(context_, out);
      fz_drop_output(context_, out);
    });
    const uint64_t size = result.buffer->len;
    if (saved != nullptr) saved->assign(reinterpret_cast<const char*>(result.buffer->data), size);
    fz_drop_buffer(context_, result.buffer);
    return size;
  }

  pdf_obj* Fields(pdf_document* document) {
    pdf_obj* root = pdf_dict_get(context_, pdf_trailer(context_, document), PDF_NAME(Root));
    return pdf_dict_get(context_, pdf_dict_get(context_, root, PDF_NAME(AcroForm)), PDF_NAME(Fields));
  }

  void AddFields(pdf_obj* fields, Tally* tally) {
    const int count = pdf_array_len(context_, fields);
    for (int i = 0; i < count; i++) {
      pdf_obj* field = pdf_array_get(context_, fields, i);
      pdf_obj* kids = pdf_dict_get(context_, field, PDF_NAME(Kids));
      AddFields(kids, tally);
      if (kids != nullptr || pdf_field_type(context_, field) == PDF_WIDGET_TYPE_UNKNOWN) continue;
      char* name = pdf_field_name(context_, field);
      tally->items++;
      tally->bytes += std::strlen(name) + std::strlen(pdf_field_value(context_, field));
      fz_free(context_, name);
    }
  }

  void SetValues(pdf_document* document, pdf_obj* fields, size_t* filled) {
    const int count = pdf_array_len(context_, fields);
    for (int i = 0; i < count && *filled < new_values_.size(); i++) {
      pdf_obj* field = pdf_array_get(context_, fields, i);
      pdf_obj* kids = pdf_dict_get(context_, field, PDF_NAME(Kids));
      if (kids != nullptr) {
        SetValues(document, kids, filled);
      } else {
        SetValue(document, field, new_values_[(*filled)++].c_str());
      }
    }
  }

  void SetValue(pdf_document* document, pdf_obj* field, const char* value) {
    if (pdf_name_eq(context_, pdf_dict_get(context_, field, PDF_NAME(FT)), PDF_NAME(Btn))) {
      pdf_dict_put_name(context_, field, PDF_NAME(V), value);
      pdf_dict_put_name(context_, field, PDF_NAME(AS), value);
    } else if (draws_) {
      pdf_set_field_value(context_, document, field, value, 1);
    } else {
      pdf_dict_put_text_string(context_, field, PDF_NAME(V), value);
    }
  }

  const std::string& file_;
  std::vector<std::string> new_values_;
  bool draws_ = false;
  fz_context* context_;
};

}  // namespace

std::unique_ptr<Library> MakeLibrary(const std::string& file, const std::vector<std::string>& new_values) {
  return std::make_unique<MuPDFLibrary>(file, new_values);
}

}  // namespace zforms::bench

int main(int argc, char** argv) { return zforms::bench::RunBenchmarks(argc, argv); }
