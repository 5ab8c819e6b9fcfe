#include "zforms/filling/fdf.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

#include "zforms/filling/choice_options.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/object_head.h"
#include "zforms/pdf/object_provider.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/text/byte_order_mark.h"
#include "zforms/platform/text/letter_case.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

// Limits on the fields that are read, because kids may refer to each other in cycles.
constexpr int kMaxDepth = 100;
constexpr size_t kMaxFields = 1000000;

// The objects of an FDF file. It usually has no cross-reference section, so the objects are read one after the other.
class FDFObjects final : public IPDFObjectProvider {
 public:
  explicit FDFObjects(const Chaine& bytes) : text_(bytes) {
    text_.SetDocument();
    text_.SetDiagnostics(&diagnostics_);
    ReadAll();
  }

  // The first fault of the file, with its place; empty when there is none. A missing end of the file is a fault.
  std::string Fault() const {
    const ZDiagnostics::WarningList& faults = diagnostics_.Warnings();
    if (faults.Size() > 0) {
      const ZDiagnosticsWarning& first = *faults.begin();
      const bool adds_place = first.object_number != 0 && first.offset != ZDiagnostics::kNoOffset;
      const std::string place = "offset " + std::to_string(first.offset) + ": ";
      return (adds_place ? place : "") + ZDiagnostics::Describe(first).ToString();
    }
    return has_trailer_ ? "" : "the trailer is missing: the file may be incomplete";
  }

  ZPDFNodeIndirectObject* GetObject(const ZPDFObjectIdentifier& id) override {
    const auto found = objects_.find(id);
    return found == objects_.end() ? nullptr : found->second.get();
  }

  // The value of "/FDF" in the catalog to which the last trailer refers. Without a trailer, the value in the last
  // object with this key. Null when there is none.
  const ZPDFNodeDictionary* Root() const {
    if (trailer_ != nullptr) {
      const auto* catalog = NodeCast<ZPDFNodeDictionary>(std::as_const(*trailer_).GetTarget("/Root"));
      if (catalog != nullptr) return NodeCast<ZPDFNodeDictionary>(catalog->GetTarget("/FDF"));
    }
    const ZPDFNodeDictionary* root = nullptr;
    for (const auto& [id, object] : objects_) {
      const auto* catalog = NodeCast<ZPDFNodeDictionary>(object->GetTargetAt(0));
      if (catalog == nullptr) continue;
      if (const auto* found = NodeCast<ZPDFNodeDictionary>(catalog->GetTarget("/FDF"))) root = found;
    }
    return root;
  }

 private:
  void ReadAll() {
    while (!text_.IsEmpty()) {
      text_.TrimLeftComments();
      ZPDFTokenizedString ahead = text_;
      const std::optional<ZPDFObjectHead> head = TakeObjectHead(ahead);
      if (!head || !head->is_sound) {
        const size_t offset = text_.Offset();
        const std::string_view token = text_.TakeFirstToken();
        if (token.empty()) return;
        if (token == "trailer") {
          ReadTrailer();
        } else if (!IsOfXRef(token)) {
          diagnostics_.WarnAt(offset, Quoted(Chaine(token)) + " is not the start of an object");
        }
        continue;
      }
      objects_[head->id].reset(ZPDFNodeIndirectObject::BuildFrom(ahead, head->id, this, nullptr));
      text_ = ahead;
    }
  }

  // Whether the token may belong to a cross-reference table. Such tokens are skipped.
  static bool IsOfXRef(std::string_view token) {
    return token == "xref" || token == "startxref" || token == "n" || token == "f" ||
           std::all_of(token.begin(), token.end(), IsDigitASCII);
  }

  // Reads a trailer. The last trailer with "/Root" is used.
  void ReadTrailer() {
    text_.TrimLeftComments();
    text_.SetObject(0, 0);
    if (!text_.StartWith("<<")) {
      text_.Warn("the trailer has no dictionary");
      return;
    }
    has_trailer_ = true;
    ZPDFNode* node = ReadForward(text_, this, nullptr);
    auto* trailer = NodeCast<ZPDFNodeDictionary>(node);
    if (trailer != nullptr && trailer->Exist("/Root")) {
      trailer_.reset(trailer);
    } else {
      ZPDFNode::Destroy(node);
    }
  }

  ZPDFTokenizedString text_;
  std::map<ZPDFObjectIdentifier, std::unique_ptr<ZPDFNodeIndirectObject>> objects_;
  std::unique_ptr<ZPDFNodeDictionary> trailer_;
  bool has_trailer_ = false;
  ZDiagnostics diagnostics_;
};

// The encoding of texts without a byte order mark (ISO 32000-1 table 243).
class FDFEncoding {
 public:
  explicit FDFEncoding(const ZPDFNodeDictionary& fdf) : name_(PDFNameToUTF8(fdf.GetIdentifier("/Encoding"))) {
    std::string letters = FoldCase(name_).ToString();
    std::erase_if(letters, [](char c) { return c == '/' || c == '-' || c == '_'; });
    if (letters == "utf8") {
      mark_ = kUTF8Mark;
    } else if (letters == "utf16" || letters == "utf16be") {
      mark_ = kUTF16BEMark;
    } else {
      is_known_ = letters.empty() || letters == "pdfdocencoding";
    }
  }

  // Converts a text to UTF-8. In an unknown encoding only ASCII can be read; after other text, IsMissed() is true.
  Chaine ToUTF8(const Chaine& bytes) {
    const std::string_view text = bytes;
    if (UTF16OrderByMark(text)) return PDFTextToUTF8(text);
    if (!is_known_ && !IsASCII(text)) is_missed_ = true;
    // A text that is not valid in the encoding of the file is read as PDFDocEncoding.
    const bool fits = mark_ == kUTF8Mark ? IsValidUTF8(text) : text.size() % 2 == 0;
    if (mark_.empty() || text.starts_with(mark_) || !fits) return PDFTextToUTF8(text);
    return PDFTextToUTF8(Chaine(mark_) + text);
  }

  // True when a text could not be read.
  bool IsMissed() const { return is_missed_; }
  std::string Name() const { return name_.Mid(name_.View().starts_with('/') ? 1 : 0).ToString(); }

 private:
  Chaine name_;
  std::string_view mark_;
  bool is_known_ = true;
  bool is_missed_ = false;
};

class FDFReader {
 public:
  FDFReader(FDFEncoding* encoding, ZXFDF* data) : encoding_(encoding), data_(data) {}

  // False when two fields have the same name and different values, or when an entry is not a field.
  bool ReadFields(const ZPDFNode* node, const std::string& above, int depth) {
    const auto* fields = NodeCast<ZPDFNodeArray>(node);
    for (size_t i = 0; fields != nullptr && i < fields->Size() && count_ < kMaxFields; i++) {
      const auto* field = NodeCast<ZPDFNodeDictionary>(fields->GetTargetAt(i));
      if (field == nullptr) {
        const std::string list = depth == 0      ? "\"/Fields\""
                                 : above.empty() ? "\"/Kids\" of a field without a name"
                                                 : "\"/Kids\" of the field \"" + above + "\"";
        fault_ = "entry " + std::to_string(i + 1) + " of " + list + " is not a field";
        return false;
      }
      if (!ReadField(*field, above, depth)) return false;
    }
    return true;
  }

  const std::string& Fault() const { return fault_; }
  const std::string& LeftOut() const { return left_out_; }

 private:
  bool ReadField(const ZPDFNodeDictionary& field, const std::string& above, int depth) {
    count_++;
    const std::string own = encoding_->ToUTF8(field.GetStringValue("/T")).ToString();
    const std::string name = above.empty() || own.empty() ? above + own : above + "." + own;
    const ZPDFNode* const value = field.GetTarget("/V");
    const ZPDFNode* const rich_text = field.GetTarget("/RV");
    if (name.empty() && (value != nullptr || rich_text != nullptr)) {
      LeaveOut("a field without a name (\"/T\") is left out");
    } else {
      if (value != nullptr && !ReadValue(*value, name)) return false;
      if (rich_text != nullptr) ReadRichText(*rich_text, name);
    }
    return depth >= kMaxDepth || ReadFields(field.GetTarget("/Kids"), name, depth + 1);
  }

  void LeaveOut(const std::string& what) {
    constexpr size_t kMostTold = 10;
    if (told_++ < kMostTold) left_out_ += (left_out_.empty() ? "" : "; ") + what;
    if (told_ == kMostTold + 1) left_out_ += "; and more";
  }

  bool ReadValue(const ZPDFNode& value, const std::string& name) {
    PTableau<Chaine> texts;
    if (const auto* array = NodeCast<ZPDFNodeArray>(&value)) {
      for (size_t i = 0; i < array->Size(); i++) {
        if (const ZPDFNode* element = array->GetTargetAt(i)) texts.push_back(Text(*element));
      }
      if (texts.empty()) texts.emplace_back();
    } else if (NodeCast<ZPDFNodeStream>(&value) != nullptr) {
      LeaveOut("the value of \"" + name + "\" is a stream, and is left out");
      return true;
    } else if (NodeCast<ZPDFNodeNull>(&value) != nullptr) {
      return true;
    } else if (NodeCast<ZPDFNodeString>(&value) == nullptr && NodeCast<ZPDFNodeIdentifier>(&value) == nullptr) {
      LeaveOut("the value of \"" + name + "\" is neither text nor a name, and is left out");
      return true;
    } else {
      texts.push_back(Text(value));
    }
    ZXFDFField& field = data_->Fields().AddField(name);
    if (field.HasValue() && field.Values() != texts) {
      fault_ = "two fields have the name \"" + name + "\" but different values";
      return false;
    }
    field.SetValues(texts);
    return true;
  }

  void ReadRichText(const ZPDFNode& node, const std::string& name) {
    const bool is_text = NodeCast<ZPDFNodeString>(&node) != nullptr;
    if (is_text && data_->Fields().AddField(name).ValueRichText().FromChaine(Text(node))) return;
    LeaveOut("the rich text of \"" + name + "\" is not a string of well-formed XML, and is left out");
  }

  Chaine Text(const ZPDFNode& node) {
    if (NodeCast<ZPDFNodeString>(&node) != nullptr) {
      return WithLineEnds(encoding_->ToUTF8(node.GetStringValue()), "\r\n");
    }
    const Chaine name = PDFNameToUTF8(node.GetIdentifier());
    return name.View().starts_with('/') ? name.Mid(1) : name;
  }

  FDFEncoding* encoding_;
  ZXFDF* data_;
  std::string fault_;
  std::string left_out_;
  size_t told_ = 0;
  size_t count_ = 0;
};

// A text string with CR in place of CR LF, as viewers write it.
ZPDFNode* TextNode(const Chaine& utf8) {
  std::string text;
  for (size_t i = 0; i < utf8.size(); i++) {
    if (utf8[i] == '\n' && i > 0 && utf8[i - 1] == '\r') continue;
    text += utf8[i];
  }
  return new ZPDFNodeLiteralString(UTF8ToPDFText(text));
}

class FDFWriter {
 public:
  explicit FDFWriter(const std::set<std::string>& buttons) : buttons_(buttons) {}

  std::unique_ptr<ZPDFNodeArray> Fields(const ZXFDF::FieldCollection& fields, const std::string& above) {
    auto array = std::make_unique<ZPDFNodeArray>();
    for (unsigned i = 0; i < fields.Size(); i++) array->AppendValue(Field(fields[i], above).release());
    return array;
  }

 private:
  std::unique_ptr<ZPDFNodeDictionary> Field(const ZXFDF::Field& field, const std::string& above) {
    auto node = std::make_unique<ZPDFNodeDictionary>();
    const std::string name = above + (above.empty() ? "" : ".") + field.Name().ToString();
    node->SetValue("/T", static_cast<ZPDFNode*>(new ZPDFNodeLiteralString(UTF8ToPDFText(field.Name()))));
    if (field.HasValue()) SetValue(*node, field.Values(), buttons_.contains(name));
    if (field.Size() > 0) node->SetValue("/Kids", static_cast<ZPDFNode*>(Fields(field, name).release()));
    return node;
  }

  static void SetValue(ZPDFNodeDictionary& node, const PTableau<Chaine>& values, bool is_button) {
    if (is_button) {
      node.SetIdentifier("/V", "/" + (values[0].IsEmpty() ? Chaine("Off") : UTF8ToPDFName(values[0])));
    } else if (values.size() == 1) {
      node.SetValue("/V", TextNode(values[0]));
    } else {
      auto array = std::make_unique<ZPDFNodeArray>();
      for (const Chaine& value : values) array->AppendValue(TextNode(value));
      node.SetValue("/V", static_cast<ZPDFNode*>(array.release()));
    }
  }

  const std::set<std::string>& buttons_;
};

}  // namespace

bool ReadFDF(const Chaine& bytes, ZXFDF* data, std::string* error) {
  FDFObjects objects(bytes);
  const ZPDFNodeDictionary* root = objects.Root();
  if (root == nullptr) {
    *error = "the file has no catalog with an \"/FDF\" dictionary: it is damaged or not an FDF file";
    return false;
  }
  FDFEncoding encoding(*root);
  FDFReader reader(&encoding, data);
  *error = objects.Fault();
  if (!error->empty()) return false;
  if (!reader.ReadFields(root->GetTarget("/Fields"), std::string(), 0)) {
    *error = reader.Fault();
    return false;
  }
  *error = reader.LeftOut();
  if (!encoding.IsMissed()) return true;
  *error = "the file is in the encoding \"" + encoding.Name() + "\", which is not supported: save the data as XFDF";
  return false;
}

Chaine WriteFDF(const ZXFDF& data, const std::set<std::string>& buttons) {
  auto fdf = std::make_unique<ZPDFNodeDictionary>();
  fdf->SetValue("/Fields", static_cast<ZPDFNode*>(FDFWriter(buttons).Fields(data.Fields(), std::string()).release()));
  if (data.HasPDFHRef()) fdf->SetValue("/F", UTF8ToPDFText(ZInetURL::Decode(data.PDFHRef().AsChaine(false, false))));
  if (data.HasIDS()) {
    auto ids = std::make_unique<ZPDFNodeArray>();
    for (const Chaine& id : {data.IDSOriginal(), data.IDSModified()}) {
      ids->AppendValue(new ZPDFNodeHexaString(ZPDFNodeHexaString::Decode(id)));
    }
    fdf->SetValue("/ID", static_cast<ZPDFNode*>(ids.release()));
  }
  ZPDFNodeDictionary catalog;
  catalog.SetValue("/FDF", static_cast<ZPDFNode*>(fdf.release()));
  Chaine text = "%FDF-1.2\n%\xE2\xE3\xCF\xD3\n1 0 obj\n";
  {
    ZPDFOutStream out(&text);
    catalog.SendTo(out, ZPDFEncrypterNeutral::Default());
  }
  text += "\nendobj\ntrailer\n<</Root 1 0 R>>\n%%EOF\n";
  return text;
}

}  // namespace zforms
