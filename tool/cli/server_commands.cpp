#include "tool/cli/server_commands.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "tool/cli/common_options.h"
#include "tool/cli/password_options.h"

namespace zforms::tool {
namespace {

template <class Options>
CLI::App* Add(CLI::App& app, const char* name, const char* what, const std::string& more, const char* examples,
              const std::shared_ptr<Options>& options, int (*command_run)(const Options&), std::function<int()>* run) {
  CLI::App* command = app.add_subcommand(name, what);
  command->footer(more + (more.empty() ? "" : "\n\n") + "Examples:\n" + examples);
  command->callback([options, command_run, run] { *run = [options, command_run] { return command_run(*options); }; });
  return command;
}

void AddData(CLI::App* command, std::string* data) {
  *data = kDefaultData;
  command->add_option("--data,--store", *data, "The data folder of the server, or its store as postgresql://...")
      ->type_name("FOLDER")
      ->capture_default_str();
}

void AddServe(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<ServeOptions>();
  CLI::App* command =
      Add(app, "serve", "Serve forms on this machine and store what users submit.",
          "Without a folder of forms, the sample forms are served, and the submissions are deleted when\n"
          "the server stops.",
          "  zforms serve\n  zforms serve --templates forms --data office --port 8080\n"
          "  zforms serve --config office.ini --log json 2>> office.log",
          options, RunServe, run);
  command
      ->add_option("--templates", options->templates,
                   "The folder of the forms. CODE.pdf is the form with the code CODE; CODE.ini has its maps (see "
                   "\"zforms map\").")
      ->type_name("FOLDER");
  command
      ->add_option("--data,--store", options->data,
                   "The folder that stores the submissions; the default is \"zforms-data\". Or postgresql://..., a "
                   "database that "
                   "several servers can share.")
      ->type_name("FOLDER");
  command
      ->add_option(
          "--config", options->config,
          "An INI file with these options in its section [Server]; options on the command line take precedence.")
      ->type_name("FILE");
  command
      ->add_option("--reader", options->reader,
                   "The folder of the page for browsers; the default is \"../share/zforms/reader\" beside the "
                   "program.")
      ->type_name("FOLDER");
  command->add_option("--port", options->port, "The port on localhost; the default is 8080. 0 chooses a free port.")
      ->type_name("PORT")
      ->check(PortFrom(0));
  command
      ->add_option("--app", options->app,
                   "The short name of the application, which is part of all addresses; the default is \"zforms\".")
      ->type_name("NAME");
  command
      ->add_option("--folder", options->folder,
                   "The number of the folder in which forms are opened; the default is 1. Submissions for another "
                   "folder are refused.")
      ->type_name("NUMBER");
  command
      ->add_option("--year", options->year,
                   "The financial year. The default is the year of the last start, which the store keeps, and this "
                   "year for a new store.")
      ->type_name("YEAR");
  command
      ->add_option(
          "--expire", options->expire,
          "After this many days, forget a form that was opened and never saved. The default is 30; 0 keeps all forms.")
      ->type_name("DAYS");
  command
      ->add_option("--scripts", options->scripts,
                   "Whether the scripts of forms run in the page for browsers: yes or no; the default is yes.")
      ->check(CLI::IsMember({"yes", "no"}));
  command
      ->add_option("--draw", options->draw,
                   "Whether forms are drawn before they are served, for readers that do not draw fields: yes or no; "
                   "the default is no.")
      ->check(CLI::IsMember({"yes", "no"}));
  command
      ->add_option(
          "--submissions", options->submissions,
          "Whether the server has a page that lists the submissions: yes or no; the default is yes. The server prints "
          "its address at the start. The address contains a key: keep it secret.")
      ->check(CLI::IsMember({"yes", "no"}));
  command->add_option("--log", options->log, "The format of the log: text or json.")
      ->check(CLI::IsMember({"text", "json"}));
}

void AddImport(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<ImportOptions>();
  CLI::App* command =
      Add(app, "import", "Prepare a form for serving.",
          "Adds what a form needs for \"zforms serve\": a file identifier, the hidden field of the session,\n"
          "and buttons to save and to modify, which submit XFDF. A browser shows these buttons in a tool\n"
          "bar above the form; --label puts them on the first page, for PDF readers. The change is\n"
          "appended to the file. A file with cross-reference streams is written as a new file without\n"
          "them.",
          "  zforms import form.pdf -o forms/F1.pdf", options, RunImport, run);
  AddFile(command, &options->file);
  command->add_option("-o,--output", options->output, "The output file, or \"-\" for standard output.")
      ->type_name("FILE")
      ->required();
  command
      ->add_option(
          "--label", options->labels,
          "Show the button to save, with this text, at a place of the first page without fields and links. A second "
          "text is for the button to modify. A button may cover printed text: check the result.")
      ->expected(1, 2);
  AddPassword(command, &options->password);
  AddRecover(command, &options->recover);
  AddForce(command, &options->force);
}

void AddSubmissions(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<SubmissionsOptions>();
  CLI::App* command =
      Add(app, "submissions", "Print what the server stored.", "The server may be running meanwhile.",
          "  zforms submissions --code F1 > f1.csv\n  zforms submissions --format json | jq .[].fields\n"
          "  zforms submissions --id 12 --format xfdf > 12.xfdf",
          options, RunSubmissions, run);
  AddData(command, &options->data);
  command->add_option("--code", options->code, "Only the submissions of this form.")->type_name("CODE");
  command->add_option("--id", options->id, "Only the submission with this number.")->type_name("NUMBER");
  command->add_flag("--rejected", options->rejected,
                    "The submissions that were refused, because a newer copy of the form was saved before.");
  command->add_flag("--latest", options->latest,
                    "Only the newest submission of each transaction: one row for each form that was filled in.");
  command->add_option("--format", options->format, "csv or json for all submissions, xfdf for the newest one.")
      ->check(CLI::IsMember({"csv", "json", "xfdf"}))
      ->capture_default_str();
  command->add_flag(
      "--raw", options->raw,
      "CSV with the values unchanged. Without it, a \"'\" precedes every text that a spreadsheet would run "
      "as a formula.");
}

void AddRubrics(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<RubricsOptions>();
  CLI::App* command =
      Add(app, "rubrics", "Print or set the values that the server fills into forms.",
          "A rubric is a named group of values, such as \"Office\" with \"Office.Name\". When a user opens a\n"
          "form, the server fills it with the values that the form's maps name (see \"zforms map\").",
          "  zforms rubrics --set \"Office.Name=Jardins communs\" --set Office.Town=Sète", options, RunRubrics, run);
  AddData(command, &options->data);
  command->add_option("--set", options->set, "The new value of a field; may be repeated.")
      ->type_name("RUBRIC.FIELD=VALUE");
}

void AddStore(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<StoreOptions>();
  CLI::App* command =
      Add(app, "store", "Upgrade the store of a server, or copy it.",
          "A store is a data folder, or postgresql://[USER@]HOST/DATABASE. \"upgrade\" brings its tables to\n"
          "the version of this program. \"copy\" copies everything into another store, which must be\n"
          "empty, in one transaction. Do not write a password into the address: put it into the file\n"
          "~/.pgpass, a service file of PostgreSQL or the variable PGPASSWORD.",
          "  zforms store upgrade office\n  zforms store copy office postgresql://forms@db.example/office", options,
          RunStore, run);
  command->add_option("ACTION", options->action, "\"upgrade\" or \"copy\".")
      ->required()
      ->check(CLI::IsMember({"upgrade", "copy"}));
  command->add_option("STORE", options->store, "The store.")->required();
  command->add_option("TO", options->target, "With \"copy\": the store that gets the copy.");
}

void AddSubmit(CLI::App& app, std::function<int()>* run) {
  const auto options = std::make_shared<SubmitOptions>();
  CLI::App* command =
      Add(app, "submit", "Fetch a form from the server, fill it in and submit it.",
          "This does what a PDF reader does: it presses the button that the form shows, and prints the\n"
          "mode of the form that the server returns.",
          "  zforms submit F1 --set name=Zoé -o answer.pdf\n  zforms submit answer.pdf -o form.pdf", options, RunSubmit,
          run);
  command
      ->add_option("FORM", options->target,
                   "The code of a form on the server at --port, a URL, or a file that -o wrote.")
      ->required();
  command->add_option("--port", options->port, "The server's port.")
      ->type_name("PORT")
      ->check(PortFrom(1))
      ->capture_default_str();
  command->add_option("--set", options->set, "The new value of a field; may be repeated.")->type_name("NAME=VALUE");
  command->add_option("-o,--output", options->output, "The file for the form that the server returns.")
      ->type_name("FILE");
  command->add_option("--timeout", options->timeout, "How many seconds to wait for each answer.")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400))
      ->capture_default_str();
}

}  // namespace

void AddServerCommands(CLI::App& app, std::function<int()>* run) {
  AddServe(app, run);
  AddImport(app, run);
  AddSubmissions(app, run);
  AddRubrics(app, run);
  AddStore(app, run);
  AddSubmit(app, run);
}

}  // namespace zforms::tool
