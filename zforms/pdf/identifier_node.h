#pragma once

#include <string_view>
#include <utility>

#include "zforms/pdf/node.h"

namespace zforms {

// A name, stored decoded with its leading "/", or a bare keyword without one (ISO 32000-1 7.3.5). Names compare as
// exact byte strings.
class ZFORMS_API ZPDFNodeIdentifier : public ZPDFNodeLeaf {
 public:
  explicit ZPDFNodeIdentifier(IPDFObjectProvider* provider = nullptr);
  explicit ZPDFNodeIdentifier(const Chaine& identifier, IPDFObjectProvider* provider = nullptr);
  ZPDFNodeIdentifier* Clone() const override;
  const Chaine& GetIdentifier() const override { return identifier_; }
  // A keyword such as "5." reads as the number it begins with; a name reads as 0.
  uint32_t GetUIntValue() const override;
  int32_t GetIntValue() const override;
  double GetDoubleValue() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // Marks the node only when the identifier changes.
  void SetIdentifier(const Chaine& identifier);

  // Writes the identifier. Characters that a name cannot contain directly are escaped. An empty identifier, and a
  // keyword that could be mistaken for the file's structure, are written as null.
  static void Write(ZPDFOutStream& out, const Chaine& identifier);
  // True when Write would not escape anything.
  static bool IsWrittenAsIs(std::string_view identifier);
  // "#" becomes "#23"; bytes below 33 and from 127 on become "#" and two digits.
  static Chaine Encode(const Chaine& identifier);
  // Decodes the escapes of a name. Takes the first escape, which is "#" and two characters, and replaces this escape
  // everywhere in the text by its byte; repeats this until no "#" is left. So the "#" that "#23" gives is decoded
  // again. A text that needs many passes is finished in a single pass.
  static Chaine Decode(const Chaine& text);
  // Reads a name or keyword; "true" and "false" give a boolean, "null" the shared null node.
  static ZPDFNodeIdentifier* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                       const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kIdentifier || kind == Kind::kNull || kind == Kind::kBoolean; }

 protected:
  ZPDFNodeIdentifier(IPDFObjectProvider* provider, Kind kind) : ZPDFNodeLeaf(provider, kind) {}
  void Store(Chaine identifier) { identifier_ = std::move(identifier); }

 private:
  friend class ZPDFNode;
  ZPDFNodeIdentifier(Parsed, Chaine identifier, IPDFObjectProvider* provider)
      : ZPDFNodeLeaf(provider, Kind::kIdentifier), identifier_(std::move(identifier)) {}

  Chaine identifier_;
};

// The keyword "null".
class ZFORMS_API ZPDFNodeNull final : public ZPDFNodeIdentifier {
 public:
  explicit ZPDFNodeNull(IPDFObjectProvider* provider = nullptr);
  ZPDFNodeNull* Clone() const override;
  // Does nothing: the null node belongs to no document.
  void SetObjectProvider(IPDFObjectProvider* provider) override;
  const Chaine& GetIdentifier() const override;

  // The one shared null node of the process. It may be the child of any number of nodes, never changes and is never
  // deleted. References to missing objects resolve to it. Usable by any thread.
  static ZPDFNodeNull* Default();
  static ZPDFNodeIdentifier* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                       const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kNull; }
};

// The keywords "true" and "false".
class ZFORMS_API ZPDFNodeBoolean final : public ZPDFNodeIdentifier {
 public:
  explicit ZPDFNodeBoolean(IPDFObjectProvider* provider = nullptr);
  explicit ZPDFNodeBoolean(bool value, IPDFObjectProvider* provider = nullptr);
  ZPDFNodeBoolean* Clone() const override;
  bool GetBoolValue() const override;
  // Marks the node only when the value changes.
  void SetValue(bool value);
  static ZPDFNodeBoolean* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                    const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kBoolean; }

 private:
  friend class ZPDFNode;
  ZPDFNodeBoolean(Parsed, bool value, IPDFObjectProvider* provider) : ZPDFNodeIdentifier(provider, Kind::kBoolean) {
    Store(value ? "true" : "false");
  }
};

}  // namespace zforms
