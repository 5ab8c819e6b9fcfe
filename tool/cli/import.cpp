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
#include "zforms/acroform/field.h"
#include "zforms/appearance/field_drawer.h"
#include "zforms/calculation/form_scripts.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/text/text.h"
#include "zforms/server/server_form.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {
namespace {

// The flags of a submit action whose format is HTML or PDF.
constexpr uint32_t kOtherFormats = ZAcroFormAction::kSubmitHTMLFlag | ZAcroFormAction::kSubmitPDFFlag;
constexpr int kButtonWidth = 90;
constexpr int kButtonHeight = 22;
constexpr int kMargin = 12;
constexpr int kSideMargin = 36;
// The largest depth of a page tree that is searched.
constexpr int kDeepestTree = 100;

void Say(const std::string& what, const char* done = "added") {
  const std::string line = std::string(done) + ": " + Printable(what) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

// A rectangle in the units of a page.
struct Box {
  int left = 0, bottom = 0, right = 0, top = 0;

  bool Overlaps(const Box& other) const {
    return left < other.right && other.left < right && bottom < other.top && other.bottom < top;
  }
  std::string Text() const {
    return "[" + std::to_string(left) + " " + std::to_string(bottom) + " " + std::to_string(right) + " " +
           std::to_string(top) + "]";
  }
};

// Reads the rectangle in an entry of the dictionary; false when the entry has none.
bool ReadBox(const ZPDFNodeDictionary& dictionary, const char* key, Box* box) {
  const auto* edges = NodeCast<ZPDFNodeArray>(dictionary.GetTarget(key));
  if (edges == nullptr || edges->Size() != 4) return false;
  const auto edge = [edges](size_t i) {
    const ZPDFNode* const value = edges->GetTargetAt(i);
    return value == nullptr ? 0 : static_cast<int>(std::clamp(value->GetDoubleValue(), -1e6, 1e6));
  };
  *box = {std::min(edge(0), edge(2)), std::min(edge(1), edge(3)), std::max(edge(0), edge(2)),
          std::max(edge(1), edge(3))};
  return true;
}

// The visible part of the page: the crop box, else the media box, both inherited (ISO 32000-1 14.11.2).
Box VisiblePart(const ZPDFNodeDictionary* page) {
  for (const char* key : {"/CropBox", "/MediaBox"}) {
    const ZPDFNodeDictionary* node = page;
    for (int depth = 0; node != nullptr && depth < kDeepestTree; depth++) {
      Box box;
      if (ReadBox(*node, key, &box)) return box;
      node = NodeCast<ZPDFNodeDictionary>(node->GetTarget("/Parent"));
    }
  }
  return {0, 0, 612, 792};
}

// Finds a place for a button that overlaps no annotation and no box of `taken`: at the bottom of the page, else at its
// top. False when there is none.
bool FindPlace(const ZPDFNodeDictionary& page, std::vector<Box> taken, Box* place) {
  if (const auto* annotations = NodeCast<ZPDFNodeArray>(page.GetTarget("/Annots"))) {
    for (size_t i = 0; i < annotations->Size(); i++) {
      const auto* annotation = NodeCast<ZPDFNodeDictionary>(annotations->GetTargetAt(i));
      if (Box box; annotation != nullptr && ReadBox(*annotation, "/Rect", &box)) taken.push_back(box);
    }
  }
  const Box part = VisiblePart(&page);
  for (const int bottom : {part.bottom + kMargin, part.top - kMargin - kButtonHeight}) {
    for (int left = part.left + kSideMargin; left + kButtonWidth <= part.right; left += kButtonWidth / 9) {
      *place = {left, bottom, left + kButtonWidth, bottom + kButtonHeight};
      if (std::none_of(taken.begin(), taken.end(), [&](const Box& box) { return box.Overlaps(*place); })) return true;
    }
  }
  return false;
}

// Adds the parts that a form needs for serving, and reports them.
class Importer {
 public:
  Importer(ZAcroFormServerForm& form, const std::vector<std::string>& labels)
      : form_(form), parser_(*form.Parser()), labels_(labels) {}

  void Mend() {
    AddIdentifier();
    AddSessionField();
    MendTargets();
    AddButton(ZDocument::eModify, "save.cgi", "Save", 0);
    AddButton(ZDocument::eConsult, "modify.cgi", "Modify", 1);
    places_.clear();
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
    // Marks the catalog as changed, because the trailer is written only when an object has changed.
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
  // Adds a field with this widget to the form, and the widget to the first page. With `group`, the field is a kid of a
  // new field of that name.
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
    // A partial name cannot contain a period, so "ZOR.SessionID" needs a field "SessionID" below a field "ZOR".
    if (AddWidget("/FT/Tx/T(SessionID)/F 2/Rect[0 0 0 0]/DA(/Helv 0 Tf 0 g)", "ZOR")) {
      Say("the hidden field \"ZOR.SessionID\"");
    }
  }

  // Converts the address of each submit button that is a string to a URL specification.
  void MendTargets() {
    for (const auto& [name, fields] : form_.FlatFields()) {
      for (ZAcroFormField* field : fields) {
        if (!field->IsSubmitFormButton() || field->GetAction()->HasURL()) continue;
        auto* action = NodeCast<ZPDFNodeDictionary>(field->Dico()->GetTarget("/A"));
        const Chaine target = action == nullptr ? Chaine() : action->GetStringValue("/F");
        if (target.IsEmpty()) continue;
        field->GetAction()->SetURL(ZInetURL(target));
        Say("the address of the button \"" + name.ToString() +
                "\", from a string to a file specification with \"/FS /URL\"",
            "changed");
      }
    }
  }

  // Adds a submit button, unless the form has one for this status. When labels were given and the first page has a free
  // place, the button is visible there. Else it has no area, and only the tool bar of the page that shows forms in a
  // browser shows it. `caption` is the button's name when no label was given for it.
  void AddButton(ZDocument::Status status, const std::string& page, const std::string& caption, size_t index) {
    if (form_.HasSubmitFormButton(status)) return;
    const std::string label = index < labels_.size() ? labels_[index] : caption;
    Box box;
    std::string ignored;
    const ZPDFNodeDictionary* const first = FirstPage(&ignored);
    const bool is_shown = !labels_.empty() && first != nullptr && FindPlace(*first, places_, &box);
    if (is_shown) places_.push_back(box);
    if (!is_shown) box = {};
    auto* text = new ZPDFNodeHexaString(UTF8ToPDFText(label), &parser_);
    const std::string label_reference = AddObject(text);
    const bool added = AddWidget("/FT/Btn/Ff 65536/F 4/T(zforms_" + page.substr(0, page.find('.')) + ")/TU " +
                                     label_reference + "/Rect" + box.Text() + "/MK<</BG[0.85]/CA " + label_reference +
                                     ">>/DA(/Helv 10 Tf 0 g)/A<</S/SubmitForm/Flags 32/F<</FS/URL/F(http://localhost/" +
                                     page + ")>>>>",
                                 "");
    if (!added) return;
    const std::string where = is_shown ? "on the first page" : "in the tool bar that the browser shows";
    Say("the button \"" + label + "\", which submits to \"" + page + "\", " + where);
    if (!labels_.empty() && !is_shown)
      Say("a free place for the button \"" + label + "\" on the first page", "not found");
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
          Say("all fields to the submission of the button \"" + name.ToString() + "\"");
        }
        if ((flags & ZAcroFormAction::kSubmitXFDFFlag) != 0) continue;
        action->SetValue("/Flags", (flags & ~kOtherFormats) | ZAcroFormAction::kSubmitXFDFFlag);
        Say("XFDF as the format of the button \"" + name.ToString() + "\"");
      }
    }
  }

  ZAcroFormServerForm& form_;
  ZPDFParser& parser_;
  const std::vector<std::string>& labels_;
  std::vector<Box> places_;  // the places of the added buttons
};

// Draws the new buttons that are visible on the first page, and appends the drawings to the file.
bool DrawButtons(ZAcroFormServerForm& form, Chaine* bytes) {
  ZFieldDrawer drawer(form);
  for (const char* name : {"zforms_save", "zforms_modify"}) {
    ZAcroFormField* const button = form.Fields().Exist(name) ? form.Fields()[name] : nullptr;
    Box box;
    if (button == nullptr || button->Dico()->Exist("/AP")) continue;
    if (ReadBox(*button->Dico(), "/Rect", &box) && box.right > box.left) drawer.Draw(*button);
  }
  drawer.Finish();
  if (form.Parser()->ModifiedObjects().empty()) return true;
  Chaine drawn;
  ZInetChaineOStream out(drawn);
  if (!form.Save(out)) return false;
  *bytes = drawn;
  return true;
}

bool NeedsPassword(const ZAcroForm& form) {
  return form.EncryptionLoad() != nullptr && !form.EncryptionLoad()->UserPassword().IsEmpty();
}

// Removes the user password, because the server opens forms without a password. The given password becomes the owner
// password.
void OpenWithoutPassword(ZAcroForm& form) {
  if (!NeedsPassword(form)) return;
  form.SetPasswords(Chaine(), form.EncryptionLoad()->UserPassword());
  Say("an empty user password, so that the server can open the form; the given password is now the owner password");
}

}  // namespace

int RunImport(const ImportOptions& options) {
  Console console(options.file);
  ZAcroFormServerForm form;
  if (!OpenFormWithFields(options.file, options.password, form, console, options.recover)) return console.Finish();
  const bool is_classic = !form.Parser()->HasXRefStreams();
  if (NeedsPassword(form) && !MayChangeEncryption(form, console)) return console.Finish();
  const bool writes_anew = !is_classic || NeedsPassword(form);
  ZFormMessages messages;
  const bool allowed = FillingGuard(form, {false, options.force}, writes_anew).AllowsDesigning(&messages);
  Say(std::exchange(messages, {}), console);
  if (!allowed) return console.Finish();
  Importer(form, options.labels).Mend();
  if (!ZAcroFormChangeRules::DropXFA(form).empty())
    Say("the XFA form, which some readers would show instead of the fields", "removed");
  if (!ZAcroFormChangeRules::DropUsageRights(form).empty())
    Say("usage rights, which a change makes invalid", "removed");
  OpenWithoutPassword(form);
  Chaine bytes;
  // Saves without object streams, so that old readers can open the file.
  const bool saved = SaveForm(form, SaveOptions{!is_classic, options.force}, &bytes, &messages);
  console.WarnAll(form.Diagnostics());
  Say(messages, console);
  if (!saved) return console.Finish();
  ZAcroFormServerForm mended;
  ZInetChaineIStream in(bytes);
  mended.SetEncryptions(ZPDFEncryptions::kAll);
  if (!mended.Load(in, Chaine())) {
    console.Fail(mended.Diagnostics().Failure());
    return console.Finish();
  }
  if (!is_classic)
    Say("a cross-reference table in place of the cross-reference streams; the file is written as a new file");
  for (const std::string& fault : CheckTemplate(mended)) console.Warn(fault);
  for (const std::string& script : DescribeScripts(ScriptsOf(mended))) Say(script, "script");
  if (!DrawButtons(mended, &bytes)) {
    console.Fail(mended.Diagnostics().Failure());
    return console.Finish();
  }
  WriteOutput(options.output, bytes, console);
  return console.Finish();
}

}  // namespace zforms::tool
