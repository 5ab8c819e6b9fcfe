#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace zforms {
class ZAcroForm;
class ZPDFNode;
class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;
}  // namespace zforms

namespace zforms::tool {

// The text of an object, without the numbers of the objects that it refers to.
struct LooseObject {
  struct Reference {
    enum class To {
      kShared,  // an object of the template, by its number
      kOwn,     // an object of the row, by its number in the row's document
      kParent,  // the parent of a page in the page tree
    };
    size_t at = 0;  // the position in the text where the number is to be inserted
    To to = To::kShared;
    uint32_t number = 0;
  };

  uint32_t number = 0;  // the object's number in its document
  std::string text;
  std::vector<Reference> references;
};

// The pages of a row's flattened form, with all objects that they need and that the template does not have. An object
// follows the objects to which it refers, except where references form a cycle.
struct RowPages {
  std::vector<uint32_t> pages;  // the object numbers of the pages in the row's document, in order
  std::vector<LooseObject> objects;
};

// RowPagesMaker copies the pages of the flattened forms of rows. An object is not copied if it and everything that it
// refers to are the same as in the template: all rows share it. The maker is made from the template; then any thread
// may use it.
class RowPagesMaker {
 public:
  explicit RowPagesMaker(ZAcroForm& form);

  // `flat` is a copy of the form that was filled and flattened.
  RowPages Make(ZAcroForm& flat) const;
  // The text of an object of the template. All its references are to shared objects.
  static LooseObject Shared(const ZPDFNodeIndirectObject& object);
  // The text of a value, such as an entry of the catalog, with its references to shared objects.
  static LooseObject Shared(const ZPDFNode& value);
  // The highest object number of the template.
  uint32_t HighestNumber() const { return highest_; }

 private:
  using Numbers = std::unordered_set<uint32_t>;
  Numbers OwnOf(ZAcroForm& flat, std::vector<uint32_t> open) const;

  uint32_t highest_ = 0;
  // Maps each object that pages need to the objects that refer to it.
  std::unordered_map<uint32_t, std::vector<uint32_t>> referrers_;
};

}  // namespace zforms::tool
