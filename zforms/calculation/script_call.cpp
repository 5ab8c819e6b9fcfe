#include "zforms/calculation/script_call.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\f\v";

bool IsNameCharacter(char c) { return IsLetterASCII(c) || IsDigitASCII(c) || c == '_' || c == '$'; }

std::string_view Trimmed(std::string_view text, std::string_view what) {
  const size_t from = text.find_first_not_of(what);
  if (from == std::string_view::npos) return {};
  return text.substr(from, text.find_last_not_of(what) - from + 1);
}

// The end of the string literal that begins at `at`; the size of the text when the literal does not end.
size_t EndOfString(std::string_view text, size_t at) {
  const char quote = text[at++];
  while (at < text.size() && text[at] != quote) at += text[at] == '\\' ? 2 : 1;
  return std::min(at + 1, text.size());
}

std::optional<ScriptCall::Argument> TakeArgument(ScriptReader& reader) {
  if (auto text = reader.TakeString()) return std::move(*text);
  if (const auto number = reader.TakeNumber()) return *number;
  std::optional<std::vector<std::string>> list;
  if (reader.Take("[")) {
    list = reader.TakeStrings("]");
  } else {
    const std::string_view word = reader.TakeName();
    if (word == "true" || word == "false") return word == "true";
    if (word == "new" && reader.TakeName() == "Array" && reader.Take("(")) list = reader.TakeStrings(")");
  }
  return list ? std::optional<ScriptCall::Argument>(std::move(*list)) : std::nullopt;
}

}  // namespace

double ScriptCall::NumberAt(size_t index) const {
  if (index >= arguments.size()) return 0;
  if (const auto* number = std::get_if<double>(&arguments[index])) return *number;
  const auto* flag = std::get_if<bool>(&arguments[index]);
  return flag != nullptr && *flag ? 1 : 0;
}

std::string ScriptCall::TextAt(size_t index) const {
  const auto* text = index < arguments.size() ? std::get_if<std::string>(&arguments[index]) : nullptr;
  return text == nullptr ? std::string() : *text;
}

std::vector<std::string> ScriptCall::ListAt(size_t index) const {
  if (index >= arguments.size()) return {};
  if (const auto* list = std::get_if<std::vector<std::string>>(&arguments[index])) return *list;
  std::vector<std::string> list;
  const std::string text = TextAt(index);
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find(',', at), text.size());
    list.emplace_back(Trimmed(std::string_view(text).substr(at, end - at), kBlanks));
    at = end + 1;
  }
  return list;
}

std::string WithoutComments(std::string_view script) {
  std::string text;
  for (size_t at = 0; at < script.size();) {
    const std::string_view rest = script.substr(at);
    if (rest.starts_with("//")) {
      at = std::min(script.find_first_of("\r\n", at), script.size());
    } else if (rest.starts_with("/*")) {
      const size_t end = script.find("*/", at + 2);
      at = end == std::string_view::npos ? script.size() : end + 2;
    } else {
      const size_t end = rest[0] == '"' || rest[0] == '\'' ? EndOfString(script, at) : at + 1;
      text += script.substr(at, end - at);
      at = end;
    }
  }
  return std::string(Trimmed(text, " \t\r\n\f\v;"));
}

std::optional<ScriptCall> ParseCall(std::string_view script) {
  ScriptReader reader(script);
  ScriptCall call;
  call.function = reader.TakeName();
  if (call.function.empty() || !reader.Take("(")) return std::nullopt;
  while (!reader.Take(")")) {
    if (!call.arguments.empty() && !reader.Take(",")) return std::nullopt;
    auto argument = TakeArgument(reader);
    if (!argument) return std::nullopt;
    call.arguments.push_back(std::move(*argument));
  }
  return reader.AtEnd() ? std::optional(std::move(call)) : std::nullopt;
}

void ScriptReader::SkipBlanks() { text_.remove_prefix(std::min(text_.find_first_not_of(kBlanks), text_.size())); }

bool ScriptReader::Take(std::string_view word) {
  if (!text_.starts_with(word)) return false;
  text_.remove_prefix(word.size());
  SkipBlanks();
  return true;
}

std::string_view ScriptReader::TakeName() {
  const auto end = std::find_if_not(text_.begin(), text_.end(), IsNameCharacter);
  const std::string_view name = text_.substr(0, static_cast<size_t>(end - text_.begin()));
  if (name.empty() || IsDigitASCII(name[0])) return {};
  text_.remove_prefix(name.size());
  SkipBlanks();
  return name;
}

bool ScriptReader::TakeCode(size_t digits, std::string* to) {
  if (text_.size() < digits) return false;
  uint32_t code = 0;
  const auto [end, error] = std::from_chars(text_.data(), text_.data() + digits, code, 16);
  if (error != std::errc() || end != text_.data() + digits || (code >= 0xD800 && code < 0xE000)) return false;
  Chaine character;
  AppendUTF8(&character, code);
  *to += character.View();
  text_.remove_prefix(digits);
  return true;
}

// Reads an escape sequence, after its backslash, and appends its character.
bool ScriptReader::TakeEscape(std::string* to) {
  if (text_.empty()) return false;
  const char kind = text_[0];
  text_.remove_prefix(1);
  if (kind == 'u') return TakeCode(4, to);
  if (kind == 'x') return TakeCode(2, to);
  constexpr std::string_view kLetters = "nrtbfv";
  constexpr std::string_view kMeant = "\n\r\t\b\f\v";
  const size_t at = kLetters.find(kind);
  *to += at == std::string_view::npos ? kind : kMeant[at];
  return true;
}

std::optional<std::string> ScriptReader::TakeString() {
  if (text_.empty() || (text_[0] != '"' && text_[0] != '\'')) return std::nullopt;
  const char quote = text_[0];
  text_.remove_prefix(1);
  std::string value;
  while (!text_.empty() && text_[0] != quote) {
    const char c = text_[0];
    text_.remove_prefix(1);
    if (c != '\\') {
      value += c;
    } else if (!TakeEscape(&value)) {
      return std::nullopt;
    }
  }
  return Take(std::string_view(&quote, 1)) ? std::optional(std::move(value)) : std::nullopt;
}

std::optional<double> ScriptReader::TakeNumber() {
  std::string_view from = text_;
  if (from.starts_with("+")) from.remove_prefix(1);
  const size_t sign = from.starts_with("-") ? 1 : 0;
  if (from.size() <= sign || (!IsDigitASCII(from[sign]) && from[sign] != '.')) return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(from.data(), from.data() + from.size(), value);
  const auto* const last = text_.data() + text_.size();
  if (error != std::errc() || !std::isfinite(value) || (end != last && IsNameCharacter(*end))) return std::nullopt;
  text_ = std::string_view(end, static_cast<size_t>(last - end));
  SkipBlanks();
  return value;
}

std::optional<std::vector<std::string>> ScriptReader::TakeStrings(std::string_view end) {
  std::vector<std::string> list;
  while (!Take(end)) {
    if (!list.empty() && !Take(",")) return std::nullopt;
    auto text = TakeString();
    if (!text) return std::nullopt;
    list.push_back(std::move(*text));
  }
  return list;
}

}  // namespace zforms
