#include <hb-ot.h>
#include <hb.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "zforms/appearance/fonts/font_bytes.h"
#include "zforms/appearance/fonts/font_source.h"
#include "zforms/platform/text/wide_win32.h"

namespace zforms {
namespace {

namespace fs = std::filesystem;

template <class Type, void (*Destroy)(Type*)>
struct Destroyer {
  void operator()(Type* object) const { Destroy(object); }
};
using Blob = std::unique_ptr<hb_blob_t, Destroyer<hb_blob_t, hb_blob_destroy>>;
using Face = std::unique_ptr<hb_face_t, Destroyer<hb_face_t, hb_face_destroy>>;
using Set = std::unique_ptr<hb_set_t, Destroyer<hb_set_t, hb_set_destroy>>;

// How many fonts are offered for one text, and how many faces a collection may have.
constexpr size_t kMostFonts = 8;
constexpr unsigned kMostFaces = 64;

// For each family of the style, the font families that are preferred.
constexpr std::array<std::array<const char*, 4>, 3> kKnownFamilies = {{
    {"Arial", "Segoe UI", "DejaVu Sans", "Liberation Sans"},
    {"Times New Roman", "Cambria", "DejaVu Serif", "Liberation Serif"},
    {"Courier New", "Consolas", "DejaVu Sans Mono", "Liberation Mono"},
}};

// One face of an installed font, as its tables describe it.
struct InstalledFace {
  ZFontFile file;
  std::string name;
  ZFontStyle style;
  int weight = 400;
  Set characters;  // collected when it is first asked for
};

bool HasTable(hb_face_t* face, hb_tag_t tag) {
  return hb_blob_get_length(Blob(hb_face_reference_table(face, tag)).get()) != 0;
}

// A big-endian number of a table; 0 past its end.
uint32_t U16At(const Blob& table, unsigned at) {
  unsigned length = 0;
  const auto* const bytes = reinterpret_cast<const uint8_t*>(hb_blob_get_data(table.get(), &length));
  return at + 2 <= length ? static_cast<uint32_t>(bytes[at] << 8 | bytes[at + 1]) : 0;
}

// The family, by the tables OS/2 and post (OpenType).
ZFontStyle::Family FamilyOf(hb_face_t* face, const Blob& os2) {
  constexpr uint32_t kLatinText = 2;  // PANOSE values
  constexpr uint32_t kMonospaced = 9;
  constexpr uint32_t kFirstSans = 11;
  const Blob post(hb_face_reference_table(face, HB_TAG('p', 'o', 's', 't')));
  const uint32_t kind = U16At(os2, 32) >> 8;
  const uint32_t serifs = U16At(os2, 32) & 0xFF;
  const uint32_t proportion = U16At(os2, 34) & 0xFF;
  const bool is_text = kind == kLatinText;
  if (U16At(post, 12) != 0 || U16At(post, 14) != 0 || (is_text && proportion == kMonospaced)) {
    return ZFontStyle::Family::kMono;
  }
  const uint32_t family_class = U16At(os2, 30) >> 8;
  const bool has_serifs = (family_class >= 1 && family_class <= 7) || (is_text && serifs > 1 && serifs < kFirstSans);
  return has_serifs ? ZFontStyle::Family::kSerif : ZFontStyle::Family::kSans;
}

// Empty when the face cannot be embedded as a subset: it has no outlines, it is a colour font, or it is a variable
// font.
std::optional<InstalledFace> Describe(hb_face_t* face, const ZFontFile& file) {
  const bool has_outlines = HasTable(face, HB_TAG('g', 'l', 'y', 'f')) || HasTable(face, HB_TAG('C', 'F', 'F', ' '));
  const bool has_colours = HasTable(face, HB_TAG('C', 'O', 'L', 'R')) || HasTable(face, HB_TAG('C', 'B', 'D', 'T'));
  if (!has_outlines || has_colours || HasTable(face, HB_TAG('f', 'v', 'a', 'r'))) return std::nullopt;
  InstalledFace result;
  result.file = file;
  char name[128];
  unsigned length = sizeof name;
  hb_ot_name_get_utf8(face, HB_OT_NAME_ID_FONT_FAMILY, hb_language_from_string("en", -1), &length, name);
  result.name.assign(name, std::min<size_t>(length, sizeof name - 1));
  const Blob os2(hb_face_reference_table(face, HB_TAG('O', 'S', '/', '2')));
  constexpr uint32_t kItalicOrOblique = 1U | 1U << 9;
  constexpr int kSemiBold = 600;
  result.weight = static_cast<int>(U16At(os2, 4));
  result.style = {FamilyOf(face, os2), result.weight >= kSemiBold, (U16At(os2, 62) & kItalicOrOblique) != 0};
  return result;
}

// The files that the registry lists for the system and the user, and the files of the fonts folder. Each file once,
// sorted by path.
std::vector<std::wstring> FontFiles() {
  wchar_t windows[MAX_PATH] = {};
  ::GetWindowsDirectoryW(windows, MAX_PATH);
  const fs::path folder = fs::path(windows) / L"Fonts";
  std::set<std::wstring> files;
  for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
    HKEY key = nullptr;
    constexpr wchar_t kList[] = LR"(SOFTWARE\Microsoft\Windows NT\CurrentVersion\Fonts)";
    if (::RegOpenKeyExW(root, kList, 0, KEY_READ, &key) != ERROR_SUCCESS) continue;
    for (DWORD i = 0;; i++) {
      wchar_t name[512];
      wchar_t path[1024];
      DWORD name_size = 512;
      DWORD path_bytes = sizeof path - sizeof(wchar_t);
      DWORD type = 0;
      const LSTATUS got =
          ::RegEnumValueW(key, i, name, &name_size, nullptr, &type, reinterpret_cast<BYTE*>(path), &path_bytes);
      if (got == ERROR_MORE_DATA) continue;
      if (got != ERROR_SUCCESS) break;
      path[path_bytes / sizeof(wchar_t)] = L'\0';
      if (type == REG_SZ && path[0] != L'\0') files.insert((folder / path).wstring());
    }
    ::RegCloseKey(key);
  }
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    files.insert(at->path().wstring());
  }
  return {files.begin(), files.end()};
}

// The fonts that Windows lists. The first search reads their tables. They are sorted once for each style.
class InstalledFonts final : public ZFontSource {
 public:
  PTableau<ZFontFile> Find(const ZFontStyle& style, std::u32string_view characters) override {
    PTableau<ZFontFile> files;
    for (InstalledFace* const face : Sorted(style)) {
      if (files.size() >= kMostFonts) break;
      if (HasAll(*face, characters)) files.push_back(face->file);
    }
    return files;
  }

 private:
  void List() {
    for (const std::wstring& path : FontFiles()) {
      const Chaine utf8 = Narrow(path);
      const Blob bytes(OpenFontBytes(utf8));
      const unsigned count = bytes == nullptr ? 0 : std::min(hb_face_count(bytes.get()), kMostFaces);
      for (unsigned i = 0; i < count; i++) {
        const Face face(hb_face_create(bytes.get(), i));
        if (std::optional<InstalledFace> described = Describe(face.get(), {utf8, i})) {
          faces_.push_back(std::move(*described));
        }
      }
    }
    is_listed_ = true;
  }

  const std::vector<InstalledFace*>& Sorted(const ZFontStyle& style) {
    if (!is_listed_) List();
    std::vector<InstalledFace*>& faces = sorted_[style];
    if (!faces.empty()) return faces;
    for (InstalledFace& face : faces_) faces.push_back(&face);
    const auto& known = kKnownFamilies[static_cast<size_t>(style.family)];
    const auto rank = [&](const InstalledFace* face) {
      constexpr int kRegular = 400;
      constexpr int kBold = 700;
      return std::tuple(face->style.family != style.family, std::find(known.begin(), known.end(), face->name),
                        face->style.is_italic != style.is_italic,
                        std::abs(face->weight - (style.is_bold ? kBold : kRegular)));
    };
    std::stable_sort(faces.begin(), faces.end(), [&](const auto* a, const auto* b) { return rank(a) < rank(b); });
    return faces;
  }

  static bool HasAll(InstalledFace& installed, std::u32string_view characters) {
    if (installed.characters == nullptr) {
      installed.characters.reset(hb_set_create());
      const Blob bytes(OpenFontBytes(installed.file.path));
      const Face face(hb_face_create(bytes.get(), installed.file.face));
      hb_face_collect_unicodes(face.get(), installed.characters.get());
    }
    return std::all_of(characters.begin(), characters.end(),
                       [&](char32_t c) { return hb_set_has(installed.characters.get(), c) != 0; });
  }

  bool is_listed_ = false;
  std::vector<InstalledFace> faces_;
  std::map<ZFontStyle, std::vector<InstalledFace*>> sorted_;
};

}  // namespace

ZFontSource::~ZFontSource() = default;

std::unique_ptr<ZFontSource> ZFontSource::OfSystem() { return std::make_unique<InstalledFonts>(); }

}  // namespace zforms
