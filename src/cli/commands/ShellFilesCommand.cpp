#include <CLI/App.hpp>
#include <filesystem>
#include <memory>
#include <string>

#include "cli/commands/Commands.h"
#include "cli/shell/OptionTable.h"
#include "support/NewFile.h"
#include "support/TextFile.h"

namespace lomix::cli {
namespace {

namespace fs = std::filesystem;

/// Writes a file and the folders that it is in.
void writeBelow(const fs::path& folder, const char* name, const std::string& text) {
  const fs::path file = folder / name;
  makeFolder(file.parent_path());
  writeText(text, file, true);
}

}  // namespace

Command addShellFilesCommand(CLI::App& lomix) {
  CLI::App* parser = lomix.add_subcommand("shell-files", "Write completion scripts and a man page");
  parser->group("");  // For the build, which installs the files; the help text does not list it.
  const auto folder = std::make_shared<std::string>();
  parser->add_option("FOLDER", *folder, "Where to make bash-completion, zsh, fish and man")
      ->type_name("FOLDER")
      ->required();
  return {parser, [&lomix, folder](const Streams&) {
            const OptionTable table = optionTable(lomix);
            writeBelow(*folder, "bash-completion/completions/lomix", bashCompletion(table));
            writeBelow(*folder, "zsh/site-functions/_lomix", zshCompletion(table));
            writeBelow(*folder, "fish/vendor_completions.d/lomix.fish", fishCompletion(table));
            writeBelow(*folder, "man/man1/lomix.1", manualPage(table));
          }};
}

}  // namespace lomix::cli
