#pragma once

#include <cstddef>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// XFDFSurvey is what one pass over the text of an XFDF document tells before a tree is
// made of it: how much memory that would take, and whose session it says it is of.
struct XFDFSurvey {
  enum class Session {
    eUnknown,  // only reading the document tells
    eNone,     // it has no session infos
    eFound     // `session` is their text
  };

  // An upper bound of the elements, attributes and pieces of text. Counting ends soon
  // after `max_nodes`.
  size_t nodes = 0;
  Session has_session = Session::eUnknown;
  Chaine session;

  // The text is UTF-8.
  static XFDFSurvey Of(std::string_view text, size_t max_nodes);
};

}  // namespace zforms
