#include "zforms/platform/text/inet_url.h"

#include <algorithm>
#include <charconv>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/hex.h"

namespace zforms {

namespace {

bool IsEscape(std::string_view text, size_t at) {
  return text[at] == '%' && at + 2 < text.size() && HexDigit(text[at + 1]) >= 0 && HexDigit(text[at + 2]) >= 0;
}

constexpr std::string_view kUnreserved = "-._~";
// The characters allowed in a path, query or fragment beside letters, digits and escapes.
constexpr std::string_view kPathMarks = "-._~!$&'()*+,;=:@/";
constexpr std::string_view kFragmentMarks = "-._~!$&'()*+,;=:@/?";

// Escapes everything but letters, digits and the marks; `keep_escapes` keeps an existing "%41".
Chaine EscapeAllBut(std::string_view marks, std::string_view text, bool keep_escapes) {
  Chaine result;
  for (size_t i = 0; i < text.size(); i++) {
    const char c = text[i];
    if (IsLetterASCII(c) || IsDigitASCII(c) || marks.find(c) != std::string_view::npos ||
        (keep_escapes && IsEscape(text, i))) {
      result += c;
    } else {
      result += '%';
      AppendHexByte(&result, static_cast<unsigned char>(c));
    }
  }
  return result;
}

// The length of the protocol before ":", or 0. A single letter is a drive, not a protocol.
size_t ProtocolLength(std::string_view text) {
  if (text.empty() || !IsLetterASCII(text[0])) return 0;
  const auto past = std::find_if(text.begin(), text.end(), [](char c) {
    return !IsLetterASCII(c) && !IsDigitASCII(c) && c != '+' && c != '-' && c != '.';
  });
  const size_t end = static_cast<size_t>(past - text.begin());
  return end >= 2 && end < text.size() && text[end] == ':' ? end : 0;
}

bool StartsWithDrive(std::string_view path) {
  return path.size() >= 2 && IsLetterASCII(path[0]) && (path[1] == ':' || path[1] == '|') &&
         (path.size() == 2 || path[2] == '/' || path[2] == '\\');
}

// Removes "." and ".." as in RFC 3986 5.2.4; the path may be relative.
Chaine RemoveDotSegments(std::string_view path) {
  std::vector<std::string_view> kept;
  const bool rooted = !path.empty() && path[0] == '/';
  bool folder = false;
  for (size_t at = rooted ? 1 : 0; at <= path.size();) {
    const size_t end = std::min(path.find('/', at), path.size());
    const std::string_view segment = path.substr(at, end - at);
    folder = segment == "." || segment == "..";
    if (segment == "..") {
      if (!kept.empty()) kept.pop_back();
    } else if (!folder) {
      kept.push_back(segment);
    }
    at = end + 1;
  }
  if (folder) kept.emplace_back();
  Chaine result(rooted ? "/" : "");
  for (size_t i = 0; i < kept.size(); i++) {
    if (i != 0) result += '/';
    result += kept[i];
  }
  return result;
}

}  // namespace

Chaine ZInetURL::Encode(std::string_view text) { return EscapeAllBut(kUnreserved, text, false); }

Chaine ZInetURL::Decode(std::string_view text) {
  if (text.find('%') == std::string_view::npos) return Chaine(text);
  Chaine result;
  for (size_t i = 0; i < text.size(); i++) {
    if (IsEscape(text, i)) {
      result += static_cast<char>(HexByte(text.substr(i + 1, 2)));
      i += 2;
    } else {
      result += text[i];
    }
  }
  return result;
}

void ZInetURL::Parse(const Chaine& text) {
  text_ = text;
  const std::string_view all = text_.View();
  const size_t protocol = ProtocolLength(all);
  size_t at = 0;
  if (protocol != 0) {
    protocol_ = text_.Mid(0, protocol);
    at = protocol + 1;
  }
  if (all.substr(at, 2) == "//") {
    const size_t end = std::min(all.find_first_of("/?#", at + 2), all.size());
    has_authority_ = true;
    ParseAuthority(text_.Mid(at + 2, end - at - 2));
    at = end;
  }
  const size_t reference = std::min(all.find('#', at), all.size());
  const size_t query = std::min(all.find('?', at), reference);
  path_ = text_.Mid(at, query - at);
  if (query < reference) ParseQuery(text_.Mid(query + 1, reference - query - 1));
  has_reference_ = reference < all.size();
  if (has_reference_) reference_ = text_.Mid(reference + 1);
}

void ZInetURL::ParseAuthority(const Chaine& authority) {
  const size_t user = authority.View().rfind('@');
  has_user_ = user != std::string_view::npos;
  if (has_user_) user_ = authority.Mid(0, user);
  ParseServer(has_user_ ? authority.Mid(user + 1) : authority);
}

void ZInetURL::ParseServer(const Chaine& server) {
  const std::string_view text = server.View();
  const size_t bracket = text.find(']');
  const size_t colon = text.find(':', bracket == std::string_view::npos ? 0 : bracket);
  server_ = server.Mid(0, colon);
  has_port_ = colon != std::string_view::npos;
  port_text_ = has_port_ ? server.Mid(colon + 1) : Chaine();
  const auto parsed = std::from_chars(port_text_.begin(), port_text_.end(), port_);
  if (parsed.ec != std::errc() || parsed.ptr != port_text_.end()) port_ = 0;
}

void ZInetURL::ParseQuery(const Chaine& query) {
  has_query_ = true;
  params_.clear();
  for (size_t at = 0; at < query.size();) {
    const size_t end = std::min(query.View().find('&', at), query.size());
    params_.push_back(query.Mid(at, end - at));
    at = end + 1;
    // A "&" at the end is a parameter without a name; it is kept so that the text can be written back unchanged.
    if (at == query.size()) params_.emplace_back();
  }
}

Chaine ZInetURL::Query() const {
  Chaine query;
  for (size_t i = 0; i < params_.size(); i++) {
    if (i != 0) query += '&';
    query += params_[i];
  }
  return query;
}

Chaine ZInetURL::Compose(bool without_user, bool path_only) const {
  Chaine text;
  if (!path_only) {
    if (!protocol_.IsEmpty()) text += protocol_ + ':';
    if (has_authority_) {
      text += "//";
      if (has_user_ && !without_user) text += user_ + '@';
      text += server_;
      if (has_port_) text += ":" + port_text_;
      if (!path_.IsEmpty() && path_[0] != '/') text += '/';
    } else if (path_.View().substr(0, 2) == "//") {
      // Without this, the start of the path would be read as a server.
      text += "/.";
    }
  }
  text += path_;
  if (path_only && path_.IsEmpty()) text += '/';
  if (has_query_) text += "?" + Query();
  if (has_reference_ && !path_only) text += "#" + reference_;
  return text;
}

Chaine ZInetURL::AsChaine(bool without_user, bool path_only) const {
  if ((!without_user || !has_user_) && !path_only) return text_;
  return Compose(without_user, path_only);
}

Chaine ZInetURL::Protocol() const {
  Chaine result;
  for (const char c : protocol_) result += LowerASCII(c);
  return result;
}

Chaine ZInetURL::Path(bool as_file) const {
  if (!as_file) return path_;
  Chaine path = Decode(path_);
  if (!path.IsEmpty() && path[0] == '/' && StartsWithDrive(path.View().substr(1))) path = path.Mid(1);
  if (StartsWithDrive(path)) path = path.Mid(0, 1) + ":" + path.Mid(2);
  return path;
}

Chaine ZInetURL::FileName() const {
  const size_t slash = path_.View().rfind('/');
  return Decode(slash == std::string_view::npos ? path_ : path_.Mid(slash + 1));
}

Chaine ZInetURL::Reference() const { return Decode(reference_); }

bool ZInetURL::IsLocalFile() const {
  return SameIgnoringASCIICase(protocol_, "file") && (server_.IsEmpty() || SameIgnoringASCIICase(server_, "localhost"));
}

Chaine ZInetURL::ParamName(size_t index) const {
  return Decode(params_[index].Mid(0, params_[index].View().find('=')));
}

Chaine ZInetURL::ParamValue(size_t index) const {
  const size_t equals = params_[index].View().find('=');
  return equals == std::string_view::npos ? Chaine() : Decode(params_[index].Mid(equals + 1));
}

size_t ZInetURL::FindParam(std::string_view name) const {
  for (size_t i = 0; i < params_.size(); i++) {
    if (SameIgnoringASCIICase(ParamName(i), name)) return i;
  }
  return kNone;
}

Chaine ZInetURL::Param(std::string_view name) const {
  const size_t index = FindParam(name);
  return index == kNone ? Chaine() : ParamValue(index);
}

void ZInetURL::SetProtocol(const Chaine& protocol) {
  protocol_ = protocol;
  Rebuild();
}

void ZInetURL::SetServer(const Chaine& server) {
  const bool had_port = has_port_;
  const Chaine port_text = port_text_;
  const uint16_t port = port_;
  ParseServer(server);
  if (!has_port_) {
    has_port_ = had_port;
    port_text_ = port_text;
    port_ = port;
  }
  has_authority_ = true;
  Rebuild();
}

void ZInetURL::SetPort(uint16_t port) {
  port_ = port;
  has_port_ = port != 0;
  port_text_ = has_port_ ? Chaine(std::to_string(port)) : Chaine();
  has_authority_ = has_authority_ || has_port_;
  Rebuild();
}

void ZInetURL::SetPath(const Chaine& path) {
  path_ = EscapeAllBut(kPathMarks, path, true);
  Rebuild();
}

void ZInetURL::SetReference(const Chaine& reference) {
  has_reference_ = !reference.IsEmpty();
  reference_ = EscapeAllBut(kFragmentMarks, reference, false);
  Rebuild();
}

void ZInetURL::SetParam(std::string_view name, std::string_view value) {
  const size_t index = FindParam(name);
  if (index != kNone) {
    Chaine& param = params_[index];
    param = param.Mid(0, param.View().find('=')) + "=" + Encode(value);
  } else {
    params_.push_back(Encode(name) + "=" + Encode(value));
  }
  has_query_ = true;
  Rebuild();
}

void ZInetURL::RemoveParam(std::string_view name) {
  const size_t index = FindParam(name);
  if (index == kNone) return;
  params_.erase(params_.begin() + static_cast<std::ptrdiff_t>(index));
  has_query_ = !params_.empty();
  Rebuild();
}

void ZInetURL::MoveTo(const Chaine& relative) {
  const ZInetURL target(relative);
  if (!target.protocol_.IsEmpty()) {
    *this = target;
    path_ = RemoveDotSegments(path_);
  } else if (target.has_authority_) {
    const Chaine protocol = protocol_;
    *this = target;
    protocol_ = protocol;
    path_ = RemoveDotSegments(path_);
  } else {
    if (!target.path_.IsEmpty()) {
      // The new path is relative to the folder of this path; the folder is "/" for a server without a path.
      const size_t slash = path_.View().rfind('/');
      Chaine folder = slash == std::string_view::npos ? Chaine() : path_.Mid(0, slash + 1);
      if (has_authority_ && path_.IsEmpty()) folder = "/";
      path_ = RemoveDotSegments(target.path_[0] == '/' ? target.path_ : folder + target.path_);
    }
    if (!target.path_.IsEmpty() || target.has_query_) {
      has_query_ = target.has_query_;
      params_ = target.params_;
    }
    has_reference_ = target.has_reference_;
    reference_ = target.reference_;
  }
  Rebuild();
}

ZInetURL ZInetURL::FromLocalPath(const Chaine& path) {
  Chaine slashed;
  const bool windows = StartsWithDrive(path);
  for (const char c : path) slashed += windows && c == '\\' ? '/' : c;
  Chaine escaped = EscapeAllBut(kPathMarks, slashed, false);
  if (windows) escaped = escaped.Mid(0, 1) + ":" + escaped.Mid(escaped[1] == '%' ? 4 : 2);
  return ZInetURL((windows ? "file:///" : "file://") + escaped);
}

}  // namespace zforms
