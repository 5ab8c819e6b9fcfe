#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace zforms {

// XMLTags iterates over the tags of an XML text without building a tree and without changing the text. A reader uses it
// to inspect a document before it spends memory on it. It checks only what it needs, so the text may still be malformed
// XML. The text must outlive it. One thread at a time.
class XMLTags {
 public:
  enum class Kind {
    eStart,  // <a>
    eEmpty,  // <a/>
    eEnd,    // </a>
    eOther,  // a comment, a CDATA section or an instruction
    eDone,   // the end of the text
    eLost    // a document type, a tag with too many attributes, or malformed XML
  };
  struct Attribute {
    std::string_view name;
    std::string_view value;  // not decoded: references as in the text
  };

  static constexpr size_t kMaxAttributes = 100;

  explicit XMLTags(std::string_view text) : text_(text) {}

  Kind Next();
  // The name of a start, empty or end tag.
  std::string_view Name() const { return name_; }
  // The attributes of a start or empty tag.
  const std::vector<Attribute>& Attributes() const { return attributes_; }
  // The text between the previous tag and this one, not decoded.
  std::string_view TextBefore() const { return before_; }

 private:
  Kind Skip(std::string_view start, std::string_view end);
  Kind ReadTag();
  bool ReadAttribute();
  void SkipBlanks();
  std::string_view ReadName();

  std::string_view text_;
  size_t at_ = 0;
  std::string_view name_;
  std::string_view before_;
  std::vector<Attribute> attributes_;
};

}  // namespace zforms
