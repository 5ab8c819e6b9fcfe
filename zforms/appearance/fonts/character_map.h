#pragma once

#include <cstdint>
#include <vector>

namespace zforms {

class ZPDFNode;

// What a CMap says of character codes: the text of "/ToUnicode", or the CIDs of the "/Encoding" of a Type 0 font (ISO
// 32000-1 9.7.5, 9.10.3).
struct CharacterMap {
  struct Text {
    uint32_t code;
    char32_t character;
  };
  struct Cids {
    uint32_t first, last;  // codes
    uint32_t cid;          // that of the first code
    uint8_t size;          // of a code, in bytes
  };

  // In the order of the file. Codes that stand for several characters are left out.
  std::vector<Text> texts;
  std::vector<Cids> cids;
  bool vertical = false;
};

// The CMap in the stream, and those that it builds on with "/UseCMap"; of the predefined ones only Identity-H and
// Identity-V, which a name may stand for as well. Empty for everything else. No more than 131,072 entries of a kind.
CharacterMap ReadCharacterMap(const ZPDFNode* map);

}  // namespace zforms
