// The command line tool: parses the command line and runs the command.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tool/base/console.h"
#include "tool/base/program_start.h"
#include "tool/base/standard_streams.h"
#include "tool/cli/command_pages.h"
#include "tool/cli/commands.h"
#include "tool/cli/common_options.h"
#include "tool/cli/help_formatter.h"
#include "tool/cli/password_options.h"
#include "tool/cli/server_commands.h"
#include "tool/cli/usage_error.h"

namespace zforms::tool {
namespace {

constexpr const char* kExamples = R"(Examples:
  zforms fields form.pdf
  zforms fill form.pdf data.xfdf -o filled.pdf
  zforms export filled.pdf > values.xfdf
  curl -s http://localhost/form.pdf | zforms fill - data.xfdf -o - > filled.pdf

"-" is standard input or standard output. The exit status is 0 when all is done, 3 when it
is done with warnings, 2 when it failed, 75 when a batch may succeed if it is tried again.
Messages go to standard error:
"zforms: FILE: object 12 0: what is wrong". "zforms COMMAND --help" explains each command.)";

// The largest width of help on a terminal, and its width in a file, in columns.
constexpr size_t kWidestHelp = 110;
constexpr size_t kHelpInFiles = 80;

CLI::Option* AddOutput(CLI::App* command, std::string* output) {
  return command
      ->add_option("-o,--output", *output,
                   "The output file, or \"-\" for standard output. A new file is written under "
                   "another name and then renamed, so it is never half written. A change to the "
                   "input file itself is appended to it.")
      ->type_name("FILE");
}

// Adds a flag with three states: set by --NAME, cleared by --no-NAME, or not given.
void AddSwitch(CLI::App* command, const std::string& name, std::optional<bool>* value, const std::string& what) {
  command->add_flag_function(
      "--" + name + ",!--no-" + name, [value](int64_t count) { *value = count > 0; }, what);
}

std::string ParseFlags(const std::string& text, std::optional<uint32_t>* flags) {
  const bool negative = text.starts_with('-');
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  const std::string digits = text.substr(negative ? 1 : hexadecimal ? 2 : 0);
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, hexadecimal ? 16 : 10);
  if (error != std::errc() || end != digits.data() + digits.size() || value > UINT32_MAX ||
      (negative && value > uint64_t{1} << 31)) {
    return "the permission flags are a 32-bit number, such as -4, 4294967292 or 0xFFFFFFFC";
  }
  *flags = static_cast<uint32_t>(negative ? 0 - value : value);
  return {};
}

// All commands with their options. Run runs the one that the user has chosen.
class CommandLine {
 public:
  explicit CommandLine(CLI::App& app) : app_(app) {
    AddFields();
    AddFill();
    AddExport();
    AddMap();
    AddBatch();
    AddCheck();
    AddDraw();
    AddFlatten();
    AddRewrite();
    AddPermissions();
    AddViewer();
    AddShow();
    AddServerCommands(app_, &run_);
    AddPages(app_, &run_);
  }

  int Run() const { return run_(); }

 private:
  // Adds a command. `what` is its line in the list of commands; `more` follows the options in the command's own help.
  CLI::App* Add(const std::string& name, const std::string& what, const std::string& more, const std::string& examples,
                const std::function<int()>& run) {
    CLI::App* command = app_.add_subcommand(name, what);
    command->footer(more + (more.empty() ? "" : "\n\n") + "Examples:\n" + examples);
    command->callback([this, run] { run_ = run; });
    return command;
  }

  void AddFields() {
    CLI::App* command = Add("fields", "List the fields of a form.",
                            "Each field has its name, type, value, default value, options, states and flags.",
                            "  zforms fields form.pdf\n  zforms fields form.pdf --json | jq '.fields[].name'",
                            [this] { return RunFields(fields_); });
    AddFile(command, &fields_.file);
    AddPassword(command, &fields_.password);
    AddRecover(command, &fields_.recover);
    command->add_flag("--json", fields_.json, "Print JSON for other programs, with every detail.");
  }

  void AddFill() {
    CLI::App* command =
        Add("fill", "Fill a form from an XFDF, FDF, JSON or CSV file.",
            "The change is appended to the file; its old bytes do not change. The command reports names\n"
            "that the form does not have, and values that a field does not take; such a field keeps its\n"
            "old value. If no column of a CSV file has the name of a field, nothing is filled and the exit\n"
            "status is 2. A null leaves the field unchanged. Data without any value is not an error.\n"
            "Fields that change are drawn, so that every viewer shows them. Text that does not fit, and\n"
            "characters that no font has, are reported. Damage in the form is reported too, and the exit\n"
            "status is then 3.",
            "  zforms fill form.pdf data.xfdf -o filled.pdf\n  zforms fill form.pdf row.csv -o form.pdf",
            [this] { return RunFill(fill_); });
    AddFile(command, &fill_.file);
    command
        ->add_option(
            "DATA", fill_.data,
            "The file with the values, or \"-\" for standard input. CSV has the names of the fields in its first "
            "line and the values in its second.")
        ->required();
    AddOutput(command, &fill_.output)->required();
    AddPassword(command, &fill_.password);
    AddRecover(command, &fill_.recover);
    AddGuard(command, &fill_.guard);
    AddDrawing(command, &fill_.drawing);
    AddCalculate(command, &fill_.calculate);
    command->add_flag("--flatten", fill_.flatten,
                      "Make all fields part of the pages after filling, as \"zforms flatten\" does.");
  }

  static void AddGuard(CLI::App* command, GuardOptions* guard) {
    AddForce(command, &guard->force);
    command
        ->add_option_function<std::string>(
            "--xfa", [guard](const std::string& what) { guard->keep_xfa = what == "keep"; },
            "An XFA form beside the fields still holds the old values, and some readers show those. \"drop\" removes "
            "it when a value changes (in a signed form only with --force); \"keep\" keeps it.")
        ->check(CLI::IsMember({"keep", "drop"}))
        ->default_str("drop");
  }

  void AddExport() {
    CLI::App* command = Add("export", "Write the values of forms as XFDF, FDF, JSON or CSV.",
                            "The text is UTF-8. CSV, JSON and JSONL (one object on each line) can hold several forms:\n"
                            "one row or object for each form.",
                            "  zforms export filled.pdf > values.xfdf\n"
                            "  zforms export filled.pdf --format fdf -o values.fdf\n"
                            "  zforms export filled/*.pdf --format csv -o table.csv",
                            [this] { return RunExport(export_); });
    command->add_option("FORM", export_.files, "The PDF file, or \"-\" for standard input.")->required();
    std::vector<std::string> formats;
    formats.reserve(std::size(kExportFormats));
    for (const ExportFormatName& format : kExportFormats) formats.emplace_back(format.name);
    command
        ->add_option_function<std::string>(
            "--format", [this](const std::string& name) { export_.format = FindExportFormat(name)->format; },
            "The format; the default is " + std::string(NameOf(export_.format).name) + ".")
        ->check(CLI::IsMember(formats));
    command->add_flag("--all", export_.all, "Include the fields that the form marks as not to be exported.");
    command->add_flag(
        "--spreadsheet", export_.spreadsheet,
        "Make CSV safe for a spreadsheet: write a \"'\" before every text that would run as a formula. Do not use "
        "this option for a table that \"zforms batch\" will read.");
    AddOutput(command, &export_.output)->default_str("-");
    export_.output = "-";
    AddPassword(command, &export_.password);
    AddRecover(command, &export_.recover);
  }

  static CLI::Option* AddMaps(CLI::App* command, std::string* maps, std::string* section, const char* option) {
    CLI::Option* ini = command
                           ->add_option(option, *maps,
                                        "An INI file that says which value fills which field, one line for each field: "
                                        "\"field=rubric.name\". A "
                                        "rubric is a named group of values, such as \"person\" with \"person.name\".")
                           ->type_name("FILE");
    command->add_option("--section", *section, "The section of that file to use; needed when the file has several.")
        ->type_name("NAME");
    return ini;
  }

  void AddMap() {
    CLI::App* command =
        Add("map", "Show which data fill each field.",
            "A rubric is a named group of values, such as \"person\" with \"person.name\" and\n"
            "\"person.town\". The maps in the INI file say which value of which rubric fills a field. With\n"
            "--rubric, the values are shown too.",
            "  zforms map form.pdf --ini maps.ini --section Member\n"
            "  zforms map form.pdf --ini maps.ini --rubric person=person.csv --rubric club=club.ini",
            [this] { return RunMap(map_); });
    AddFile(command, &map_.file);
    AddMaps(command, &map_.maps, &map_.section, "--ini")->required();
    command
        ->add_option(
            "--rubric", map_.rubrics,
            "Read the values of a rubric from this file: CSV (the first row), JSON or INI. May be given several times.")
        ->type_name("NAME=FILE");
    AddPassword(command, &map_.password);
    AddRecover(command, &map_.recover);
  }

  void AddBatch() {
    CLI::App* command =
        Add("batch", "Fill a form once for each row of a table.",
            "A column fills the field that has the same name, or the fields that --map gives. Two rows never\n"
            "get the same file. Only --overwrite replaces files that the batch did not write, and no file\n"
            "is half written. --resume continues a batch that was interrupted. A null leaves the field\n"
            "unchanged. Data without any value is not an error. Damage in the form is reported, and the\n"
            "exit status is then 3.\n\n"
            "Several machines can share a batch: each makes one shard, --shard I/N, in the same folder.\n"
            "Afterwards --merge-reports joins their reports, and lists the rows that have the same file name.\n\n"
            "The exit status is 0 when all rows are filled, 3 when some are not or there are warnings, 2\n"
            "when the form, the data or the command is wrong: trying again gives the same result. It is 75\n"
            "after trouble that may pass, such as a full disk, a missing folder or a lost database, and after\n"
            "a request to stop (SIGTERM): run the command again with --resume.",
            "  zforms batch form.pdf --data rows.csv --out filled\n"
            "  zforms batch form.pdf --data rows.csv --out filled --name '{id}-{name}.pdf' --report report.json\n"
            "  zforms batch form.pdf --data rows.jsonl --map maps.ini --section Member --out filled --resume\n"
            "  zforms batch form.pdf --data rows.csv --out - | ssh store 'cat > filled.tar'\n"
            "  zforms batch form.pdf --data rows.csv --merge letters.pdf\n"
            "  zforms batch form.pdf --data postgresql://db.example/office --query-file members.sql --out filled\n"
            "  zforms batch form.pdf --data rows.csv --out filled --shard 3/8 --report 3.json --resume\n"
            "  zforms batch --merge-reports 1.json 2.json 3.json --out filled --report report.json",
            [this] { return RunBatch(batch_); });
    CLI::Option* file = AddFile(command, &batch_.file)->required(false);
    CLI::Option* const data = AddRows(command);
    CLI::Option* const out =
        command
            ->add_option("--out", batch_.folder,
                         "The folder for the filled forms; it is created when missing. \"-\" writes them to standard "
                         "output as a tar archive, in the order of the rows.")
            ->type_name("FOLDER");
    AddShards(command, file, data, out);
    command
        ->add_option(
            "--name", batch_.name,
            "How the files are named: {column} stands for the row's value in that column, {row} for the row's number "
            "with at least six digits. The default is {row}.pdf: 000001.pdf and so on.")
        ->type_name("PATTERN");
    AddMaps(command, &batch_.maps, &batch_.section, "--map");
    command
        ->add_option("--rubric", batch_.rubrics,
                     "NAME: the columns of the table are the values of this rubric (see --map). NAME=FILE: a rubric "
                     "from a file, "
                     "with the same values for all rows.")
        ->type_name("NAME[=FILE]");
    command
        ->add_option("--jobs", batch_.jobs,
                     "How many forms are filled at the same time; the default is the number of "
                     "cores.")
        ->type_name("N");
    AddProgress(command);
    AddPassword(command, &batch_.password);
    AddRecover(command, &batch_.recover);
    AddGuard(command, &batch_.guard);
    AddDrawing(command, &batch_.drawing);
    AddCalculate(command, &batch_.calculate);
    command->add_flag("--flatten", batch_.flatten,
                      "Make all fields part of the pages after filling, as \"zforms flatten\" does.");
  }

  CLI::Option* AddRows(CLI::App* command) {
    CLI::Option* const data =
        command
            ->add_option(
                "--data", batch_.data,
                "The table: CSV whose first line names the columns, JSON with one object on each line, or a JSON "
                "list. Or the address of a PostgreSQL database, postgresql://...; --query selects its rows.")
            ->type_name("FILE");
    CLI::Option* const query =
        command
            ->add_option("--query", batch_.query,
                         "The rows of the database: a SELECT, whose columns have the names of fields. It cannot change "
                         "the database. A "
                         "NULL leaves the field unchanged. Shards need an ORDER BY that fixes the order of all rows.")
            ->type_name("SQL");
    command->add_option("--query-file", batch_.query_file, "Read the query from this file.")
        ->type_name("FILE")
        ->excludes(query);
    return data;
  }

  // Adds the options for bad rows, and for batches that were interrupted.
  void AddProgress(CLI::App* command) {
    command
        ->add_option_function<std::string>(
            "--on-error", [this](const std::string& what) { batch_.stop_on_error = what == "stop"; },
            "On a bad row, \"skip\" continues with the next one, \"stop\" ends the batch.")
        ->check(CLI::IsMember({"stop", "skip"}))
        ->default_str("skip");
    CLI::Option* resume = command->add_flag("--resume", batch_.resume, "Continue a batch that was interrupted.");
    command
        ->add_flag("--overwrite", batch_.overwrite,
                   "Start from the beginning, and replace existing files that have the name of a row's file.")
        ->excludes(resume);
    command
        ->add_option("--report", batch_.report,
                     "Write the result of the batch, with each row that failed, to this JSON file.")
        ->type_name("FILE");
  }

  // Adds the options for shards and merged files. A form and data are required, except for joining the reports of
  // shards.
  void AddShards(CLI::App* command, CLI::Option* file, CLI::Option* data, CLI::Option* out) {
    command
        ->add_option("--merge", batch_.merged,
                     "Write one PDF file with the flattened pages of all rows, in their order. Its outline lists the "
                     "rows by the names that --name gives.")
        ->type_name("FILE")
        ->excludes(out);
    command
        ->add_option_function<std::string>(
            "--shard", [this](const std::string& text) { batch_.shard.Parse(text); },
            "Fill only the rows of one of N parts, I/N: row I, I+N, I+2N and so on. The shards share the folder and "
            "may run on different machines at the same time.")
        ->type_name("I/N")
        ->check([](const std::string& text) {
          if (Shard().Parse(text)) return std::string();
          return "\"" + text + "\" is not I/N, such as 3/8: I is at least 1 and at most N, and " + "N is at most " +
                 std::to_string(Shard::kMost);
        });
    CLI::Option* merge =
        command
            ->add_option("--merge-reports", batch_.merged_reports,
                         "Fill no form. Join these reports, one for each shard, into one report. It is "
                         "written to the file that --report names, or to standard output.")
            ->type_name("REPORT...");
    command->parse_complete_callback([this, file, data, out, merge] {
      for (const CLI::Option* option : {file, data}) {
        if (merge->count() == 0 && option->count() == 0) throw CLI::RequiredError(option->get_name());
      }
      if (out->count() > 0 || (merge->count() == 0 && !batch_.merged.empty())) return;
      throw CLI::RequiredError(merge->count() > 0 ? "--out" : "--out or --merge");
    });
  }

  void AddCheck() {
    CLI::App* command =
        Add("check", "Describe a file and report everything irregular in it.",
            "The report covers the version, the encryption, the cross-reference sections, the fields, the\n"
            "signatures and the submit buttons. Every irregularity is listed with its object number.",
            "  zforms check form.pdf", [this] { return RunCheck(check_); });
    AddFile(command, &check_.file);
    AddPassword(command, &check_.password);
    AddRecover(command, &check_.recover);
  }

  void AddDraw() {
    CLI::App* command = Add("draw", "Draw the values of all fields, so that every viewer shows them.",
                            "Text fields and choice fields get new appearances; buttons keep theirs. What does not\n"
                            "fit, and characters that no font has, are reported. The change is appended to the file.",
                            "  zforms draw filled.pdf -o drawn.pdf", [this] { return RunDraw(draw_); });
    AddFile(command, &draw_.file);
    AddOutput(command, &draw_.output)->required();
    AddPassword(command, &draw_.password);
    AddRecover(command, &draw_.recover);
    AddForce(command, &draw_.force);
    AddFonts(command, &draw_.drawing.fonts);
  }

  void AddFlatten() {
    CLI::App* command =
        Add("flatten", "Make the fields part of the pages: nobody can fill them in any more.",
            "The pages look as before; hidden fields are removed. Fields without an appearance are drawn\n"
            "first. The change is appended to the file, so the file still contains the fields as they\n"
            "were: \"zforms rewrite\" removes them.",
            "  zforms flatten filled.pdf -o flat.pdf\n"
            "  zforms flatten filled.pdf --field adherent.nom -o flat.pdf",
            [this] { return RunFlatten(flatten_); });
    AddFile(command, &flatten_.file);
    AddOutput(command, &flatten_.output)->required();
    command->add_option("--field", flatten_.fields, "Flatten only these fields and the fields below them.")
        ->type_name("NAME");
    AddPassword(command, &flatten_.password);
    AddRecover(command, &flatten_.recover);
    AddForce(command, &flatten_.force);
  }

  void AddRewrite() {
    CLI::App* command = Add("rewrite", "Write the whole document as a new file.",
                            "The file has every object that is in use and one cross-reference section. An encrypted\n"
                            "document stays encrypted, unless --decrypt is given.",
                            "  zforms rewrite form.pdf -o clean.pdf", [this] { return RunRewrite(rewrite_); });
    AddFile(command, &rewrite_.file);
    AddOutput(command, &rewrite_.output)->required();
    command->add_flag("--decrypt", rewrite_.decrypt,
                      "Write the document without encryption. This needs the owner password, if the document has one.");
    AddPassword(command, &rewrite_.password);
    AddRecover(command, &rewrite_.recover);
    AddForceLosses(command, &rewrite_.force);
  }

  void AddPermissions() {
    CLI::App* command = Add("permissions", "Show or set the permission flags, or encrypt the document.",
                            "Changing the flags encrypts the document with the password that opens it, which may be\n"
                            "empty, and writes the document as a new file. An encrypted document keeps its method,\n"
                            "unless --encrypt names another. A document without encryption gets RC4 with 40 bits,\n"
                            "which is weak but which all readers know; --encrypt aes-256 is safe.",
                            "  zforms permissions form.pdf\n  zforms permissions form.pdf --set -44 -o locked.pdf\n"
                            "  zforms permissions form.pdf --encrypt aes-256 --owner-password-file key -o locked.pdf",
                            [this] { return RunPermissions(permissions_); });
    AddFile(command, &permissions_.file);
    CLI::Option* set = command->add_option_function<std::string>(
        "--set",
        [this](const std::string& text) {
          const std::string fault = ParseFlags(text, &permissions_.flags);
          if (!fault.empty()) throw CLI::ValidationError("--set", fault);
        },
        "The new flags, as a decimal or 0x number. -4 allows everything; the bits are those of ISO 32000-1, table 22.");
    set->type_name("FLAGS");
    CLI::Option* const encrypt =
        command->add_option("--encrypt", permissions_.encrypt, "Encrypt with this method (aes-256), revision 6.");
    encrypt->type_name("METHOD")->check(CLI::IsMember({"aes-256"}));
    AddSecret(command, "--user-password", &permissions_.user_password,
              "With --encrypt: the password that opens the document. Without this option, no password is needed.",
              encrypt);
    AddSecret(command, "--owner-password", &permissions_.owner_password,
              "With --encrypt: the password that allows everything. The default is the user password.", encrypt);
    AddOutput(command, &permissions_.output);
    AddPassword(command, &permissions_.password);
    AddRecover(command, &permissions_.recover);
    AddForceLosses(command, &permissions_.force);
  }

  void AddViewer() {
    CLI::App* command = Add("viewer", "Set how a viewer shows the document.", "",
                            "  zforms viewer form.pdf --hide-toolbar --fit-window -o plain.pdf\n"
                            "  zforms viewer plain.pdf --no-hide-toolbar -o form.pdf",
                            [this] { return RunViewer(viewer_); });
    AddFile(command, &viewer_.file);
    AddSwitch(command, "hide-toolbar", &viewer_.hide_toolbar, "Hide the viewer's tool bars.");
    AddSwitch(command, "hide-menubar", &viewer_.hide_menubar, "Hide its menu bar.");
    AddSwitch(command, "hide-window-ui", &viewer_.hide_window_ui, "Hide scroll bars and other controls.");
    AddSwitch(command, "fit-window", &viewer_.fit_window, "Fit the window to the size of the first page.");
    AddSwitch(command, "center-window", &viewer_.center_window, "Put the window in the middle of the screen.");
    AddSwitch(command, "display-doc-title", &viewer_.display_doc_title,
              "Show the document's title, not the file's name.");
    AddOutput(command, &viewer_.output)->required();
    AddPassword(command, &viewer_.password);
    AddRecover(command, &viewer_.recover);
    AddForce(command, &viewer_.force);
  }

  void AddShow() {
    CLI::App* command = Add("show", "Print one object as text, decrypted.", "",
                            "  zforms show form.pdf trailer\n  zforms show form.pdf 12\n"
                            "  zforms show form.pdf 12 --data > stream.bin",
                            [this] { return RunShow(show_); });
    AddFile(command, &show_.file);
    command
        ->add_option("OBJECT", show_.object,
                     "The number of the object, and its generation if that is not 0; or \"trailer\".")
        ->required();
    command->add_flag("--data", show_.data,
                      "Write the bytes of the object's stream to standard output: decrypted, but still compressed.");
    AddPassword(command, &show_.password);
    AddRecover(command, &show_.recover);
  }

  CLI::App& app_;
  std::function<int()> run_;
  FieldsOptions fields_;
  FillOptions fill_;
  ExportOptions export_;
  MapOptions map_;
  BatchOptions batch_;
  CheckOptions check_;
  DrawOptions draw_;
  FlattenOptions flatten_;
  RewriteOptions rewrite_;
  PermissionsOptions permissions_;
  ViewerOptions viewer_;
  ShowOptions show_;
};

int Main(int argc, const char* const* argv) {
  CLI::App app("Fill PDF forms and read their values.", "zforms");
  app.footer(kExamples);
  const size_t columns = TerminalColumns();
  app.formatter(std::make_shared<HelpFormatter>(columns > 0 ? std::min(columns, kWidestHelp) : kHelpInFiles));
  app.set_help_flag("-h,--help", "Print this help.");
  app.set_version_flag("--version", "zforms " ZFORMS_VERSION, "Print the version.");
  app.allow_windows_style_options(false);  // paths may begin with a slash on Windows too
  app.require_subcommand(1);
  const CommandLine command_line(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    const std::string fault = DescribeUsageError(app, argc, argv, error);
    std::fprintf(stderr, "zforms: %s\nSee: %s --help\n", Printable(fault).c_str(),
                 CommandAsked(app, argc, argv).c_str());
    return kFailed;
  }
  const int status = command_line.Run();
  // Reports output that was lost, except when the command has failed and so has printed a message.
  if (std::ferror(stdout) == 0 || (status != kDone && status != kDoneWithWarnings)) return status;
  std::fputs("zforms: standard output cannot be written\n", stderr);
  return kFailed;
}

}  // namespace
}  // namespace zforms::tool

int main(int argc, char** argv) {
  const std::vector<std::string> arguments = zforms::tool::PrepareProgram(argc, argv);
  std::vector<const char*> pointers;
  pointers.reserve(arguments.size());
  for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
  return zforms::tool::Main(static_cast<int>(pointers.size()), pointers.data());
}
