// Completion scripts and the manual page, as the command writes them.
#include <regex>
#include <sstream>

#include "cli/CommandProcess.h"
#include "lomix/lomix.h"

namespace lomix {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Words = std::vector<std::string>;

class ShellFiles : public CommandProcess {
 protected:
  ShellFiles() {
    EXPECT_EQ(run({"shell-files", "share"}).exitCode, 0);
    bash_ = path("share/bash-completion/completions/lomix");
    zsh_ = path("share/zsh/site-functions/_lomix");
    fish_ = path("share/fish/vendor_completions.d/lomix.fish");
    man_ = path("share/man/man1/lomix.1");
  }

  /// Returns the commands of `lomix --help`.
  Words commands() {
    const std::string help = run({"--help"}).out;
    const std::string list = help.substr(help.find("Subcommands:"));
    return matches(list.substr(0, list.find("Examples:")), "\n  ([a-z]+) ");
  }
  /// Returns the long options of a command's help; those of `lomix` for an empty name.
  Words options(const std::string& command) {
    const std::string help = run(command.empty() ? Words{"--help"} : Words{command, "--help"}).out;
    return matches(help, "(?:\n  (?:-h,)?|,)(--[a-z-]+)(?=[ ,\n])");
  }
  static Words matches(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    Words found;
    for (std::sregex_iterator i(text.begin(), text.end(), regex), end; i != end; ++i) {
      found.push_back((*i)[1]);
    }
    return found;
  }
  static Words lines(const std::string& text) {
    std::istringstream stream(text);
    Words all;
    for (std::string line; std::getline(stream, line);) all.push_back(line);
    return all;
  }
  /// Returns the part of a text between the first begin and the next end behind it.
  static std::string between(const std::string& text, const std::string& begin,
                             const std::string& end) {
    const std::size_t from = text.find(begin);
    if (from == std::string::npos) return {};
    return text.substr(from, text.find(end, from + begin.size()) - from);
  }

  /// Returns what bash offers for the last of the words, which are split as bash splits them.
  /// before: commands for the shell.
  Words completed(const Words& words, const std::string& before = "") {
    std::string script = before +
                         "\nsource \"$0\"; COMP_WORDS=(lomix \"$@\"); COMP_CWORD=$#; "
                         "_lomix; printf '%s\\n' \"${COMPREPLY[@]}\"";
    Words arguments{"bash", "--norc", "-c", script, bash_};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const Result result = finish(startProgram(arguments));
    EXPECT_EQ(result.err, "");
    return result.out == "\n" ? Words{} : lines(result.out);
  }
  /// Returns whether a program can be started.
  bool isInstalled(const std::string& program) {
    return finish(startProgram({"sh", "-c", "command -v " + program})).exitCode == 0;
  }

  std::string bash_, zsh_, fish_, man_;
};

TEST_F(ShellFiles, HaveEveryOptionOfEveryCommand) {
  const std::string zsh = read(zsh_);
  const std::string fish = read(fish_);
  const std::string man = read(man_);
  Words all = commands();
  ASSERT_THAT(all, Contains("render"));
  EXPECT_THAT(run({"--help"}).out, testing::Not(HasSubstr("shell-files")));
  for (const std::string& command : all) {
    const Words wanted = options(command);
    ASSERT_THAT(wanted, Contains("--help")) << command;
    const Words offered = completed({command, "--"});
    const std::string zshPart = between(zsh, "\n    " + command + ")\n", ";;");
    const std::string manPart = between(man, ".SS \"lomix " + command + "\"\n", ".SS ");
    EXPECT_THAT(offered, testing::UnorderedElementsAreArray(wanted)) << command;
    for (const std::string& option : wanted) {
      EXPECT_TRUE(std::regex_search(zshPart, std::regex("'\\*?" + option + "=?\\["))) << option;
      EXPECT_THAT(fish, testing::ContainsRegex("__fish_seen_subcommand_from " + command +
                                               "'[^\n]* -l " + option.substr(2) + " "));
      const std::string escaped = std::regex_replace(option, std::regex("-"), "\\-");
      EXPECT_THAT(manPart, HasSubstr("\\fB" + escaped + "\\fR")) << command;
    }
  }
  Words start = options("");
  start.insert(start.end(), all.begin(), all.end());
  start.insert(start.end(), {"help", "-h"});
  EXPECT_THAT(completed({""}), testing::UnorderedElementsAreArray(start));
  EXPECT_THAT(completed({"help", ""}), testing::UnorderedElementsAreArray(all));
}

TEST_F(ShellFiles, BashCompletesValues) {
  Words presets;
  for (std::int32_t i = 0; i < lomix_preset_count(); ++i) {
    lomix_preset_info info = LOMIX_PRESET_INFO_INIT;
    ASSERT_EQ(lomix_preset_get(i, &info, nullptr), LOMIX_OK);
    presets.emplace_back(info.id);
  }
  Words parameters;
  for (std::int32_t i = 0; i < lomix_parameter_count(); ++i) {
    lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
    ASSERT_EQ(lomix_parameter_get(i, &info, nullptr), LOMIX_OK);
    parameters.push_back(std::string(info.key) + "=");
  }
  ASSERT_EQ(parameters.size(), 13);
  const std::string noHome = "HOME=" + folder_.string() + "; unset XDG_DATA_HOME";
  for (const std::string command : {"render", "sheet"}) {
    EXPECT_EQ(completed({command, "a", "--preset", ""}, noHome), presets);
    EXPECT_EQ(completed({command, "a", "--set", ""}), parameters);
    EXPECT_EQ(completed({command, "a", "--key", ""}), parameters);
  }
  EXPECT_EQ(completed({"sheet", "--sweep", ""}), parameters);
  EXPECT_EQ(completed({"presets", "--show", ""}, noHome), presets);
  struct Case {
    Words words;
    Words offered;
  };
  for (const Case& c : {
           Case{{"rend"}, {"render"}},
           {{"--versi"}, {"--version"}},
           {{"render", "--engine", ""}, {"rows", "plugin"}},
           {{"render", "--depth", ""}, {"8", "32"}},
           {{"render", "--codec", "pr"}, {"prores"}},
           {{"compare", "--view", "s"}, {"side", "split"}},
           // Bash splits at "=" and ":" and replaces the last part alone.
           {{"render", "--preset", "=", "weak"}, {"weak-aerial"}},
           {{"render", "--set", "noi"}, {"noise="}},
           {{"render", "--set", "=", "noi"}, {"noise="}},
           {{"render", "--set", "distortion_mode", "="}, {"Tile", "Stretch"}},
           {{"render", "--set", "distortion_mode", "=", "S"}, {"Stretch"}},
           {{"render", "--set", "=", "time_control", "=", "M"}, {"Manual"}},
           {{"render", "--set", "noise", "=", ""}, {}},
           {{"render", "--key", "noise", "=", "0", ":", "1", "--qui"}, {"--quiet"}},
           {{"render", "--quiet", "--threads", ""}, {}},
           // Files are what bash offers where the script offers nothing.
           {{"render", "a"}, {}},
           {{"render", "--report", ""}, {}},
           {{"nonsense", "--"}, {}},
       }) {
    EXPECT_EQ(completed(c.words, "COMP_WORDBREAKS='=:'"), c.offered)
        << testing::PrintToString(c.words);
  }
  EXPECT_THAT(completed({"render", "--set=distortion_mode=T"}, "COMP_WORDBREAKS=' '"),
              ElementsAre("--set=distortion_mode=Tile"));
}

TEST_F(ShellFiles, BashOffersTheUsersOwnPresetsAndRunsNoneOfThem) {
  std::filesystem::create_directories(path("lomix/presets"));
  for (const char* name : {"own one.json", "own$(touch ran).json", "other.txt"}) {
    write(path("lomix/presets") / name, "{}");
  }
  EXPECT_THAT(completed({"render", "--preset", "ow"}, "XDG_DATA_HOME=" + folder_.string()),
              testing::UnorderedElementsAre("own\\ one", "own\\$\\(touch\\ ran\\)"));
  EXPECT_FALSE(names().contains("ran"));
}

TEST_F(ShellFiles, AreReadByTheirPrograms) {
  struct Case {
    const char* program;
    Words arguments;
  };
  for (const Case& c : {Case{"bash", {"-n", bash_}},
                        {"zsh", {"-n", zsh_}},
                        {"fish", {"--no-execute", fish_}},
                        {"groff", {"-ww", "-man", "-z", man_}},
                        {"man", {"--warnings", "-l", man_}}}) {
    if (!isInstalled(c.program)) continue;
    Words arguments{c.program};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const Result result = finish(startProgram(arguments));
    EXPECT_EQ(result.exitCode, 0) << c.program;
    EXPECT_THAT(result.err, IsEmpty()) << c.program;
  }
  if (!isInstalled("fish")) return;
  const auto fish = [&](const std::string& line) {
    return finish(startProgram({"fish", "--no-config", "-c",
                                "source " + fish_ + "; complete -C'lomix " + line + "'"}))
        .out;
  };
  EXPECT_THAT(fish("render --set dist"), HasSubstr("distortion_mode=Tile\t"));
  EXPECT_THAT(fish("render --preset weak"), HasSubstr("weak-aerial\t"));
  EXPECT_EQ(lines(fish("render --")).size(), options("render").size());
}

TEST_F(ShellFiles, AreNotWrittenWhereNothingCanBe) {
  write(path("file"), "");
  const Result result = run({"shell-files", "file"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.err, testing::StartsWith("error: cannot write 'file/bash-completion"));
}

}  // namespace
}  // namespace lomix
