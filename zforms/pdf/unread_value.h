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

// The simple values of a dictionary, for which nodes are made only when they are needed: numbers, names and strings
// without escapes, references, and arrays of numbers, names and references. Most of them are only written again or
// never used. Private to the node classes.
class ZPDFUnreadValue {
 public:
  // The length in bytes of a simple value that begins at `at`; 0 for another value, and for a string in an encrypted
  // document. ZPDFForwardReader would read the same bytes, without a warning.
  static size_t LengthAt(const char* at, const char* end, bool is_encrypted);
  // True when the value may be a reference or may contain references.
  static bool MayRefer(std::string_view text) {
    return text.back() == 'R' || (text.front() == '[' && text.find('R') != std::string_view::npos);
  }
  // Makes the node of the value, owned by the caller, in the pool, or on the heap when `pool` is null. `text` is a part
  // of `source`, and the node shares its bytes.
  static ZPDFNode* Read(std::string_view text, const Chaine& source, IPDFObjectProvider* provider, ZPDFNodePool* pool);
  // Stores the numbers of an array without references in `numbers`, until it is full; a name reads as 0. Returns the
  // size of the array.
  static size_t ReadNumbers(std::string_view array, std::span<double> numbers);
  // Writes the same bytes as the node of the value would.
  static void Write(std::string_view text, ZPDFOutStream& out, const ZPDFEncrypter* encrypter);
  // Writes a whole entry of a dictionary in one step. False, with nothing written, when this is not possible: at the
  // end of a long line, for an encrypted string, or for a number that is written in another way. Preconditions: the key
  // is written without escapes, and a Run of the output is open.
  static bool WriteEntry(std::string_view key, std::string_view text, ZPDFOutStream& out,
                         const ZPDFEncrypter* encrypter);
};

}  // namespace zforms
