#pragma once

#include <cstddef>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/xml/xml_element.h"

namespace zforms {

class ZXMLOptimizeFOStream;

// How the bytes of an XML text stand for characters.
struct ZInetEncodedBuffer {
  enum eType {
    eDetect = 0,  // by byte order mark, else by the XML declaration, else UTF-8
    eUTF8 = 1,
    eLatin1 = 2,  // ISO-8859-1
    eWindows1252 = 3,
    eUTF16LE = 4,
    eUTF16BE = 5,
  };
};

// ZXMLReader is an XML document: it reads one into a tree of elements that it
// owns, and writes the tree. In memory all text is UTF-8. Comments, CDATA,
// instructions and elements of any name come through. Line ends are not touched.
//
// Writing gives UTF-8 and a declaration that says so. Characters that XML has no
// place for (control characters but tab, line feed and carriage return) are
// written as U+FFFD; bytes that are not UTF-8 are written as they are.
class ZFORMS_API ZXMLReader {
 public:
  // The deepest nesting of elements that is read.
  static constexpr size_t kMaxDepth = 500;

  ZXMLReader() = default;
  ZXMLReader(const ZXMLReader& other);
  ZXMLReader(ZXMLReader&& other) noexcept = default;
  ~ZXMLReader() = default;
  ZXMLReader& operator=(const ZXMLReader& other);
  ZXMLReader& operator=(ZXMLReader&& other) noexcept;

  // Replaces the document by a root of that name.
  ZXMLElement& Create(std::string_view root_name);
  // Replaces the document by what the stream holds. The root, or null with a
  // reason in LastError() and no document when it is no XML or nests too deep.
  ZXMLElement* Read(ZInetIStream* in, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  ZXMLElement* Read(const Chaine& text, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  // Writes the document, nothing when it has no root. `without_declaration`
  // leaves out "<?xml ...?>". When `replaced` is given it takes the number of
  // characters that XML has no place for. False when the stream fails.
  bool Write(ZInetOStream* out, bool without_declaration, size_t* replaced = nullptr) const;
  bool Write(ZXMLOptimizeFOStream* out, bool without_declaration, size_t* replaced = nullptr) const;
  void Clear();

  // The root, or null.
  ZXMLElement* Data();
  const ZXMLElement* Data() const;
  // Why the last Read gave no root, with line and column; empty after a success.
  const std::string& LastError() const { return last_error_; }

  // The text in UTF-8, without byte order mark; shares the bytes when it is UTF-8
  // already. False when the encoding is not known or the bytes are cut short.
  static bool ToUTF8(const Chaine& bytes, ZInetEncodedBuffer::eType encoding, Chaine* text, std::string* error);

 private:
  // What the nodes lie in that were read. They go before it.
  std::unique_ptr<std::pmr::memory_resource> memory_;
  // The root with what stands before and after it.
  std::unique_ptr<ZXMLElement> document_;
  Chaine version_;     // of the declaration; empty means 1.0
  Chaine standalone_;  // of the declaration; empty when it had none
  std::string last_error_;
};

// ZXMLOptimizeFOStream gathers the small writes of XML into blocks, and says how
// the text is laid out.
class ZFORMS_API ZXMLOptimizeFOStream final : public ZInetFilterOStream {
 public:
  enum eOption : unsigned {
    // A carriage return is written as it is, for a filter behind this stream that
    // turns line ends. Without it, it is written as "&#13;", which XML readers
    // give back as it was.
    eRawLineEnds = 1,
    // An element without content is written "<a/>" instead of "<a></a>".
    eShortEmpty = 2,
  };

  explicit ZXMLOptimizeFOStream(ZInetOStream* target, unsigned options = eShortEmpty);
  // Passes on what is left; only Flush() tells whether it arrived.
  ~ZXMLOptimizeFOStream() override;

  bool HasOption(eOption option) const { return (options_ & option) != 0; }
  bool Write(const char* from, size_t size) override {
    Put(std::string_view(from, size));
    return ok_;
  }
  bool SetBuffering(bool on) override { return Flush() && Target()->SetBuffering(on); }
  void Put(char c) {
    if (count_ == kCapacity) Flush();
    block_[count_++] = c;
  }
  void Put(std::string_view text) {
    if (text.size() > kCapacity - count_) {
      PutLong(text);
      return;
    }
    text.copy(block_.get() + count_, text.size());
    count_ += text.size();
  }
  // Passes on what was gathered; false when any write so far failed.
  bool Flush();

 private:
  static constexpr size_t kCapacity = 64 * 1024;

  void PutLong(std::string_view text);

  std::unique_ptr<char[]> block_;
  size_t count_ = 0;
  unsigned options_;
  bool ok_ = true;
};

}  // namespace zforms
