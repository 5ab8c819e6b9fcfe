#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZInetURL is a URL split into its parts by RFC 3986. A URL that was made from text and not changed gives that text
// back byte for byte, even if it is malformed. After a change the text is built from the parts again; parts that were
// not set keep their text. A plain value, used by one thread at a time.
class ZFORMS_API ZInetURL {
 public:
  ZInetURL() = default;
  ZInetURL(const Chaine& text) { Parse(text); }
  ZInetURL(const char* text) : ZInetURL(Chaine(text)) {}

  bool IsEmpty() const { return text_.IsEmpty(); }
  // The text of the URL. `without_user` leaves out user name and password; `path_only` leaves out protocol, server and
  // reference, as in the first line of an HTTP request.
  Chaine AsChaine(bool without_user = false, bool path_only = false) const;

  // The protocol in lower case, without ":"; empty when absent. A single letter before ":" is a drive, not a protocol.
  Chaine Protocol() const;
  // User name and password: the text before "@", not decoded.
  const Chaine& User() const { return user_; }
  // The server without the port; an IPv6 address keeps its brackets.
  const Chaine& Server() const { return server_; }
  // The port; 0 when it is absent or not a number up to 65535.
  uint16_t Port() const { return port_; }
  // With `as_file` false, the path as in the text. With true, the path for the operating system: percent escapes are
  // decoded, and a path that starts with a drive letter ("/C:/...", "/C|/...") becomes "C:/...".
  Chaine Path(bool as_file = false) const;
  // The text after the last "/" of the path, decoded.
  Chaine FileName() const;
  // The text after "#", decoded; empty when absent.
  Chaine Reference() const;
  // True for the protocol "file" with no server or "localhost".
  bool IsLocalFile() const;

  // The parameters after "?", in order. Names and values are decoded ("+" is not a blank). Param, HasParam, SetParam
  // and RemoveParam ignore the ASCII case of names and use the first parameter of that name.
  size_t ParamCount() const { return params_.size(); }
  Chaine ParamName(size_t index) const;
  Chaine ParamValue(size_t index) const;
  bool HasParam(std::string_view name) const { return FindParam(name) != kNone; }
  // Empty when absent.
  Chaine Param(std::string_view name) const;

  void SetProtocol(const Chaine& protocol);
  // Accepts "name", "name:port" (which also sets the port) and "[address]".
  void SetServer(const Chaine& server);
  // 0 removes the port.
  void SetPort(uint16_t port);
  // Percent escapes are kept; bytes that a path cannot contain are escaped.
  void SetPath(const Chaine& path);
  void SetReference(const Chaine& reference);
  // Replaces the value, or appends the parameter when it is missing.
  void SetParam(std::string_view name, std::string_view value);
  void RemoveParam(std::string_view name);
  // Resolves a relative reference against this URL, and replaces this URL by the result (RFC 3986 5.2).
  void MoveTo(const Chaine& relative);

  // The URL of a file: "C:\dir\a.pdf" gives "file:///C:/dir/a.pdf".
  static ZInetURL FromLocalPath(const Chaine& path);
  // Escapes every byte except letters, digits and "-._~".
  static Chaine Encode(std::string_view text);
  // Turns "%41" into "A"; a malformed escape is kept.
  static Chaine Decode(std::string_view text);

  friend bool operator==(const ZInetURL& a, const ZInetURL& b) { return a.text_ == b.text_; }

 private:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  void Parse(const Chaine& text);
  void ParseAuthority(const Chaine& authority);
  void ParseServer(const Chaine& server);
  void ParseQuery(const Chaine& query);
  Chaine Query() const;
  Chaine Compose(bool without_user, bool path_only) const;
  void Rebuild() { text_ = Compose(false, false); }
  size_t FindParam(std::string_view name) const;

  Chaine text_;
  Chaine protocol_;
  Chaine user_;
  Chaine server_;
  Chaine port_text_;
  Chaine path_;
  // Each is "name=value" or "name", escaped.
  std::vector<Chaine> params_;
  Chaine reference_;
  uint16_t port_ = 0;
  bool has_authority_ = false;
  bool has_user_ = false;
  bool has_port_ = false;
  bool has_query_ = false;
  bool has_reference_ = false;
};

}  // namespace zforms
