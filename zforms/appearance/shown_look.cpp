#include "zforms/appearance/shown_look.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"

namespace zforms {
namespace {

// Bits of "/F" (ISO 32000-1 table 165).
constexpr uint32_t kHidden = 0x2;
constexpr uint32_t kNoRotate = 0x10;
constexpr uint32_t kNoView = 0x20;
// The largest coordinate that is accepted; beyond it numbers lose their fraction.
constexpr double kFarthest = 1e6;

using Matrix = std::array<double, 6>;

struct Box {
  double left, bottom, right, top;

  bool HasArea() const { return right > left && top > bottom; }
};

template <size_t count>
std::optional<std::array<double, count>> NumbersOf(const ZPDFNode* node) {
  const auto* array = NodeCast<ZPDFNodeArray>(node);
  if (array == nullptr || array->Size() < count) return std::nullopt;
  std::array<double, count> numbers{};
  for (size_t i = 0; i < count; i++) {
    const ZPDFNode* number = array->GetTargetAt(i);
    numbers[i] = number == nullptr ? 0 : number->GetDoubleValue();
    if (!(std::abs(numbers[i]) <= kFarthest)) return std::nullopt;
  }
  return numbers;
}

// Reads a rectangle, which is given by any two opposite corners (7.9.5).
std::optional<Box> BoxOf(const ZPDFNode* node) {
  const auto corners = NumbersOf<4>(node);
  if (!corners) return std::nullopt;
  const auto& [x, y, other_x, other_y] = *corners;
  return Box{std::min(x, other_x), std::min(y, other_y), std::max(x, other_x), std::max(y, other_y)};
}

// The bounding box of the corners of the box, transformed by the matrix.
Box Transformed(const Box& box, const Matrix& m) {
  Box around{INFINITY, INFINITY, -INFINITY, -INFINITY};
  for (const double x : {box.left, box.right}) {
    for (const double y : {box.bottom, box.top}) {
      const double to_x = m[0] * x + m[2] * y + m[4], to_y = m[1] * x + m[3] * y + m[5];
      around = {std::min(around.left, to_x), std::min(around.bottom, to_y), std::max(around.right, to_x),
                std::max(around.top, to_y)};
    }
  }
  return around;
}

// The matrix that applies `a` first and then `b`.
Matrix Product(const Matrix& a, const Matrix& b) {
  return {a[0] * b[0] + a[1] * b[2], a[0] * b[1] + a[1] * b[3],        a[2] * b[0] + a[3] * b[2],
          a[2] * b[1] + a[3] * b[3], a[4] * b[0] + a[5] * b[2] + b[4], a[4] * b[1] + a[5] * b[3] + b[5]};
}

// Rotates the annotation around the upper left corner of its rectangle, so that it does not follow the rotation of the
// page (table 165, NoRotate).
Matrix TurnedBack(const Matrix& place, const Box& rect, int rotation) {
  const int quarter = ((rotation / 90) % 4 + 4) % 4;
  const double sine = quarter == 1 ? 1 : quarter == 3 ? -1 : 0;
  const double cosine = quarter == 0 ? 1 : quarter == 2 ? -1 : 0;
  const Matrix to_corner{1, 0, 0, 1, -rect.left, -rect.top};
  const Matrix turned = Product(Product(place, to_corner), {cosine, sine, -sine, cosine, 0, 0});
  return Product(turned, {1, 0, 0, 1, rect.left, rect.top});
}

const ZPDFNodeIndirectReference* ReferenceAt(const ZPDFNodeDictionary& holder, std::string_view key) {
  return NodeCast<ZPDFNodeIndirectReference>(holder.GetDirect(key));
}

// The state "/AS"; when it is absent, the state that the value of the field ("/V") names.
Chaine StateOf(const ZPDFNodeDictionary& annotation) {
  if (annotation.Exist("/AS")) return annotation.GetIdentifier("/AS");
  if (annotation.Exist("/V")) return annotation.GetIdentifier("/V");
  const auto* parent = NodeCast<ZPDFNodeDictionary>(annotation.GetTarget("/Parent"));
  return parent == nullptr ? Chaine() : parent->GetIdentifier("/V");
}

// The stream "/N" of "/AP". When "/N" has one stream for each state, the one for the shown state.
const ZPDFNodeIndirectReference* AppearanceOf(const ZPDFNodeDictionary& annotation) {
  const auto* appearances = NodeCast<ZPDFNodeDictionary>(annotation.GetTarget("/AP"));
  if (appearances == nullptr) return nullptr;
  const auto* states = NodeCast<ZPDFNodeDictionary>(appearances->GetTarget("/N"));
  return states == nullptr ? ReferenceAt(*appearances, "/N") : ReferenceAt(*states, StateOf(annotation));
}

}  // namespace

bool IsShownOnScreen(const ZPDFNodeDictionary& annotation) {
  return (annotation.GetUIntValue("/F") & (kHidden | kNoView)) == 0;
}

std::optional<ShownLook> ShownLookOf(const ZPDFNodeDictionary& annotation, int rotation) {
  if (!IsShownOnScreen(annotation)) return std::nullopt;
  const ZPDFNodeIndirectReference* appearance = AppearanceOf(annotation);
  const auto* stream = appearance == nullptr ? nullptr : NodeCast<ZPDFNodeStream>(appearance->GetTarget());
  if (stream == nullptr) return std::nullopt;
  const std::optional<Box> box = BoxOf(stream->Dico()->GetTarget("/BBox"));
  const std::optional<Box> rect = BoxOf(annotation.GetTarget("/Rect"));
  if (!box || !rect) return std::nullopt;
  const Box from = Transformed(*box, NumbersOf<6>(stream->Dico()->GetTarget("/Matrix")).value_or(Matrix{1, 0, 0, 1}));
  if (!from.HasArea() || !rect->HasArea()) return std::nullopt;
  const double wider = (rect->right - rect->left) / (from.right - from.left);
  const double higher = (rect->top - rect->bottom) / (from.top - from.bottom);
  ShownLook look{appearance,
                 {wider, 0, 0, higher, rect->left - wider * from.left, rect->bottom - higher * from.bottom}};
  if ((annotation.GetUIntValue("/F") & kNoRotate) != 0) look.place = TurnedBack(look.place, *rect, rotation);
  return look;
}

}  // namespace zforms
