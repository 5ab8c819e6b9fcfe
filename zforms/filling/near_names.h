#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

// NearNames suggests existing names for an unknown one: the same in other letter case or without separators, with the
// same last part, or with one or a few wrong letters. Names are UTF-8. The work is bounded: after many calls for a long
// list of names, Of returns no names any more. One thread at a time.
class NearNames {
 public:
  explicit NearNames(const PTableau<Chaine>& names);

  // The nearest names, at most three, all at the same distance; empty when none is near.
  PTableau<Chaine> Of(const Chaine& name);

 private:
  struct Known {
    Chaine name;
    std::u32string folded;
  };

  PTableau<Known> names_;
  size_t work_left_;
};

}  // namespace zforms
