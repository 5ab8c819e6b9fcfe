#pragma once

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "zforms/platform/base/export.h"

namespace zforms {

// Chaine is the byte string of every interface: 8-bit, length-counted, may contain any byte. It never converts between
// character sets.
//
// Up to 16 bytes are stored inside the object, padded with zeros, so that two short texts compare as 16 bytes. Longer
// text is stored in a reference-counted buffer, and a Chaine is a window onto it: copies and substrings share the
// bytes, so cutting an object out of a 100 MB file copies nothing. The bytes inside a window never change. Appending to
// a window that ends at the end of the used bytes extends the buffer in place, and other windows do not change. Every
// other append copies the text to a new buffer.
//
// Distinct Chaine objects may be used from distinct threads even when they share a buffer; one object must be used by
// one thread at a time.
class ZFORMS_API Chaine {
 public:
  static constexpr size_t kInlineCapacity = 16;

  Chaine() noexcept : inline_{}, rep_(0) {}
  Chaine(std::string_view bytes) : inline_{}, rep_(0) { Init(bytes); }
  Chaine(const char* text) : Chaine(std::string_view(text)) {}
  Chaine(const std::string& text) : Chaine(std::string_view(text)) {}
  Chaine(const char* bytes, size_t length) : Chaine(std::string_view(bytes, length)) {}
  Chaine(size_t count, char c);
  Chaine(const Chaine& other) noexcept { CopyFrom(other); }
  Chaine(Chaine&& other) noexcept { StealFrom(other); }
  ~Chaine() { Release(); }
  Chaine& operator=(const Chaine& other) noexcept;
  Chaine& operator=(Chaine&& other) noexcept;

  // A Chaine over text that lives as long as the process. Copies no bytes.
  static Chaine Literal(std::string_view text) noexcept;

  // A Chaine over `length` bytes at `room + kRoomHead`, in memory of the caller. `capacity` counts these bytes and the
  // free bytes after them, which appending uses. The class itself uses the first kRoomHead bytes of `room`.
  // `give_back(room)` is called when no window onto the bytes is left. Precondition: length > kInlineCapacity, `room`
  // aligned as by malloc.
  using GiveBack = void (*)(char* room);
  static constexpr size_t kRoomHead = 64;
  static Chaine InRoom(char* room, size_t length, size_t capacity, GiveBack give_back) noexcept;

  size_t GetLength() const { return rep_ >> 1; }
  size_t size() const { return rep_ >> 1; }
  bool IsEmpty() const { return rep_ < 2; }
  // The bytes, without a terminating zero.
  const char* data() const { return IsHeap() ? heap_.data : inline_; }
  const char* begin() const { return data(); }
  const char* end() const { return data() + size(); }
  // Precondition: index < size().
  char operator[](size_t index) const { return data()[index]; }
  // Precondition: not empty.
  char Last() const { return data()[size() - 1]; }

  operator std::string_view() const { return {data(), size()}; }
  std::string_view View() const { return {data(), size()}; }
  std::string ToString() const { return std::string(View()); }

  // The part that starts at `start`; shares the bytes. Positions past the end are clamped to the end.
  Chaine Mid(size_t start, size_t length = SIZE_MAX) const;

  void Append(std::string_view bytes) {
    char* const to = ExtendQuickly(bytes.size());
    if (to == nullptr) {
      AppendSlowly(bytes);
    } else if (bytes.size() <= kInlineCapacity) {
      CopyFew(to, bytes.data(), bytes.size());
    } else {
      std::memcpy(to, bytes.data(), bytes.size());
    }
  }
  void Append(char c) {
    char* const to = ExtendQuickly(1);
    *(to == nullptr ? AppendUninitialized(1) : to) = c;
  }
  Chaine& operator+=(std::string_view bytes) {
    Append(bytes);
    return *this;
  }
  Chaine& operator+=(char c) {
    Append(c);
    return *this;
  }
  // Lengthens the text by `count` bytes and returns the address where the caller must write them.
  char* AppendUninitialized(size_t count);
  // Keeps the first `length` bytes; does nothing when the text is not longer.
  void Truncate(size_t length);
  // Reserves room for a total of `capacity` bytes: appending up to that length does not reallocate.
  void Reserve(size_t capacity);
  void Clear() {
    Release();
    SetEmpty();
  }
  // Clears a text that contains a key or a password, and overwrites its bytes in memory. Bytes that other Chaine
  // objects share are overwritten only when the last of these is wiped.
  void Wipe() noexcept;

  // True when both are windows onto the same buffer: no byte was copied between them.
  bool SharesBytesWith(const Chaine& other) const {
    return IsHeap() && other.IsHeap() && heap_.buffer == other.heap_.buffer && heap_.buffer != nullptr;
  }

  friend bool operator==(const Chaine& a, const Chaine& b) {
    if (a.IsHeap() || b.IsHeap()) return a.View() == b.View();
    return a.rep_ == b.rep_ && std::memcmp(a.inline_, b.inline_, kInlineCapacity) == 0;
  }
  friend bool operator==(const Chaine& a, std::string_view b) { return a.View() == b; }
  friend bool operator==(const Chaine& a, const char* b) { return a.View() == b; }
  friend bool operator==(const Chaine& a, const std::string& b) { return a.View() == b; }
  // Compares the bytes as unsigned values; a prefix is less than the longer text.
  friend std::strong_ordering operator<=>(const Chaine& a, const Chaine& b) { return a.View() <=> b.View(); }
  friend std::strong_ordering operator<=>(const Chaine& a, std::string_view b) { return a.View() <=> b; }
  friend Chaine operator+(const Chaine& a, std::string_view b) { return Concat(a.View(), b); }
  friend Chaine operator+(const Chaine& a, char b) { return Concat(a.View(), {&b, 1}); }
  friend Chaine operator+(std::string_view a, const Chaine& b) { return Concat(a, b.View()); }
  friend Chaine operator+(const char* a, const Chaine& b) { return Concat(a, b.View()); }
  friend Chaine operator+(const Chaine& a, const Chaine& b) { return Concat(a.View(), b.View()); }
  friend Chaine operator+(const Chaine& a, const char* b) { return Concat(a.View(), b); }

  static Chaine Concat(std::string_view a, std::string_view b);

  // Compare bytes. Optimized for few bytes.
  bool HasBytes(std::string_view bytes) const { return AreSame(View(), bytes); }
  static bool AreSame(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    return a.size() <= 16 ? AreSameFew(a.data(), b.data(), a.size()) : std::memcmp(a.data(), b.data(), a.size()) == 0;
  }
  // Like memcpy. Optimized for few bytes.
  static void CopyBytes(char* to, std::string_view bytes) {
    if (bytes.size() <= 16) {
      CopyFew(to, bytes.data(), bytes.size());
    } else {
      std::memcpy(to, bytes.data(), bytes.size());
    }
  }

 private:
  // `used` counts the bytes that are covered by a window. A window that ends there can claim more by raising `used`;
  // the compare-and-exchange makes sure that only one of several sharing windows succeeds.
  struct Buffer {
    std::atomic<uint32_t> refs;
    uint32_t in_room;  // 1 when it is in memory of the caller: see InRoom
    std::atomic<size_t> used;
    size_t capacity;

    char* Bytes() { return reinterpret_cast<char*>(this + 1); }
    void Free();
    static Buffer* Alloc(size_t capacity);
  };
  // The first kRoomHead bytes of a room, which are before the text: see InRoom.
  struct RoomHead {
    char unused[kRoomHead - sizeof(GiveBack) - sizeof(Buffer)];
    GiveBack give_back;
    Buffer buffer;
  };
  struct Window {
    const char* data;
    Buffer* buffer;  // null for a literal
  };

  bool IsHeap() const { return (rep_ & 1) != 0; }
  void SetInline(size_t length) { rep_ = length << 1; }
  void SetEmpty() {
    std::memset(inline_, 0, kInlineCapacity);
    rep_ = 0;
  }
  void SetHeap(const char* data, Buffer* buffer, size_t length) {
    heap_ = {data, buffer};
    rep_ = (length << 1) | 1;
  }
  void Init(std::string_view bytes) {
    if (bytes.size() <= kInlineCapacity) {
      CopyFew(inline_, bytes.data(), bytes.size());
      SetInline(bytes.size());
    } else {
      InitHeap(bytes);
    }
  }
  // Copies up to 16 bytes in moves of fixed lengths, which may overlap. Calling memcpy would take longer than the copy
  // itself.
  static void CopyFew(char* to, const char* from, size_t count) {
    if (count >= 8) {
      std::memcpy(to, from, 8);
      std::memcpy(to + count - 8, from + count - 8, 8);
    } else if (count >= 4) {
      std::memcpy(to, from, 4);
      std::memcpy(to + count - 4, from + count - 4, 4);
    } else if (count > 0) {
      to[0] = from[0];
      to[count / 2] = from[count / 2];
      to[count - 1] = from[count - 1];
    }
  }
  static bool AreSameFew(const char* a, const char* b, size_t count) {
    if (count >= 8)
      return Load<uint64_t>(a) == Load<uint64_t>(b) && Load<uint64_t>(a + count - 8) == Load<uint64_t>(b + count - 8);
    if (count >= 4)
      return Load<uint32_t>(a) == Load<uint32_t>(b) && Load<uint32_t>(a + count - 4) == Load<uint32_t>(b + count - 4);
    return count == 0 || (a[0] == b[0] && a[count / 2] == b[count / 2] && a[count - 1] == b[count - 1]);
  }
  template <class T>
  static T Load(const char* from) {
    T value;
    std::memcpy(&value, from, sizeof(T));
    return value;
  }
  // Extends a buffer that is not shared in place and returns the address of the new bytes. Null when this is not
  // possible.
  char* ExtendQuickly(size_t count) {
    if (!IsHeap() || heap_.buffer == nullptr || heap_.buffer->refs.load(std::memory_order_acquire) != 1) return nullptr;
    char* const end = const_cast<char*>(heap_.data) + size();
    const auto used = static_cast<size_t>(end - heap_.buffer->Bytes());
    if (heap_.buffer->capacity - used < count) return nullptr;
    heap_.buffer->used.store(used + count, std::memory_order_relaxed);
    rep_ += count << 1;
    return end;
  }
  void AppendSlowly(std::string_view bytes);
  void CopyFrom(const Chaine& other) noexcept {
    std::memcpy(static_cast<void*>(this), static_cast<const void*>(&other), sizeof(Chaine));
    if (IsHeap()) Retain();
  }
  void StealFrom(Chaine& other) noexcept {
    std::memcpy(static_cast<void*>(this), static_cast<const void*>(&other), sizeof(Chaine));
    other.SetEmpty();
  }
  void Release() noexcept {
    if (IsHeap()) ReleaseHeap();
  }
  void InitHeap(std::string_view bytes);
  void Retain() const noexcept;
  void ReleaseHeap() noexcept;
  bool ExtendInPlace(size_t count);
  void MoveToRoomFor(size_t capacity);

  union {
    char inline_[kInlineCapacity];
    Window heap_;
  };
  // Twice the length, plus one when the bytes are in a buffer.
  size_t rep_;
};

// Removes the blanks "\r\n\t\f " at both ends.
ZFORMS_API std::string_view TrimBlanks(std::string_view text);

}  // namespace zforms
