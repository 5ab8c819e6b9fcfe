// Writes the manual pages and the completions of shells, for the installation. The help does not show this command.

#include <memory>

#include "tool/base/console.h"
#include "tool/base/files.h"
#include "tool/cli/command_pages.h"
#include "tool/cli/completions.h"
#include "tool/cli/manual_pages.h"

namespace zforms::tool {
namespace {

int RunPages(const CLI::App& app, const std::string& folder) {
  const std::vector<CommandPage> pages = ReadPages(app);
  std::vector<std::pair<std::string, std::string>> files = {{"bash/zforms", BashCompletion(pages)},
                                                            {"zsh/_zforms", ZshCompletion(pages)},
                                                            {"fish/zforms.fish", FishCompletion(pages)}};
  for (const CommandPage& page : pages) {
    files.emplace_back("man1/zforms" + (page.name.empty() ? "" : "-" + page.name) + ".1", ManualPage(page, pages));
  }
  for (const auto& [name, text] : files) {
    const std::string path = folder + "/" + name;
    Console console(path);
    std::error_code ignored;
    std::filesystem::create_directories(FilePath(path).parent_path(), ignored);
    if (!WriteOutput(path, text, console)) return kFailed;
  }
  return kDone;
}

}  // namespace

void AddPages(CLI::App& app, std::function<int()>* run) {
  const auto folder = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("pages", "Write the manual pages and the completions into a folder.");
  command->group("");
  command->add_option("FOLDER", *folder)->required();
  command->callback([&app, folder, run] { *run = [&app, folder] { return RunPages(app, *folder); }; });
}

}  // namespace zforms::tool
