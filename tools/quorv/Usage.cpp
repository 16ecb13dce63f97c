// What is wrong with a command line; see the header.

#include "Usage.h"

#include <algorithm>
#include <vector>

namespace quorv::tool {

namespace {

std::string list_commands(const CLI::App &app) {
    std::string names;
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
        names += (names.empty() ? "" : ", ") + command->get_name();
    return names;
}

// A word that no command or option took.
std::string explain_word(const std::string &word, bool has_command) {
    const bool is_option = word.starts_with('-');
    if (!has_command) return (is_option ? "there is no option '" : "there is no command '") + word + "'";
    if (!is_option) return "'" + word + "' is one argument too many";
    return "there is no option '" + word + "'; a file of that name is given as './" + word + "'";
}

// The option's name is what the library's text begins with.
std::string explain_count(const CLI::App &command, const std::string &text) {
    const std::string name = text.substr(0, text.find(':'));
    const CLI::Option *option = command.get_option_no_throw(name);
    return name + (option != nullptr && option->count() > 1 ? " is given more than once" : " needs a value");
}

std::string reason_of(const CLI::App &app, const CLI::App &command, const CLI::ParseError &error) {
    const bool has_command = &command != &app;
    const std::vector<std::string> words = app.remaining(true);
    const auto word = std::find_if(words.begin(), words.end(), [](const auto &text) { return text != "--"; });
    // Said first: an option that is not understood may be why something else is missing.
    if (word != words.end()) return explain_word(*word, has_command);
    if (!has_command) return "a command is required: " + list_commands(app);
    std::string text = error.what();
    if (dynamic_cast<const CLI::ArgumentMismatch *>(&error) != nullptr) return explain_count(command, text);
    // Numbers are checked before they are converted, so it was a flag's.
    if (dynamic_cast<const CLI::ConversionError *>(&error) != nullptr)
        return "a flag takes no value" + text.substr(std::min(text.find(':'), text.size()));
    return text;
}

}  // namespace

std::string explain_usage(const CLI::App &app, const CLI::ParseError &error) {
    const std::vector<const CLI::App *> chosen =
        app.get_subcommands([](const CLI::App *command) { return command->parsed(); });
    const CLI::App &command = chosen.empty() ? app : *chosen.front();
    const std::string name = chosen.empty() ? "" : command.get_name() + " ";
    return reason_of(app, command, error) + " (try 'quorv " + name + "--help')";
}

}  // namespace quorv::tool
