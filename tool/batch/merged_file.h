#pragma once

#include <array>
#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tool/batch/row_pages.h"
#include "zforms/platform/files/replacing_file.h"
#include "zforms/platform/files/temp_folder.h"

namespace zforms::tool {

// Maps the numbers of the objects of a file that is being written to their offsets. They are kept in a temporary file,
// so that memory does not grow with the number of objects.
class OffsetFile {
 public:
  // Creates the file, which is removed with this object.
  bool Open(std::string* error);
  // Returns the lowest number that is not in use.
  uint32_t Allocate();
  // Makes Allocate return only numbers from `numbers` on.
  void Reserve(uint32_t numbers);
  void Set(uint32_t number, uint64_t offset);
  uint32_t Count() const { return first_ + static_cast<uint32_t>(window_.size()); }
  // Calls `take` with the offset of each number from 0 on; the offset is 0 for a number without an object. False when
  // the temporary file could not be read or written.
  bool ForEach(const std::function<bool(uint64_t offset)>& take);

 private:
  void Flush();

  ZTempFolder folder_;
  std::fstream file_;
  uint32_t first_ = 0;  // the number of the first offset in the window; offsets of lower numbers are in the file
  std::vector<uint64_t> window_;
};

// MergedFile writes one PDF file with the pages of many rows, one row after the other: a balanced page tree, an outline
// with an item for each row, the objects that the rows share, and a cross-reference stream (ISO 32000-1 7.5.8). An
// object that equals one of the last few thousand objects is not written again. Memory does not grow with the number of
// rows. One thread at a time.
class MergedFile {
 public:
  // The object of the template with that number.
  using SharedObject = std::function<LooseObject(uint32_t number)>;

  explicit MergedFile(SharedObject shared);

  // Begins the file under a temporary name beside `path`, with `header` as its first line. `highest` is the highest
  // object number of the template.
  bool Open(const std::string& path, const std::string& header, uint32_t highest);
  // Appends the pages of a row. `title`, a PDF text string, is its title in the outline. False when the file cannot be
  // written.
  bool Add(const RowPages& pages, const std::string& title);
  // Ends the file, flushes it to the disk and renames it to `path`. `catalog` has keys and values of the template's
  // catalog, which are written to the catalog of this file.
  bool Finish(const std::vector<std::pair<std::string, LooseObject>>& catalog);
  // The size so far, in bytes.
  uint64_t Size() const { return size_; }
  // Why the file could not be written.
  const std::string& Error() const { return error_; }

 private:
  // An unfinished node of the page tree. `tree_` has one for each level, the lowest level first.
  struct TreeNode {
    uint32_t number = 0;
    uint64_t pages = 0;
    std::vector<uint32_t> kids;
  };
  using Digest = std::string;

  bool Put(std::string_view bytes);
  bool Flush();
  void Begin(uint32_t number);
  void WriteObject(uint32_t number, std::string_view text);
  uint32_t AddToTree(size_t level, uint32_t kid, uint64_t pages);
  uint32_t NodeOf(size_t level);
  void CloseNode(size_t level);
  uint32_t CloseTree();
  void WriteItem(uint32_t next);
  std::string Resolve(const LooseObject& object, const std::function<uint32_t(const LooseObject::Reference&)>& number);
  void WriteShared();
  static Digest DigestOf(const std::string& text);
  uint32_t FindSame(const Digest& digest) const;
  void Remember(const Digest& digest, uint32_t number);
  bool WriteXref(uint32_t catalog);

  const SharedObject shared_;
  ReplacingFile file_;
  std::string waiting_;  // bytes that are not in the file yet
  std::string error_;
  bool failed_ = false;
  uint64_t size_ = 0;
  Digest identifier_;  // the identifier of the file, a digest of its contents
  OffsetFile offsets_;
  std::vector<bool> is_shared_;  // for each object number of the template: true when the object is written or will be
  std::vector<uint32_t> to_share_;
  std::vector<TreeNode> tree_;
  // The outline item of the last row, which is written when the next item is known.
  struct Item {
    uint32_t number = 0, previous = 0, page = 0;
    std::string title;
  } item_;
  uint32_t outline_ = 0, first_item_ = 0;
  uint64_t items_ = 0;
  // The numbers of the objects written last, by digest, in two maps. New ones go into the first. When it is full, it
  // replaces the second.
  std::array<std::unordered_map<Digest, uint32_t>, 2> written_;
};

}  // namespace zforms::tool
