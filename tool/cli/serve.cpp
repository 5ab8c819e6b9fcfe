#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <system_error>

#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/base/port_holder.h"
#include "tool/base/program_path.h"
#include "tool/base/service_sockets.h"
#include "tool/base/stop_signal.h"
#include "tool/cli/server_commands.h"
#include "tool/forms/template_check.h"
#include "tool/office/office.h"
#include "tool/office/server_log.h"
#include "tool/pages/office_pages.h"
#include "tool/pages/reader_page.h"
#include "tool/store/store.h"
#include "tool/store/store_opening.h"
#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/base/os_memory.h"
#include "zforms/platform/data/ini_file.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/host_settings.h"
#include "zforms/platform/host/template_storage.h"
#include "zforms/platform/host/user_interface.h"

namespace zforms::tool {
namespace {

constexpr char kSection[] = "Server";

// The user's settings for the application, and defaults for settings that the user has not made: this host accepts any
// PDF reader, so it does not look for an installed one.
class ServeSettings : public ZHostSettings {
 public:
  explicit ServeSettings(const Chaine& app) : own_(OpenSystemSettings(app)) {}

  bool Read(const Chaine& section, const Chaine& name, Chaine* value) const override {
    if (own_->Read(section, name, value)) return true;
    if (section != "Settings" || name != "IgnorePDFVersion") return false;
    *value = "true";
    return true;
  }

 private:
  std::unique_ptr<ZHostSettings> own_;
};

struct Plan {
  Office::Settings office;
  std::optional<int32_t> year;  // default: the year in the store
  std::string app;
  std::string data;
  std::string reader;       // the folder of the page that shows forms in a browser
  bool draw = false;        // whether served forms are drawn
  bool scripts = true;      // whether the scripts of forms run in that page
  bool submissions = true;  // whether there is a page of the submissions
  bool json = false;
  bool scratch = false;
};

// Makes the plan from the options. The command line overrides the configuration file, which overrides the defaults.
class PlanMaker {
 public:
  PlanMaker(const ServeOptions& options, const ZIniFileSection& lines) : options_(options), lines_(lines) {}

  // `reason` is empty on success.
  Plan Make(std::string* reason) {
    CheckNames();
    Plan plan;
    plan.office.templates = Text(options_.templates, "templates");
    plan.scratch = plan.office.templates.empty();
    if (plan.scratch) plan.office.templates = ProgramData("samples");
    plan.data = Text(options_.data, lines_.HasNamedLine("store") ? "store" : "data");
    if (plan.data.empty() && !plan.scratch) plan.data = kDefaultData;
    plan.reader = Text(options_.reader, "reader");
    if (plan.reader.empty()) plan.reader = ProgramData("reader");
    plan.app = options_.app.value_or(Line("app", "zforms"));
    if (!IsPathPart(plan.app)) Refuse("app", plan.app, "a name without slashes");
    const std::string log = Text(options_.log, "log");
    plan.json = log == "json";
    if (!log.empty() && log != "json" && log != "text") Refuse("log", log, "text or json");
    plan.scripts = Choice(options_.scripts, "scripts", true);
    plan.draw = Choice(options_.draw, "draw", false);
    plan.submissions = Choice(options_.submissions, "submissions", true);
    plan.office.port = Number(options_.port, "port", kDefaultPort, "a port number from 0 to 65535");
    plan.office.folder = Number(options_.folder, "folder", uint64_t{1}, "a number");
    if (plan.office.folder == 0) Refuse("folder", "0", "a number other than 0");
    if (options_.year || lines_.HasNamedLine("year")) plan.year = Number(options_.year, "year", 0, "a number");
    plan.office.expire_days = Number(options_.expire, "expire", kDefaultExpire, "a number of days");
    *reason = reason_;
    return plan;
  }

 private:
  void Refuse(const std::string& name, const std::string& value, const char* wanted) {
    if (reason_.empty()) reason_ = "\"" + name + "\" must be " + wanted + ", not \"" + value + "\"";
  }
  // Refuses unknown names of settings: for a misspelt name, the default would be used without notice.
  void CheckNames() {
    constexpr std::string_view kNames[] = {"templates", "data", "store",  "reader",  "app",  "log",        "port",
                                           "folder",    "year", "expire", "scripts", "draw", "submissions"};
    for (size_t i = 0; i < lines_.GetNamedLinesNB(); i++) {
      const std::string_view name = lines_.GetLineName(i);
      const bool known = std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
      if (!known && reason_.empty())
        reason_ = "section [" + std::string(kSection) + "] has no setting \"" + std::string(name) + "\"";
    }
  }
  // True when the text can be the application's name, which is a segment in the paths of URLs.
  static bool IsPathPart(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos;
  }

  std::string Line(const char* name, const std::string& fallback) const {
    return lines_.HasNamedLine(name) ? lines_.NamedLine(name).ToString() : fallback;
  }
  std::string Text(const std::string& option, const char* name) const {
    return option.empty() ? Line(name, "") : option;
  }
  bool Choice(const std::string& option, const char* name, bool fallback) {
    const std::string text = Text(option, name);
    if (!text.empty() && text != "yes" && text != "no") Refuse(name, text, "yes or no");
    return text.empty() ? fallback : text == "yes";
  }
  template <class Type>
  Type Number(const std::optional<Type>& option, const char* name, Type fallback, const char* wanted) {
    if (option || !lines_.HasNamedLine(name)) return option.value_or(fallback);
    const std::string text = Line(name, "");
    Type number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) Refuse(name, text, wanted);
    return number;
  }

  const ServeOptions& options_;
  const ZIniFileSection& lines_;
  std::string reason_;
};

bool MakePlan(const ServeOptions& options, Plan* plan) {
  ZIniFile config;
  Console console(options.config.empty() ? "serve" : options.config);
  if (!options.config.empty() && !config.Open(options.config)) {
    console.Fail(config.LastError());
    return false;
  }
  if (!options.config.empty() && !config.SectionExist(kSection)) {
    console.Fail(std::string("the file has no section [") + kSection + "]");
    return false;
  }
  const ZIniFileSection lines = config.Section(kSection);
  std::string reason;
  *plan = PlanMaker(options, lines).Make(&reason);
  if (!reason.empty()) console.Fail(reason);
  return reason.empty();
}

// Prints the faults of the templates. False, with a message, when there is no template to serve.
bool CheckTemplates(const std::string& folder) {
  const ZTemplateStorage storage{Chaine(folder)};
  if (std::error_code error; !std::filesystem::is_directory(FilePath(folder), error)) {
    Console(folder).Fail(std::filesystem::exists(FilePath(folder), error) ? "is not a folder"
                                                                          : "the folder does not exist");
    return false;
  }
  const PTableau<Chaine> codes = storage.Codes();
  for (const Chaine& code : codes) {
    Console console(code.ToString() + ".pdf");
    for (const std::string& fault : CheckTemplate(storage.PathOf(code))) console.Warn(fault);
  }
  if (codes.empty()) Console(folder).Fail("there are no forms (CODE.pdf) in this folder");
  return !codes.empty();
}

void SayHowToGetReader(const ReaderPage* reader) {
  if (reader != nullptr && reader->CanShowForms()) return;
  Print(
      "Forms are not shown in the browser, because pdf.js is missing. Name a folder that contains it with\n"
      "--reader, or fetch it with \"./run build\" in the folder of the source code.\n");
}

// Takes the financial year from the option, else from the store, else uses the current year. Forms that were opened in
// an earlier year can still be saved.
bool ChooseYear(const Plan& plan, Store& store, int32_t* year, std::string* said) {
  const int32_t this_year = ParseInt(TimeStamp().substr(0, 4));
  std::optional<int32_t> stored;
  if (!plan.year && !store.Year(&stored)) return false;
  *year = plan.year ? *plan.year : stored.value_or(this_year);
  if (!plan.year && *year != this_year) {
    *said = "Year:   " + std::to_string(*year) + ", as before; --year " + std::to_string(this_year) + " changes it\n";
  }
  return store.KeepYear(*year);
}

void SayWhyNotStarted(const Office& office, uint16_t number, bool has_sockets) {
  const std::error_code error(office.StartError(), std::system_category());
  if (!error) return;
  Console console("serve");
  if (has_sockets) {
    return console.Fail("a socket of the service manager cannot be used (" + error.message() +
                        "): each must be a listening stream socket of 127.0.0.1 or [::1], all with the same port");
  }
  const std::string port = "port " + std::to_string(number);
  if (!IsPortInUse(error.value())) {
    return console.Fail(port + " cannot be used (" + error.message() + "): choose another with --port");
  }
  const std::string holder = PortHolder(number);
  console.Fail(port + " is in use" + (holder.empty() ? ", perhaps by another zforms serve" : " by " + holder) +
               ": end that program, or choose another port with --port (0 takes a free one)");
}

std::string WhyUpgrade(int version) {
  if (version == kStoreVersion) return {};
  return " (version " + std::to_string(version) + "; \"zforms store upgrade\" updates it to version " +
         std::to_string(kStoreVersion) + ")";
}

int Serve(const Plan& plan, std::vector<uintptr_t> sockets, ZIdleMessageManager& messages) {
  ServerLog log(plan.json);
  const ZTempFolder temp;
  const std::string data = plan.data.empty() ? temp.Path().ToString() : plan.data;
  std::string error;
  const std::string shown = ShownAddress(data);
  const std::unique_ptr<Store> store = OpenStore(data, Store::Mode::kServe, &error);
  if (store == nullptr) {
    Console(shown).Fail(error);
    return kFailed;
  }
  Office::Settings chosen = plan.office;
  std::string said_of_year;
  if (!ChooseYear(plan, *store, &chosen.year, &said_of_year)) {
    Console(shown).Fail(store->LastError());
    return kFailed;
  }
  ServeSettings settings{Chaine(plan.app)};
  const std::unique_ptr<ZUserInterface> interface = OpenConsoleUserInterface("zforms");
  ZHostServices services;
  services.app_short_name = plan.app;
  services.settings = &settings;
  services.user_interface = interface.get();
  services.temp_folder = &temp;
  services.idle_messages = &messages;
  Office office(chosen, services, store.get(), &log);
  if (plan.draw) office.Server().SetDrawing(ZDrawingFonts());
  const ReaderPage* const reader = AddPages(office, plan.reader, plan.scripts);
  const std::string key = plan.submissions && reader != nullptr ? AddSubmissionsPage(office, data) : std::string();
  const bool has_sockets = !sockets.empty();
  office.Server().SetListeners(std::move(sockets));
  if (!office.Server().Start()) {
    SayWhyNotStarted(office, chosen.port, has_sockets);
    return kFailed;
  }
  const auto has_quit = std::make_shared<std::promise<void>>();
  WhenStopped([&messages, has_quit] {
    messages.Quit();
    has_quit->set_value();
  });
  SayHowToGetReader(reader);
  Print("Forms:  " + plan.office.templates + "\nStore:  " + shown +
        (plan.data.empty() ? " (until the server stops)" : "") + WhyUpgrade(store->Version()) + "\n" + said_of_year +
        "Open:   " + office.Address() + "\n" +
        (key.empty() ? "" : "Saved:  " + office.Address() + "reader/submissions.html#key=" + key + "\n") +
        "Stop:   Ctrl+C\n");
  messages.Run();
  // Waits until the thread of the stop signal no longer uses `messages`.
  has_quit->get_future().wait();
  office.Server().Stop();
  log.Event("stopped", "every submission that was answered is stored");
  return kDone;
}

}  // namespace

int RunServe(const ServeOptions& options) {
  HoldStopSignals();
  GiveBackLargeBlocks();
  std::vector<uintptr_t> sockets = TakeServiceSockets();
  Plan plan;
  if (!MakePlan(options, &plan) || !CheckTemplates(plan.office.templates)) return kFailed;
  ZIdleMessageManager messages;
  return Serve(plan, std::move(sockets), messages);
}

}  // namespace zforms::tool
