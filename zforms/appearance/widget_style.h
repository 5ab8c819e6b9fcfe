#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ContentWriter;
class ZPDFNodeDictionary;

// A colour of "/MK" (ISO 32000-1 table 189): gray, RGB or CMYK by the number of its components, none for transparent.
struct WidgetColor {
  size_t count = 0;
  std::array<double, 4> parts{};

  bool IsVisible() const { return count > 0; }
};

// What a widget looks like apart from its value: its size, "/MK", and "/BS" or "/Border" (12.5.4, 12.5.6.19). The
// numbers are always finite and within bounds, even if those in the file are not.
struct WidgetStyle {
  enum class Border : uint8_t { kSolid, kDashed, kBeveled, kInset, kUnderline };
  // The largest width or height of a widget, which is the size of the largest page that viewers show; and the largest
  // width of a border. In points.
  static constexpr double kMostSize = 14400;
  static constexpr double kMostBorder = 100;

  // The size of the box, in points, as the reader of the text sees it: "/Rect" turned by `rotation`. 0 when "/Rect" has
  // no size or is not a rectangle.
  double width = 0;
  double height = 0;
  // "/R" of "/MK": 0, 90, 180 or 270 degrees counterclockwise.
  int rotation = 0;
  WidgetColor background;
  WidgetColor border_color;
  Border border = Border::kSolid;
  double border_width = 0;  // also 0 when the border has no colour and so is not drawn
  std::vector<double> dashes;
  Chaine caption;  // "/CA", a PDF text string

  static WidgetStyle Of(const ZPDFNodeDictionary& widget);

  bool HasSize() const { return width > 0 && height > 0; }
  // How far the border reaches into the box, in points.
  double Edge() const;
  // The distance between the sides of the box and the text: at least 2 points and the border.
  double Padding() const;
  // "/Matrix" of the appearance, which turns the box into the rectangle (12.5.5, algorithm 8.1).
  std::array<double, 6> Matrix() const;

  // Both draw the background and the border: the first as a rectangle, the second, for radio buttons, as a circle that
  // touches the sides.
  void Draw(ContentWriter& out) const;
  void DrawCircle(ContentWriter& out) const;
  // Draws the lines between `count` cells of a comb, if there is a border. Call Draw before: it sets the style of the
  // lines.
  void DrawDividers(ContentWriter& out, size_t count) const;

 private:
  void SetStroke(ContentWriter& out) const;
  void DrawEdges(ContentWriter& out) const;
};

// Write the operator that sets the colour, for filling or for lines; nothing for a transparent colour.
void SetFillColor(ContentWriter& out, const WidgetColor& color);
void SetLineColor(ContentWriter& out, const WidgetColor& color);
void FillCircle(ContentWriter& out, double x, double y, double radius);

}  // namespace zforms
