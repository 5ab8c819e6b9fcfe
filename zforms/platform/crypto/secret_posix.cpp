#include <nettle/memops.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <system_error>

#include "zforms/platform/crypto/secret.h"

namespace zforms {
namespace {

constexpr size_t kMostAtOnce = 256;  // getentropy(3)

void AskSystem(char* out, size_t n) {
  if (getentropy(out, n) != 0) {
    throw std::system_error(errno, std::generic_category(), "the operating system gives no random bytes");
  }
}

// The number of forks that led to this process. A child must not use the stored random bytes, because its parent has
// them too. When forks cannot be counted, each call returns another number.
unsigned Forks() {
  static std::atomic<unsigned> forks = 0;
  static const int registered = pthread_atfork(nullptr, nullptr, [] { forks++; });
  return registered == 0 ? forks.load() : ++forks;
}

// Random bytes of the system, fetched many at once, because a call of the system costs more than the encryption of a
// short string. Each thread has its own.
class RandomStore {
 public:
  ~RandomStore() { WipeBytes(bytes_.data(), bytes_.size()); }

  // Precondition: n <= kMostAtOnce.
  void Take(char* out, size_t n) {
    if (const unsigned forks = Forks(); n > left_ || forks != forks_) {
      AskSystem(bytes_.data(), bytes_.size());
      left_ = bytes_.size();
      forks_ = forks;
    }
    left_ -= n;
    std::copy_n(bytes_.data() + left_, n, out);
    WipeBytes(bytes_.data() + left_, n);
  }

 private:
  std::array<char, kMostAtOnce> bytes_{};
  size_t left_ = 0;
  unsigned forks_ = 0;
};

}  // namespace

void FillRandom(char* out, size_t n) {
  thread_local RandomStore store;
  while (n > 0) {
    const size_t piece = std::min(n, kMostAtOnce);
    store.Take(out, piece);
    out += piece;
    n -= piece;
  }
}

bool EqualsInConstantTime(std::string_view a, std::string_view b) {
  return a.size() == b.size() && memeql_sec(a.data(), b.data(), a.size()) != 0;
}

}  // namespace zforms
