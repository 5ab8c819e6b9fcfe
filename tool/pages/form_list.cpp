#include "tool/pages/form_list.h"

#include <utility>

#include "tool/office/office.h"
#include "tool/pages/list_texts.h"
#include "tool/pages/reader_page.h"
#include "zforms/platform/host/template_storage.h"

namespace zforms::tool {
namespace {

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

// The text of a link or button, with the form's name for screen readers only: they may read a link without the text
// around it.
std::string Label(std::string_view text, std::string_view name) {
  return Escaped(text) + "<span class=\"unseen\"> " + Escaped(name) + "</span>";
}

std::string Link(std::string_view target, std::string_view text, std::string_view name, std::string_view kind) {
  return "<a class=\"" + std::string(kind) + "\" href=\"" + Escaped(target) + "\">" + Label(text, name) + "</a>";
}

// A button that posts to `target`, because opening a form needs POST.
std::string Button(std::string_view target, std::string_view text, std::string_view name) {
  return "<form method=\"post\" action=\"" + Escaped(target) + "\"><button class=\"way\">" + Label(text, name) +
         "</button></form>";
}

// A <time> element of "2025-01-31T12:00:00.000Z", which a script converts to the user's time zone.
std::string Time(const std::string& stamp) {
  return "<time datetime=\"" + Escaped(stamp) + "\">" + Escaped(stamp.substr(0, 10)) + " " +
         Escaped(stamp.substr(11, 5)) + " UTC</time>";
}

std::string State(const Store::FormState& state, const ListTexts& texts) {
  const bool refused = state.rejected > state.accepted;
  const std::string& when = refused ? state.rejected : state.accepted;
  if (when.empty()) return std::string("<span class=\"state new\">") + texts.fresh + "</span>";
  return std::string("<span class=\"state ") + (refused ? "refused\">" : "saved\">") +
         (refused ? texts.refused : texts.saved) + " " + Time(when) + "</span>";
}

std::string Item(Office& office, const Chaine& code, const Store::FormState& state, const ListTexts& texts,
                 bool with_reader) {
  const std::string escaped = ZInetURL::Encode(code).ToString();
  const auto card = office.CardOf(code);
  const std::string name = card == nullptr || card->title.empty() ? code.ToString() : card->title;
  const std::string pdf = "open.cgi?code=" + escaped;
  const std::string page = "reader/?code=" + escaped;
  const std::string look = with_reader
                               ? page + "&look=1"
                               : office.Server().GetPDFURL(code, ZDocument::eReadOnly).AsChaine(false, true).ToString();
  std::string item = "<li data-code=\"" + Escaped(code) + "\"><div class=\"what\"><h2>" + Escaped(name) +
                     "</h2> <code>" + Escaped(code) + "</code>" + State(state, texts) + "</div>\n<div class=\"ways\">";
  if (with_reader) item += Link(page, texts.open, name, "main");
  item += Link(look, texts.look, name, "way") + Button(pdf, "PDF", name) + Button(pdf + "&as=xfdf", ".xfdf", name);
  return item + "</div></li>\n";
}

// The texts that the script of the page shows, as HTML attributes.
std::string ScriptTexts(const ListTexts& texts) {
  const std::pair<const char*, const char*> attributes[] = {
      {"opened", texts.opened_here},   {"look", texts.look},
      {"draft", texts.draft_here},     {"saved", texts.saved_here},
      {"refused", texts.refused_here}, {"go", texts.go},
      {"found-one", texts.found_one},  {"found", texts.found},
  };
  std::string text;
  for (const auto& [name, value] : attributes) {
    text += " data-" + std::string(name) + "=\"" + Escaped(value) + "\"";
  }
  return text;
}

}  // namespace

bool FormList(Office& office, const ReaderPage* reader, const ListTexts& texts, std::string* list) {
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
      "<p id=\"news\" role=\"status\"></p>\n"
      "<ul id=\"forms\"" +
      ScriptTexts(texts) + ">\n";
  for (const Chaine& code : office.Server().Storage().Codes()) {
    Store::FormState state;
    if (!office.StateOf(code, &state)) return false;
    page += Item(office, code, state, texts, with_reader);
  }
  *list = page + "</ul>\n</main>\n</body>\n</html>\n";
  return true;
}

}  // namespace zforms::tool
