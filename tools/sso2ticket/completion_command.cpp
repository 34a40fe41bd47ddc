#include "tools/sso2ticket/completion_command.h"

#include <algorithm>
#include <ostream>

namespace quorvanti {

namespace {

void collectOptions(const CLI::App& app, CompletionCommand& command) {
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            const bool known = std::any_of(command.options.begin(), command.options.end(),
                                           [&](const CompletionOption& other) { return other.name == "--" + name; });
            if (!known) {  // every group has a --help of its own
                command.options.push_back(
                    {"--" + name, option->get_description(), option->get_items_expected_max() > 0});
            }
        }
    }
    // An option group is a command without a name.
    for (const CLI::App* group : app.get_subcommands([](const CLI::App* sub) { return sub->get_name().empty(); })) {
        collectOptions(*group, command);
    }
}

void collect(const CLI::App& app, const std::string& words, std::vector<CompletionCommand>& commands) {
    CompletionCommand command{words, app.get_description(), {}, {}};
    const auto subcommands = app.get_subcommands([](const CLI::App* sub) { return !sub->get_name().empty(); });
    for (const CLI::App* sub : subcommands) {
        command.subcommands.push_back(sub->get_name());
    }
    collectOptions(app, command);
    commands.push_back(command);
    for (const CLI::App* sub : subcommands) {
        collect(*sub, words.empty() ? sub->get_name() : words + " " + sub->get_name(), commands);
    }
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += text.empty() ? word : " " + word;
    }
    return text;
}

std::string optionNames(const CompletionCommand& command, bool onlyWithValue) {
    std::vector<std::string> names;
    for (const CompletionOption& option : command.options) {
        if (option.takesValue || !onlyWithValue) {
            names.push_back(option.name);
        }
    }
    return joined(names);
}

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char character : text) {
        result += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return result + "'";
}

std::string replaced(std::string text, char from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, 1, to);
    }
    return text;
}

// --- bash: the words before the cursor choose the command; what is not offered is a file name -------------------

void printBash(const std::vector<CompletionCommand>& commands, std::ostream& out) {
    out << "# Completion of sso2ticket for bash; made by: sso2ticket completion bash\n"
           "_sso2ticket() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command='' word\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        case \"$command $word\" in\n";
    for (const CompletionCommand& command : commands) {
        if (!command.words.empty()) {
            out << "        " << quoted(" " + command.words) << ") command=" << quoted(" " + command.words) << " ;;\n";
        }
    }
    out << "        esac\n"
           "    done\n"
           "    local words='' valued=''\n"
           "    case \"$command\" in\n";
    for (const CompletionCommand& command : commands) {
        const std::string name = command.words.empty() ? "" : " " + command.words;
        const std::string subcommands = joined(command.subcommands);
        out << "    " << quoted(name) << ")\n        words="
            << quoted(subcommands + (subcommands.empty() ? "" : " ") + optionNames(command, false)) << '\n';
        if (const std::string valued = optionNames(command, true); !valued.empty()) {
            out << "        valued=" << quoted(valued) << '\n';
        }
        out << "        ;;\n";
    }
    out << "    esac\n"
           "    if [[ \" $valued \" == *\" $before \"* ]]; then\n"
           "        words=''\n"
           "    fi\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -o default -F _sso2ticket sso2ticket\n";
}

// --- zsh -------------------------------------------------------------------------------------------------------

std::string zshText(const std::string& text) {
    return replaced(replaced(replaced(text, '[', "\\["), ']', "\\]"), ':', "\\:");
}

void printZshCommand(const CompletionCommand& command, std::ostream& out) {
    out << "    (" << quoted(command.words) << ")\n        _arguments -S";
    for (const CompletionOption& option : command.options) {
        out << " \\\n            "
            << quoted(option.name + "[" + zshText(option.description) + "]" +
                      (option.takesValue ? ":value:_files" : ""));
    }
    if (command.subcommands.empty()) {
        out << " \\\n            '*:file:_files'\n        ;;\n";
        return;
    }
    out << " \\\n            '1:command:(" << joined(command.subcommands) << ")'\n        ;;\n";
}

void printZsh(const std::vector<CompletionCommand>& commands, std::ostream& out) {
    out << "#compdef sso2ticket\n"
           "# Completion of sso2ticket for zsh; made by: sso2ticket completion zsh\n"
           "_sso2ticket() {\n"
           "    local chosen=''\n"
           "    local -i from=1\n"
           "    while (( from + 1 < CURRENT )); do\n"
           "        case \"${chosen:+$chosen }${words[from + 1]}\" in\n";
    for (const CompletionCommand& command : commands) {
        if (!command.words.empty()) {
            out << "        (" << quoted(command.words) << ") chosen=" << quoted(command.words) << " ;;\n";
        }
    }
    out << "        (*) break ;;\n"
           "        esac\n"
           "        (( from++ ))\n"
           "    done\n"
           "    shift $(( from - 1 )) words\n"
           "    (( CURRENT -= from - 1 ))\n"
           "    case \"$chosen\" in\n";
    for (const CompletionCommand& command : commands) {
        printZshCommand(command, out);
    }
    out << "    esac\n"
           "}\n"
           "_sso2ticket \"$@\"\n";
}

// --- fish ------------------------------------------------------------------------------------------------------

std::string fishQuoted(const std::string& text) {
    return "'" + replaced(replaced(text, '\\', "\\\\"), '\'', "\\'") + "'";
}

std::string seen(const std::string& words) {
    return "__fish_seen_subcommand_from " + words;
}

// All words of the command are there, none of its subcommands, and for a command whose name is a subcommand elsewhere
// (create, keystore create) not that command.
std::string fishCondition(const CompletionCommand& command, const std::vector<CompletionCommand>& commands) {
    std::vector<std::string> terms;
    for (std::size_t start = 0; start < command.words.size();) {
        const std::size_t end = std::min(command.words.find(' ', start), command.words.size());
        terms.push_back(seen(command.words.substr(start, end - start)));
        start = end + 1;
    }
    if (!command.subcommands.empty()) {
        terms.push_back("not " + seen(joined(command.subcommands)));
    }
    for (const CompletionCommand& other : commands) {
        const auto& names = other.subcommands;
        if (!other.words.empty() && std::find(names.begin(), names.end(), command.words) != names.end()) {
            terms.push_back("not " + seen(other.words));
        }
    }
    std::string condition;
    for (const std::string& term : terms) {
        condition += (condition.empty() ? "" : "; and ") + term;
    }
    return condition;
}

void printFish(const std::vector<CompletionCommand>& commands, std::ostream& out) {
    out << "# Completion of sso2ticket for fish; made by: sso2ticket completion fish\n";
    for (const CompletionCommand& command : commands) {
        const std::string prefix = "complete -c sso2ticket -n " + fishQuoted(fishCondition(command, commands));
        for (const CompletionCommand& other : commands) {
            const std::string words = command.words.empty() ? "" : command.words + " ";
            if (other.words.starts_with(words) && other.words.size() > words.size() &&
                other.words.find(' ', words.size()) == std::string::npos) {
                out << prefix << " -f -a " << other.words.substr(words.size()) << " -d "
                    << fishQuoted(other.description) << '\n';
            }
        }
        for (const CompletionOption& option : command.options) {
            out << prefix << " -l " << option.name.substr(2) << (option.takesValue ? " -r" : "") << " -d "
                << fishQuoted(option.description) << '\n';
        }
    }
}

}  // namespace

std::vector<CompletionCommand> commandsOf(const CLI::App& app) {
    std::vector<CompletionCommand> commands;
    collect(app, "", commands);
    return commands;
}

ExitCode printCompletion(const CLI::App& app, const std::string& shell, std::ostream& out) {
    const std::vector<CompletionCommand> commands = commandsOf(app);
    if (shell == "bash") {
        printBash(commands, out);
    } else if (shell == "zsh") {
        printZsh(commands, out);
    } else {
        printFish(commands, out);
    }
    return ExitCode::accepted;
}

}  // namespace quorvanti
