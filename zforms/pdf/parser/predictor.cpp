#include "zforms/pdf/parser/predictor.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace zforms {
namespace {

constexpr uint32_t kTIFF = 2;
constexpr uint32_t kFirstPNG = 10;
constexpr uint32_t kLastPNG = 15;
// Limits far above the needs of any image, so that the products below cannot overflow.
constexpr uint32_t kMostColors = 1 << 8;
constexpr uint32_t kMostColumns = 1 << 28;

using Byte = unsigned char;

bool IsSound(const ZPDFPredictor& layout) {
  const bool known_bits =
      layout.bits == 1 || layout.bits == 2 || layout.bits == 4 || layout.bits == 8 || layout.bits == 16;
  return known_bits && layout.colors >= 1 && layout.colors <= kMostColors && layout.columns >= 1 &&
         layout.columns <= kMostColumns;
}

size_t RowLength(const ZPDFPredictor& layout) { return (size_t{layout.colors} * layout.bits * layout.columns + 7) / 8; }

Byte Paeth(Byte left, Byte above, Byte corner) {
  const int estimate = int{left} + above - corner;
  const int to_left = std::abs(estimate - left);
  const int to_above = std::abs(estimate - above);
  const int to_corner = std::abs(estimate - corner);
  if (to_left <= to_above && to_left <= to_corner) return left;
  return to_above <= to_corner ? above : corner;
}

// Decodes one row of a PNG filter (RFC 2083, 6). `above` is the previous row, all zeros for the first; `step` is the
// number of bytes of a pixel.
bool UndoPNGRow(Byte filter, const Byte* from, const Byte* above, Byte* row, size_t length, size_t step) {
  for (size_t i = 0; i < length; i++) {
    const Byte left = i >= step ? row[i - step] : Byte{0};
    const Byte corner = i >= step ? above[i - step] : Byte{0};
    int prediction = 0;
    switch (filter) {
      case 0: break;
      case 1: prediction = left; break;
      case 2: prediction = above[i]; break;
      case 3: prediction = (left + above[i]) / 2; break;
      case 4: prediction = Paeth(left, above[i], corner); break;
      default: return false;
    }
    row[i] = static_cast<Byte>(from[i] + prediction);
  }
  return true;
}

std::optional<Chaine> UndoPNG(const ZPDFPredictor& layout, const Chaine& data) {
  const size_t row_length = RowLength(layout);
  const size_t step = (size_t{layout.colors} * layout.bits + 7) / 8;
  const size_t rows = (data.size() + row_length) / (row_length + 1);
  const size_t length = data.size() - rows;
  Chaine result;
  auto* const out = reinterpret_cast<Byte*>(result.AppendUninitialized(length));
  const auto* from = reinterpret_cast<const Byte*>(data.data());
  const Chaine zeros(std::min(row_length, length), '\0');
  const auto* above = reinterpret_cast<const Byte*>(zeros.data());
  for (size_t done = 0; done < length;) {
    const size_t count = std::min(row_length, length - done);
    if (!UndoPNGRow(from[0], from + 1, above, out + done, count, step)) return std::nullopt;
    above = out + done;
    from += count + 1;
    done += count;
  }
  return result;
}

// Adds to each sample of a row the previous sample of the same colour.
void UndoTIFFRow(const ZPDFPredictor& layout, Byte* row, size_t length) {
  if (layout.bits == 8) {
    for (size_t i = layout.colors; i < length; i++) row[i] = static_cast<Byte>(row[i] + row[i - layout.colors]);
    return;
  }
  const uint32_t mask = (1U << layout.bits) - 1;
  const auto place = [&](size_t sample) { return sample * layout.bits / 8; };
  const auto get = [&](size_t sample) -> uint32_t {
    const Byte* const at = row + place(sample);
    if (layout.bits == 16) return static_cast<uint32_t>(at[0] << 8 | at[1]);
    return (*at >> (8 - layout.bits - sample * layout.bits % 8)) & mask;
  };
  const size_t samples = length * 8 / layout.bits;
  for (size_t i = layout.colors; i < samples; i++) {
    const uint32_t value = (get(i) + get(i - layout.colors)) & mask;
    Byte* const at = row + place(i);
    if (layout.bits == 16) {
      at[0] = static_cast<Byte>(value >> 8);
      at[1] = static_cast<Byte>(value & 0xFF);
    } else {
      const size_t shift = 8 - layout.bits - i * layout.bits % 8;
      *at = static_cast<Byte>((*at & ~(mask << shift)) | (value << shift));
    }
  }
}

Chaine UndoTIFF(const ZPDFPredictor& layout, const Chaine& data) {
  const size_t row_length = RowLength(layout);
  Chaine result;
  auto* const out = reinterpret_cast<Byte*>(result.AppendUninitialized(data.size()));
  if (!data.IsEmpty()) std::memcpy(out, data.data(), data.size());
  for (size_t at = 0; at < data.size(); at += row_length) {
    UndoTIFFRow(layout, out + at, std::min(row_length, data.size() - at));
  }
  return result;
}

}  // namespace

std::optional<Chaine> UndoPredictor(const ZPDFPredictor& layout, const Chaine& data) {
  if (layout.predictor <= 1) return data;
  if (!IsSound(layout)) return std::nullopt;
  if (layout.predictor == kTIFF) return UndoTIFF(layout, data);
  if (layout.predictor >= kFirstPNG && layout.predictor <= kLastPNG) return UndoPNG(layout, data);
  return std::nullopt;
}

}  // namespace zforms
