// What is wrong with a command line; see the header.

#include "Usage.h"

#include <fmt/format.h>

#include <algorithm>

#include "CommandLine.h"

namespace quorv::tool {

namespace {

using Words = std::vector<std::string>;

std::string list_commands(const CLI::App &app) {
    Words names;
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
        names.push_back(command->get_name());
    return fmt::format("{}", fmt::join(names, ", "));
}

// A word that no command or option took.
std::string explain_word(const std::string &word, bool has_command) {
    const bool is_option = word.starts_with('-');
    if (!has_command) return fmt::format("there is no {} '{}'", is_option ? "option" : "command", word);
    if (!is_option) return fmt::format("'{}' is one argument too many", word);
    return fmt::format("there is no option '{0}'; a file of that name is given as './{0}'", word);
}

// The option that a word like --name or --name=value stands for; null when it is none.
const CLI::Option *option_of(const CLI::App &command, const std::string &word) {
    return word.starts_with('-') ? command.get_option_no_throw(word.substr(0, word.find('='))) : nullptr;
}

bool is_flag(const CLI::Option &option) {
    return option.get_items_expected_max() == 0;
}

// The line ends with an option that needs a value, or some option has more values than it takes.
std::string explain_count(const CLI::App &command, const Words &words) {
    const CLI::Option *last = words.empty() ? nullptr : option_of(command, words.back());
    if (last != nullptr && last->count() == 0) return last->get_name() + " needs a value";
    for (const CLI::Option *option : command.get_options()) {
        const bool repeated = option->count() > static_cast<size_t>(option->get_items_expected_max());
        if (repeated && !is_flag(*option)) return option->get_name() + " is given more than once";
    }
    return "an option has a wrong number of values";
}

std::string explain_missing(const CLI::App &app, const CLI::App &command) {
    for (const CLI::Option *option : command.get_options()) {
        if (option->get_required() && option->count() == 0) return option->get_name() + " is required";
        for (const CLI::Option *needed : option->get_needs()) {
            if (option->count() > 0 && needed->count() == 0)
                return fmt::format("{} requires {}", option->get_name(), needed->get_name());
        }
    }
    return "a command is required: " + list_commands(app);
}

// Numbers are checked before they are converted, so it was a flag's.
std::string explain_conversion(const CLI::App &command, const Words &words) {
    for (const std::string &word : words) {
        const CLI::Option *option = option_of(command, word);
        if (option != nullptr && is_flag(*option) && word.find('=') != std::string::npos)
            return option->get_name() + " takes no value";
    }
    return "a flag takes no value";
}

std::string reason_of(const CLI::App &app, const CLI::App &command, const Words &words,
                      const CLI::ParseError &error) {
    const bool has_command = &command != &app;
    const Words unknown = app.remaining(true);
    const auto word =
        std::find_if(unknown.begin(), unknown.end(), [](const auto &text) { return text != "--"; });
    // Said first: an option that is not understood may be why something else is missing.
    if (word != unknown.end()) return explain_word(*word, has_command);
    if (dynamic_cast<const BadValue *>(&error) != nullptr) return error.what();
    if (dynamic_cast<const CLI::ArgumentMismatch *>(&error) != nullptr) return explain_count(command, words);
    if (dynamic_cast<const CLI::ConversionError *>(&error) != nullptr)
        return explain_conversion(command, words);
    return explain_missing(app, command);
}

}  // namespace

std::string explain_usage(const CLI::App &app, const std::vector<std::string> &words,
                          const CLI::ParseError &error) {
    const std::vector<const CLI::App *> chosen =
        app.get_subcommands([](const CLI::App *command) { return command->parsed(); });
    const CLI::App &command = chosen.empty() ? app : *chosen.front();
    const std::string name = chosen.empty() ? "" : command.get_name() + " ";
    return fmt::format("{} (try 'quorv {}--help')", reason_of(app, command, words, error), name);
}

}  // namespace quorv::tool
