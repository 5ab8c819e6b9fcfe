#include "tool/pages/form_list.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "tool/office/office.h"
#include "tool/pages/reader_page.h"
#include "zforms/platform/base/ascii.h"
#include "zforms/platform/host/template_storage.h"

namespace zforms::tool {
namespace {

struct Texts {
  const char* language;
  const char* title;
  const char* lead;
  const char* lead_without_reader;
  const char* search;
  const char* open;
  const char* look;
  const char* fresh;
  const char* saved;
  const char* refused;
  // What the script of the page says of this browser; "{n}" stands for a number.
  const char* draft_here;
  const char* saved_here;
  const char* refused_here;
  const char* go;
  const char* found_one;
  const char* found;
};

constexpr Texts kEnglish = {"en",
                            "Forms",
                            "Open a form, fill it in and save it. What was saved stays on this machine.",
                            "Open a form in a PDF reader that submits forms, fill it in and press its button to save.",
                            "Find a form",
                            "Open",
                            "Look at",
                            "New",
                            "Saved",
                            "Refused",
                            "Not saved, typed on",
                            "Saved here on",
                            "Refused here on",
                            "Continue",
                            "1 form",
                            "{n} forms"};
constexpr Texts kFrench = {
    "fr",
    "Formulaires",
    "Ouvrez un formulaire, remplissez-le et enregistrez-le. Ce qui est enregistré reste sur cette machine.",
    "Ouvrez un formulaire dans un lecteur PDF qui sait l’envoyer, remplissez-le et pressez son bouton pour "
    "l’enregistrer.",
    "Chercher un formulaire",
    "Ouvrir",
    "Consulter",
    "Nouveau",
    "Enregistré",
    "Refusé",
    "Saisie non enregistrée du",
    "Enregistré ici le",
    "Refusé ici le",
    "Continuer",
    "1 formulaire",
    "{n} formulaires"};

std::string Escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&': result += "&amp;"; break;
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      case '"': result += "&quot;"; break;
      default: result += c;
    }
  }
  return result;
}

// Includes the form's name for users of screen readers, who hear only the link.
std::string Label(std::string_view text, std::string_view name) {
  return Escaped(text) + "<span class=\"unseen\"> " + Escaped(name) + "</span>";
}

std::string Link(std::string_view target, std::string_view text, std::string_view name, std::string_view kind) {
  return "<a class=\"" + std::string(kind) + "\" href=\"" + Escaped(target) + "\">" + Label(text, name) + "</a>";
}

// Opening a form needs POST.
std::string Button(std::string_view target, std::string_view text, std::string_view name) {
  return "<form method=\"post\" action=\"" + Escaped(target) + "\"><button class=\"way\">" + Label(text, name) +
         "</button></form>";
}

// A <time> element of "2025-01-31T12:00:00.000Z", which a script converts to the user's time zone.
std::string Time(const std::string& stamp) {
  return "<time datetime=\"" + Escaped(stamp) + "\">" + Escaped(stamp.substr(0, 10)) + " " +
         Escaped(stamp.substr(11, 5)) + " UTC</time>";
}

std::string State(const Store::FormState& state, const Texts& texts) {
  const bool refused = state.rejected > state.accepted;
  const std::string& when = refused ? state.rejected : state.accepted;
  if (when.empty()) return std::string("<span class=\"state new\">") + texts.fresh + "</span>";
  return std::string("<span class=\"state ") + (refused ? "refused\">" : "saved\">") +
         (refused ? texts.refused : texts.saved) + " " + Time(when) + "</span>";
}

std::string Item(Office& office, const Chaine& code, const Texts& texts, bool with_reader) {
  const std::string escaped = ZInetURL::Encode(code).ToString();
  const auto card = office.CardOf(code);
  const std::string name = card == nullptr || card->title.empty() ? code.ToString() : card->title;
  const std::string pdf = "open.cgi?code=" + escaped;
  const std::string page = "reader/?code=" + escaped;
  const std::string look = with_reader
                               ? page + "&look=1"
                               : office.Server().GetPDFURL(code, ZDocument::eReadOnly).AsChaine(false, true).ToString();
  std::string item = "<li data-code=\"" + Escaped(code) + "\"><div class=\"what\"><h2>" + Escaped(name) +
                     "</h2> <code>" + Escaped(code) + "</code>" + State(office.StateOf(code), texts) +
                     "</div>\n<div class=\"ways\">";
  if (with_reader) item += Link(page, texts.open, name, "main");
  item += Link(look, texts.look, name, "way") + Button(pdf, "PDF", name) + Button(pdf + "&as=xfdf", ".xfdf", name);
  return item + "</div></li>\n";
}

// The texts of the script, as attributes.
std::string ScriptTexts(const Texts& texts) {
  const std::pair<const char*, const char*> attributes[] = {
      {"draft", texts.draft_here},    {"saved", texts.saved_here}, {"refused", texts.refused_here}, {"go", texts.go},
      {"found-one", texts.found_one}, {"found", texts.found},
  };
  std::string text;
  for (const auto& [name, value] : attributes) {
    text += " data-" + std::string(name) + "=\"" + Escaped(value) + "\"";
  }
  return text;
}

}  // namespace

Language LanguageFor(std::string_view accepted) {
  Language best = Language::kEnglish;
  double best_weight = 0;
  while (!accepted.empty()) {
    const size_t end = std::min(accepted.find(','), accepted.size());
    std::string one(accepted.substr(0, end));
    accepted.remove_prefix(std::min(end + 1, accepted.size()));
    std::erase_if(one, [](char c) { return c == ' ' || c == '\t'; });
    double weight = 1;
    if (const size_t q = one.find(";q="); q != std::string::npos) {
      std::from_chars(one.data() + q + 3, one.data() + one.size(), weight);
    }
    const std::string tag = one.substr(0, one.find_first_of("-;"));
    const bool is_french = SameIgnoringASCIICase(tag, "fr");
    if ((!is_french && !SameIgnoringASCIICase(tag, "en")) || weight <= best_weight) continue;
    best = is_french ? Language::kFrench : Language::kEnglish;
    best_weight = weight;
  }
  return best;
}

std::string FormList(Office& office, const ReaderPage* reader, Language language) {
  const Texts& texts = language == Language::kFrench ? kFrench : kEnglish;
  const bool with_reader = reader != nullptr && reader->CanShowForms();
  std::string page =
      std::string("<!DOCTYPE html>\n<html lang=\"") + texts.language +
      "\">\n<head><meta charset=\"utf-8\"><meta name=\"viewport\" content=\"width=device-width\">\n<title>" +
      texts.title + "</title>\n";
  if (reader != nullptr) {
    page +=
        "<link rel=\"icon\" href=\"reader/icon.svg\">\n"
        "<link rel=\"stylesheet\" href=\"reader/colours.css\"><link rel=\"stylesheet\" href=\"reader/list.css\">\n"
        "<script type=\"module\" src=\"reader/list.js\"></script>\n";
  }
  page +=
      std::string("</head>\n<body>\n<main>\n<h1>") + texts.title + "</h1>\n<p class=\"lead\">" +
      (with_reader ? texts.lead : texts.lead_without_reader) +
      "</p>\n<div id=\"search\" hidden><label for=\"wanted\">" + texts.search +
      "</label><input id=\"wanted\" type=\"search\" autocomplete=\"off\"><p id=\"found\" role=\"status\"></p></div>\n"
      "<ul id=\"forms\"" +
      ScriptTexts(texts) + ">\n";
  for (const Chaine& code : office.Server().Storage().Codes()) page += Item(office, code, texts, with_reader);
  return page + "</ul>\n</main>\n</body>\n</html>\n";
}

}  // namespace zforms::tool
