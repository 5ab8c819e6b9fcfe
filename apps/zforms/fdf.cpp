#include "apps/zforms/fdf.h"

#include <map>
#include <memory>
#include <utility>

#include "pdf/array_node.h"
#include "pdf/crypt/encrypter.h"
#include "pdf/dictionary_node.h"
#include "pdf/identifier_node.h"
#include "pdf/indirect_object.h"
#include "pdf/object_provider.h"
#include "pdf/parser/tokenized_string.h"
#include "pdf/stream_node.h"
#include "pdf/string_node.h"
#include "pdf/writer/out_stream.h"
#include "platform/number.h"
#include "platform/text.h"

namespace zforms::tool {
namespace {

// Kids may refer to one another in circles.
constexpr int kMaxDepth = 100;
constexpr size_t kMaxFields = 1000000;

bool IsNumber(std::string_view token) {
  return !token.empty() && token.size() <= 10 && token.find_first_not_of("0123456789") == std::string_view::npos;
}

// The objects of an FDF file, which as a rule has no cross-reference section: they are
// read one after the other.
class FDFObjects final : public IPDFObjectProvider {
 public:
  explicit FDFObjects(const Chaine& bytes) : text_(bytes) { ReadAll(); }

  ZPDFNodeIndirectObject* GetObject(const ZPDFObjectIdentifier& id) override {
    const auto found = objects_.find(id);
    return found == objects_.end() ? nullptr : found->second.get();
  }

  // "/FDF" of the last object that has it; null without one.
  const ZPDFNodeDictionary* Root() {
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
      const std::string_view number = ahead.TakeFirstToken();
      const std::string_view generation = ahead.TakeFirstToken();
      const bool is_object = IsNumber(number) && IsNumber(generation) && ahead.TakeFirstToken() == "obj";
      if (!is_object) {
        if (text_.TakeFirstToken().empty()) return;
        continue;
      }
      const ZPDFObjectIdentifier id(ParseUInt(number), ParseUInt(generation));
      objects_[id].reset(ZPDFNodeIndirectObject::BuildFrom(ahead, id, this, nullptr));
      text_ = ahead;
    }
  }

  ZPDFTokenizedString text_;
  std::map<ZPDFObjectIdentifier, std::unique_ptr<ZPDFNodeIndirectObject>> objects_;
};

class FDFReader {
 public:
  FDFReader(ZXFDF* data, std::string* error) : data_(data), error_(error) {}

  void ReadFields(const ZPDFNode* node, const std::string& above, int depth) {
    const auto* fields = NodeCast<ZPDFNodeArray>(node);
    for (size_t i = 0; fields != nullptr && i < fields->Size() && count_ < kMaxFields; i++) {
      if (const auto* field = NodeCast<ZPDFNodeDictionary>(fields->GetTargetAt(i))) ReadField(*field, above, depth);
    }
  }

 private:
  void ReadField(const ZPDFNodeDictionary& field, const std::string& above, int depth) {
    count_++;
    const std::string own = PDFTextToUTF8(field.GetStringValue("/T")).ToString();
    const std::string name = above.empty() || own.empty() ? above + own : above + "." + own;
    if (const ZPDFNode* value = field.GetTarget("/V"); value != nullptr && !name.empty()) ReadValue(*value, name);
    if (depth < kMaxDepth) ReadFields(field.GetTarget("/Kids"), name, depth + 1);
  }

  void ReadValue(const ZPDFNode& value, const std::string& name) {
    PTableau<Chaine> texts;
    if (const auto* array = NodeCast<ZPDFNodeArray>(&value)) {
      for (size_t i = 0; i < array->Size(); i++) {
        if (const ZPDFNode* element = array->GetTargetAt(i)) texts.push_back(Text(*element));
      }
      if (texts.empty()) texts.emplace_back();
    } else if (NodeCast<ZPDFNodeStream>(&value) != nullptr) {
      *error_ = "the value of \"" + name + "\" is a stream, and is left out";
      return;
    } else {
      texts.push_back(Text(value));
    }
    data_->Fields().AddField(name).SetValues(texts);
  }

  static Chaine Text(const ZPDFNode& node) {
    if (NodeCast<ZPDFNodeString>(&node) != nullptr) return WithLineEnds(PDFTextToUTF8(node.GetStringValue()), "\r\n");
    const Chaine name = PDFNameToUTF8(node.GetIdentifier());
    return name.View().starts_with('/') ? name.Mid(1) : name;
  }

  ZXFDF* data_;
  std::string* error_;
  size_t count_ = 0;
};

// A text as viewers write it, the lines ended by CR.
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
    *error = "it is no FDF file: no object of it has \"/FDF\"";
    return false;
  }
  FDFReader(data, error).ReadFields(root->GetTarget("/Fields"), std::string(), 0);
  return true;
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

}  // namespace zforms::tool
