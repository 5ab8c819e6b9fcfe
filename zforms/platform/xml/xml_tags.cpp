#include "zforms/platform/xml/xml_tags.h"

#include <algorithm>

namespace zforms {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

}  // namespace

XMLTags::Kind XMLTags::Next() {
  attributes_.clear();
  name_ = {};
  const size_t open = std::min(text_.find('<', at_), text_.size());
  before_ = text_.substr(at_, open - at_);
  at_ = open;
  if (at_ == text_.size()) return Kind::eDone;
  const std::string_view rest = text_.substr(at_);
  if (rest.starts_with("<!--")) return Skip("<!--", "-->");
  if (rest.starts_with("<![CDATA[")) return Skip("<![CDATA[", "]]>");
  if (rest.starts_with("<?")) return Skip("<?", "?>");
  return rest.starts_with("<!") ? Kind::eLost : ReadTag();
}

XMLTags::Kind XMLTags::Skip(std::string_view start, std::string_view end) {
  const size_t from = at_ + start.size();
  const size_t to = text_.find(end, from);
  if (to == std::string_view::npos) return Kind::eLost;
  // Limits the attributes of a declaration; comments and CDATA sections have none.
  const std::string_view content = text_.substr(from, to - from);
  if (start == "<?" && static_cast<size_t>(std::count(content.begin(), content.end(), '=')) > kMaxAttributes) {
    return Kind::eLost;
  }
  at_ = to + end.size();
  return Kind::eOther;
}

void XMLTags::SkipBlanks() { at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size()); }

std::string_view XMLTags::ReadName() {
  const size_t end = std::min(text_.find_first_of(" \t\r\n=/><\"'", at_), text_.size());
  const std::string_view name = text_.substr(at_, end - at_);
  at_ = end;
  return name;
}

XMLTags::Kind XMLTags::ReadTag() {
  at_++;
  const bool ends = text_.substr(at_, 1) == "/";
  if (ends) at_++;
  name_ = ReadName();
  if (name_.empty()) return Kind::eLost;
  for (SkipBlanks(); at_ != text_.size(); SkipBlanks()) {
    if (text_[at_] == '>') {
      at_++;
      return ends ? Kind::eEnd : Kind::eStart;
    }
    if (text_[at_] == '/' && text_.substr(at_, 2) == "/>" && !ends) {
      at_ += 2;
      return Kind::eEmpty;
    }
    if (ends || !ReadAttribute()) return Kind::eLost;
  }
  return Kind::eLost;
}

bool XMLTags::ReadAttribute() {
  const std::string_view name = ReadName();
  SkipBlanks();
  if (name.empty() || text_.substr(at_, 1) != "=" || attributes_.size() == kMaxAttributes) return false;
  at_++;
  SkipBlanks();
  const char quote = at_ == text_.size() ? '\0' : text_[at_];
  const size_t end = quote == '"' || quote == '\'' ? text_.find(quote, at_ + 1) : std::string_view::npos;
  if (end == std::string_view::npos) return false;
  attributes_.push_back({name, text_.substr(at_ + 1, end - at_ - 1)});
  at_ = end + 1;
  return true;
}

}  // namespace zforms
