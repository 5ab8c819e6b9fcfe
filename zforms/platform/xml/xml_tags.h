#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace zforms {

// XMLTags goes through the tags of an XML text one after the other, without making a
// tree and without changing the text: what a reader needs to know before it spends
// memory on a document. It checks no more than it has to; a text that it goes through
// may still be no XML. The text outlives it.
class XMLTags {
 public:
  enum class Kind {
    eStart,  // <a>
    eEmpty,  // <a/>
    eEnd,    // </a>
    eOther,  // a comment, a CDATA section or an instruction
    eDone,   // the text is over
    eLost    // a document type, a tag with too many attributes, or no XML
  };
  struct Attribute {
    std::string_view name;
    std::string_view value;  // as it is written, references included
  };

  static constexpr size_t kMaxAttributes = 100;

  explicit XMLTags(std::string_view text) : text_(text) {}

  Kind Next();
  // Of a start, empty or end tag.
  std::string_view Name() const { return name_; }
  // Of a start or empty tag.
  const std::vector<Attribute>& Attributes() const { return attributes_; }
  // What stands between this tag and the one before, as it is written.
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
