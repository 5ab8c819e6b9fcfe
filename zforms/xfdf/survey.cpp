#include "zforms/xfdf/survey.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "zforms/platform/xml/xml.h"
#include "zforms/platform/xml/xml_tags.h"

namespace zforms {
namespace {

using Kind = XMLTags::Kind;

// The reserved field is written either with one dotted name, or as a field inside another.
constexpr std::string_view kWhole = "ZOR.SessionID";
constexpr std::string_view kOuter = "ZOR";
constexpr std::string_view kInner = "SessionID";
// Longer session infos are ignored, as no host writes them.
constexpr size_t kMaxSession = size_t{1} << 20;

// Searches the tags for the reserved field by the same rules as a document's lookup.
class SessionSeeker {
 public:
  // Takes the next tag. False when the document must be read to find the field.
  bool Take(Kind kind, const XMLTags& tags) {
    if (kind == Kind::eOther) return Innermost() != Role::eValue;
    if (kind != Kind::eEnd && !Enter(tags)) return false;
    return kind == Kind::eStart || Leave(kind == Kind::eEmpty ? std::string_view() : tags.TextBefore());
  }
  size_t Found() const { return found_; }
  size_t Values() const { return values_; }
  std::string_view Value() const { return value_; }

 private:
  enum class Role : uint8_t { eDocument, eRoot, eFields, eOuter, eSession, eValue, eOther };

  Role Innermost() const {
    if (level_ == 0) return Role::eDocument;
    return level_ > roles_.size() ? Role::eOther : roles_[level_ - 1];
  }
  bool Enter(const XMLTags& tags) {
    Role role = Role::eOther;
    switch (Innermost()) {
      case Role::eDocument:
        role = Role::eRoot;
        if (tags.Name() != "xfdf") return false;
        break;
      case Role::eRoot:
        if (tags.Name() == "fields") role = Role::eFields;
        if (role == Role::eFields && ++fields_ > 1) return false;
        break;
      case Role::eFields:
      case Role::eOuter:
        if (tags.Name() == "field" && !EnterField(tags, &role)) return false;
        break;
      case Role::eSession:
        if (tags.Name() == "value") role = Role::eValue;
        if (role == Role::eValue && ++values_ > 1) return false;
        break;
      case Role::eValue: return false;
      case Role::eOther: break;
    }
    if (level_ < roles_.size()) roles_[level_] = role;
    level_++;
    return true;
  }
  bool EnterField(const XMLTags& tags, Role* role) {
    const auto& all = tags.Attributes();
    const auto name = std::find_if(all.begin(), all.end(), [](const auto& one) { return one.name == "name"; });
    if (name == all.end()) return true;
    const bool in_outer = Innermost() == Role::eOuter;
    if (name->value == (in_outer ? kInner : kWhole)) {
      *role = Role::eSession;
      return ++found_ == 1;
    }
    if (!in_outer && name->value == kOuter) {
      *role = Role::eOuter;
      return ++outers_ == 1;
    }
    return name->value.find('&') == std::string_view::npos;
  }
  bool Leave(std::string_view text) {
    if (level_ == 0) return false;
    if (Innermost() == Role::eValue) value_ = text;
    level_--;
    return true;
  }

  size_t level_ = 0;
  std::array<Role, 5> roles_{};  // the roles of the outermost open elements
  size_t fields_ = 0;
  size_t outers_ = 0;
  size_t found_ = 0;
  size_t values_ = 0;
  std::string_view value_;
};

// An upper bound of the nodes, valid for every way to read the text.
size_t NodesAtMost(std::string_view text) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), '<') * 2 + std::count(text.begin(), text.end(), '='));
}

void TakeSession(const SessionSeeker& seeker, XFDFSurvey* survey) {
  if (seeker.Found() == 0) {
    survey->has_session = XFDFSurvey::Session::eNone;
  } else if (seeker.Values() == 1 && seeker.Value().size() <= kMaxSession) {
    ZXMLReader value;
    if (value.Read(Chaine("<value>") + seeker.Value() + "</value>") == nullptr) return;
    survey->session = value.Data()->Value().AsChaine();
    survey->has_session = XFDFSurvey::Session::eFound;
  }
}

}  // namespace

XFDFSurvey XFDFSurvey::Of(std::string_view text, size_t max_nodes) {
  XFDFSurvey survey;
  XMLTags tags(text);
  SessionSeeker seeker;
  bool is_known = true;
  while (survey.nodes <= max_nodes) {
    const Kind kind = tags.Next();
    if (kind == Kind::eLost) survey.nodes = NodesAtMost(text);
    if (kind == Kind::eDone && is_known) TakeSession(seeker, &survey);
    if (kind == Kind::eLost || kind == Kind::eDone) break;
    survey.nodes += (kind == Kind::eEnd ? 0 : 1) + tags.Attributes().size() + (tags.TextBefore().empty() ? 0 : 1);
    is_known = is_known && seeker.Take(kind, tags);
  }
  return survey;
}

}  // namespace zforms
