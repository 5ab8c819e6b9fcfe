#include "zforms/c/handle.h"

#include <cstring>

namespace zforms::c {

zforms_status Fail(Handle* handle, zforms_status status, std::string text) {
  handle->error = std::move(text);
  return status;
}

zforms_status CopyBytes(std::string_view bytes, void* buffer, size_t size, size_t* length) noexcept {
  if (length != nullptr) *length = bytes.size();
  if (buffer == nullptr) return size == 0 ? ZFORMS_OK : ZFORMS_ERROR_ARGUMENT;
  if (size < bytes.size()) return ZFORMS_ERROR_LENGTH;
  if (!bytes.empty()) std::memcpy(buffer, bytes.data(), bytes.size());
  return ZFORMS_OK;
}

zforms_status CopyText(std::string_view text, char* buffer, size_t size, size_t* length) noexcept {
  if (buffer != nullptr && size > 0) *buffer = 0;
  const zforms_status status = CopyBytes(text, buffer, size, length);
  if (status != ZFORMS_OK || buffer == nullptr) return status;
  if (size == text.size()) {
    if (size > 0) *buffer = 0;
    return ZFORMS_ERROR_LENGTH;
  }
  buffer[text.size()] = 0;
  return ZFORMS_OK;
}

void Listener::Tell(zforms_severity severity, zforms_about about, const std::string& text) const {
  if (callback == nullptr) return;
  const zforms_message message{severity, about, text.c_str()};
  callback(user, &message);
}

zforms_status Finish(Handle* handle, const Listener& listener, const ZFormMessages& messages, bool done) {
  using Severity = ZFormMessage::Severity;
  const ZFormMessage* reason = nullptr;
  for (const ZFormMessage& message : messages) {
    listener.Tell(static_cast<zforms_severity>(message.severity), static_cast<zforms_about>(message.about),
                  message.text);
    const bool is_worse = reason == nullptr || message.severity >= reason->severity;
    if (message.severity != Severity::kNote && is_worse) reason = &message;
  }
  if (done) return ZFORMS_OK;
  if (reason == nullptr) return ZFORMS_ERROR_FORM;
  const bool is_data = reason->about == ZFormMessage::About::kData;
  return Fail(handle, is_data ? ZFORMS_ERROR_DATA : ZFORMS_ERROR_FORM, reason->text);
}

zforms_status Pending::Give(bool as_text, void* buffer, size_t size, size_t* length) {
  const zforms_status status =
      as_text ? CopyText(bytes, static_cast<char*>(buffer), size, length) : CopyBytes(bytes, buffer, size, length);
  if (status == ZFORMS_OK && buffer != nullptr) Drop();
  return status;
}

}  // namespace zforms::c

using zforms::c::Handle;

extern "C" {

const char* zforms_version() { return ZFORMS_VERSION; }

int zforms_version_number() { return ZFORMS_VERSION_NUMBER; }

const char* zforms_status_text(zforms_status status) {
  switch (status) {
    case ZFORMS_OK: return "";
    case ZFORMS_END: return "there is no further row";
    case ZFORMS_ERROR_ARGUMENT: return "an argument is missing or unknown, or functions are called in the wrong order";
    case ZFORMS_ERROR_LENGTH: return "the buffer is too short";
    case ZFORMS_ERROR_FORM: return "the document cannot be read, changed or written";
    case ZFORMS_ERROR_DATA: return "the data cannot be read, or a value is not accepted";
    case ZFORMS_ERROR_NOT_FOUND: return "there is no such field, column or form";
    case ZFORMS_ERROR_SERVER: return "the server cannot start";
    case ZFORMS_ERROR_STOPPED: return "a callback stopped the operation";
    case ZFORMS_ERROR_MEMORY: return "there is not enough memory";
    case ZFORMS_ERROR_INTERNAL: break;
  }
  return "an internal error of the library";
}

const char* zforms_last_error(const void* handle) {
  if (handle == nullptr) return zforms_status_text(ZFORMS_ERROR_ARGUMENT);
  const auto* const known = static_cast<const Handle*>(handle);
  return known->fixed_error != nullptr ? known->fixed_error : known->error.c_str();
}

}  // extern "C"
