#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zforms {

// Builds font programs for tests. Each glyph is a square or empty; the em has 1000 units.

inline std::string BigEndian(uint64_t value, size_t bytes) {
  std::string text;
  while (bytes-- > 0) text += static_cast<char>(value >> (8 * bytes) & 0xFF);
  return text;
}

// A TrueType program. Glyph i has the advance width 100 * i. Glyph 0 is drawn as a square; glyph i is drawn as a square
// if drawn[i - 1], else it is empty. Each map has a platform and an encoding, and lists characters with their glyphs.
struct TrueTypeText {
  using Map = std::vector<std::pair<uint16_t, uint16_t>>;
  std::vector<bool> drawn;
  std::vector<std::pair<std::pair<uint16_t, uint16_t>, Map>> maps;

  std::string Bytes() const {
    const size_t count = drawn.size() + 1;
    std::string glyphs, places = BigEndian(0, 4), widths;
    for (size_t i = 0; i < count; i++) {
      if (i == 0 || drawn[i - 1]) glyphs += Square();
      places += BigEndian(glyphs.size(), 4);
      widths += BigEndian(i * 100, 2) + BigEndian(0, 2);
    }
    const std::string zeros(32, '\0');
    const std::map<std::string, std::string> tables = {
        {"cmap", Maps()},
        {"glyf", glyphs},
        {"head", BigEndian(0x10000, 4) + zeros.substr(0, 8) + BigEndian(0x5F0F3CF5, 4) + BigEndian(0, 2) +
                     BigEndian(1000, 2) + zeros.substr(0, 30) + BigEndian(1, 2) + BigEndian(0, 2)},
        {"hhea", BigEndian(0x10000, 4) + BigEndian(800, 2) + BigEndian(0x10000 - 200, 2) + zeros.substr(0, 26) +
                     BigEndian(count, 2)},
        {"hmtx", widths},
        {"loca", places},
        {"maxp", BigEndian(0x10000, 4) + BigEndian(count, 2) + zeros.substr(0, 26)}};
    return Frame(tables);
  }

 private:
  static std::string Square() {
    std::string glyph = BigEndian(1, 2) + BigEndian(0, 4) + BigEndian(500, 2) + BigEndian(500, 2);  // contours, box
    glyph += BigEndian(3, 2) + BigEndian(0, 2);                                                     // last point
    glyph += std::string("\x01\x01\x01\x01", 4);
    for (const int x : {0, 500, 0, -500}) glyph += BigEndian(static_cast<uint64_t>(x), 2);
    for (const int y : {0, 0, 500, 0}) glyph += BigEndian(static_cast<uint64_t>(y), 2);
    return glyph + std::string(glyph.size() % 4 == 0 ? 0 : 4 - glyph.size() % 4, '\0');
  }
  // The table "cmap". All maps have format 12, where each character is written as a group of its own.
  std::string Maps() const {
    std::string directory = BigEndian(0, 2) + BigEndian(maps.size(), 2), body;
    for (const auto& [kind, map] : maps) {
      directory += BigEndian(kind.first, 2) + BigEndian(kind.second, 2);
      directory += BigEndian(4 + 8 * maps.size() + body.size(), 4);
      body += BigEndian(12, 2) + BigEndian(0, 2) + BigEndian(16 + 12 * map.size(), 4) + BigEndian(0, 4);
      body += BigEndian(map.size(), 4);
      for (const auto& [c, glyph] : map) body += BigEndian(c, 4) + BigEndian(c, 4) + BigEndian(glyph, 4);
    }
    return directory + body;
  }
  static std::string Frame(const std::map<std::string, std::string>& tables) {
    std::string directory = BigEndian(0x10000, 4) + BigEndian(tables.size(), 2) + BigEndian(0, 6), body;
    for (const auto& [tag, table] : tables) {
      directory += tag + BigEndian(0, 4) + BigEndian(12 + 16 * tables.size() + body.size(), 4);
      directory += BigEndian(table.size(), 4);
      body += table + std::string((4 - table.size() % 4) % 4, '\0');
    }
    return directory + body;
  }
};

// A Type 1 program with these glyphs. Each is a square; the first is 100 wide, the next 200, and so on. `encoding` is
// the encoding built into the program.
inline std::string Type1Text(const std::vector<std::string>& glyphs, const std::map<int, std::string>& encoding) {
  const auto encrypted = [](std::string_view bytes, uint16_t key) {
    std::string result;
    for (const char byte : "0000" + std::string(bytes)) {
      result += static_cast<char>(static_cast<uint8_t>(byte) ^ key >> 8);
      key = static_cast<uint16_t>((static_cast<uint8_t>(result.back()) + key) * 52845 + 22719);
    }
    return result;
  };
  std::string head =
      "%!PS-AdobeFont-1.0: Test\n/FontName /Test def /PaintType 0 def /FontType 1 def\n"
      "/FontMatrix [0.001 0 0 0.001 0 0] def /FontBBox {0 0 500 500} def\n/Encoding 256 array\n"
      "0 1 255 {1 index exch /.notdef put} for\n";
  for (const auto& [code, name] : encoding) head += "dup " + std::to_string(code) + " /" + name + " put\n";
  head += "readonly def\ncurrentdict end\ncurrentfile eexec\n";
  std::string body = "dup /Private 2 dict dup begin /lenIV 4 def\n2 index /CharStrings " +
                     std::to_string(glyphs.size() + 1) + " dict dup begin\n";
  // Numbers take five bytes. A glyph is: 0 width hsbw, two lines, closepath, endchar.
  const auto number = [](uint64_t value) { return "\xFF" + BigEndian(value, 4); };
  const auto add = [&](const std::string& name, uint64_t width) {
    const std::string drawing =
        number(0) + number(width) + "\x0D" + number(500) + number(500) + "\x05" + number(100) + "\x06\x09\x0E";
    const std::string code = encrypted(drawing, 4330);
    body += "/" + name + " " + std::to_string(code.size()) + " RD " + code + " ND\n";
  };
  add(".notdef", 0);
  for (size_t i = 0; i < glyphs.size(); i++) add(glyphs[i], (i + 1) * 100);
  body += "end end readonly put noaccess put dup/FontName get exch definefont pop mark currentfile closefile\n";
  return head + encrypted(body, 55665) + std::string(512, '0') + "\ncleartomark\n";
}

}  // namespace zforms
