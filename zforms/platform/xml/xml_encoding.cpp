#include <algorithm>

#include "zforms/platform/text/text.h"
#include "zforms/platform/xml/xml.h"

namespace zforms {

namespace {

using Encoding = ZInetEncodedBuffer::eType;

bool HasOnlyASCII(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string Lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  return result;
}

// The encoding named in the XML declaration, in lower case; empty when there is none.
std::string DeclaredEncoding(std::string_view text) {
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
  return end == std::string_view::npos ? std::string() : Lower(declaration.substr(at + 1, end - at - 1));
}

// False for an unsupported encoding.
bool EncodingOfName(const std::string& name, Encoding* encoding) {
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
    if (known.name != name) continue;
    *encoding = known.encoding;
    return true;
  }
  return false;
}

// Detects the encoding by the byte order mark, or by the zero byte of a "<" in UTF-16; eDetect when there is neither.
Encoding EncodingOfStart(std::string_view bytes) {
  using namespace std::string_view_literals;
  const std::string_view two = bytes.substr(0, 2);
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF"sv) return ZInetEncodedBuffer::eUTF8;
  if (two == "\xFF\xFE"sv || two == "<\0"sv) return ZInetEncodedBuffer::eUTF16LE;
  if (two == "\xFE\xFF"sv || two == "\0<"sv) return ZInetEncodedBuffer::eUTF16BE;
  return ZInetEncodedBuffer::eDetect;
}

bool Fail(std::string* error, std::string reason) {
  if (error != nullptr) *error = std::move(reason);
  return false;
}

Chaine WithoutMark(const Chaine& text) { return text.View().substr(0, 3) == "\xEF\xBB\xBF" ? text.Mid(3) : text; }

}  // namespace

bool ZXMLReader::ToUTF8(const Chaine& bytes, Encoding encoding, Chaine* text, std::string* error) {
  if (encoding == ZInetEncodedBuffer::eDetect) encoding = EncodingOfStart(bytes);
  if (encoding == ZInetEncodedBuffer::eDetect) {
    const std::string name = DeclaredEncoding(bytes);
    // Text that is pure ASCII is accepted even if the encoding is unknown: nearly all encodings contain ASCII.
    if (!EncodingOfName(name, &encoding) && !HasOnlyASCII(bytes)) return Fail(error, "unknown encoding " + name);
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
