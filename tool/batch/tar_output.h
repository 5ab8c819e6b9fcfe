#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "tool/batch/batch_output.h"
#include "tool/batch/ledger.h"

namespace zforms::tool {

// TarOutput writes the forms as a tar archive to a stream, such as standard output: in the format ustar of POSIX.1-2017
// (pax, "ustar Interchange Format"), with an extended header before a file whose name is long or not ASCII. Times are 0
// and owners are empty, so that equal forms give equal archives. Only Finish writes the end of the archive.
class TarOutput final : public BatchOutput {
 public:
  // The stream must outlive this object.
  explicit TarOutput(std::FILE* to) : to_(to) {}

  bool Open(uint64_t job, BatchFault* fault) override;
  void Enter(Seat* seat, BatchFault* fault) override;
  bool Write(const Seat& seat, unsigned number, const Chaine& bytes, BatchFault* fault) override;
  bool IsOrdered() const override { return true; }
  bool Finish(BatchFault* fault) override;

 private:
  bool Put(std::string_view bytes, BatchFault* fault);
  // Writes zero bytes up to a multiple of `size`.
  bool Pad(size_t size, BatchFault* fault);

  std::FILE* to_;
  uint64_t written_ = 0;
  Ledger names_;
};

}  // namespace zforms::tool
