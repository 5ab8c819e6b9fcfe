#include "zforms/c/form_handle.h"

using zforms::ZForm;
using zforms::c::Guarded;
using zforms::c::TextOr;

namespace {

static_assert(static_cast<int>(zforms::ExportFormat::kXFDF) == ZFORMS_XFDF &&
                  static_cast<int>(zforms::ExportFormat::kFDF) == ZFORMS_FDF &&
                  static_cast<int>(zforms::ExportFormat::kJSON) == ZFORMS_JSON &&
                  static_cast<int>(zforms::ExportFormat::kJSONLines) == ZFORMS_JSON_LINES &&
                  static_cast<int>(zforms::ExportFormat::kCSV) == ZFORMS_CSV && zforms::kExportFormats.size() == 5,
              "the C interface has the same formats");

template <class Open>
zforms_status OpenWith(zforms_form* form, const char* password, unsigned flags, Open open) {
  return Guarded(form, [&] {
    constexpr unsigned kKnown = ZFORMS_RECOVER | ZFORMS_KEEP_XFA | ZFORMS_FORCE | ZFORMS_DRAW | ZFORMS_NO_CALCULATION;
    if ((flags & ~kKnown) != 0) return ZFORMS_ERROR_ARGUMENT;
    zforms::ZFormOptions options;
    options.password = TextOr(password, "");
    options.recover = (flags & ZFORMS_RECOVER) != 0;
    options.keep_xfa = (flags & ZFORMS_KEEP_XFA) != 0;
    options.force = (flags & ZFORMS_FORCE) != 0;
    options.draw = (flags & ZFORMS_DRAW) != 0;
    options.calculate = (flags & ZFORMS_NO_CALCULATION) == 0;
    options.fonts = form->fonts;
    const bool opened = open(options);
    if (opened) {
      form->guard_options = {options.keep_xfa, options.force};
      form->draws = options.draw;
      form->calculates = options.calculate;
      form->DropFields();
      form->pending.Drop();
    }
    return form->Finish(opened);
  });
}

template <class Fill>
zforms_status FillWith(zforms_form* form, Fill fill) {
  return Guarded(form, [&] {
    form->pending.Drop();
    const bool filled = fill();
    form->DropFields();
    return form->Finish(filled);
  });
}

bool IsSaveMode(zforms_save_mode mode) { return mode == ZFORMS_UPDATE || mode == ZFORMS_NEW_FILE; }

ZForm::SaveAs SaveAsOf(zforms_save_mode mode) {
  return mode == ZFORMS_NEW_FILE ? ZForm::SaveAs::kNewFile : ZForm::SaveAs::kUpdate;
}

}  // namespace

zforms_status zforms_form::Finish(bool done) { return zforms::c::Finish(this, listener, form.TakeMessages(), done); }

extern "C" {

zforms_form* zforms_form_new() { return zforms::c::NewHandle<zforms_form>(); }

void zforms_form_free(zforms_form* form) { delete form; }

zforms_status zforms_on_message(zforms_form* form, zforms_message_callback callback, void* user) {
  return Guarded(form, [&] {
    form->listener = {callback, user};
    return ZFORMS_OK;
  });
}

zforms_status zforms_open_file(zforms_form* form, const char* path, const char* password, unsigned flags) {
  if (form == nullptr || path == nullptr) return Guarded(form, [] { return ZFORMS_ERROR_ARGUMENT; });
  return OpenWith(form, password, flags,
                  [&](const zforms::ZFormOptions& options) { return form->form.Open(path, options); });
}

zforms_status zforms_open_bytes(zforms_form* form, const void* bytes, size_t size, const char* password,
                                unsigned flags) {
  if (bytes == nullptr) return Guarded(form, [] { return ZFORMS_ERROR_ARGUMENT; });
  return OpenWith(form, password, flags, [&](const zforms::ZFormOptions& options) {
    return form->form.OpenBytes({static_cast<const char*>(bytes), size}, options);
  });
}

zforms_status zforms_add_font(zforms_form* form, const char* path) {
  return Guarded(form, [&] {
    if (path == nullptr) return ZFORMS_ERROR_ARGUMENT;
    zforms::Chaine fault;
    if (form->fonts.AddFile(path, &fault)) return ZFORMS_OK;
    return zforms::c::Fail(form, ZFORMS_ERROR_DATA, fault.ToString());
  });
}

zforms_status zforms_draw(zforms_form* form) {
  return Guarded(form, [&] {
    form->pending.Drop();
    return form->Finish(form->form.Draw());
  });
}

zforms_status zforms_flatten(zforms_form* form, const char* const* names, size_t count) {
  return Guarded(form, [&] {
    if (names == nullptr && count != 0) return ZFORMS_ERROR_ARGUMENT;
    std::vector<std::string> texts;
    for (size_t i = 0; i < count; i++) {
      if (names[i] == nullptr) return ZFORMS_ERROR_ARGUMENT;
      texts.emplace_back(names[i]);
    }
    form->pending.Drop();
    const bool is_flat = form->form.Flatten(texts);
    form->DropFields();
    return form->Finish(is_flat);
  });
}

zforms_status zforms_fill_file(zforms_form* form, const char* path) {
  if (path == nullptr) return Guarded(form, [] { return ZFORMS_ERROR_ARGUMENT; });
  return FillWith(form, [&] { return form->form.FillFromFile(path); });
}

zforms_status zforms_fill_bytes(zforms_form* form, const void* data, size_t size, const char* name) {
  if (data == nullptr) return Guarded(form, [] { return ZFORMS_ERROR_ARGUMENT; });
  return FillWith(form, [&] { return form->form.Fill({static_cast<const char*>(data), size}, TextOr(name, "")); });
}

zforms_status zforms_save_file(zforms_form* form, const char* path, zforms_save_mode mode) {
  return Guarded(form, [&] {
    if (path == nullptr || !IsSaveMode(mode)) return ZFORMS_ERROR_ARGUMENT;
    form->pending.Drop();
    return form->Finish(form->form.Save(path, SaveAsOf(mode)));
  });
}

zforms_status zforms_save_bytes(zforms_form* form, zforms_save_mode mode, void* buffer, size_t size, size_t* length) {
  return Guarded(form, [&] {
    if (!IsSaveMode(mode)) return ZFORMS_ERROR_ARGUMENT;
    const std::string key = "save " + std::to_string(mode);
    if (form->pending.key != key) {
      form->pending.Drop();
      const zforms_status status = form->Finish(form->form.SaveBytes(&form->pending.bytes, SaveAsOf(mode)));
      if (status != ZFORMS_OK) return status;
      form->pending.key = key;
    }
    return form->pending.Give(false, buffer, size, length);
  });
}

zforms_status zforms_export(zforms_form* form, zforms_format format, int all, char* buffer, size_t size,
                            size_t* length) {
  return Guarded(form, [&] {
    if (format < ZFORMS_XFDF || format > ZFORMS_CSV) return ZFORMS_ERROR_ARGUMENT;
    const std::string key = "export " + std::to_string(format) + (all != 0 ? " all" : "");
    if (form->pending.key != key) {
      form->pending.Drop();
      form->pending.bytes = form->form.Export(static_cast<zforms::ExportFormat>(format), all != 0);
      const zforms_status status = form->Finish(!form->pending.bytes.empty());
      if (status != ZFORMS_OK) return status;
      form->pending.key = key;
    }
    return form->pending.Give(true, buffer, size, length);
  });
}

}  // extern "C"
