#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace zforms {

class Chaine;
class IPDFObjectProvider;
class ZPDFEncrypter;
class ZPDFNode;
class ZPDFNodePool;
class ZPDFOutStream;

// The simple values of a dictionary that are not read before somebody asks for them: numbers, names and strings without
// escapes, references, and arrays of numbers, names and references. Most of them are only written again, or never used,
// so that no node needs to be made. Private to the node classes.
class ZPDFUnreadValue {
 public:
  // The length of such a value at the front of the text, 0 when there is another one. The reader of nodes would read
  // the same bytes without a warning. In an encrypted document strings are not left unread.
  static size_t LengthAt(const char* at, const char* end, bool is_encrypted);
  // True when nodes that are made of the text may be references or contain some.
  static bool MayRefer(std::string_view text) {
    return text.back() == 'R' || (text.front() == '[' && text.find('R') != std::string_view::npos);
  }
  // The node, owned by the caller. The text is a part of the source, whose bytes the node shares. Null for the pool
  // means the heap.
  static ZPDFNode* Read(std::string_view text, const Chaine& source, IPDFObjectProvider* provider, ZPDFNodePool* pool);
  // Stores the numbers of an array that holds no reference as far as there is room; 0 for a name. Returns the array's
  // size.
  static size_t ReadNumbers(std::string_view array, std::span<double> numbers);
  // Writes what the node would write.
  static void Write(std::string_view text, ZPDFOutStream& out, const ZPDFEncrypter* encrypter);
};

}  // namespace zforms
