#include <string>

#include "zforms/c/handle.h"
#include "zforms/c/server_host.h"
#include "zforms/filling/form_values.h"
#include "zforms/xfdf/xfdf.h"
#include "zforms/zforms_server.h"

using zforms::ZXFDF;
using zforms::c::CopyText;
using zforms::c::Fail;
using zforms::c::Guarded;

// The handle of a server.
struct zforms_server : zforms::c::Handle {
  zforms_server(const char* folder, const char* app, uint16_t port) : host(folder, app, port) {}

  zforms_status Open(const std::string& code, std::string_view data, zforms_opened what, std::string* result);

  zforms::c::ServerHost host;
  zforms::c::Pending pending;
};

zforms_status zforms_server::Open(const std::string& code, std::string_view data, zforms_opened what,
                                  std::string* result) {
  ZXFDF values;
  uint64_t line = 0;
  std::string reason;
  if (!data.empty() && !zforms::ReadValues(data, {}, &values, &line, &reason)) {
    return Fail(this, ZFORMS_ERROR_DATA, reason);
  }
  ZXFDF opened;
  if (!host.Open(code, values, &opened)) {
    return Fail(this, ZFORMS_ERROR_NOT_FOUND, "there is no form \"" + code + "\"");
  }
  if (what == ZFORMS_OPENED_XFDF) {
    *result = opened.AsChaine().ToString();
    return ZFORMS_OK;
  }
  return host.MakePDF(code, opened, result)
             ? ZFORMS_OK
             : Fail(this, ZFORMS_ERROR_FORM, "the form \"" + code + "\" cannot be filled");
}

namespace {

zforms_status Copy(const std::string* text, char* buffer, size_t size, size_t* length) {
  return text == nullptr ? ZFORMS_ERROR_NOT_FOUND : CopyText(*text, buffer, size, length);
}

}  // namespace

extern "C" {

zforms_server* zforms_server_new(const char* folder, const char* app, uint16_t port) {
  if (folder == nullptr || app == nullptr || *app == 0) return nullptr;
  return zforms::c::NewHandle<zforms_server>(folder, app, port);
}

void zforms_server_free(zforms_server* server) { delete server; }

zforms_status zforms_server_on_submission(zforms_server* server, zforms_submission_callback callback, void* user) {
  return Guarded(server, [&] {
    if (server->host.IsRunning()) return ZFORMS_ERROR_ARGUMENT;
    server->host.SetCallback(callback, user);
    return ZFORMS_OK;
  });
}

zforms_status zforms_server_on_message(zforms_server* server, zforms_message_callback callback, void* user) {
  return Guarded(server, [&] {
    if (server->host.IsRunning()) return ZFORMS_ERROR_ARGUMENT;
    server->host.SetListener({callback, user});
    return ZFORMS_OK;
  });
}

zforms_status zforms_server_start(zforms_server* server) {
  return Guarded(server, [&] {
    if (!server->host.HasCallback() || server->host.IsRunning()) return ZFORMS_ERROR_ARGUMENT;
    std::string reason;
    return server->host.Start(&reason) ? ZFORMS_OK : Fail(server, ZFORMS_ERROR_SERVER, reason);
  });
}

zforms_status zforms_server_port(zforms_server* server, uint16_t* port) {
  return Guarded(server, [&] {
    if (port == nullptr || !server->host.IsRunning()) return ZFORMS_ERROR_ARGUMENT;
    *port = server->host.Port();
    return ZFORMS_OK;
  });
}

zforms_status zforms_server_stop(zforms_server* server) {
  return Guarded(server, [&] {
    server->host.Stop();
    return ZFORMS_OK;
  });
}

zforms_status zforms_server_open(zforms_server* server, const char* code, const void* data, size_t data_size,
                                 zforms_opened what, void* buffer, size_t size, size_t* length) {
  return Guarded(server, [&] {
    const bool is_known = what == ZFORMS_OPENED_PDF || what == ZFORMS_OPENED_XFDF;
    if (code == nullptr || !is_known || !server->host.IsRunning()) return ZFORMS_ERROR_ARGUMENT;
    const std::string_view values(static_cast<const char*>(data), data == nullptr ? 0 : data_size);
    const std::string key = std::to_string(what) + code + "\n" + std::string(values);
    if (server->pending.key != key) {
      server->pending.Drop();
      const zforms_status status = server->Open(code, values, what, &server->pending.bytes);
      if (status != ZFORMS_OK) return status;
      server->pending.key = key;
    }
    return server->pending.Give(false, buffer, size, length);
  });
}

zforms_status zforms_submission_code(const zforms_submission* submission, char* buffer, size_t size, size_t* length) {
  return Copy(submission == nullptr ? nullptr : &submission->code, buffer, size, length);
}

zforms_status zforms_submission_count(const zforms_submission* submission, size_t* count) {
  if (submission == nullptr || count == nullptr) return ZFORMS_ERROR_ARGUMENT;
  *count = submission->values.size();
  return ZFORMS_OK;
}

zforms_status zforms_submission_name(const zforms_submission* submission, size_t n, char* buffer, size_t size,
                                     size_t* length) {
  const bool has = submission != nullptr && n < submission->values.size();
  return Copy(has ? &submission->values[n].first : nullptr, buffer, size, length);
}

zforms_status zforms_submission_value(const zforms_submission* submission, size_t n, char* buffer, size_t size,
                                      size_t* length) {
  const bool has = submission != nullptr && n < submission->values.size();
  return Copy(has ? &submission->values[n].second : nullptr, buffer, size, length);
}

zforms_status zforms_submission_xfdf(const zforms_submission* submission, char* buffer, size_t size, size_t* length) {
  return Copy(submission == nullptr ? nullptr : &submission->xfdf, buffer, size, length);
}

}  // extern "C"
