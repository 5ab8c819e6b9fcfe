#include "zforms/appearance/widget_style.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "zforms/appearance/content_writer.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/numeric_node.h"

namespace zforms {
namespace {

constexpr size_t kMostDashes = 10;
// A quarter of a circle is drawn as a Bezier curve. Its control points are this far from its ends, in parts of the
// radius.
constexpr double kCurve = 0.5523;

double Bounded(double value, double least, double most) {
  return std::isfinite(value) ? std::clamp(value, least, most) : least;
}

const ZPDFNodeDictionary* DictionaryOf(const ZPDFNodeDictionary& holder, std::string_view key) {
  return NodeCast<ZPDFNodeDictionary>(holder.GetTarget(key));
}

const ZPDFNodeArray* ArrayOf(const ZPDFNodeDictionary& holder, std::string_view key) {
  return NodeCast<ZPDFNodeArray>(holder.GetTarget(key));
}

double NumberAt(const ZPDFNodeArray& array, size_t index) {
  const ZPDFNode* node = index < array.Size() ? array.GetTargetAt(index) : nullptr;
  return node == nullptr ? 0 : node->GetDoubleValue();
}

WidgetColor ColorOf(const ZPDFNodeDictionary& characteristics, std::string_view key) {
  WidgetColor color;
  const size_t count = characteristics.GetNumbers(key, color.parts);
  if (count != 1 && count != 3 && count != 4) return {};
  color.count = count;
  for (double& part : color.parts) part = Bounded(part, 0, 1);
  return color;
}

// Lengths of dashes and gaps (8.4.3.6). Invalid lengths are replaced by the nearest valid ones, and a pattern that
// draws nothing by the default, one dash length of 3.
std::vector<double> DashesOf(const ZPDFNodeArray* array) {
  std::vector<double> dashes;
  double sum = 0;
  for (size_t i = 0; array != nullptr && i < std::min(array->Size(), kMostDashes); i++) {
    dashes.push_back(Bounded(NumberAt(*array, i), 0, WidgetStyle::kMostBorder));
    sum += dashes.back();
  }
  if (sum < 0.1) dashes.assign(1, 3);
  return dashes;
}

WidgetStyle::Border BorderNamed(const Chaine& name) {
  if (name == "/D") return WidgetStyle::Border::kDashed;
  if (name == "/B") return WidgetStyle::Border::kBeveled;
  if (name == "/I") return WidgetStyle::Border::kInset;
  return name == "/U" ? WidgetStyle::Border::kUnderline : WidgetStyle::Border::kSolid;
}

// "/BS" takes precedence over "/Border" (table 164); without either the border is solid and one point wide.
void ReadBorder(const ZPDFNodeDictionary& widget, WidgetStyle* style) {
  const ZPDFNodeArray* dashes = nullptr;
  double width = 1;
  if (const ZPDFNodeDictionary* border = DictionaryOf(widget, "/BS")) {
    style->border = BorderNamed(border->GetIdentifier("/S"));
    if (NodeCast<ZPDFNodeNumeric>(border->GetTarget("/W")) != nullptr) width = border->GetDoubleValue("/W");
    dashes = ArrayOf(*border, "/D");
  } else if (const ZPDFNodeArray* array = ArrayOf(widget, "/Border")) {
    width = NumberAt(*array, 2);
    dashes = array->Size() > 3 ? NodeCast<ZPDFNodeArray>(array->GetTargetAt(3)) : nullptr;
    if (dashes != nullptr) style->border = WidgetStyle::Border::kDashed;
  }
  if (!style->border_color.IsVisible()) width = 0;
  const double most = std::min({WidgetStyle::kMostBorder, style->width / 2, style->height / 2});
  style->border_width = Bounded(width, 0, most);
  if (style->border == WidgetStyle::Border::kDashed) style->dashes = DashesOf(dashes);
}

void ReadSize(const ZPDFNodeDictionary& widget, WidgetStyle* style) {
  std::array<double, 4> rect{};
  if (widget.GetNumbers("/Rect", rect) < rect.size()) return;
  // The corners may be any two opposite ones (7.9.5).
  const double width = std::abs(rect[2] - rect[0]);
  const double height = std::abs(rect[3] - rect[1]);
  const auto is_size = [](double size) { return size > 0.01 && size <= WidgetStyle::kMostSize; };
  if (!is_size(width) || !is_size(height)) return;
  // Rounds the size as "/BBox" is written, so that drawing a widget again gives the same result.
  style->width = std::round(width * 10000) / 10000;
  style->height = std::round(height * 10000) / 10000;
  if (style->rotation % 180 != 0) std::swap(style->width, style->height);
}

void SetColor(ContentWriter& out, const WidgetColor& color, std::string_view gray, std::string_view rgb,
              std::string_view cmyk) {
  for (size_t i = 0; i < color.count; i++) out.Number(color.parts[i]);
  if (color.IsVisible()) out.Operator(color.count == 1 ? gray : color.count == 3 ? rgb : cmyk);
}

// Adds an arc around (x, y) to the path: `quarters` quarters of a circle, counterclockwise from `start_degrees`.
void AddCircle(ContentWriter& out, double x, double y, double radius, double start_degrees, int quarters) {
  constexpr double kPi = 3.14159265358979;
  double angle = start_degrees * kPi / 180;
  double cosine = std::cos(angle), sine = std::sin(angle);
  out.Operator("m", {x + radius * cosine, y + radius * sine});
  for (int i = 0; i < quarters; i++) {
    angle += kPi / 2;
    const double next_cosine = std::cos(angle), next_sine = std::sin(angle);
    out.Operator("c", {x + radius * (cosine - kCurve * sine), y + radius * (sine + kCurve * cosine),
                       x + radius * (next_cosine + kCurve * next_sine), y + radius * (next_sine - kCurve * next_cosine),
                       x + radius * next_cosine, y + radius * next_sine});
    cosine = next_cosine;
    sine = next_sine;
  }
}

WidgetColor Gray(double level) { return {1, {level}}; }

// The colours of the light and the dark sides of a beveled or inset border.
WidgetColor LitColor(WidgetStyle::Border border) { return Gray(border == WidgetStyle::Border::kBeveled ? 1 : 0.5); }
WidgetColor ShadedColor(const WidgetStyle& style) {
  if (style.border == WidgetStyle::Border::kInset) return Gray(0.75);
  if (!style.background.IsVisible() || style.background.count == 4) return Gray(0.5);
  WidgetColor color = style.background;
  for (double& part : color.parts) part /= 2;
  return color;
}

bool IsRaised(WidgetStyle::Border border) {
  return border == WidgetStyle::Border::kBeveled || border == WidgetStyle::Border::kInset;
}

}  // namespace

void SetFillColor(ContentWriter& out, const WidgetColor& color) { SetColor(out, color, "g", "rg", "k"); }

void SetLineColor(ContentWriter& out, const WidgetColor& color) { SetColor(out, color, "G", "RG", "K"); }

void FillCircle(ContentWriter& out, double x, double y, double radius) {
  AddCircle(out, x, y, radius, 0, 4);
  out.Operator("f");
}

WidgetStyle WidgetStyle::Of(const ZPDFNodeDictionary& widget) {
  WidgetStyle style;
  if (const ZPDFNodeDictionary* characteristics = DictionaryOf(widget, "/MK")) {
    // Ignores angles that are not multiples of 90 degrees.
    const double turn = Bounded(characteristics->GetDoubleValue("/R"), -36000, 36000);
    if (std::fmod(turn, 90) == 0) style.rotation = ((static_cast<int>(turn) % 360) + 360) % 360;
    style.background = ColorOf(*characteristics, "/BG");
    style.border_color = ColorOf(*characteristics, "/BC");
    style.caption = characteristics->GetStringValue("/CA");
  }
  ReadSize(widget, &style);
  ReadBorder(widget, &style);
  return style;
}

double WidgetStyle::Edge() const { return IsRaised(border) ? 2 * border_width : border_width; }

double WidgetStyle::Padding() const { return std::max(2.0, Edge()); }

std::array<double, 6> WidgetStyle::Matrix() const {
  switch (rotation) {
    case 90: return {0, 1, -1, 0, height, 0};
    case 180: return {-1, 0, 0, -1, width, height};
    case 270: return {0, -1, 1, 0, 0, width};
    default: return {1, 0, 0, 1, 0, 0};
  }
}

// --- drawing ---

void WidgetStyle::SetStroke(ContentWriter& out) const {
  SetLineColor(out, border_color);
  out.Operator("w", {border_width});
  if (border != Border::kDashed) return;
  out.Raw("[");
  for (const double dash : dashes) out.Number(dash);
  out.Raw("] ").Operator("d", {0});
}

void WidgetStyle::Draw(ContentWriter& out) const {
  if (background.IsVisible()) {
    SetFillColor(out, background);
    out.Operator("re", {0, 0, width, height}).Operator("f");
  }
  if (border_width <= 0) return;
  if (IsRaised(border)) DrawEdges(out);
  SetStroke(out);
  const double half = border_width / 2;
  if (border == Border::kUnderline) {
    out.Operator("m", {0, half}).Operator("l", {width, half}).Operator("S");
  } else {
    out.Operator("re", {half, half, width - border_width, height - border_width}).Operator("S");
  }
}

// Draws the light colour at the top and on the left, the dark one at the bottom and on the right, inside the border's
// line.
void WidgetStyle::DrawEdges(ContentWriter& out) const {
  const double w = border_width;
  const double in = std::min({2 * w, width / 2, height / 2});
  SetFillColor(out, LitColor(border));
  out.Operator("m", {w, w}).Operator("l", {w, height - w}).Operator("l", {width - w, height - w});
  out.Operator("l", {width - in, height - in}).Operator("l", {in, height - in}).Operator("l", {in, in});
  out.Operator("f");
  SetFillColor(out, ShadedColor(*this));
  out.Operator("m", {width - w, height - w}).Operator("l", {width - w, w}).Operator("l", {w, w});
  out.Operator("l", {in, in}).Operator("l", {width - in, in}).Operator("l", {width - in, height - in});
  out.Operator("f");
}

void WidgetStyle::DrawCircle(ContentWriter& out) const {
  const double x = width / 2, y = height / 2, radius = std::min(x, y);
  if (background.IsVisible()) {
    SetFillColor(out, background);
    FillCircle(out, x, y, radius);
  }
  if (border_width <= 0) return;
  SetStroke(out);
  AddCircle(out, x, y, radius - border_width / 2, 0, 4);
  out.Operator("s");
  if (!IsRaised(border) || radius < 2 * border_width) return;
  const double inner = radius - 1.5 * border_width;
  SetLineColor(out, LitColor(border));
  AddCircle(out, x, y, inner, 45, 2);
  out.Operator("S");
  SetLineColor(out, ShadedColor(*this));
  AddCircle(out, x, y, inner, 225, 2);
  out.Operator("S");
}

void WidgetStyle::DrawDividers(ContentWriter& out, size_t count) const {
  if (count < 2 || border_width <= 0 || (border != Border::kSolid && border != Border::kDashed)) return;
  const double cell = width / static_cast<double>(count);
  for (size_t i = 1; i < count; i++) {
    const double x = cell * static_cast<double>(i);
    out.Operator("m", {x, border_width}).Operator("l", {x, height - border_width});
  }
  out.Operator("S");
}

}  // namespace zforms
