// What is installed beside the program says what the program can do.
#include "tests/tools/sso2ticket/tool.h"
#include "tools/sso2ticket/command_line.h"
#include "tools/sso2ticket/completion_command.h"

#include <regex>
#include <set>

using namespace quorvanti::test;
using quorvanti::CompletionCommand;
using quorvanti::CompletionOption;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

std::vector<CompletionCommand> commands() {
    CLI::App app("", "sso2ticket");
    app.set_version_flag("--version", "");
    quorvanti::Action action;
    quorvanti::addCommands(app, action);
    return quorvanti::commandsOf(app);
}

std::string packaged(const std::string& name) {
    const std::string text = readFile(std::string(QUORVANTI_PACKAGING) + "/" + name);
    EXPECT_NE(text, "") << name;
    return text;
}

// The man page writes "-" as "\-".
std::string manPage() {
    return std::regex_replace(packaged("man/sso2ticket.1"), std::regex(R"(\\-)"), "-");
}

// From the command's heading to the next one.
std::string section(const std::string& page, const std::string& words) {
    const std::size_t start = page.find(".SS \"" + words + " ");
    return start == std::string::npos ? "" : page.substr(start, page.find("\n.S", start + 1) - start);
}

std::set<std::string> optionsIn(const std::string& text) {
    static const std::regex option(R"(\n\.BI? (--[a-z-]+))");
    std::set<std::string> names;
    for (std::sregex_iterator match(text.begin(), text.end(), option), end; match != end; ++match) {
        names.insert((*match)[1]);
    }
    return names;
}

class Documentation : public Tool {
protected:
    static bool installed(const std::string& shell) {
        return runCommand({"sh", "-c", "command -v " + shell}).exitCode == 0;
    }
    // What a shell prints that runs this script.
    std::string says(std::vector<std::string> shell, const std::string& script) const {
        writeFile(directory_.file("script"), script);
        shell.push_back(directory_.file("script"));
        const CommandResult result = runCommand(shell);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    // What bash offers behind these words, the last of which is being typed.
    std::vector<std::string> offered(const std::string& words) const {
        writeFile(directory_.file("script"), "source '" QUORVANTI_PACKAGING
                                             "/completions/sso2ticket.bash'\n"
                                             "COMP_WORDS=(" +
                                                 words +
                                                 ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                                 "_sso2ticket\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n");
        std::istringstream lines(runCommand({"bash", directory_.file("script")}).out);
        std::vector<std::string> result;
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty()) {
                result.push_back(line);
            }
        }
        return result;
    }
};

TEST_F(Documentation, TheCompletionsAreThoseOfTheProgram) {
    const std::pair<const char*, const char*> files[] = {
        {"bash", "sso2ticket.bash"}, {"zsh", "_sso2ticket"}, {"fish", "sso2ticket.fish"}};
    for (const auto& [shell, file] : files) {
        EXPECT_EQ(packaged(std::string("completions/") + file), tool({"completion", shell}).out)
            << "write it anew: sso2ticket completion " << shell << " >packaging/completions/" << file;
    }
    expectTalk(tool({"completion", "csh"}), usage, "csh");
}

TEST_F(Documentation, EveryCompletionKnowsEveryCommandAndOption) {
    for (const char* shell : {"bash", "zsh", "fish"}) {
        const std::string text = tool({"completion", shell}).out;
        for (const CompletionCommand& command : commands()) {
            EXPECT_THAT(text, HasSubstr(command.words.substr(command.words.find(' ') + 1)));
            for (const CompletionOption& option : command.options) {
                EXPECT_THAT(text, HasSubstr(option.name.substr(2))) << shell << command.words;
            }
        }
    }
}

TEST_F(Documentation, BashOffersWhatFits) {
    if (runCommand({"bash", "-c", "exit 0"}).exitCode != 0) {
        GTEST_SKIP() << "needs bash";
    }
    EXPECT_THAT(offered("sso2ticket ver"), UnorderedElementsAre("verify"));
    EXPECT_THAT(
        offered("sso2ticket keystore ''"),
        UnorderedElementsAre("create", "list", "add-trusted", "export-certificate", "change-password", "--help"));
    EXPECT_THAT(offered("sso2ticket keystore create --s"), UnorderedElementsAre("--subject"));
    EXPECT_THAT(offered("sso2ticket create --s"), UnorderedElementsAre("--system-id"));
    EXPECT_THAT(offered("sso2ticket verify --json --exp"), UnorderedElementsAre("--explain"));
    EXPECT_THAT(offered("sso2ticket verify --profile --"), UnorderedElementsAre());  // a file name is wanted
}

TEST_F(Documentation, FishOffersWhatFits) {
    if (!installed("fish")) {
        GTEST_SKIP() << "needs fish";
    }
    const auto fishOffers = [this](const std::string& words) {
        return says({"fish", "--no-config"},
                    "source '" QUORVANTI_PACKAGING "/completions/sso2ticket.fish'\ncomplete -C'" + words + "'\n");
    };
    EXPECT_EQ(fishOffers("sso2ticket ver"), "verify\tEvaluate a ticket: signature, age, recipient\n");
    EXPECT_THAT(fishOffers("sso2ticket keystore create --s"), StartsWith("--subject\t"));
    EXPECT_THAT(fishOffers("sso2ticket create --s"), StartsWith("--system-id\t"));
    EXPECT_THAT(fishOffers("sso2ticket verify --json --exp"), StartsWith("--explain\t"));
    EXPECT_EQ(fishOffers("sso2ticket keystore create --recipient"), "");
}

TEST_F(Documentation, ZshOffersWhatFits) {
    if (!installed("zsh")) {
        GTEST_SKIP() << "needs zsh";
    }
    // Without its line editor: _arguments shows what it is given.
    const auto zshOffers = [this](const std::string& words) {
        return says({"zsh", "-f"}, "_arguments() { print -rl -- \"$CURRENT $words\" \"$@\" }\nwords=(" + words +
                                       ")\nCURRENT=$#words\nsource '" QUORVANTI_PACKAGING
                                       "/completions/_sso2ticket'\n");
    };
    EXPECT_THAT(zshOffers("sso2ticket ver"), HasSubstr("1:command:(verify inspect "));
    EXPECT_THAT(zshOffers("sso2ticket keystore cr"), HasSubstr("1:command:(create list "));
    const std::string keystoreCreate = zshOffers("sso2ticket keystore create --s");
    EXPECT_THAT(keystoreCreate, StartsWith("2 create --s\n"));
    EXPECT_THAT(keystoreCreate, HasSubstr("\n--subject[The owner's name, "));
    EXPECT_THAT(keystoreCreate, Not(HasSubstr("--system-id")));
    EXPECT_THAT(zshOffers("sso2ticket create --s"), HasSubstr("\n--system-id[System id of the issuer]:value:_files\n"));
}

TEST_F(Documentation, TheManPageHasEveryCommandWithExactlyItsOptions) {
    const std::string page = manPage();
    for (const CompletionCommand& command : commands()) {
        if (!command.subcommands.empty()) {
            continue;
        }
        std::set<std::string> expected;
        for (const CompletionOption& option : command.options) {
            if (option.name != "--help") {
                expected.insert(option.name);
            }
        }
        const std::string text = section(page, command.words);
        EXPECT_NE(text, "") << command.words;
        EXPECT_EQ(optionsIn(text), expected) << command.words;
    }
}

TEST_F(Documentation, NoCommandTakesAPasswordOnTheCommandLine) {
    for (const CompletionCommand& command : commands()) {
        for (const CompletionOption& option : command.options) {
            EXPECT_NE(option.name, "--password") << command.words;
        }
    }
}

}  // namespace
