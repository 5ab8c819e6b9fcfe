#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZInetURL is a URL cut into its parts by RFC 3986. A URL that was made from
// text and not changed gives that text back byte for byte, whatever it holds;
// after a change the text is put together anew from the parts, each part that
// was not set standing as it was.
class ZFORMS_API ZInetURL {
 public:
  ZInetURL() = default;
  ZInetURL(const Chaine& text) { Parse(text); }
  ZInetURL(const char* text) : ZInetURL(Chaine(text)) {}

  bool IsEmpty() const { return text_.IsEmpty(); }
  // The text. `without_user` leaves out a user name and password; `path_only`
  // leaves out protocol and server, as the first line of an HTTP request wants
  // it, and the reference.
  Chaine AsChaine(bool without_user = false, bool path_only = false) const;

  // In lower case, without ":"; empty when absent. A single letter before ":" is
  // a drive and no protocol.
  Chaine Protocol() const;
  // User name and password as they stand before "@".
  const Chaine& User() const { return user_; }
  // Without port; an IPv6 address in its brackets.
  const Chaine& Server() const { return server_; }
  // 0 when absent or no number up to 65535.
  uint16_t Port() const { return port_; }
  // With `as_file` false the path as the text has it. With true the path for the
  // operating system: percent escapes decoded, "C:/..." for a path that starts
  // with a drive letter ("/C:/...", "/C|/...").
  Chaine Path(bool as_file = false) const;
  // What follows the last "/" of the path, decoded.
  Chaine FileName() const;
  // What follows "#", decoded; empty when absent.
  Chaine Reference() const;
  // True for the protocol "file" with no server or "localhost".
  bool IsLocalFile() const;

  // The parameters after "?", in order. Names and values are decoded ("+" stands
  // for itself); Param, HasParam, SetParam and RemoveParam ignore the ASCII case
  // of names and mean the first parameter of the name.
  size_t ParamCount() const { return params_.size(); }
  Chaine ParamName(size_t index) const;
  Chaine ParamValue(size_t index) const;
  bool HasParam(std::string_view name) const { return FindParam(name) != kNone; }
  // Empty when absent.
  Chaine Param(std::string_view name) const;

  void SetProtocol(const Chaine& protocol);
  // "name", "name:port" (which sets the port as well), or "[address]".
  void SetServer(const Chaine& server);
  // 0 removes the port.
  void SetPort(uint16_t port);
  // Percent escapes stand; bytes that a path cannot hold are escaped.
  void SetPath(const Chaine& path);
  void SetReference(const Chaine& reference);
  // Replaces the value, or appends the parameter.
  void SetParam(std::string_view name, std::string_view value);
  void RemoveParam(std::string_view name);
  // Goes to a reference relative to this URL (RFC 3986 5.2).
  void MoveTo(const Chaine& relative);

  // The URL of a file: "C:\dir\a.pdf" gives "file:///C:/dir/a.pdf".
  static ZInetURL FromLocalPath(const Chaine& path);
  // Escapes every byte but letters, digits and "-._~".
  static Chaine Encode(std::string_view text);
  // Turns "%41" into "A"; what is no escape stays.
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
  // "name=value" or "name", escaped.
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
