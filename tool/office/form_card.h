#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/host/template_storage.h"
#include "zforms/server/document_status.h"

namespace zforms::tool {

// The data about a template that the web pages around its form need. Texts are UTF-8.
struct FormCard {
  // A button that submits the form to be saved, or to be modified again.
  struct Button {
    std::string name;
    ZDocument::Status status = ZDocument::eModify;
    uint32_t flags = 0;               // "/Flags" of the submit action, ISO 32000-1 table 237
    std::vector<std::string> fields;  // full names that "/Fields" lists
  };
  // A button that resets fields; a listed field includes the fields below it.
  struct Reset {
    std::string name;
    uint32_t flags = 0;  // "/Flags" of the reset action, ISO 32000-1 table 239
    std::vector<std::string> fields;
  };

  std::string title;  // from the document information; empty when there is none
  // The two strings of "/ID", in hexadecimal.
  std::string id_original;
  std::string id_modified;
  std::vector<Button> buttons;
  std::vector<Reset> resets;
  std::map<std::string, std::vector<std::string>> values;  // the values of the exported fields, by full name
  std::vector<std::string> tab_orders;                     // see PageIndex
  std::vector<std::string> unset;                          // full names of the fields that have no value
  std::map<std::string, std::string> labels;               // the fields' names for users, "/TU", by full name
};

// FormCards reads the FormCard of each template once, and again when its file changes. Any thread may use it.
class FormCards {
 public:
  // Null when the file does not exist or contains no form.
  std::shared_ptr<const FormCard> Of(const Chaine& path);

 private:
  struct Entry {
    ZFileStamp stamp;
    std::shared_ptr<const FormCard> card;
  };

  std::mutex mutex_;
  std::map<Chaine, Entry> entries_;
};

}  // namespace zforms::tool
