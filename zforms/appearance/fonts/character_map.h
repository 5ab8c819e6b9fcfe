#pragma once

#include <cstdint>
#include <vector>

namespace zforms {

class ZPDFNode;

// The contents of a CMap, by character code: the text of "/ToUnicode", or the CIDs of the "/Encoding" of a Type 0 font
// (ISO 32000-1 9.7.5, 9.10.3).
struct CharacterMap {
  struct Text {
    uint32_t code;
    char32_t character;
  };
  struct Cids {
    uint32_t first, last;  // codes
    uint32_t cid;          // the CID of the first code
    uint8_t size;          // the size of a code in bytes
  };

  // Both lists are in the order of the file. Codes that stand for several characters are left out.
  std::vector<Text> texts;
  std::vector<Cids> cids;
  bool vertical = false;
};

// Reads the CMap of a stream, and those that it refers to by "/UseCMap". A name gives the predefined CMap Identity-H or
// Identity-V; all other names give an empty map. Reads at most 131,072 entries of each kind.
CharacterMap ReadCharacterMap(const ZPDFNode* map);

}  // namespace zforms
