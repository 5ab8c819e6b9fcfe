#include "tool/cli/server_commands.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tool/cli/common_options.h"

namespace zforms::tool {
namespace {

template <class Options>
CLI::App* Add(CLI::App& app, const char* name, const char* what, const char* examples,
              const std::shared_ptr<Options>& options, int (*command_run)(const Options&), std::function<int()>* run) {
  CLI::App* command = app.add_subcommand(name, what);
  command->footer(std::string("Examples:\n") + examples);
  command->callback([options, command_run, run] { *run = [options, command_run] { return command_run(*options); }; });
  return command;
}

void AddData(CLI::App* command, std::string* data) {
  *data = kDefaultData;
  command->add_option("--data", *data, "The data folder of the server.")->capture_default_str();
}

void AddServe(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<ServeOptions>();
  CLI::App* command =
      Add(app, "serve",
          "Serve the forms of a folder to readers on this machine, and keep what they submit. Without a folder the "
          "sample forms are served, and what is submitted goes when the server stops.",
          "  zforms serve\n  zforms serve --templates forms --data office --port 8080\n"
          "  zforms serve --config office.ini --log json 2>> office.log",
          options, RunServe, run);
  command->add_option("--templates", options->templates,
                      "The folder of the forms: CODE.pdf, and CODE.ini for its maps.");
  command->add_option("--data", options->data, "The folder of the store; \"zforms-data\" if not said.");
  command->add_option("--config", options->config,
                      "An INI file with these options in its section [Server]; those given here go before.");
  command->add_option("--reader", options->reader,
                      "The folder of the page that shows forms in a browser; \"../share/zforms/reader\" beside this "
                      "program if not said.");
  command->add_option("--port", options->port, "The port on localhost; 8080 if not said, 0 for a free one.")
      ->check(PortFrom(0));
  command->add_option("--app", options->app, "The short name of the application; \"zforms\" if not said.");
  command->add_option("--folder", options->folder, "The number of the folder that forms are opened in; 1 if not said.");
  command->add_option(
      "--year", options->year,
      "The financial year; if not said that of the last start, which the store keeps, and this year for "
      "a new store.");
  command->add_option("--expire", options->expire,
                      "After how many days a form is forgotten that was opened and never saved; 30 if not said, 0 for "
                      "never.");
  command->add_option("--log", options->log, "How requests are logged: text or json.")
      ->check(CLI::IsMember({"text", "json"}));
}

void AddImport(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<ImportOptions>();
  CLI::App* command = Add(app, "import",
                          "Give a form what it lacks to be served: an identifier, the hidden field of the session, "
                          "buttons to save and to modify, XFDF as what they submit. What was added is appended to the "
                          "bytes read; a file with cross-reference streams is written anew without them.",
                          "  zforms import form.pdf -o forms/F1.pdf", options, RunImport, run);
  AddFile(command, &options->file);
  command->add_option("-o,--output", options->output, "Where the form goes: a file, or \"-\".")->required();
  AddPassword(command, &options->password);
  AddRecover(command, &options->recover);
  AddForce(command, &options->force);
}

void AddSubmissions(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<SubmissionsOptions>();
  CLI::App* command =
      Add(app, "submissions", "Print what the server has stored, also while it runs.",
          "  zforms submissions --code F1 > f1.csv\n  zforms submissions --format json | jq .[].fields\n"
          "  zforms submissions --id 12 --format xfdf > 12.xfdf",
          options, RunSubmissions, run);
  AddData(command, &options->data);
  command->add_option("--code", options->code, "Only those of this form.");
  command->add_option("--id", options->id, "Only the one of this number.");
  command->add_flag("--rejected", options->rejected, "Those that were refused as stale instead.");
  command->add_option("--format", options->format, "csv, json, or the newest as xfdf.")
      ->check(CLI::IsMember({"csv", "json", "xfdf"}))
      ->capture_default_str();
  command->add_flag("--raw", options->raw,
                    "CSV with the values as they are. Without it a \"'\" stands before what a spreadsheet would run as "
                    "a formula.");
}

void AddRubrics(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<RubricsOptions>();
  CLI::App* command =
      Add(app, "rubrics", "Print or set the values that forms are filled from when they are opened.",
          "  zforms rubrics --set \"Office.Name=Jardins communs\" --set Office.Town=Sète", options, RunRubrics, run);
  AddData(command, &options->data);
  command->add_option("--set", options->set, "RUBRIC.FIELD=VALUE; may be given again.");
}

void AddSubmit(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<SubmitOptions>();
  CLI::App* command =
      Add(app, "submit",
          "Do what a reader does: fetch a form, fill it in, press the button that it shows, and say in which mode the "
          "form comes back.",
          "  zforms submit F1 --set name=Zoé -o answer.pdf\n  zforms submit answer.pdf -o form.pdf", options, RunSubmit,
          run);
  command
      ->add_option("FORM", options->target,
                   "The code of a form that the server on --port is to open, a URL, or a file that -o has written.")
      ->required();
  command->add_option("--port", options->port, "The server's port.")->check(PortFrom(1))->capture_default_str();
  command->add_option("--set", options->set, "NAME=VALUE of a field; may be given again.");
  command->add_option("-o,--output", options->output, "Where the form goes that comes back.");
  command->add_option("--timeout", options->timeout, "How many seconds to wait for each answer.")
      ->check(CLI::Range(1, 86400))
      ->capture_default_str();
}

}  // namespace

void AddServerCommands(CLI::App& app, std::function<int()>* run) {
  AddServe(app, run);
  AddImport(app, run);
  AddSubmissions(app, run);
  AddRubrics(app, run);
  AddSubmit(app, run);
}

}  // namespace zforms::tool
