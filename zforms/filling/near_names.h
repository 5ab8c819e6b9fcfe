#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

// NearNames finds the names that somebody may have meant who wrote another one: the same
// in other letter case or without its separators, with the same last part, or with a
// letter or two wrong. Names are UTF-8. The work is bounded: after many questions about
// many names nothing is found any more.
class NearNames {
 public:
  explicit NearNames(const PTableau<Chaine>& names);

  // The nearest ones, at most three, all equally near; empty when none is near.
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
