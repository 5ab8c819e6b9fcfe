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

// The base of every handle: why the last call with it failed.
struct Handle {
  std::string error;
  const char* fixed_error = nullptr;  // the text of the status, used instead of `error` when a failed call has set none
};

// Runs the body of a function of the C interface. Exceptions do not leave it: they become a status and a reason.
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

// Creates a handle; null when that fails.
template <class T, class... Arguments>
T* NewHandle(Arguments&&... arguments) noexcept {
  try {
    return new T(std::forward<Arguments>(arguments)...);
  } catch (...) {
    return nullptr;
  }
}

// Sets the reason of the error, and returns the status.
zforms_status Fail(Handle* handle, zforms_status status, std::string text);

// Write a text with a zero byte after it, or bytes without one, into the caller's buffer: see ZFORMS_ERROR_LENGTH.
zforms_status CopyText(std::string_view text, char* buffer, size_t size, size_t* length) noexcept;
zforms_status CopyBytes(std::string_view bytes, void* buffer, size_t size, size_t* length) noexcept;

// The receiver of messages.
struct Listener {
  zforms_message_callback callback = nullptr;
  void* user = nullptr;

  void Tell(zforms_severity severity, zforms_about about, const std::string& text) const;
};

// Reports the messages to the listener. Returns ZFORMS_OK when the call was `done`. Otherwise the reason is the last
// failure among the messages, or else the last warning, and its subject decides the status.
zforms_status Finish(Handle* handle, const Listener& listener, const ZFormMessages& messages, bool done);

// A result that is kept until the caller provides a buffer that is large enough.
struct Pending {
  std::string key;  // identifies the call that made the result; empty when there is none
  std::string bytes;

  void Drop() { *this = {}; }
  // Copies the result to the caller, and drops it when all of it was copied.
  zforms_status Give(bool as_text, void* buffer, size_t size, size_t* length);
};

inline std::string TextOr(const char* text, const char* otherwise) { return text == nullptr ? otherwise : text; }

}  // namespace zforms::c
