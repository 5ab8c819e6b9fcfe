#pragma once

#include "zforms/pdf/node.h"

namespace zforms {

class ZPDFNodeDictionary;

// The bytes of a stream (ZPDFNodeStream::ZPDFNodeStreamData), stored decrypted but not decoded: filters are neither
// applied nor removed.
class ZFORMS_API ZPDFNodeStreamData final : public ZPDFNodeLeaf {
 public:
  explicit ZPDFNodeStreamData(const Chaine& data, IPDFObjectProvider* provider = nullptr);
  ZPDFNodeStreamData* Clone() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  const Chaine& Data() const { return data_; }
  // Stores the bytes and marks the node.
  void SetData(const Chaine& data);
  static bool Matches(Kind kind) { return kind == Kind::kStreamData; }

 private:
  friend class ZPDFNodeStream;
  static void Write(ZPDFOutStream& out, const Chaine& stored);

  Chaine data_;
};

// A stream: child 0 its dictionary, child 1 its data (ISO 32000-1 7.3.8).
class ZFORMS_API ZPDFNodeStream final : public ZPDFNode {
 public:
  using ZPDFNodeStreamData = zforms::ZPDFNodeStreamData;

  // Makes a new stream with these bytes, and a dictionary with only "/Length".
  explicit ZPDFNodeStream(const Chaine& data, IPDFObjectProvider* provider = nullptr);
  // Takes ownership of the dictionary. Precondition: its "/Length" is the number of bytes of the data.
  ZPDFNodeStream(ZPDFNodeDictionary* dictionary, const Chaine& data, IPDFObjectProvider* provider = nullptr);
  ZPDFNodeStream* Clone() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // The dictionary; never null for a stream that was parsed or made with data.
  ZPDFNodeDictionary* Dico();
  const ZPDFNodeDictionary* Dico() const;
  const Chaine& Data() const;
  // Stores the bytes and sets "/Length" to their number.
  void SetData(const Chaine& data);

  // Removes the filter /Crypt when it is the first filter. It selects how this stream is encrypted (ISO 32000-1
  // 7.4.10).
  void DropCryptFilter();

  // True when the text begins with a stream: a dictionary, then "stream". False for text inside an array or a
  // dictionary, where "endstream" is an ordinary keyword.
  static bool StandsAtFront(const ZPDFTokenizedString& text);
  // Reads a text that starts with the stream's dictionary.
  static ZPDFNodeStream* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                   const ZPDFEncrypter* encrypter);
  // Reads a text that starts with "stream"; takes ownership of the dictionary. When "endstream" does not follow the
  // bytes counted by "/Length", searches for it and corrects "/Length".
  static ZPDFNodeStream* BuildFrom(ZPDFTokenizedString& text, ZPDFNodeDictionary* dictionary,
                                   IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kStream; }

 private:
  explicit ZPDFNodeStream(IPDFObjectProvider* provider);
};

}  // namespace zforms
