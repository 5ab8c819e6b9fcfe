#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "zforms/acroform/acro_form.h"
#include "zforms/appearance/drawing_fonts.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/filling/form_message.h"
#include "zforms/filling/form_press.h"
#include "zforms/filling/row.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class FieldScripts;
class ZCheckedFiller;
class ZFieldRule;

// ZFormBatch fills a form once for each row of data, each time from its original state. A column fills the fields whose
// full name is the name of the column.
//
//   ZFormBatch batch(form, {});
//   ZFormMessages messages;
//   Row row;
//   Chaine bytes;
//   for (bool ready = batch.Prepare(&messages); ready && reader->Next(&row);) {
//     if (batch.Fill(row, &bytes, &messages)) ReplaceFile(...);
//   }
//
// It fills a copy of the form. One thread at a time; different batches are independent.
class ZFORMS_API ZFormBatch {
 public:
  // Copies a loaded form with its unsaved changes. With fonts, the fields that are filled in are drawn; without fonts,
  // viewers are asked to draw them.
  ZFormBatch(const ZAcroForm& form, const GuardOptions& options, std::optional<ZDrawingFonts> fonts = std::nullopt);
  ZFormBatch(const ZFormBatch&) = delete;
  ZFormBatch& operator=(const ZFormBatch&) = delete;
  ~ZFormBatch();

  // Ignores the scripts of the form (see ZFormOptions::calculate). Call it before Prepare.
  void LeaveScripts() { calculates_ = false; }
  // Reads the fields of the form. False, with the reason, when nothing may be filled.
  bool Prepare(ZFormMessages* messages);
  // Whether one of the columns fills a field. Precondition, here and below: Prepare returned true.
  bool Feeds(const std::vector<std::string>& columns);
  // The form filled with the row, as an update of the bytes that were read. False, with a failure about the row, when
  // the row has a fault or a field does not accept its value. Warnings say what could not be drawn. A note names each
  // column that fills no field, once.
  bool Fill(const Row& row, Chaine* bytes, ZFormMessages* messages);

 private:
  // The field that the value of a column fills.
  struct Feed {
    size_t name = 0;                         // the index in names_
    std::shared_ptr<const ZFieldRule> rule;  // null when the column fills no field
  };

  bool MakeWhole(ZFormMessages* messages);
  void Match(const RowNames& columns);
  Feed FeedOf(const std::string& column);
  void SayUnused(ZFormMessages* messages);
  std::string FaultsOf(const Row& row);

  ZAcroForm form_;
  GuardOptions options_;
  std::optional<ZDrawingFonts> fonts_;
  bool calculates_ = true;
  std::unique_ptr<FillingGuard> guard_;
  std::unique_ptr<FieldScripts> scripts_;  // null when scripts are ignored
  std::unique_ptr<ZCheckedFiller> filler_;
  std::vector<std::string> names_;
  std::unordered_map<std::string, size_t> index_;
  std::unique_ptr<FormPress> press_;
  RowNames columns_;         // the columns of the last row
  std::vector<Feed> feeds_;  // one for each of these columns
  std::set<std::string> unused_;
  std::vector<FormPress::Value> values_;
};

}  // namespace zforms
