#include "zforms/platform/http/http_guard.h"

#include <algorithm>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/number.h"

namespace zforms {

namespace {

constexpr std::string_view kHTTP = "http://";

constexpr HTTPVerdict Malformed() { return {400, eHTTPIntrusion::eNone}; }

bool IsOwnPort(std::string_view text, uint16_t port) { return FormatUInt(port) == text; }

// Accepts only body lengths that every reader understands the same way.
HTTPVerdict JudgeFraming(std::string_view method, const ZHTTPHeader& header, bool http11) {
  const size_t lengths = header.CountOf("Content-Length");
  const size_t codings = header.CountOf("Transfer-Encoding");
  if (lengths + codings > 1) return Malformed();
  if (lengths == 1) {
    const Chaine length = header.Get("Content-Length");
    const bool plain = !length.IsEmpty() && std::all_of(length.begin(), length.end(), IsDigitASCII);
    return plain ? HTTPVerdict() : Malformed();
  }
  if (codings == 1) {
    const bool chunked = http11 && SameIgnoringASCIICase(header.Get("Transfer-Encoding"), "chunked");
    return chunked ? HTTPVerdict() : Malformed();
  }
  return method == "POST" || method == "PUT" || method == "PATCH" ? HTTPVerdict{411, eHTTPIntrusion::eNone}
                                                                  : HTTPVerdict();
}

HTTPVerdict JudgeSender(const ZHTTPHeader& header, uint16_t port) {
  if (!IsOwnAuthority(header.Get("Host"), port)) return {403, eHTTPIntrusion::eHost};
  for (size_t i = 0; i < header.Count(); i++) {
    const std::string_view value = header[i].value;
    if (SameIgnoringASCIICase(header[i].name, "Origin")) {
      const bool own = StartsIgnoringASCIICase(value, kHTTP) && value.size() >= kHTTP.size() &&
                       IsOwnAuthority(value.substr(kHTTP.size()), port);
      if (!own) return {403, eHTTPIntrusion::eOrigin};
    }
  }
  return {};
}

bool HasOnly(const ZHTTPHeader& header, const char* name, std::string_view value) {
  return header.CountOf(name) == 1 && SameIgnoringASCIICase(header.Get(name), value);
}

// True when a user follows a link to the first page, from a mail or another site.
bool IsLinkToFirstPage(std::string_view method, const ZHTTPHeader& header, const ZInetURL& url) {
  return method == "GET" && url.AsChaine() == "/" && HasOnly(header, "Sec-Fetch-Mode", "navigate") &&
         HasOnly(header, "Sec-Fetch-Dest", "document");
}

// Checks what the browser says about the page that sends the request (Fetch Metadata). Pages of other ports are
// "same-site".
HTTPVerdict JudgeSite(std::string_view method, const ZHTTPHeader& header, const ZInetURL& url) {
  for (size_t i = 0; i < header.Count(); i++) {
    if (!SameIgnoringASCIICase(header[i].name, "Sec-Fetch-Site")) continue;
    const std::string_view value = header[i].value;
    const bool own = SameIgnoringASCIICase(value, "same-origin") || SameIgnoringASCIICase(value, "none");
    if (!own && !IsLinkToFirstPage(method, header, url)) return {403, eHTTPIntrusion::eFetchSite};
  }
  return {};
}

// Accepts "/path?query", also after "http://" and this server's name.
HTTPVerdict JudgeTarget(std::string_view target, uint16_t port, ZInetURL* url) {
  if (StartsIgnoringASCIICase(target, kHTTP) && target.size() >= kHTTP.size()) {
    target.remove_prefix(kHTTP.size());
    const size_t end = std::min(target.find_first_of("/?"), target.size());
    if (!IsOwnAuthority(target.substr(0, end), port)) return {403, eHTTPIntrusion::eHost};
    target.remove_prefix(end);
    if (target.empty()) target = "/";
  }
  // Refuses "//name", which would be read as a server, and "#", which clients never send.
  const bool plain = target.starts_with('/') && !target.starts_with("//") &&
                     target.find_first_of("#\\") == std::string_view::npos &&
                     std::none_of(target.begin(), target.end(), [](char c) { return IsControlASCII(c) || c == ' '; });
  if (!plain) return Malformed();
  *url = ZInetURL(Chaine(target));
  return {};
}

}  // namespace

bool IsOwnAuthority(std::string_view authority, uint16_t port) {
  for (const std::string_view name : {"localhost", "127.0.0.1", "[::1]"}) {
    if (!StartsIgnoringASCIICase(authority, name) || authority.size() < name.size()) continue;
    const std::string_view rest = authority.substr(name.size());
    if (rest.empty()) return port == 80;
    if (rest[0] == ':') return IsOwnPort(rest.substr(1), port);
  }
  return false;
}

HTTPVerdict JudgeHead(std::string_view method, std::string_view target, const ZHTTPHeader& header, bool http11,
                      uint16_t port, ZInetURL* url) {
  if (header.CountOf("Host") != 1) return Malformed();
  HTTPVerdict verdict = JudgeFraming(method, header, http11);
  if (verdict.status == 0) verdict = JudgeSender(header, port);
  if (verdict.status == 0) verdict = JudgeTarget(target, port, url);
  if (verdict.status == 0) verdict = JudgeSite(method, header, *url);
  if (verdict.status == 0 && header.Has("Expect")) {
    const bool known = header.CountOf("Expect") == 1 && SameIgnoringASCIICase(header.Get("Expect"), "100-continue");
    if (!known) verdict.status = 417;
  }
  return verdict;
}

}  // namespace zforms
