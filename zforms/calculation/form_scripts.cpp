#include "zforms/calculation/form_scripts.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/calculation/field_formula.h"
#include "zforms/calculation/script_call.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/pages.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr size_t kMostScript = 4 << 20;
constexpr size_t kMostSteps = 1 << 20;
// The deepest tree of names, and the longest chain of actions, that is followed.
constexpr int kDeepest = 50;
constexpr size_t kNamed = 3;

struct Event {
  const char* key;
  const char* name;
};
// The events of a field or widget (ISO 32000-1 tables 194 and 196), a page (195) and the document (197).
constexpr Event kFieldEvents[] = {
    {"/K", "keystroke"},  {"/F", "format"},      {"/V", "validate"},    {"/C", "calculate"},   {"/E", "enter"},
    {"/X", "leave"},      {"/D", "mouse down"},  {"/U", "mouse up"},    {"/Fo", "focus"},      {"/Bl", "focus lost"},
    {"/PO", "page open"}, {"/PC", "page close"}, {"/PV", "page shown"}, {"/PI", "page hidden"}};
constexpr Event kPageEvents[] = {{"/O", "page open"}, {"/C", "page close"}};
constexpr Event kDocumentEvents[] = {{"/WC", "close"},
                                     {"/WS", "before saving"},
                                     {"/DS", "after saving"},
                                     {"/WP", "before printing"},
                                     {"/DP", "after printing"}};

std::optional<std::string> TextOf(const ZPDFNodeDictionary& action) {
  if (action.GetIdentifier("/S") != "/JavaScript") return std::nullopt;
  const ZPDFNode* const text = action.GetTarget("/JS");
  if (const auto* stream = NodeCast<ZPDFNodeStream>(text)) {
    return PDFTextToUTF8(DecodeStream(*stream, kMostScript).data).ToString();
  }
  return text == nullptr ? std::string() : PDFTextToUTF8(text->GetStringValue()).ToString();
}

class Collector {
 public:
  explicit Collector(const ZAcroForm& form) : form_(form) {}

  std::vector<FormScript> Collect() {
    if (const ZPDFNodeDictionary* root = form_.Parser()->Root()) AddDocument(*root);
    AddFields(form_.Fields(), Chaine());
    return std::move(scripts_);
  }

 private:
  void Add(const ZPDFNodeDictionary& holder, const char* key, const char* event, const std::string& field) {
    seen_.clear();
    AddChain(holder.GetTarget(key), event, field, kDeepest);
  }

  // Adds the scripts of an action or a list of actions, and of the actions that follow them ("/Next").
  void AddChain(const ZPDFNode* action, const char* event, const std::string& field, int depth) {
    if (action == nullptr || depth == 0 || steps_++ >= kMostSteps) return;
    if (const auto* list = NodeCast<ZPDFNodeArray>(action)) {
      for (size_t i = 0; i < list->Size(); i++) AddChain(list->GetTargetAt(i), event, field, depth - 1);
      return;
    }
    const auto* dictionary = NodeCast<ZPDFNodeDictionary>(action);
    if (dictionary == nullptr || !seen_.insert(dictionary).second) return;
    if (auto text = TextOf(*dictionary)) scripts_.push_back({event, field, std::move(*text)});
    AddChain(dictionary->GetTarget("/Next"), event, field, depth - 1);
  }

  template <size_t N>
  void AddAll(const ZPDFNodeDictionary& holder, const Event (&events)[N], const std::string& field) {
    const auto* actions = NodeCast<ZPDFNodeDictionary>(holder.GetTarget("/AA"));
    if (actions == nullptr) return;
    for (const Event& event : events) Add(*actions, event.key, event.name, field);
  }

  void AddDocument(const ZPDFNodeDictionary& root) {
    if (const auto* names = NodeCast<ZPDFNodeDictionary>(root.GetTarget("/Names"))) {
      AddTree(NodeCast<ZPDFNodeDictionary>(names->GetTarget("/JavaScript")), kDeepest);
    }
    Add(root, "/OpenAction", "open", {});
    AddAll(root, kDocumentEvents, {});
    for (const ZPDFNodeDictionary* page : PagesOf(root)) AddAll(*page, kPageEvents, {});
  }

  // Adds the scripts in a name tree (7.7.4), which run when the document is opened.
  void AddTree(const ZPDFNodeDictionary* tree, int depth) {
    if (tree == nullptr || depth == 0 || !trees_.insert(tree).second) return;
    if (const auto* names = NodeCast<ZPDFNodeArray>(tree->GetTarget("/Names"))) {
      seen_.clear();
      for (size_t i = 1; i < names->Size(); i += 2) AddChain(names->GetTargetAt(i), "open", {}, kDeepest);
    }
    const auto* kids = NodeCast<ZPDFNodeArray>(tree->GetTarget("/Kids"));
    for (size_t i = 0; kids != nullptr && i < kids->Size(); i++) {
      AddTree(NodeCast<ZPDFNodeDictionary>(kids->GetTargetAt(i)), depth - 1);
    }
  }

  // Recursion is safe: the depth of the tree of fields is bounded.
  void AddFields(const ZAcroFormFieldCollection& fields, const Chaine& above) {
    for (uint32_t i = 0; i < fields.Size(); i++) {
      const ZAcroFormField& field = *fields.GetAt(i);
      const Chaine name =
          field.HasName() ? (above.IsEmpty() ? above : above + ".") + PDFTextToUTF8(field.Name()) : above;
      AddAll(*field.Dico(), kFieldEvents, name.ToString());
      Add(*field.Dico(), "/A", "press", name.ToString());
      AddFields(field, name);
    }
  }

  const ZAcroForm& form_;
  std::vector<FormScript> scripts_;
  size_t steps_ = 0;
  std::unordered_set<const ZPDFNodeDictionary*> seen_;  // the actions in the chain that is being followed
  std::unordered_set<const ZPDFNodeDictionary*> trees_;
};

// Describes the kind of a script: the name of the function if the script is a single call of it, else "a custom
// script".
std::string KindOf(const FormScript& script) {
  const auto call = ParseCall(WithoutComments(script.text));
  std::string kind = "a custom script";
  if (call && call->function.starts_with("AF")) {
    kind = call->function;
  } else if (FieldFormula::Of(script.text)) {
    kind = "an expression in simplified field notation";
  }
  return kind + " (" + script.event + ")";
}

}  // namespace

std::optional<std::string> ScriptAt(const ZPDFNodeDictionary& holder, std::string_view key) {
  const auto* action = NodeCast<ZPDFNodeDictionary>(holder.GetTarget(key));
  return action == nullptr ? std::nullopt : TextOf(*action);
}

std::vector<FormScript> ScriptsOf(const ZAcroForm& form) {
  return form.Parser() == nullptr ? std::vector<FormScript>() : Collector(form).Collect();
}

std::vector<std::string> DescribeScripts(const std::vector<FormScript>& scripts) {
  std::vector<std::pair<std::string, std::vector<std::string>>> kinds;
  std::unordered_map<std::string, size_t> index;
  for (const FormScript& script : scripts) {
    const auto [at, is_new] = index.emplace(KindOf(script), kinds.size());
    if (is_new) kinds.emplace_back(at->first, std::vector<std::string>());
    kinds[at->second].second.push_back(script.field);
  }
  std::vector<std::string> lines;
  for (const auto& [kind, fields] : kinds) {
    std::string line = kind;
    const char* separator = " of ";
    for (size_t i = 0; i < std::min(fields.size(), kNamed); i++) {
      line += separator + (fields[i].empty() ? "the document" : "\"" + fields[i] + "\"");
      separator = ", ";
    }
    if (fields.size() > kNamed) line += " and " + std::to_string(fields.size() - kNamed) + " more";
    lines.push_back(line);
  }
  return lines;
}

}  // namespace zforms
