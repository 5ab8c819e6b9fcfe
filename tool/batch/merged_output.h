#pragma once

#include <memory>
#include <string>

#include "tool/batch/batch_output.h"
#include "tool/batch/merged_file.h"
#include "tool/batch/row_pages.h"
#include "zforms/acroform/acro_form.h"

namespace zforms::tool {

// MergedOutput puts the flattened forms of all rows into one PDF file, in the order of the rows.
class MergedOutput final : public BatchOutput {
 public:
  explicit MergedOutput(std::string path);
  ~MergedOutput() override;

  // Sets the form that is filled. Call it before Open.
  void SetForm(const ZAcroForm& form);
  bool Open(uint64_t job, BatchFault* fault) override;
  // Accepts every name: here the name is only the title of the row in the outline, so several rows may have the same.
  void Enter(Seat* seat, BatchFault* fault) override;
  // The pages of a filled and flattened copy of the form. Any thread may call it.
  RowPages PagesOf(ZAcroForm& flat) const { return maker_->Make(flat); }
  bool WritePages(const Seat& seat, const RowPages& pages, BatchFault* fault);
  bool Write(const Seat& seat, unsigned number, const Chaine& bytes, BatchFault* fault) override;
  bool IsOrdered() const override { return true; }
  bool Finish(BatchFault* fault) override;

 private:
  bool Fail(BatchFault* fault) const;
  LooseObject Shared(uint32_t number);

  const std::string path_;
  std::unique_ptr<ZAcroForm> form_;
  std::unique_ptr<RowPagesMaker> maker_;
  std::unique_ptr<MergedFile> file_;
};

}  // namespace zforms::tool
