#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "zforms/c/form_handle.h"
#include "zforms/filling/data_kind.h"
#include "zforms/filling/file_name.h"
#include "zforms/filling/form_batch.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/text/letter_case.h"
#include "zforms/zforms_batch.h"

using zforms::ByteSource;
using zforms::Chaine;
using zforms::FileNamePattern;
using zforms::Row;
using zforms::ZFormBatch;
using zforms::ZFormMessages;
using zforms::c::CopyBytes;
using zforms::c::CopyText;
using zforms::c::Fail;
using zforms::c::Guarded;

// The handle of a batch.
struct zforms_batch : zforms::c::Handle {
  explicit zforms_batch(zforms_form& form)
      : fill(form.form.Document(), form.guard_options,
             form.draws ? std::optional<zforms::ZDrawingFonts>(form.fonts) : std::nullopt),
        listener(form.listener) {
    if (!form.calculates) fill.LeaveScripts();
  }

  zforms_status Open(ByteSource&& source);
  zforms_status FillRow();
  zforms_status Write(const std::string& folder, const char* name_pattern, unsigned flags);
  zforms_status WriteTo(const std::string& folder, unsigned flags);

  ZFormBatch fill;
  zforms::c::Listener listener;
  std::unique_ptr<zforms::RowReader> reader;  // null without a table
  Row row;                                    // the row that was filled last
  bool is_filled = false;
  bool has_reported_failure = false;  // the host was told why the reader failed
  Chaine bytes;
  std::vector<std::string> next_names;  // the names and values set for the next row without a table
  std::vector<zforms::Cell> next_cells;
  uint64_t next_number = 1;
  std::string pattern_text;
  FileNamePattern pattern;
  std::string path;                         // the file that was written last
  std::unordered_set<std::string> written;  // the names of this batch's files, in one letter case
};

zforms_status zforms_batch::Open(ByteSource&& source) {
  std::string reason;
  is_filled = has_reported_failure = false;
  reader = zforms::OpenRows(std::move(source), &reason);
  if (reader == nullptr) return Fail(this, ZFORMS_ERROR_DATA, reason);
  const zforms::RowNames columns = reader->Header();
  if (columns == nullptr || fill.Feeds(*columns)) return ZFORMS_OK;
  reader.reset();
  return Fail(this, ZFORMS_ERROR_DATA, "no column has the name of a field");
}

zforms_status zforms_batch::FillRow() {
  ZFormMessages messages;
  is_filled = fill.Fill(row, &bytes, &messages);
  return Finish(this, listener, messages, is_filled);
}

zforms_status zforms_batch::WriteTo(const std::string& folder, unsigned flags) {
  std::string reason;
  const std::string name = pattern.MakeFor(row, &reason);
  if (name.empty()) return Fail(this, ZFORMS_ERROR_DATA, reason);
  const std::string file = folder.empty() ? name : folder + "/" + name;
  const std::string folded = zforms::FoldCase(file).ToString();
  if (written.contains(folded)) {
    return Fail(this, ZFORMS_ERROR_DATA, "the file name \"" + name + "\" is already used by another row");
  }
  std::error_code ignored;
  const auto at = std::filesystem::path(reinterpret_cast<const char8_t*>(file.c_str()));
  if ((flags & ZFORMS_OVERWRITE) == 0 && std::filesystem::exists(at, ignored)) {
    return Fail(this, ZFORMS_ERROR_DATA, "the file \"" + name + "\" already exists");
  }
  if (!zforms::ReplaceFile(file, bytes, &reason)) {
    return Fail(this, ZFORMS_ERROR_FORM, "the file \"" + name + "\" cannot be written: " + reason);
  }
  written.insert(folded);
  path = file;
  return ZFORMS_OK;
}

zforms_status zforms_batch::Write(const std::string& folder, const char* name_pattern, unsigned flags) {
  path.clear();
  if (pattern_text != name_pattern) {
    std::string reason;
    pattern_text.clear();
    if (!pattern.Parse(name_pattern, &reason)) return Fail(this, ZFORMS_ERROR_ARGUMENT, reason);
    pattern_text = name_pattern;
  }
  return WriteTo(folder, flags);
}

namespace {

bool IsKnown(unsigned flags) { return (flags & ~unsigned{ZFORMS_OVERWRITE}) == 0; }

double ShareOf(const ByteSource& source) {
  return source.Size() == 0 ? 0 : static_cast<double>(source.Position()) / static_cast<double>(source.Size());
}

// Fills and writes the next row; sets `ended` after the last row, or when the table cannot be read further.
zforms_status RunRow(zforms_batch* batch, const char* folder, const char* pattern, unsigned flags, bool* ended) {
  batch->path.clear();
  const zforms_status status = zforms_batch_next(batch, nullptr, nullptr);
  *ended = status == ZFORMS_END || (status != ZFORMS_OK && !batch->reader->Failure().empty());
  return status == ZFORMS_OK ? zforms_batch_write(batch, folder, pattern, flags) : status;
}

}  // namespace

extern "C" {

zforms_batch* zforms_batch_new(zforms_form* form) {
  zforms_batch* made = nullptr;
  Guarded(form, [&] {
    if (form->form.Document().Parser() == nullptr) return Fail(form, ZFORMS_ERROR_FORM, "no document is open");
    auto batch = std::make_unique<zforms_batch>(*form);
    ZFormMessages messages;
    const bool ready = batch->fill.Prepare(&messages);
    if (ready) made = batch.release();
    return Finish(form, form->listener, messages, ready);
  });
  return made;
}

void zforms_batch_free(zforms_batch* batch) { delete batch; }

zforms_status zforms_batch_open_file(zforms_batch* batch, const char* path) {
  return Guarded(batch, [&] {
    if (path == nullptr) return ZFORMS_ERROR_ARGUMENT;
    ByteSource source;
    if (!source.Open(path)) return Fail(batch, ZFORMS_ERROR_DATA, source.Failure());
    return batch->Open(std::move(source));
  });
}

zforms_status zforms_batch_open_bytes(zforms_batch* batch, const void* data, size_t size) {
  return Guarded(batch, [&] {
    if (data == nullptr) return ZFORMS_ERROR_ARGUMENT;
    ByteSource source;
    source.OpenText({static_cast<const char*>(data), size});
    return batch->Open(std::move(source));
  });
}

zforms_status zforms_batch_next(zforms_batch* batch, uint64_t* number, uint64_t* line) {
  return Guarded(batch, [&] {
    if (batch->reader == nullptr) return ZFORMS_ERROR_ARGUMENT;
    batch->is_filled = false;
    if (!batch->reader->Next(&batch->row)) {
      const std::string& failure = batch->reader->Failure();
      if (failure.empty() || std::exchange(batch->has_reported_failure, true)) return ZFORMS_END;
      return Fail(batch, ZFORMS_ERROR_DATA, failure);
    }
    if (number != nullptr) *number = batch->row.number;
    if (line != nullptr) *line = batch->row.line;
    return batch->FillRow();
  });
}

zforms_status zforms_batch_set(zforms_batch* batch, const char* name, const char* value) {
  return zforms_batch_set_values(batch, name, &value, 1);
}

zforms_status zforms_batch_set_values(zforms_batch* batch, const char* name, const char* const* values, size_t count) {
  return Guarded(batch, [&] {
    const bool is_given = name != nullptr && values != nullptr && count > 0;
    if (!is_given || std::any_of(values, values + count, [](const char* value) { return value == nullptr; })) {
      return ZFORMS_ERROR_ARGUMENT;
    }
    zforms::Cell cell;
    cell.text = values[0];
    cell.more.assign(values + 1, values + count);
    batch->next_names.emplace_back(name);
    batch->next_cells.push_back(std::move(cell));
    return ZFORMS_OK;
  });
}

zforms_status zforms_batch_fill(zforms_batch* batch) {
  return Guarded(batch, [&] {
    Row& row = batch->row;
    // Rows with the same names share one list of names, so that the fields are looked up only once.
    if (row.names == nullptr || *row.names != batch->next_names) {
      row.names = std::make_shared<const std::vector<std::string>>(batch->next_names);
    }
    row.cells = std::move(batch->next_cells);
    row.number = batch->next_number++;
    row.line = 0;
    row.fault.clear();
    batch->next_names.clear();
    batch->next_cells.clear();
    return batch->FillRow();
  });
}

zforms_status zforms_batch_cell(zforms_batch* batch, const char* column, char* buffer, size_t size, size_t* length) {
  return Guarded(batch, [&] {
    if (column == nullptr || !batch->is_filled) return ZFORMS_ERROR_ARGUMENT;
    const std::vector<std::string>& names = *batch->row.names;
    const auto found = std::find(names.begin(), names.end(), column);
    if (found == names.end()) {
      return Fail(batch, ZFORMS_ERROR_NOT_FOUND, "the row has no column \"" + std::string(column) + "\"");
    }
    return CopyText(batch->row.cells[static_cast<size_t>(found - names.begin())].text, buffer, size, length);
  });
}

zforms_status zforms_batch_bytes(zforms_batch* batch, void* buffer, size_t size, size_t* length) {
  return Guarded(batch, [&] {
    return batch->is_filled ? CopyBytes(batch->bytes.View(), buffer, size, length) : ZFORMS_ERROR_ARGUMENT;
  });
}

zforms_status zforms_batch_write(zforms_batch* batch, const char* folder, const char* pattern, unsigned flags) {
  return Guarded(batch, [&] {
    const bool is_given = folder != nullptr && pattern != nullptr && IsKnown(flags);
    return is_given && batch->is_filled ? batch->Write(folder, pattern, flags) : ZFORMS_ERROR_ARGUMENT;
  });
}

zforms_status zforms_batch_path(zforms_batch* batch, char* buffer, size_t size, size_t* length) {
  return Guarded(batch, [&] { return CopyText(batch->path, buffer, size, length); });
}

zforms_status zforms_batch_run(zforms_batch* batch, const char* folder, const char* pattern, unsigned flags,
                               zforms_row_callback callback, void* user) {
  if (batch == nullptr || batch->reader == nullptr || folder == nullptr || pattern == nullptr || !IsKnown(flags)) {
    return Guarded(batch, [] { return ZFORMS_ERROR_ARGUMENT; });
  }
  std::string first_error;
  zforms_status result = ZFORMS_OK;
  bool ended = false;
  bool stopped = false;
  const zforms_status status = Guarded(batch, [&] {
    while (!stopped) {
      const zforms_status row_status = RunRow(batch, folder, pattern, flags, &ended);
      if (row_status == ZFORMS_END) break;
      if (row_status == ZFORMS_ERROR_ARGUMENT || row_status >= ZFORMS_ERROR_MEMORY) return row_status;
      const std::string error = zforms_last_error(batch);
      if (row_status != ZFORMS_OK && result == ZFORMS_OK) {
        result = ZFORMS_ERROR_DATA;
        first_error = error;
      }
      if (ended) break;
      const zforms_row row{batch->row.number,   batch->row.line, row_status,
                           batch->path.c_str(), error.c_str(),   ShareOf(batch->reader->Source())};
      stopped = callback != nullptr && callback(user, &row) != 0;
    }
    batch->fixed_error = nullptr;
    batch->error = first_error;
    return stopped ? ZFORMS_ERROR_STOPPED : result;
  });
  return status;
}

}  // extern "C"
