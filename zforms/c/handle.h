#pragma once

#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "zforms/filling/form_message.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/zforms_types.h"

namespace zforms::c {

// The first part of everything that is handed out: why the last call with it failed.
struct Handle {
  std::string error;
  const char* fixed_error = nullptr;  // in its place when there was no memory for a text
};

// Calls a function of one handle and keeps exceptions and reasons from leaving it in any other way than by the status.
template <class Call>
zforms_status Guarded(Handle* handle, Call call) noexcept {
  if (handle == nullptr) return ZFORMS_ERROR_ARGUMENT;
  zforms_status status = ZFORMS_ERROR_INTERNAL;
  try {
    handle->error.clear();
    handle->fixed_error = nullptr;
    status = call();
  } catch (const std::bad_alloc&) {
    status = ZFORMS_ERROR_MEMORY;
  } catch (...) {
    status = ZFORMS_ERROR_INTERNAL;
  }
  if (status != ZFORMS_OK && handle->error.empty()) handle->fixed_error = zforms_status_text(status);
  return status;
}

// Makes a handle, or null.
template <class T, class... Arguments>
T* NewHandle(Arguments&&... arguments) noexcept {
  try {
    return new T(std::forward<Arguments>(arguments)...);
  } catch (...) {
    return nullptr;
  }
}

// Sets the reason.
zforms_status Fail(Handle* handle, zforms_status status, std::string text);

// Writes a text, with a zero byte behind it, or bytes, without one, into the buffer of the caller.
zforms_status CopyText(std::string_view text, char* buffer, size_t size, size_t* length) noexcept;
zforms_status CopyBytes(std::string_view bytes, void* buffer, size_t size, size_t* length) noexcept;

// Who gets messages.
struct Listener {
  zforms_message_callback callback = nullptr;
  void* user = nullptr;

  void Tell(zforms_severity severity, zforms_about about, const std::string& text) const;
};

// Passes the messages on. Unless it is `done`, the last failure among them, else the last warning, is the reason, and
// what it is about gives the status.
zforms_status Finish(Handle* handle, const Listener& listener, const ZFormMessages& messages, bool done);

// A result that waits until the caller has a buffer for all of it.
struct Pending {
  std::string key;  // of the call that made it; empty when nothing waits
  std::string bytes;

  void Drop() { *this = {}; }
  // Hands it out, and drops it when all of it was copied.
  zforms_status Give(bool as_text, void* buffer, size_t size, size_t* length);
};

inline std::string TextOr(const char* text, const char* otherwise) { return text == nullptr ? otherwise : text; }

}  // namespace zforms::c
