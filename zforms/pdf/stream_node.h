#pragma once

#include "zforms/pdf/node.h"

namespace zforms {

class ZPDFNodeDictionary;

// The bytes of a stream (ZPDFNodeStream::ZPDFNodeStreamData), held decrypted and
// never decoded: filters are neither applied nor removed.
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
  Chaine data_;
};

// A stream: child 0 its dictionary, child 1 its data (ISO 32000-1 7.3.8).
class ZFORMS_API ZPDFNodeStream final : public ZPDFNode {
 public:
  using ZPDFNodeStreamData = zforms::ZPDFNodeStreamData;

  // A new stream with those bytes, in a dictionary that holds only "/Length".
  explicit ZPDFNodeStream(const Chaine& data, IPDFObjectProvider* provider = nullptr);
  ZPDFNodeStream* Clone() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // Never null for a stream that was parsed or made with data.
  ZPDFNodeDictionary* Dico();
  const ZPDFNodeDictionary* Dico() const;
  const Chaine& Data() const;
  // Stores the bytes and sets "/Length" to their number.
  void SetData(const Chaine& data);

  // Whether the text is a stream from its front on: a dictionary, then "stream". Never inside an
  // array or a dictionary, where a stray "endstream" is a keyword like any other.
  static bool StandsAtFront(const ZPDFTokenizedString& text);
  // From the front of a text that starts with the stream's dictionary.
  static ZPDFNodeStream* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                   const ZPDFEncrypter* encrypter);
  // From the front of a text that starts with "stream"; owns the dictionary then.
  // Where "endstream" does not follow the bytes that "/Length" counts, it is
  // searched for and "/Length" corrected.
  static ZPDFNodeStream* BuildFrom(ZPDFTokenizedString& text, ZPDFNodeDictionary* dictionary,
                                   IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kStream; }

 private:
  explicit ZPDFNodeStream(IPDFObjectProvider* provider);
};

}  // namespace zforms
