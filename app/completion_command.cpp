// completion: what a shell must know to complete tandorctl's command lines, and the table of all commands, written from
// the parser's own tree.
#include <fmt/format.h>

#include <map>

#include "app/command_table.h"
#include "app/commands.h"
#include "app/usage.h"

namespace tandor::app {
namespace {

using Words = std::vector<std::string>;

// One command: how it is reached (" text base64"), and what may follow it.
struct Level {
    std::string path;
    Words verbs, options, taking;       // options with those of the commands above; those of them that take a value
    std::map<std::string, Words> sets;  // by an option, or an argument's place from 1: the words that it takes
};

void AddOption(const CLI::Option& option, Level& level) {
    Words names;
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    level.options.insert(level.options.end(), names.begin(), names.end());
    if (option.get_items_expected_max() == 0) return;
    level.taking.insert(level.taking.end(), names.begin(), names.end());
    if (const Words words = WordsOf(option); !words.empty()) {
        for (const std::string& name : names) level.sets[name] = words;
    }
}

void Collect(const CLI::App& command, const Level& above, std::vector<Level>& levels) {
    Level level{PathOf(command), {}, above.options, above.taking, above.sets};
    int place = 0;
    for (const CLI::Option* const option : command.get_options()) {
        if (!option->get_positional()) {
            AddOption(*option, level);
        } else if (const Words words = WordsOf(*option); ++place > 0 && !words.empty()) {
            level.sets[std::to_string(place)] = words;
        }
    }
    // The help is everybody's own, and the version the program's.
    Level inherited = level;
    std::erase_if(inherited.options, [](const std::string& name) {
        return name == "--help" || name == "-h" || name == "--version" || name[0] != '-';
    });
    std::erase_if(inherited.sets, [](const auto& set) { return set.first[0] != '-'; });
    const auto verbs = command.get_subcommands(nullptr);
    for (const CLI::App* const verb : verbs) level.verbs.push_back(verb->get_name());
    levels.push_back(level);
    for (const CLI::App* const verb : verbs) Collect(*verb, inherited, levels);
}

std::string Joined(const Words& words) { return CLI::detail::join(words, " "); }

constexpr std::string_view kBashEnd = R"sh(
_tandorctl() {
    local cur=${COMP_WORDS[COMP_CWORD]} path='' option='' place=1 word i words verbs options taking set
    COMPREPLY=()
    _tandorctl_at ''
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ -n $option ]]; then  # its value; '=' is a word of its own
            [[ $word == = ]] || option=
        elif [[ $word == -* ]]; then
            [[ " $taking " != *" $word "* ]] || option=$word
        elif [[ " $verbs " == *" $word "* ]]; then
            path+=" $word" place=1
            _tandorctl_at "$path"
        else
            ((place++))
        fi
    done
    [[ $cur != = ]] || cur=
    if [[ -n $option ]]; then
        _tandorctl_set "$path $option"
        words=$set
    elif [[ $cur == -* ]]; then
        words=$options
    else
        _tandorctl_set "$path $place"
        words="$verbs $set"
    fi
    COMPREPLY=($(compgen -W "$words" -- "$cur"))
}

complete -o bashdefault -o default -F _tandorctl tandorctl tandorctl.exe
)sh";

std::string BashScript(const std::vector<Level>& levels) {
    std::string at, sets;
    for (const Level& level : levels) {
        at += fmt::format("    '{}')\n        verbs='{}'\n        options='{}'\n        taking='{}'\n        ;;\n",
                          level.path, Joined(level.verbs), Joined(level.options), Joined(level.taking));
        for (const auto& [name, words] : level.sets)
            sets += fmt::format("    '{} {}') set='{}' ;;\n", level.path, name, Joined(words));
    }
    return "# Completion of tandorctl for bash, as 'tandorctl completion bash' writes it.\n\n_tandorctl_at() {\n"
           "    case $1 in\n" +
           at + "    esac\n}\n\n_tandorctl_set() {\n    set=\n    case $1 in\n" + sets + "    esac\n}\n" +
           std::string(kBashEnd);
}

constexpr std::string_view kPowerShellEnd = R"ps(    $path = ''; $option = ''; $place = 1
    foreach ($element in ($commandAst.CommandElements | Select-Object -Skip 1)) {
        if ($element.Extent.EndOffset -ge $cursorPosition) { break }
        $word = $element.ToString()
        if ($option) { $option = '' }
        elseif ($word.StartsWith('-')) { if (($taking[$path] -split ' ') -ccontains $word) { $option = $word } }
        elseif (($verbs[$path] -split ' ') -ccontains $word) { $path = "$path $word"; $place = 1 }
        else { $place++ }
    }
    $words = if ($option) { $sets["$path $option"] }
        elseif ($wordToComplete.StartsWith('-')) { $options[$path] }
        else { "$($verbs[$path]) $($sets["$path $place"])" }
    # Nothing found: the shell offers file names.
    "$words" -split ' ' | Where-Object { $_ -and $_.StartsWith($wordToComplete) } |
        ForEach-Object { [System.Management.Automation.CompletionResult]::new($_) }
}
)ps";

std::string PowerShellScript(const std::vector<Level>& levels) {
    std::string verbs, options, taking, sets;
    for (const Level& level : levels) {
        const auto row = [&](std::string& table, const std::string& key, const Words& words) {
            if (!words.empty()) table += fmt::format("        '{}' = '{}'\n", key, Joined(words));
        };
        row(verbs, level.path, level.verbs);
        row(options, level.path, level.options);
        row(taking, level.path, level.taking);
        for (const auto& [name, words] : level.sets) row(sets, level.path + " " + name, words);
    }
    return "# Completion of tandorctl for PowerShell, as 'tandorctl completion powershell' writes it.\n"
           "Register-ArgumentCompleter -Native -CommandName @('tandorctl', 'tandorctl.exe') -ScriptBlock {\n"
           "    param($wordToComplete, $commandAst, $cursorPosition)\n    $verbs = @{\n" +
           verbs + "    }\n    $options = @{\n" + options + "    }\n    $taking = @{\n" + taking +
           "    }\n    $sets = @{\n" + sets + "    }\n" + std::string(kPowerShellEnd);
}

std::string TextFor(const std::string& shell, const CLI::App& app) {
    if (shell == "markdown") return CommandTable(app);
    std::vector<Level> levels;
    Collect(app, {}, levels);
    return shell == "bash" ? BashScript(levels) : PowerShellScript(levels);
}

}  // namespace

void AddCompletionCommand(CLI::App& app, Context& context) {
    const auto shell = std::make_shared<std::string>();
    CLI::App* const completion =
        app.add_subcommand("completion", "Completion for a shell: the script that it runs; or all commands as a table");
    completion->add_option("SHELL", *shell, "The shell; markdown is the table")
        ->required()
        ->check(OneOf({"bash", "powershell", "markdown"}));
    completion->footer(
        "Example:\n  tandorctl completion bash > ~/.local/share/bash-completion/completions/tandorctl\n"
        "  tandorctl completion powershell | Out-String | Invoke-Expression");
    completion->callback([shell, &app, &context] {
        const std::string text = TextFor(*shell, app);
        context.json ? PrintJson({{"for", *shell}, {"text", text}}) : Print(text);
    });
}

}  // namespace tandor::app
