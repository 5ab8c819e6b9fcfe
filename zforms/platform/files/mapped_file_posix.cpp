#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "zforms/platform/files/mapped_file.h"
#include "zforms/platform/files/mapped_files_posix.h"

namespace zforms {
namespace {

constexpr size_t kLeastMapped = size_t{1} << 20;
// Address space after the file, for bytes that are appended. It takes no memory before it is used.
constexpr size_t kLeastSpare = size_t{16} << 20;
constexpr size_t kSpareOfFile = 8;
// At most this many files are mapped at a time; others are read.
constexpr size_t kMostMapped = 64;
constexpr int kNoFile = -1;

size_t PageSize() {
  static const auto size = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
  return size;
}

size_t ToPages(size_t bytes) { return (bytes + PageSize() - 1) / PageSize() * PageSize(); }

// One mapped file. The memory is a page for the head of the text, the pages of the file, and the spare pages.
struct MappedFile {
  std::atomic<bool> is_taken = false;
  std::atomic<const char*> begin = nullptr;  // the file's bytes; null while there are none
  size_t size = 0;                           // bytes of the file
  size_t spare = 0;                          // bytes of the spare pages
  std::atomic<int> file = kNoFile;           // the mapped file; kNoFile when the text is not mapped
  std::string path;

  bool Holds(const void* address) const {
    const auto start = reinterpret_cast<uintptr_t>(begin.load(std::memory_order_acquire));
    return start != 0 && reinterpret_cast<uintptr_t>(address) - start < ToPages(size);
  }
  char* Memory() const { return const_cast<char*>(begin.load()) - PageSize(); }
  size_t MemorySize() const { return PageSize() + ToPages(size) + spare; }
  bool Map(int from, size_t length);
  bool Detach();
  void Unmap();
};

// A table of fixed size, because a signal handler reads it.
std::array<MappedFile, kMostMapped>& MappedFiles() {
  static auto* const files = new std::array<MappedFile, kMostMapped>;
  return *files;
}

MappedFile* FindMapped(const void* address) {
  for (MappedFile& mapped : MappedFiles()) {
    if (mapped.Holds(address)) return &mapped;
  }
  return nullptr;
}

MappedFile* TakePlace() {
  for (MappedFile& mapped : MappedFiles()) {
    if (!mapped.is_taken.exchange(true)) return &mapped;
  }
  return nullptr;
}

bool MappedFile::Map(int from, size_t length) {
  size = length;
  spare = ToPages(kLeastSpare + length / kSpareOfFile);
  constexpr int kOwn = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
  void* const memory = ::mmap(nullptr, MemorySize(), PROT_READ | PROT_WRITE, kOwn, -1, 0);
  if (memory == MAP_FAILED) return false;
  char* const bytes = static_cast<char*>(memory) + PageSize();
  const size_t tail = length % PageSize();
  // Makes the last page of the file writable, because appended bytes begin there. The mapping is private, so the file
  // does not change.
  if (::mmap(bytes, length, PROT_READ, MAP_PRIVATE | MAP_FIXED, from, 0) == MAP_FAILED ||
      (tail != 0 && ::mprotect(bytes + length - tail, PageSize(), PROT_READ | PROT_WRITE) != 0)) {
    ::munmap(memory, MemorySize());
    return false;
  }
  file = from;
  begin.store(bytes, std::memory_order_release);
  return true;
}

// Replaces the mapped pages by a copy. When the file is truncated, its mapped pages disappear, even those that were
// written.
bool MappedFile::Detach() {
  const size_t length = ToPages(size);
  void* const copy = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (copy == MAP_FAILED) return false;
  std::memcpy(copy, begin.load(), length);
  if (::mremap(copy, length, length, MREMAP_MAYMOVE | MREMAP_FIXED, const_cast<char*>(begin.load())) == MAP_FAILED) {
    ::munmap(copy, length);
    return false;
  }
  ::close(file.exchange(kNoFile));
  return true;
}

void MappedFile::Unmap() {
  char* const memory = Memory();
  begin = nullptr;
  ::munmap(memory, MemorySize());
  if (const int open = file.exchange(kNoFile); open != kNoFile) ::close(open);
  is_taken = false;
}

void GiveBack(char* room) {
  MappedFile* const mapped = FindMapped(room + Chaine::kRoomHead);
  if (mapped != nullptr) mapped->Unmap();
}

bool IsSame(int a, int b) {
  struct stat one;
  struct stat other;
  return a != kNoFile && ::fstat(a, &one) == 0 && ::fstat(b, &other) == 0 && one.st_dev == other.st_dev &&
         one.st_ino == other.st_ino;
}

// The descriptor of a regular file of kLeastMapped bytes or more, and its size; kNoFile for all other files.
int OpenLarge(const Chaine& path, const ReadLimits& limits, size_t* size) {
  if (path.View().find('\0') != std::string_view::npos) return kNoFile;
  const int file = ::open(path.ToString().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return kNoFile;
  struct stat facts;
  if (::fstat(file, &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_size >= static_cast<off_t>(kLeastMapped) &&
      static_cast<uint64_t>(facts.st_size) <= limits.most) {
    *size = static_cast<size_t>(facts.st_size);
    return file;
  }
  ::close(file);
  return kNoFile;
}

// Copies bytes from file to file in the system. Some systems copy only between files of one file system, but send from
// any file to any other.
ssize_t CopyStep(int from, off_t* at, int to, size_t wanted) {
  const ssize_t copied = ::copy_file_range(from, at, to, nullptr, wanted, 0);
  return copied >= 0 || errno == EINTR ? copied : ::sendfile(to, from, at, wanted);
}

}  // namespace

bool MapFile(const Chaine& path, Chaine* out, std::string* error, const ReadLimits& limits) {
  size_t size = 0;
  const int file = OpenLarge(path, limits, &size);
  if (file == kNoFile) return ReadFile(path, out, error, limits);
  MappedFile* const mapped = TakePlace();
  if (mapped == nullptr || !mapped->Map(file, size)) {
    if (mapped != nullptr) mapped->is_taken = false;
    ::close(file);
    return ReadFile(path, out, error, limits);
  }
  mapped->path = path.ToString();
  char* const room = mapped->Memory() + PageSize() - Chaine::kRoomHead;
  const Chaine text = Chaine::InRoom(room, size, ToPages(size) + mapped->spare, GiveBack);
  if (limits.look != nullptr) {
    if (std::string reason = limits.look(text.View().substr(0, ReadLimits::kHead), size); !reason.empty()) {
      if (error != nullptr) *error = std::move(reason);
      return false;
    }
  }
  *out = text;
  return true;
}

const char* MappedFileAt(const void* address) noexcept {
  const MappedFile* const mapped = FindMapped(address);
  return mapped == nullptr ? nullptr : mapped->path.c_str();
}

size_t CopyMapped(std::string_view bytes, int file) noexcept {
  if (bytes.size() < kLeastMapped) return 0;
  const MappedFile* const mapped = FindMapped(bytes.data());
  const int from = mapped == nullptr ? kNoFile : mapped->file.load();
  if (from == kNoFile) return 0;
  const auto start = static_cast<size_t>(bytes.data() - mapped->begin.load());
  if (start >= mapped->size) return 0;
  const size_t wanted = std::min(bytes.size(), mapped->size - start);
  auto at = static_cast<off_t>(start);
  size_t copied = 0;
  while (copied < wanted) {
    const ssize_t step = CopyStep(from, &at, file, wanted - copied);
    if (step < 0 && errno == EINTR) continue;
    if (step <= 0) break;
    copied += static_cast<size_t>(step);
  }
  return copied;
}

size_t MappedFrom(int file, std::string_view bytes) noexcept {
  if (bytes.size() < kLeastMapped) return 0;
  const MappedFile* const mapped = FindMapped(bytes.data());
  struct stat facts;
  const bool is_there = mapped != nullptr && mapped->begin.load() == bytes.data() && mapped->size <= bytes.size() &&
                        IsSame(mapped->file, file) && ::fstat(file, &facts) == 0 &&
                        static_cast<size_t>(facts.st_size) >= mapped->size;
  return is_there ? mapped->size : 0;
}

bool DetachMapped(int file) noexcept {
  bool detached = true;
  for (MappedFile& mapped : MappedFiles()) {
    if (mapped.begin.load() != nullptr && IsSame(mapped.file, file)) detached = mapped.Detach() && detached;
  }
  return detached;
}

}  // namespace zforms
