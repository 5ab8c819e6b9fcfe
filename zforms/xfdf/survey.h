#pragma once

#include <cstddef>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// XFDFSurvey examines the text of an XFDF document in one pass, before a tree is built: it estimates the memory needed
// and finds the session infos.
struct XFDFSurvey {
  enum class Session {
    eUnknown,  // the document must be read to find out
    eNone,     // it has no session infos
    eFound     // `session` is their text
  };

  // An upper bound of the number of elements, attributes and pieces of text. Counting stops soon after `max_nodes`.
  size_t nodes = 0;
  Session has_session = Session::eUnknown;
  Chaine session;

  // `text` is UTF-8.
  static XFDFSurvey Of(std::string_view text, size_t max_nodes);
};

}  // namespace zforms
