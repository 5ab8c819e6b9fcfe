#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class OsFile;

// A block of bytes stored by a host, such as a column of its database.
struct sBlob {
  Chaine bytes;
};

// A source of bytes. One thread uses a stream at a time.
class ZFORMS_API ZInetIStream {
 public:
  ZInetIStream() = default;
  ZInetIStream(const ZInetIStream&) = delete;
  ZInetIStream& operator=(const ZInetIStream&) = delete;
  virtual ~ZInetIStream();

  // Copies up to `size` bytes to `to` and returns their number; 0 at the end.
  virtual size_t Read(char* to, size_t size) = 0;
  // All bytes up to the end. A stream over a Chaine shares its bytes.
  virtual Chaine ReadAll();
  // Why reading stopped early, or empty. After a failure the stream reads as ended.
  virtual std::string Error() const { return {}; }
};

// A destination of bytes. One thread uses a stream at a time.
class ZFORMS_API ZInetOStream {
 public:
  ZInetOStream() = default;
  ZInetOStream(const ZInetOStream&) = delete;
  ZInetOStream& operator=(const ZInetOStream&) = delete;
  virtual ~ZInetOStream();

  // True when all bytes were accepted.
  virtual bool Write(const char* from, size_t size) = 0;
  // Like Write; a stream that collects text may share the bytes instead of copying them.
  virtual bool WriteAll(const Chaine& bytes) { return Write(bytes.data(), bytes.size()); }
  // Turns buffering of writes on or off. Turning it off flushes the buffer; false when that fails.
  virtual bool SetBuffering(bool) { return true; }
};

// Reads a file; `path` is UTF-8. A file that cannot be opened is an empty
// stream: IsOpen() is false and Error() says why.
class ZFORMS_API ZInetFileIStream : public ZInetIStream {
 public:
  explicit ZInetFileIStream(const Chaine& path);
  ~ZInetFileIStream() override;

  bool IsOpen() const;
  size_t Read(char* to, size_t size) override;
  Chaine ReadAll() override;
  std::string Error() const override { return error_; }

 private:
  std::unique_ptr<OsFile> file_;
  std::string error_;
};

// Writes a file, which is truncated when it exists; `path` is UTF-8. When the file cannot be opened, all writes fail.
// Buffering is on at first.
class ZFORMS_API ZInetFileOStream : public ZInetOStream {
 public:
  explicit ZInetFileOStream(const Chaine& path);
  // Closes the file. Call Close() to learn whether the last bytes were written.
  ~ZInetFileOStream() override;

  bool IsOpen() const;
  bool Write(const char* from, size_t size) override;
  bool SetBuffering(bool on) override;
  // Flushes the buffer and closes the file; true when every byte of every write was written. False when already closed.
  bool Close();
  // Why opening or writing failed, or empty.
  std::string Error() const { return error_; }

 private:
  bool Flush();
  bool Fail();

  std::unique_ptr<OsFile> file_;
  std::unique_ptr<char[]> gathered_;
  size_t count_ = 0;
  bool buffering_ = true;
  std::string error_;
};

// Reads a text and shares its bytes.
class ZFORMS_API ZInetChaineIStream : public ZInetIStream {
 public:
  explicit ZInetChaineIStream(const Chaine& text) : text_(text) {}

  size_t Read(char* to, size_t size) override;
  Chaine ReadAll() override;

 private:
  Chaine text_;
  size_t at_ = 0;
};

// Appends to a text, which must outlive the stream.
class ZFORMS_API ZInetChaineOStream : public ZInetOStream {
 public:
  explicit ZInetChaineOStream(Chaine& text) : text_(text) {}

  bool Write(const char* from, size_t size) override;
  bool WriteAll(const Chaine& bytes) override;

 private:
  Chaine& text_;
};

// Reads a blob; null reads as empty.
class ZFORMS_API ZInetBlobIStream : public ZInetChaineIStream {
 public:
  explicit ZInetBlobIStream(const sBlob* blob) : ZInetChaineIStream(blob == nullptr ? Chaine() : blob->bytes) {}
};

// Replaces the contents of a blob, which must outlive the stream.
class ZFORMS_API ZInetBlobOStream : public ZInetChaineOStream {
 public:
  explicit ZInetBlobOStream(sBlob* blob);
};

// Base class of filters that change bytes while reading; this one passes the source's bytes unchanged. The source is
// not owned and must outlive the filter.
class ZFORMS_API ZInetFilterIStream : public ZInetIStream {
 public:
  explicit ZInetFilterIStream(ZInetIStream* source) : source_(source) {}

  size_t Read(char* to, size_t size) override { return source_->Read(to, size); }
  std::string Error() const override { return source_->Error(); }

 protected:
  ZInetIStream* Source() const { return source_; }

 private:
  ZInetIStream* source_;
};

// Base class of filters that change bytes while writing; this one passes the bytes unchanged. The target is not owned
// and must outlive the filter.
class ZFORMS_API ZInetFilterOStream : public ZInetOStream {
 public:
  explicit ZInetFilterOStream(ZInetOStream* target) : target_(target) {}

  bool Write(const char* from, size_t size) override { return target_->Write(from, size); }
  bool SetBuffering(bool on) override { return target_->SetBuffering(on); }

 protected:
  ZInetOStream* Target() const { return target_; }

 private:
  ZInetOStream* target_;
};

// Counts the bytes and discards them.
class ZFORMS_API ZInetComputeSizeOStream : public ZInetOStream {
 public:
  bool Write(const char*, size_t size) override {
    size_ += size;
    return true;
  }
  uint64_t Size() const { return size_; }

 private:
  uint64_t size_ = 0;
};

}  // namespace zforms
