#include "zforms/platform/host/version_resource.h"

#include <algorithm>
#include <optional>

#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/os_file.h"

namespace zforms {

namespace {

constexpr uint64_t kLargestProgram = uint64_t{512} << 20;
constexpr uint32_t kVersionType = 16;  // RT_VERSION

// Reads little-endian numbers; checks every offset.
class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : bytes_(bytes) {}

  std::optional<uint32_t> Number(uint64_t offset, size_t width) const {
    if (offset > bytes_.size() || bytes_.size() - offset < width) return std::nullopt;
    uint32_t value = 0;
    for (size_t i = 0; i < width; i++) {
      value |= uint32_t{static_cast<unsigned char>(bytes_[static_cast<size_t>(offset) + i])} << (8 * i);
    }
    return value;
  }
  std::optional<uint32_t> U16(uint64_t offset) const { return Number(offset, 2); }
  std::optional<uint32_t> U32(uint64_t offset) const { return Number(offset, 4); }
  // A part of these bytes, shorter where they end before it; empty when it begins past their end.
  Bytes Part(uint64_t offset, uint64_t length) const {
    if (offset > bytes_.size()) return Bytes({});
    return Bytes(bytes_.substr(static_cast<size_t>(offset), static_cast<size_t>(length)));
  }
  bool StartsWith(std::string_view start) const { return bytes_.starts_with(start); }
  size_t Size() const { return bytes_.size(); }

 private:
  std::string_view bytes_;
};

// The file offsets and load addresses of a program's sections.
class Image {
 public:
  // False when the file is not a program.
  bool Open(std::string_view file) {
    file_ = Bytes(file);
    const auto header = file_.U32(0x3C);
    if (!file_.StartsWith("MZ") || !header || file_.U32(*header) != 0x4550) return false;
    const auto sections = file_.U16(uint64_t{*header} + 6);
    const auto optional_size = file_.U16(uint64_t{*header} + 20);
    if (!sections || !optional_size) return false;
    count_ = *sections;
    optional_ = uint64_t{*header} + 24;
    table_ = optional_ + *optional_size;
    return true;
  }
  // The resource section from its beginning; empty when there is none.
  Bytes Resources() const {
    const auto magic = file_.U16(optional_);
    const uint64_t directories = optional_ + (magic == 0x20B ? 112 : 96);
    const auto address = file_.U32(directories + 2 * 8);
    const auto size = file_.U32(directories + 2 * 8 + 4);
    const bool listed = directories + 3 * 8 <= table_;
    return listed && address && size && *address != 0 ? At(*address, *size) : Bytes({});
  }
  // The bytes that are loaded at the address.
  Bytes At(uint32_t address, uint32_t size) const {
    constexpr uint64_t kSectionSize = 40;
    for (uint64_t i = 0; i < count_; i++) {
      const uint64_t section = table_ + i * kSectionSize;
      const auto start = file_.U32(section + 12);
      const auto length = file_.U32(section + 16);
      const auto place = file_.U32(section + 20);
      if (!start || !length || !place) break;
      if (address < *start || address - *start >= *length) continue;
      const uint32_t within = address - *start;
      return file_.Part(uint64_t{*place} + within, std::min(size, *length - within));
    }
    return Bytes({});
  }

 private:
  Bytes file_{std::string_view()};
  uint64_t optional_ = 0;
  uint64_t table_ = 0;
  uint64_t count_ = 0;
};

constexpr uint32_t kSubdirectory = 0x80000000;

// The offset stored in an entry of a resource directory: of the entry with that number, or of the first entry if no
// number is given. Named entries come before numbered ones.
std::optional<uint32_t> FindEntry(const Bytes& resources, uint32_t directory, std::optional<uint32_t> number) {
  const auto named = resources.U16(uint64_t{directory} + 12);
  const auto numbered = resources.U16(uint64_t{directory} + 14);
  if (!named || !numbered) return std::nullopt;
  for (uint64_t i = 0; i < uint64_t{*named} + *numbered; i++) {
    const uint64_t entry = uint64_t{directory} + 16 + i * 8;
    const auto id = resources.U32(entry);
    const auto offset = resources.U32(entry + 4);
    if (!id || !offset) return std::nullopt;
    if (!number || *id == *number) return offset;
  }
  return std::nullopt;
}

// The bytes of the first version resource. The tree's levels are type, name and language.
Bytes FindVersion(const Image& image) {
  const Bytes resources = image.Resources();
  std::optional<uint32_t> at = FindEntry(resources, 0, kVersionType);
  for (int level = 0; level < 2 && at; level++) {
    if ((*at & kSubdirectory) == 0) return Bytes({});
    at = FindEntry(resources, *at & ~kSubdirectory, std::nullopt);
  }
  if (!at || (*at & kSubdirectory) != 0) return Bytes({});
  const auto address = resources.U32(*at);
  const auto size = resources.U32(uint64_t{*at} + 4);
  return address && size ? image.At(*address, *size) : Bytes({});
}

}  // namespace

bool ReadVersionResource(std::string_view program, uint64_t* version) {
  Image image;
  if (!image.Open(program)) return false;
  const Bytes resource = FindVersion(image);
  // Three lengths, then the key in UTF-16 with its terminating zero, padded to 4 bytes.
  constexpr std::string_view kKey("V\0S\0_\0V\0E\0R\0S\0I\0O\0N\0_\0I\0N\0F\0O\0\0\0", 32);
  constexpr uint64_t kFixed = 6 + 32 + 2;
  if (!resource.Part(6, kKey.size()).StartsWith(kKey)) return false;
  const auto length = resource.U16(2);
  const auto high = resource.U32(kFixed + 8);
  const auto low = resource.U32(kFixed + 12);
  if (!length || *length < 16 || resource.U32(kFixed) != 0xFEEF04BD || !high || !low) return false;
  *version = uint64_t{*high} << 32 | *low;
  return true;
}

uint64_t GetAppVersionValue(const Chaine& path) {
  OsFile file;
  std::string ignored;
  if (KindOfFile(path) != OsFileKind::kRegular || !file.Open(path, OsFile::Mode::kRead, &ignored)) return 0;
  if (file.Size() > kLargestProgram) return 0;
  Chaine program;
  uint64_t version = 0;
  return ReadFile(path, &program) && ReadVersionResource(program, &version) ? version : 0;
}

}  // namespace zforms
