#include <algorithm>
#include <cstdio>
#include <utility>

#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/cli/server_commands.h"
#include "tool/forms/form_messages.h"
#include "tool/forms/open_form.h"
#include "tool/forms/template_check.h"
#include "zforms/acroform/action.h"
#include "zforms/acroform/change_rules.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/server/server_form.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {
namespace {

// Flags of formats other than XFDF.
constexpr uint32_t kOtherFormats = ZAcroFormAction::kSubmitHTMLFlag | ZAcroFormAction::kSubmitPDFFlag;
constexpr int kButtonWidth = 90;
constexpr int kButtonHeight = 22;
// The deepest page tree that is accepted.
constexpr int kDeepestTree = 100;

void Say(const std::string& what, const char* done = "added") {
  const std::string line = std::string(done) + ": " + Printable(what) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

// The lower left corner of the visible part of the page, in the page's units: of the crop box, else the media box, both
// inherited (ISO 32000-1 14.11.2).
std::pair<int, int> Corner(const ZPDFNodeDictionary* page) {
  for (const char* key : {"/CropBox", "/MediaBox"}) {
    const ZPDFNodeDictionary* node = page;
    for (int depth = 0; node != nullptr && depth < kDeepestTree; depth++) {
      const auto* box = NodeCast<ZPDFNodeArray>(node->GetTarget(key));
      if (box != nullptr && box->Size() == 4) {
        const auto edge = [box](size_t i) {
          return static_cast<int>(std::clamp(box->GetTargetAt(i)->GetDoubleValue(), -1e6, 1e6));
        };
        return {std::min(edge(0), edge(2)), std::min(edge(1), edge(3))};
      }
      node = NodeCast<ZPDFNodeDictionary>(node->GetTarget("/Parent"));
    }
  }
  return {0, 0};
}

// Adds to a form what serving needs, and reports what it added.
class Importer {
 public:
  explicit Importer(ZAcroFormServerForm& form) : form_(form), parser_(*form.Parser()) {}

  void Mend() {
    AddIdentifier();
    AddSessionField();
    MendTargets();
    AddButton(ZDocument::eModify, "save.cgi", "Save", 0);
    AddButton(ZDocument::eConsult, "modify.cgi", "Modify", 1);
    for (const auto status : {ZDocument::eModify, ZDocument::eConsult}) MendFormats(status);
  }

 private:
  ZPDFNode* Parse(const std::string& text) {
    ZPDFTokenizedString tokens{Chaine(text)};
    return ZPDFNode::BuildFrom(tokens, &parser_, ZPDFEncrypterNeutral::Default());
  }
  // Adds an object and returns a reference to it.
  std::string AddObject(ZPDFNode* value) {
    ZPDFNodeIndirectObject* const object = parser_.AddIndirectObject();
    object->SetChild(value);
    return FormatUInt(object->GetID().Number()).ToString() + " 0 R";
  }
  void Append(ZPDFNodeDictionary& to, const char* key, const std::string& reference) {
    auto* list = NodeCast<ZPDFNodeArray>(to.GetTarget(key));
    if (list == nullptr) {
      list = new ZPDFNodeArray(&parser_);
      to.SetValue(key, list);
    }
    list->AppendValue(Parse(reference));
  }

  void AddIdentifier() {
    if (!parser_.IDOriginal().IsEmpty()) return;
    auto* ids = new ZPDFNodeArray(&parser_);
    const Chaine digest = MD5Of(parser_.RawData());
    for (int i = 0; i < 2; i++) ids->AppendValue(new ZPDFNodeHexaString(digest, &parser_));
    parser_.TrailerDico()->SetValue("/ID", ids);
    // Marks the catalog: the trailer is written only when an object has changed.
    parser_.Root()->SetModified(true, false);
    Say("an identifier (\"/ID\")");
  }

  // The first page, and its reference; null when there is none.
  ZPDFNodeDictionary* FirstPage(std::string* reference) {
    auto* node = NodeCast<ZPDFNodeDictionary>(parser_.Root()->GetTarget("/Pages"));
    for (int depth = 0; node != nullptr && depth < kDeepestTree; depth++) {
      auto* kids = NodeCast<ZPDFNodeArray>(node->GetTarget("/Kids"));
      if (kids == nullptr) return reference->empty() ? nullptr : node;
      if (kids->Size() == 0) return nullptr;
      const auto* first = NodeCast<ZPDFNodeIndirectReference>(kids->GetDirectAt(0));
      if (first == nullptr) return nullptr;
      *reference =
          (FormatUInt(first->GetID().Number()) + " " + FormatUInt(first->GetID().Generation()) + " R").ToString();
      node = NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(0));
    }
    return nullptr;
  }
  // Adds the widget to the fields of the form, or of the group, and shows it on the first page.
  bool AddWidget(const std::string& entries, const std::string& group) {
    std::string page_reference;
    ZPDFNodeDictionary* const page = FirstPage(&page_reference);
    if (page == nullptr) return false;
    const std::string widget = AddObject(Parse("<</Type/Annot/Subtype/Widget/P " + page_reference + entries + ">>"));
    std::string field = widget;
    if (!group.empty()) {
      field = AddObject(Parse("<</T(" + group + ")/Kids[" + widget + "]>>"));
      auto* dictionary = NodeCast<ZPDFNodeDictionary>(TargetOf(widget));
      if (dictionary != nullptr) dictionary->SetValue("/Parent", Parse(field));
    }
    Append(*parser_.AcroForm(), "/Fields", field);
    Append(*page, "/Annots", widget);
    return true;
  }
  ZPDFNode* TargetOf(const std::string& reference) {
    const ZPDFNodeIndirectObject* const object = parser_.GetObject({ParseUInt(reference), 0});
    return object == nullptr ? nullptr : const_cast<ZPDFNode*>(object->GetDirectAt(0));
  }

  void AddSessionField() {
    if (form_.Fields().Exist(ZXFDF::kSessionIDField) || form_.Fields().Exist("ZOR")) return;
    // A partial name cannot contain a period, so the dotted name is a field in a group.
    if (AddWidget("/FT/Tx/T(SessionID)/F 2/Rect[0 0 0 0]/DA(/Helv 0 Tf 0 g)", "ZOR")) {
      Say("the hidden field \"ZOR.SessionID\"");
    }
  }

  // Converts targets that are strings to URL specifications.
  void MendTargets() {
    for (const auto& [name, fields] : form_.FlatFields()) {
      for (ZAcroFormField* field : fields) {
        if (!field->IsSubmitFormButton() || field->GetAction()->HasURL()) continue;
        auto* action = NodeCast<ZPDFNodeDictionary>(field->Dico()->GetTarget("/A"));
        const Chaine target = action == nullptr ? Chaine() : action->GetStringValue("/F");
        if (target.IsEmpty()) continue;
        field->GetAction()->SetURL(ZInetURL(target));
        Say("the mark that \"" + name.ToString() + "\" submits to a URL");
      }
    }
  }

  void AddButton(ZDocument::Status status, const std::string& page, const std::string& caption, int place) {
    if (form_.HasSubmitFormButton(status)) return;
    const std::string width = std::to_string(kButtonWidth);
    const std::string height = std::to_string(kButtonHeight);
    std::string ignored;
    const auto [corner_x, corner_y] = Corner(FirstPage(&ignored));
    const int left = corner_x + 36 + place * (kButtonWidth + 10);
    const int bottom = corner_y + 12;
    auto* look = new ZPDFNodeStream(
        Chaine("0.85 g 0 0 " + width + " " + height + " re f BT /Helv 10 Tf 0 g 10 7 Td (" + caption + ") Tj ET"),
        &parser_);
    look->Dico()->SetIdentifier("/Type", "/XObject");
    look->Dico()->SetIdentifier("/Subtype", "/Form");
    look->Dico()->SetValue("/BBox", Parse("[0 0 " + width + " " + height + "]"));
    look->Dico()->SetValue("/Resources", Parse("<</Font<</Helv<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>>>>>"));
    const std::string look_reference = AddObject(look);
    const bool added =
        AddWidget("/FT/Btn/Ff 65536/F 4/T(zforms_" + page.substr(0, page.find('.')) + ")/Rect[" + std::to_string(left) +
                      " " + std::to_string(bottom) + " " + std::to_string(left + kButtonWidth) + " " +
                      std::to_string(bottom + kButtonHeight) + "]/MK<</BG[0.85]/CA(" + caption +
                      ")>>/DA(/Helv 10 Tf 0 g)/AP<</N " + look_reference +
                      ">>/A<</S/SubmitForm/Flags 32/F<</FS/URL/F(http://localhost/" + page + ")>>>>",
                  "");
    if (added) Say("the button \"" + caption + "\" at the foot of the first page, which submits to \"" + page + "\"");
  }

  void MendFormats(ZDocument::Status status) {
    for (const auto& [name, buttons] : form_.FindSubmitFormButtons(status)) {
      for (ZAcroFormField* button : buttons) {
        auto* action = NodeCast<ZPDFNodeDictionary>(button->Dico()->GetTarget("/A"));
        uint32_t flags = action->GetUIntValue("/Flags");
        if (action->Exist("/Fields")) {
          action->RemoveValue("/Fields");
          flags &= ~ZAcroFormAction::kSubmitAllButFlag;
          action->SetValue("/Flags", flags);
          Say("all fields to what \"" + name.ToString() + "\" submits");
        }
        if ((flags & ZAcroFormAction::kSubmitXFDFFlag) != 0) continue;
        action->SetValue("/Flags", (flags & ~kOtherFormats) | ZAcroFormAction::kSubmitXFDFFlag);
        Say("XFDF as what \"" + name.ToString() + "\" submits");
      }
    }
  }

  ZAcroFormServerForm& form_;
  ZPDFParser& parser_;
};

bool NeedsPassword(const ZAcroForm& form) {
  return form.EncryptionLoad() != nullptr && !form.EncryptionLoad()->UserPassword().IsEmpty();
}

// The server has no password, so the user password is removed; the given password becomes the owner password.
void OpenWithoutPassword(ZAcroForm& form) {
  if (!NeedsPassword(form)) return;
  form.SetPasswords(Chaine(), form.EncryptionLoad()->UserPassword());
  Say("an empty user password, with which the server opens it; the one given is the owner's now");
}

}  // namespace

int RunImport(const ImportOptions& options) {
  Console console(options.file);
  ZAcroFormServerForm form;
  if (!OpenFormWithFields(options.file, options.password, form, console, options.recover)) return console.Finish();
  const bool is_classic = !form.Parser()->HasXRefStreams();
  const bool writes_anew = !is_classic || NeedsPassword(form);
  ZFormMessages messages;
  const bool allowed = FillingGuard(form, {false, options.force}, writes_anew).AllowsDesigning(&messages);
  Say(std::exchange(messages, {}), console);
  if (!allowed) return console.Finish();
  Importer(form).Mend();
  if (!ZAcroFormChangeRules::DropXFA(form).empty()) Say("the XFA form, which readers would show instead", "removed");
  if (!ZAcroFormChangeRules::DropUsageRights(form).empty()) Say("usage rights, which end with a change", "removed");
  OpenWithoutPassword(form);
  Chaine bytes;
  // Saves without object streams, so that old readers can open the file.
  const bool saved = SaveForm(form, SaveOptions{!is_classic, options.force}, &bytes, &messages);
  console.WarnAll(form.Diagnostics());
  Say(messages, console);
  if (!saved) return console.Finish();
  ZAcroFormServerForm mended;
  ZInetChaineIStream in(bytes);
  if (!mended.Load(in, Chaine())) {
    console.Fail(mended.Diagnostics().Failure());
    return console.Finish();
  }
  if (!is_classic) Say("a cross-reference table, for cross-reference streams; the file is written as a new file");
  for (const std::string& fault : CheckTemplate(mended)) console.Warn(fault);
  WriteOutput(options.output, bytes, console);
  return console.Finish();
}

}  // namespace zforms::tool
