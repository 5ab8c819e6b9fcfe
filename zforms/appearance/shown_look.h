#pragma once

#include <array>
#include <optional>

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFNodeIndirectReference;

// What viewers show of an annotation, and where on the page.
struct ShownLook {
  // The appearance stream, a form XObject; the document owns the reference.
  const ZPDFNodeIndirectReference* appearance = nullptr;
  // Places it on the page: the matrix A of ISO 32000-1 12.5.5, algorithm 8.1. "/Matrix" of the stream comes before it.
  std::array<double, 6> place{};
};

// Empty when nothing is seen on the screen: the annotation is hidden, has no appearance for its state ("/AS"), or one
// without size. `rotation` is that of the page in degrees, which annotations with the flag NoRotate do not follow.
std::optional<ShownLook> ShownLookOf(const ZPDFNodeDictionary& annotation, int rotation);

// False when a viewer does not show the annotation on the screen, whatever its appearance is.
bool IsShownOnScreen(const ZPDFNodeDictionary& annotation);

}  // namespace zforms
