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

// The character encoding of the bytes of an XML text.
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

// ZXMLReader is an XML document: it reads XML into a tree of elements, which it owns, and writes the tree. In memory
// all text is UTF-8. Comments, CDATA sections and processing instructions are kept. Line ends are not changed. One
// thread at a time.
//
// Writing produces UTF-8 and a declaration that says so. Characters that XML does not allow (control characters except
// tab, line feed and carriage return) are written as U+FFFD; bytes that are not UTF-8 are written unchanged.
class ZFORMS_API ZXMLReader {
 public:
  // The deepest nesting of elements that Read accepts.
  static constexpr size_t kMaxDepth = 500;

  ZXMLReader() = default;
  ZXMLReader(const ZXMLReader& other);
  ZXMLReader(ZXMLReader&& other) noexcept = default;
  ~ZXMLReader() = default;
  ZXMLReader& operator=(const ZXMLReader& other);
  ZXMLReader& operator=(ZXMLReader&& other) noexcept;

  // Replaces the document by an empty root element of that name.
  ZXMLElement& Create(std::string_view root_name);
  // Replaces the document by the contents of the stream. Returns the root. When the contents are not XML or are nested
  // too deeply, returns null, with the reason in LastError(), and there is no document.
  ZXMLElement* Read(ZInetIStream* in, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  ZXMLElement* Read(const Chaine& text, ZInetEncodedBuffer::eType encoding = ZInetEncodedBuffer::eDetect);
  // Writes the document; nothing when it has no root. `without_declaration` leaves out "<?xml ...?>". `*replaced`, if
  // given, gets the number of characters that XML does not allow. False when the stream fails.
  bool Write(ZInetOStream* out, bool without_declaration, size_t* replaced = nullptr) const;
  bool Write(ZXMLOptimizeFOStream* out, bool without_declaration, size_t* replaced = nullptr) const;
  void Clear();

  // The root, or null.
  ZXMLElement* Data();
  const ZXMLElement* Data() const;
  // Why the last Read failed, with line and column; empty after a success.
  const std::string& LastError() const { return last_error_; }

  // Converts to UTF-8 without byte order mark; shares the bytes when they are UTF-8 already. False when the encoding is
  // unknown or the last character is incomplete.
  static bool ToUTF8(const Chaine& bytes, ZInetEncodedBuffer::eType encoding, Chaine* text, std::string* error);

 private:
  // The memory of the nodes that were read. Declared first, so that it outlives them.
  std::unique_ptr<std::pmr::memory_resource> memory_;
  // A nameless element that contains the root and the nodes before and after it.
  std::unique_ptr<ZXMLElement> document_;
  Chaine version_;     // from the declaration; empty means 1.0
  Chaine standalone_;  // from the declaration; empty when it had none
  std::string last_error_;
};

// ZXMLOptimizeFOStream collects the small writes of XML into blocks and has the options of the text's layout.
class ZFORMS_API ZXMLOptimizeFOStream final : public ZInetFilterOStream {
 public:
  enum eOption : unsigned {
    // Writes a carriage return as it is, for a filter behind this stream that converts line ends. Without this option
    // it is written as "&#13;", which XML readers restore.
    eRawLineEnds = 1,
    // Writes an element without content as "<a/>" instead of "<a></a>".
    eShortEmpty = 2,
  };

  explicit ZXMLOptimizeFOStream(ZInetOStream* target, unsigned options = eShortEmpty);
  // Flushes the buffer. Call Flush() to learn whether that succeeded.
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
  // Writes the buffer to the target; false when any write so far failed.
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
