#include <algorithm>
#include <string>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/text/byte_order_mark.h"
#include "zforms/platform/text/text.h"
#include "zforms/platform/xml/xml.h"

namespace zforms {

namespace {

using Encoding = ZInetEncodedBuffer::eType;

// The encoding named in the XML declaration; empty when there is none.
std::string_view DeclaredEncoding(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  if (text.substr(0, 5) != "<?xml") return {};
  const std::string_view declaration = text.substr(0, std::min(text.find("?>"), text.size()));
  size_t at = declaration.find("encoding");
  if (at == std::string_view::npos) return {};
  at = declaration.find_first_not_of(kBlanks, at + 8);
  if (at == std::string_view::npos || declaration[at] != '=') return {};
  at = declaration.find_first_not_of(kBlanks, at + 1);
  if (at == std::string_view::npos || (declaration[at] != '"' && declaration[at] != '\'')) return {};
  const size_t end = declaration.find(declaration[at], at + 1);
  return end == std::string_view::npos ? std::string_view() : declaration.substr(at + 1, end - at - 1);
}

// False for an unsupported encoding.
bool EncodingOfName(std::string_view name, Encoding* encoding) {
  struct Known {
    std::string_view name;
    Encoding encoding;
  };
  // A text whose declaration is readable byte by byte is not UTF-16, even if it says so.
  static constexpr Known kKnown[] = {
      {"", ZInetEncodedBuffer::eUTF8},
      {"utf-8", ZInetEncodedBuffer::eUTF8},
      {"utf8", ZInetEncodedBuffer::eUTF8},
      {"utf-16", ZInetEncodedBuffer::eUTF8},
      {"us-ascii", ZInetEncodedBuffer::eUTF8},
      {"ascii", ZInetEncodedBuffer::eUTF8},
      {"iso-8859-1", ZInetEncodedBuffer::eLatin1},
      {"iso8859-1", ZInetEncodedBuffer::eLatin1},
      {"iso_8859-1", ZInetEncodedBuffer::eLatin1},
      {"latin1", ZInetEncodedBuffer::eLatin1},
      {"windows-1252", ZInetEncodedBuffer::eWindows1252},
      {"cp1252", ZInetEncodedBuffer::eWindows1252},
  };
  for (const Known& known : kKnown) {
    if (!SameIgnoringASCIICase(known.name, name)) continue;
    *encoding = known.encoding;
    return true;
  }
  return false;
}

// Detects the encoding by the byte order mark, or by the zero byte of a "<" in UTF-16; eDetect when there is neither.
Encoding EncodingOfStart(std::string_view bytes) {
  using namespace std::string_view_literals;
  const std::string_view two = bytes.substr(0, 2);
  if (bytes.starts_with(kUTF8Mark)) return ZInetEncodedBuffer::eUTF8;
  if (two == kUTF16LEMark || two == "<\0"sv) return ZInetEncodedBuffer::eUTF16LE;
  if (two == kUTF16BEMark || two == "\0<"sv) return ZInetEncodedBuffer::eUTF16BE;
  return ZInetEncodedBuffer::eDetect;
}

bool Fail(std::string* error, std::string reason) {
  if (error != nullptr) *error = std::move(reason);
  return false;
}

Chaine WithoutMark(const Chaine& text) {
  return text.View().starts_with(kUTF8Mark) ? text.Mid(kUTF8Mark.size()) : text;
}

}  // namespace

bool ZXMLReader::ToUTF8(const Chaine& bytes, Encoding encoding, Chaine* text, std::string* error) {
  if (encoding == ZInetEncodedBuffer::eDetect) encoding = EncodingOfStart(bytes);
  if (encoding == ZInetEncodedBuffer::eDetect) {
    const std::string_view name = DeclaredEncoding(bytes);
    // Text that is pure ASCII is accepted even if the encoding is unknown: nearly all encodings contain ASCII.
    if (!EncodingOfName(name, &encoding) && !IsASCII(bytes))
      return Fail(error, "unknown encoding " + std::string(name));
  }
  switch (encoding) {
    case ZInetEncodedBuffer::eLatin1: *text = Latin1ToUTF8(bytes); return true;
    case ZInetEncodedBuffer::eWindows1252: *text = Windows1252ToUTF8(bytes); return true;
    case ZInetEncodedBuffer::eUTF16LE:
    case ZInetEncodedBuffer::eUTF16BE: {
      if (bytes.size() % 2 != 0) return Fail(error, "the UTF-16 text ends in the middle of a character");
      const bool little = encoding == ZInetEncodedBuffer::eUTF16LE;
      *text = WithoutMark(UTF16ToUTF8(bytes, little ? ByteOrder::eLittleEndian : ByteOrder::eBigEndian));
      return true;
    }
    case ZInetEncodedBuffer::eDetect:
    case ZInetEncodedBuffer::eUTF8: break;
  }
  *text = WithoutMark(bytes);
  return true;
}

}  // namespace zforms
