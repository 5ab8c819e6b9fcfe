#include "zforms/platform/base/chaine.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "zforms/platform/base/os_memory.h"

namespace zforms {
namespace {

constexpr size_t kLargestText = SIZE_MAX / 4;

}  // namespace

Chaine::Buffer* Chaine::Buffer::Alloc(size_t capacity) {
  void* memory = capacity > kLargestText ? nullptr : std::malloc(sizeof(Buffer) + capacity);
  if (memory == nullptr) throw std::bad_alloc();
  return new (memory) Buffer{1, 0, 0, capacity};
}

void Chaine::Buffer::Free() {
  if (in_room == 0) return std::free(this);
  char* const room = Bytes() - kRoomHead;
  reinterpret_cast<RoomHead*>(room)->give_back(room);
}

// NOLINTNEXTLINE(readability-non-const-parameter): the room is written to.
Chaine Chaine::InRoom(char* room, size_t length, size_t capacity, GiveBack give_back) noexcept {
  static_assert(sizeof(RoomHead) == kRoomHead);
  auto* const head = new (room) RoomHead{{}, give_back, {1, 1, length, capacity}};
  Chaine result;
  result.SetHeap(head->buffer.Bytes(), &head->buffer, length);
  return result;
}

Chaine::Chaine(size_t count, char c) : Chaine() {
  if (count != 0) std::memset(AppendUninitialized(count), c, count);
}

Chaine& Chaine::operator=(const Chaine& other) noexcept {
  if (this == &other) return *this;
  if (other.IsHeap()) other.Retain();
  Release();
  std::memcpy(static_cast<void*>(this), static_cast<const void*>(&other), sizeof(Chaine));
  return *this;
}

Chaine& Chaine::operator=(Chaine&& other) noexcept {
  if (this == &other) return *this;
  Release();
  StealFrom(other);
  return *this;
}

Chaine Chaine::Literal(std::string_view text) noexcept {
  Chaine result;
  if (text.size() <= kInlineCapacity) {
    result.Init(text);
  } else {
    result.SetHeap(text.data(), nullptr, text.size());
  }
  return result;
}

void Chaine::InitHeap(std::string_view bytes) {
  Buffer* buffer = Buffer::Alloc(bytes.size());
  std::memcpy(buffer->Bytes(), bytes.data(), bytes.size());
  buffer->used.store(bytes.size(), std::memory_order_relaxed);
  SetHeap(buffer->Bytes(), buffer, bytes.size());
}

void Chaine::Retain() const noexcept {
  if (heap_.buffer != nullptr) heap_.buffer->refs.fetch_add(1, std::memory_order_relaxed);
}

void Chaine::ReleaseHeap() noexcept {
  Buffer* buffer = heap_.buffer;
  if (buffer == nullptr) return;
  if (buffer->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) buffer->Free();
}

void Chaine::Wipe() noexcept {
  Buffer* const buffer = IsHeap() ? heap_.buffer : nullptr;
  if (!IsHeap()) {
    WipeBytes(inline_, kInlineCapacity);
  } else if (buffer != nullptr && buffer->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    if (buffer->in_room == 0) WipeBytes(buffer->Bytes(), buffer->capacity);
    buffer->Free();
  }
  SetEmpty();
}

Chaine Chaine::Mid(size_t start, size_t length) const {
  const size_t from = std::min(start, size());
  const size_t count = std::min(length, size() - from);
  Chaine result;
  if (count <= kInlineCapacity || !IsHeap()) {
    result.Init({data() + from, count});
  } else {
    result.SetHeap(heap_.data + from, heap_.buffer, count);
    result.Retain();
  }
  return result;
}

bool Chaine::ExtendInPlace(size_t count) {
  Buffer* buffer = heap_.buffer;
  if (buffer == nullptr) return false;
  size_t end = static_cast<size_t>(heap_.data - buffer->Bytes()) + size();
  if (buffer->capacity - end < count) return false;
  return buffer->used.compare_exchange_strong(end, end + count, std::memory_order_acq_rel);
}

void Chaine::MoveToRoomFor(size_t capacity) {
  const size_t length = size();
  const bool sole = IsHeap() && heap_.buffer != nullptr && heap_.buffer->in_room == 0 &&
                    heap_.data == heap_.buffer->Bytes() && heap_.buffer->refs.load(std::memory_order_acquire) == 1;
  Buffer* buffer;
  if (sole) {
    // realloc grows a large block by remapping its pages, which copies no bytes.
    static_assert(std::is_trivially_destructible_v<Buffer>);
    const size_t bytes = sizeof(Buffer) + capacity;
    void* memory = capacity > kLargestText ? nullptr : std::realloc(static_cast<void*>(heap_.buffer), bytes);
    if (memory == nullptr) throw std::bad_alloc();
    buffer = static_cast<Buffer*>(memory);
    buffer->capacity = capacity;
  } else {
    buffer = Buffer::Alloc(capacity);
    if (length != 0) std::memcpy(buffer->Bytes(), data(), length);
    Release();
  }
  buffer->used.store(length, std::memory_order_relaxed);
  SetHeap(buffer->Bytes(), buffer, length);
}

void Chaine::Reserve(size_t capacity) {
  if (capacity <= size() || (!IsHeap() && capacity <= kInlineCapacity)) return;
  if (IsHeap() && heap_.buffer != nullptr) {
    const size_t start = static_cast<size_t>(heap_.data - heap_.buffer->Bytes());
    const bool last = heap_.buffer->used.load(std::memory_order_relaxed) == start + size();
    if (last && heap_.buffer->capacity - start >= capacity) return;
  }
  MoveToRoomFor(capacity);
}

char* Chaine::AppendUninitialized(size_t count) {
  if (char* const room = ExtendQuickly(count)) return room;
  const size_t length = size();
  if (!IsHeap() && length + count <= kInlineCapacity) {
    SetInline(length + count);
    return inline_ + length;
  }
  if (!IsHeap() || !ExtendInPlace(count)) {
    const size_t wanted = length + count;
    MoveToRoomFor(std::max(wanted, std::min(wanted * 2, wanted + (size_t{64} << 20))));
    ExtendInPlace(count);
  }
  SetHeap(heap_.data, heap_.buffer, length + count);
  return const_cast<char*>(heap_.data) + length;
}

void Chaine::AppendSlowly(std::string_view bytes) {
  if (bytes.empty()) return;
  // The text to append may be a part of this one, and growing could free it.
  const bool own = bytes.data() >= data() && bytes.data() < data() + size();
  if (own) {
    const Chaine keep(bytes);
    std::memcpy(AppendUninitialized(keep.size()), keep.data(), keep.size());
    return;
  }
  std::memcpy(AppendUninitialized(bytes.size()), bytes.data(), bytes.size());
}

void Chaine::Truncate(size_t length) {
  if (length >= size()) return;
  if (IsHeap()) {
    Buffer* const buffer = heap_.buffer;
    // When no other window shares the buffer, the bytes cut off become free space again.
    if (buffer != nullptr && buffer->refs.load(std::memory_order_acquire) == 1) {
      buffer->used.store(static_cast<size_t>(heap_.data - buffer->Bytes()) + length, std::memory_order_relaxed);
    }
    SetHeap(heap_.data, buffer, length);
  } else {
    std::memset(inline_ + length, 0, kInlineCapacity - length);
    SetInline(length);
  }
}

Chaine Chaine::Concat(std::string_view a, std::string_view b) {
  Chaine result;
  char* out = result.AppendUninitialized(a.size() + b.size());
  if (!a.empty()) std::memcpy(out, a.data(), a.size());
  if (!b.empty()) std::memcpy(out + a.size(), b.data(), b.size());
  return result;
}

std::string_view TrimBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = "\r\n\t\f ";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace zforms
