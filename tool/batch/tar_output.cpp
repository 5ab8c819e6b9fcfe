#include "tool/batch/tar_output.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "tool/base/files.h"

namespace zforms::tool {
namespace {

constexpr size_t kBlock = 512;
// The size of an archive is a multiple of 20 blocks.
constexpr size_t kRecord = 20 * kBlock;
constexpr size_t kLongestName = 100;
constexpr char kFile = '0';
constexpr char kExtended = 'x';
constexpr const char* kNoNames = "the temporary file that lists the file names cannot be written";

bool IsPlain(std::string_view name) {
  return name.size() <= kLongestName &&
         std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c < '\x7F'; });
}

// The name of a file for readers of the archive that do not know extended headers.
std::string PlainName(std::string_view name) {
  std::string plain;
  for (const char c : name.substr(0, kLongestName)) plain += IsPlain({&c, 1}) ? c : '_';
  return plain;
}

// The number in `width` octal digits, with leading zeros.
std::string Octal(uint64_t number, size_t width) {
  std::string digits(width, '0');
  for (size_t i = width; i > 0 && number > 0; number /= 8) digits[--i] = static_cast<char>('0' + number % 8);
  return digits;
}

std::string Header(std::string_view name, uint64_t size, char type) {
  std::string block(kBlock, '\0');
  const auto put = [&block](size_t at, std::string_view text) { block.replace(at, text.size(), text); };
  put(0, name);
  put(100, "0000644");
  put(108, "0000000");  // the owner
  put(116, "0000000");  // the group
  put(124, Octal(size, 11));
  put(136, Octal(0, 11));         // the time
  put(148, std::string(8, ' '));  // blanks in place of the checksum while it is computed
  block[156] = type;
  put(257, std::string_view("ustar\0"
                            "00",
                            8));
  const auto add = [](uint64_t sum, char c) { return sum + static_cast<unsigned char>(c); };
  put(148, Octal(std::accumulate(block.begin(), block.end(), uint64_t{0}, add), 6) + '\0');
  return block;
}

// A "path" record of an extended header. It begins with its own length, whose digits are counted too.
std::string PathRecord(std::string_view name) {
  const std::string rest = " path=" + std::string(name) + "\n";
  size_t length = rest.size() + 1;
  while (std::to_string(length).size() + rest.size() != length) length = std::to_string(length).size() + rest.size();
  return std::to_string(length) + rest;
}

}  // namespace

bool TarOutput::Put(std::string_view bytes, BatchFault* fault) {
  written_ += bytes.size();
  if (std::fwrite(bytes.data(), 1, bytes.size(), to_) == bytes.size()) return true;
  *fault = {OutputFault(), true};
  return false;
}

bool TarOutput::Pad(size_t size, BatchFault* fault) {
  const std::string zeros((size - static_cast<size_t>(written_ % size)) % size, '\0');
  return Put(zeros, fault);
}

bool TarOutput::Open(uint64_t, BatchFault* fault) {
  fault->is_trouble = !names_.CreateTemporary(&fault->what);
  return !fault->is_trouble;
}

void TarOutput::Enter(Seat* seat, BatchFault* fault) {
  Ledger::Holder holder;
  const Ledger::Claim claim = names_.Enter(seat->name, seat->content, seat->line, &holder);
  seat->place = claim == Ledger::Claim::kNew ? Place::kFree : Place::kRefused;
  if (claim == Ledger::Claim::kNew) return;
  const bool is_taken = claim == Ledger::Claim::kTaken;
  *fault = is_taken ? TakenBy(*seat, holder.line) : BatchFault{kNoNames, true};
}

bool TarOutput::Write(const Seat& seat, unsigned, const Chaine& bytes, BatchFault* fault) {
  const std::string plain = PlainName(seat.name);
  if (!IsPlain(seat.name)) {
    const std::string record = PathRecord(seat.name);
    const std::string name = PlainName("PaxHeaders/" + plain);
    if (!Put(Header(name, record.size(), kExtended) + record, fault) || !Pad(kBlock, fault)) return false;
  }
  return Put(Header(plain, bytes.size(), kFile), fault) && Put(bytes, fault) && Pad(kBlock, fault);
}

bool TarOutput::Finish(BatchFault* fault) {
  if (!Put(std::string(2 * kBlock, '\0'), fault) || !Pad(kRecord, fault)) return false;
  if (std::fflush(to_) == 0) return true;
  *fault = {OutputFault(), true};
  return false;
}

}  // namespace zforms::tool
