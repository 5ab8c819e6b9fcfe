#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <string>
#include <vector>

#include "tool/forms/drawing_options.h"

namespace zforms::tool {

// Options that several commands share, with the same help text.

inline CLI::Option* AddFile(CLI::App* command, std::string* file) {
  return command->add_option("FILE", *file, "The PDF file, or \"-\" for standard input.")->required();
}

inline void AddFonts(CLI::App* command, std::vector<std::string>* fonts) {
  command
      ->add_option("--font", *fonts,
                   "A font file for characters that the form's own fonts lack; it is tried before the fonts of the "
                   "system. May be given several times.")
      ->type_name("FILE")
      ->allow_extra_args(false);
}

inline void AddDrawing(CLI::App* command, DrawingOptions* drawing) {
  command
      ->add_option_function<std::string>(
          "--draw", [drawing](const std::string& what) { drawing->draw = what == "yes"; },
          "\"yes\" draws the fields that change, and all fields of a form that asks viewers to draw them; \"no\" "
          "leaves the drawing to viewers, and not all viewers draw fields.")
      ->check(CLI::IsMember({"yes", "no"}))
      ->default_str("yes");
  AddFonts(command, &drawing->fonts);
}

inline void AddCalculate(CLI::App* command, bool* calculate) {
  command
      ->add_option_function<std::string>(
          "--calculate", [calculate](const std::string& what) { *calculate = what == "yes"; },
          "\"yes\" applies the common functions in the scripts of the form: it computes fields from others, "
          "refuses numbers that are out of range and draws values in their formats. \"no\" ignores the scripts.")
      ->check(CLI::IsMember({"yes", "no"}))
      ->default_str("yes");
}

inline void AddForce(CLI::App* command, bool* force) {
  command->add_flag(
      "--force", *force,
      "Make changes that a signature or a certification forbids; the signature is then no longer valid. With "
      "--recover, write the file even when parts of the pages or of the form cannot be read and are lost.");
}

inline void AddRecover(CLI::App* command, bool* recover) {
  command->add_flag("--recover", *recover,
                    "Read a damaged file: search it for the objects that its cross-reference table does not list, and "
                    "report what was done. The output is then a whole new file.");
}

// Accepts a port number of at least `least`, 0 or 1.
inline CLI::Validator PortFrom(unsigned least) {
  const auto check = [least](const std::string& text) {
    unsigned port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    const bool is_port = error == std::errc() && end == text.data() + text.size() && port >= least && port <= 65535;
    return is_port ? "" : "a port is a number from " + std::to_string(least) + " to 65535, not \"" + text + "\"";
  };
  return {check, "PORT"};
}

inline void AddForceLosses(CLI::App* command, bool* force) {
  command->add_flag(
      "--force", *force,
      "Write the file even when pages or the form need objects that cannot be read, which are then lost, and when "
      "the document is signed: the signatures are then no longer valid.");
}

}  // namespace zforms::tool
