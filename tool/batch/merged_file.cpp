#include "tool/batch/merged_file.h"

#include <algorithm>
#include <utility>

#include "tool/base/files.h"
#include "zforms/platform/base/hex.h"
#include "zforms/platform/crypto/sha2.h"

namespace zforms::tool {
namespace {

constexpr size_t kMostKids = 64;
constexpr size_t kWindow = 1 << 16;  // the most offsets, or bytes of the file, that are kept in memory
constexpr std::streamoff kOffset = sizeof(uint64_t);
constexpr size_t kRemembered = 1 << 13;  // the most digests in one of the two maps of written_
constexpr size_t kOffsetWidth = 5;       // bytes
constexpr std::string_view kBinaryComment = "%\xFF\xFE\xFD\xFC\n";

std::string Reference(uint32_t number) { return std::to_string(number) + " 0 R"; }

std::string HexString(std::string_view bytes) {
  std::string text = "<";
  for (const char c : bytes) AppendHexByte(&text, static_cast<unsigned char>(c));
  return text + ">";
}

}  // namespace

bool OffsetFile::Open(std::string* error) {
  constexpr auto kMode = std::ios::in | std::ios::out | std::ios::trunc | std::ios::binary;
  if (!folder_.Path().IsEmpty()) file_.open(FilePath(folder_.PathOf("offsets").ToString()), kMode);
  if (!file_.is_open()) *error = "no file can be created in the folder for temporary files";
  return file_.is_open();
}

void OffsetFile::Reserve(uint32_t numbers) {
  while (Count() < numbers) Allocate();
}

uint32_t OffsetFile::Allocate() {
  if (window_.size() >= kWindow) Flush();
  window_.push_back(0);
  return Count() - 1;
}

void OffsetFile::Flush() {
  file_.write(reinterpret_cast<const char*>(window_.data()), std::ssize(window_) * kOffset);
  first_ += static_cast<uint32_t>(window_.size());
  window_.clear();
}

void OffsetFile::Set(uint32_t number, uint64_t offset) {
  if (number >= first_) {
    window_[number - first_] = offset;
    return;
  }
  // Nodes of the page tree are written long after their numbers were allocated, so their offsets go into the file.
  file_.seekp(std::streamoff{number} * kOffset);
  file_.write(reinterpret_cast<const char*>(&offset), kOffset);
  file_.seekp(0, std::ios::end);
}

bool OffsetFile::ForEach(const std::function<bool(uint64_t offset)>& take) {
  Flush();
  file_.seekg(0);
  uint64_t offset = 0;
  for (uint32_t count = 0; count < first_; count++) {
    file_.read(reinterpret_cast<char*>(&offset), kOffset);
    if (!file_.good() || !take(offset)) return false;
  }
  return file_.good();
}

MergedFile::MergedFile(SharedObject shared) : shared_(std::move(shared)) {}

bool MergedFile::Open(const std::string& path, const std::string& header, uint32_t highest) {
  if (!file_.Open(path, &error_) || !offsets_.Open(&error_)) return false;
  is_shared_.assign(size_t{highest} + 1, false);
  offsets_.Reserve(highest + 1);
  outline_ = offsets_.Allocate();
  return Put(header + "\n") && Put(kBinaryComment);
}

bool MergedFile::Put(std::string_view bytes) {
  size_ += bytes.size();
  waiting_ += bytes;
  if (waiting_.size() >= kWindow) Flush();
  return !failed_;
}

bool MergedFile::Flush() {
  failed_ = failed_ || !file_.Write(waiting_, &error_);
  waiting_.clear();
  return !failed_;
}

void MergedFile::Begin(uint32_t number) {
  offsets_.Set(number, size_);
  Put(std::to_string(number) + " 0 obj\n");
}

void MergedFile::WriteObject(uint32_t number, std::string_view text) {
  Begin(number);
  Put(text);
  Put("\nendobj\n");
}

uint32_t MergedFile::NodeOf(size_t level) {
  if (tree_.size() <= level) tree_.resize(level + 1);
  if (tree_[level].number == 0) tree_[level].number = offsets_.Allocate();
  return tree_[level].number;
}

MergedFile::Digest MergedFile::DigestOf(const std::string& text) {
  constexpr size_t kDigest = 16;  // bytes
  Digest digest(kLongestSHA2, '\0');
  SHA2Of(SHA2::k256, text, digest.data());
  digest.resize(kDigest);
  return digest;
}

// Adds a kid to the unfinished node of the level, and returns the number of that node.
uint32_t MergedFile::AddToTree(size_t level, uint32_t kid, uint64_t pages) {
  if (tree_.size() > level && tree_[level].kids.size() >= kMostKids) CloseNode(level);
  const uint32_t number = NodeOf(level);
  tree_[level].kids.push_back(kid);
  tree_[level].pages += pages;
  return number;
}

// Writes the node of the level, as a kid of the node of the next level.
void MergedFile::CloseNode(size_t level) {
  const TreeNode node = std::exchange(tree_[level], {});
  const uint32_t parent = AddToTree(level + 1, node.number, node.pages);
  std::string kids;
  for (const uint32_t kid : node.kids) kids += (kids.empty() ? "" : " ") + Reference(kid);
  WriteObject(node.number, "<</Type/Pages/Parent " + Reference(parent) + "/Count " + std::to_string(node.pages) +
                               "/Kids[" + kids + "]>>");
}

// Writes the unfinished nodes of all levels, and returns the number of the root.
uint32_t MergedFile::CloseTree() {
  NodeOf(0);
  for (size_t level = 0; level + 1 < tree_.size(); level++) {
    if (!tree_[level].kids.empty()) CloseNode(level);
  }
  const TreeNode& root = tree_.back();
  std::string kids;
  for (const uint32_t kid : root.kids) kids += (kids.empty() ? "" : " ") + Reference(kid);
  WriteObject(root.number, "<</Type/Pages/Count " + std::to_string(root.pages) + "/Kids[" + kids + "]>>");
  return root.number;
}

void MergedFile::WriteItem(uint32_t next) {
  if (item_.number == 0) return;
  std::string text = "<</Title" + HexString(item_.title) + "/Parent " + Reference(outline_);
  if (item_.previous != 0) text += "/Prev " + Reference(item_.previous);
  if (next != 0) text += "/Next " + Reference(next);
  WriteObject(item_.number, text + "/Dest[" + Reference(item_.page) + "/Fit]>>");
}

std::string MergedFile::Resolve(const LooseObject& object,
                                const std::function<uint32_t(const LooseObject::Reference&)>& number) {
  std::string text;
  size_t from = 0;
  for (const LooseObject::Reference& reference : object.references) {
    text.append(object.text, from, reference.at - from);
    from = reference.at;
    uint32_t to = reference.number;
    if (reference.to != LooseObject::Reference::To::kShared) {
      to = number(reference);
    } else if (!is_shared_[to]) {
      is_shared_[to] = true;
      to_share_.push_back(to);
    }
    text += std::to_string(to);
  }
  return text.append(object.text, from, std::string::npos);
}

void MergedFile::WriteShared() {
  while (!to_share_.empty()) {
    const uint32_t number = to_share_.back();
    to_share_.pop_back();
    WriteObject(number, Resolve(shared_(number), nullptr));
  }
}

uint32_t MergedFile::FindSame(const Digest& digest) const {
  for (const auto& generation : written_) {
    if (const auto found = generation.find(digest); found != generation.end()) return found->second;
  }
  return 0;
}

void MergedFile::Remember(const Digest& digest, uint32_t number) {
  if (written_[0].size() >= kRemembered) {
    written_[1] = std::move(written_[0]);
    written_[0].clear();
  }
  written_[0].emplace(digest, number);
}

bool MergedFile::Add(const RowPages& pages, const std::string& title) {
  std::unordered_map<uint32_t, uint32_t> numbers;  // from an object number of the row to the number in the file
  std::unordered_map<uint32_t, uint32_t> parents;  // from a page number of the row to the parent's number in the file
  for (const uint32_t page : pages.pages) {
    numbers[page] = offsets_.Allocate();
    parents[page] = AddToTree(0, numbers[page], 1);
  }
  for (const LooseObject& object : pages.objects) {
    const auto number_of = [&](const LooseObject::Reference& reference) {
      if (reference.to == LooseObject::Reference::To::kParent) return parents[object.number];
      uint32_t& number = numbers[reference.number];
      if (number == 0) number = offsets_.Allocate();
      return number;
    };
    const std::string text = Resolve(object, number_of);
    uint32_t& number = numbers[object.number];
    // An object to which earlier ones refer has a number already, so it cannot be replaced by an equal one.
    if (number == 0) {
      const Digest digest = DigestOf(text);
      identifier_ = DigestOf(identifier_ + digest);
      number = FindSame(digest);
      if (number != 0) continue;
      number = offsets_.Allocate();
      Remember(digest, number);
    }
    WriteObject(number, text);
  }
  WriteShared();
  const uint32_t item = offsets_.Allocate();
  WriteItem(item);
  item_ = {item, item_.number, pages.pages.empty() ? 0 : numbers[pages.pages.front()], title};
  if (first_item_ == 0) first_item_ = item;
  items_++;
  return !failed_;
}

bool MergedFile::Finish(const std::vector<std::pair<std::string, LooseObject>>& catalog) {
  WriteItem(0);
  std::string outline = "<</Type/Outlines";
  if (items_ > 0) {
    outline +=
        "/First " + Reference(first_item_) + "/Last " + Reference(item_.number) + "/Count " + std::to_string(items_);
  }
  WriteObject(outline_, outline + ">>");
  std::string text =
      "<</Type/Catalog/Pages " + Reference(CloseTree()) + "/Outlines " + Reference(outline_) + "/PageMode/UseOutlines";
  for (const auto& [key, value] : catalog) text += key + " " + Resolve(value, nullptr);
  WriteShared();
  const uint32_t number = offsets_.Allocate();
  WriteObject(number, text + ">>");
  return WriteXref(number) && Flush() && file_.Finish(&error_);
}

// Writes a cross-reference stream. A cross-reference table would have no room for offsets of more than ten digits, and
// would take 20 bytes for each object.
bool MergedFile::WriteXref(uint32_t catalog) {
  const uint64_t start = size_;
  const uint32_t number = offsets_.Allocate();
  Begin(number);
  const uint32_t count = offsets_.Count();
  constexpr size_t kEntry = kOffsetWidth + 2;
  Put("<</Type/XRef/Size " + std::to_string(count) + "/Root " + Reference(catalog) + "/ID[" + HexString(identifier_) +
      HexString(identifier_) + "]/W[1 " + std::to_string(kOffsetWidth) + " 1]/Length " +
      std::to_string(uint64_t{count} * kEntry) + ">>\nstream\n");
  std::string entries;
  const bool all = offsets_.ForEach([this, &entries](uint64_t offset) {
    entries += offset == 0 ? '\0' : '\1';
    for (size_t i = kOffsetWidth; i-- > 0;) entries += static_cast<char>(offset >> (8 * i) & 0xFF);
    entries += offset == 0 ? '\xFF' : '\0';
    if (entries.size() < kWindow) return true;
    return Put(std::exchange(entries, {}));
  });
  Put(entries);
  Put("\nendstream\nendobj\nstartxref\n" + std::to_string(start) + "\n%%EOF\n");
  if (!all && error_.empty()) error_ = "a temporary file cannot be written or read";
  return all && !failed_;
}

}  // namespace zforms::tool
