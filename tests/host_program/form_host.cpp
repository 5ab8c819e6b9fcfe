// The smallest host: fills one field of a form and saves it.
#include <iostream>

#include "zforms/form.h"

int main(int argc, char** argv) {
  zforms::ZForm form;
  const bool saved = argc == 5 && form.Open(argv[1]) && form.SetValue(argv[2], argv[3]) && form.Save(argv[4]);
  for (const zforms::ZFormMessage& message : form.TakeMessages()) std::cerr << message.text << "\n";
  return saved ? 0 : 1;
}
