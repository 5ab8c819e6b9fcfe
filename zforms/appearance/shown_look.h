#pragma once

#include <array>
#include <optional>

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFNodeIndirectReference;

// The appearance of an annotation, and where it is on the page.
struct ShownLook {
  // The appearance stream, a form XObject; the document owns the reference.
  const ZPDFNodeIndirectReference* appearance = nullptr;
  // Places the stream on the page: the matrix A of ISO 32000-1 12.5.5, algorithm 8.1. "/Matrix" of the stream is
  // applied before it.
  std::array<double, 6> place{};
};

// The appearance that viewers show on the screen. Empty when there is none: the annotation is hidden, or has no
// appearance for its state ("/AS"), or the appearance or the annotation has no size. `rotation` is the rotation of the
// page in degrees; annotations with the flag NoRotate do not follow it.
std::optional<ShownLook> ShownLookOf(const ZPDFNodeDictionary& annotation, int rotation);

// False when a viewer does not show the annotation on the screen, whatever its appearance is.
bool IsShownOnScreen(const ZPDFNodeDictionary& annotation);

}  // namespace zforms
