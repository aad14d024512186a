#include "OptionFile.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <sstream>
#include <utility>

#include "Messages.h"
#include "Nearest.h"
#include "ReadFile.h"

namespace qxlt {

namespace {

constexpr std::size_t kMaxSize = 1 << 20;
constexpr char kBlanks[] = " \t\r\v\f";
constexpr char kYes[] = "true";
constexpr char kNo[] = "false";
// In front of a file's name: it need not be there.
constexpr char kOptional = '-';

[[noreturn]] void Refuse(const std::string& place, std::size_t line, const std::string& what) {
    throw CLI::ParseError(Place(place, line) + ": " + what, CLI::ExitCodes::ConfigError);
}

std::string Trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::string Unquoted(const std::string& text) {
    const bool isQuoted =
        text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.back() == text.front();
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

// The option that the lines are about, and all that they give it.
struct Given {
    CLI::Option* option;
    std::vector<const OptionLine*> lines;
};

class OptionFile final {
public:
    OptionFile(CLI::App& command, std::string path) : m_command(command), m_path(std::move(path)) {}

    // What the command line has is not looked at.
    void Apply() {
        const std::vector<OptionLine> lines = ReadOptionLines(m_path, ReadFile(m_path, kMaxSize));
        for (const OptionLine& line : lines) Collect(line);
        for (const Given& given : m_given) {
            if (given.option->count() == 0) Give(given);
        }
    }

private:
    void Collect(const OptionLine& line) {
        CLI::Option* const option = Find(line);
        const auto known =
            std::find_if(m_given.begin(), m_given.end(), [&](const Given& given) { return given.option == option; });
        Given& given = known == m_given.end() ? m_given.emplace_back(Given{option, {}}) : *known;
        given.lines.push_back(&line);
    }

    CLI::Option* Find(const OptionLine& line) {
        std::vector<std::string> names;
        for (CLI::Option* const option : m_command.get_options()) {
            if (!option->get_configurable() || option->get_lnames().empty()) continue;
            if (option->check_lname(line.name)) return option;
            names.push_back(option->get_lnames().front());
        }
        const std::string near = Suggestion(line.name, names);
        Refuse(m_path, line.line, "no option \"" + line.name + "\"" + (near.empty() ? "" : "; did you mean " + near));
    }

    // As the parser does with what the command line has. What it finds wrong was wrong in one of the lines.
    void Give(const Given& given) const {
        const bool isFlag = given.option->get_expected_min() == 0;
        try {
            for (const OptionLine* const line : given.lines) {
                if (isFlag && line->value == kNo) continue;
                given.option->add_result(isFlag ? given.option->get_flag_value(line->name, line->value) : line->value);
            }
            if (given.option->count() > 0) given.option->run_callback();
        } catch (const CLI::ParseError& error) {
            const OptionLine& last = *given.lines.back();
            const std::string what = error.what();
            Refuse(m_path, last.line, (what.find(last.name) == std::string::npos ? last.name + ": " : "") + what);
        }
    }

    CLI::App& m_command;
    const std::string m_path;
    std::vector<Given> m_given;  // in the order of the file
};

void Apply(CLI::App& command, const std::string& path) {
    const bool isOptional = path.size() > 1 && path.front() == kOptional;
    const std::string file = isOptional ? path.substr(1) : path;
    if (isOptional && access(file.c_str(), F_OK) != 0 && errno == ENOENT) return;
    OptionFile(command, file).Apply();
}

}  // namespace

std::vector<OptionLine> ReadOptionLines(const std::string& place, const std::string& text) {
    std::vector<OptionLine> lines;
    std::istringstream stream(text);
    std::string line;
    for (std::size_t number = 1; std::getline(stream, line); ++number) {
        line = Trimmed(line);
        if (line.empty() || line.front() == '#' || line.front() == ';') continue;
        if (line.front() == '[') Refuse(place, number, "there are no sections; write name = value");
        const std::size_t sign = line.find('=');
        const std::string name = Trimmed(line.substr(0, sign));
        if (name.empty()) Refuse(place, number, "no name before the =; write name = value");
        if (name.front() == '-') Refuse(place, number, "write \"" + name + "\" without its dashes");
        lines.push_back({name, sign == std::string::npos ? kYes : Unquoted(Trimmed(line.substr(sign + 1))), number});
    }
    return lines;
}

// All of the command line has been read when the first option is looked at.
void AddConfigOption(CLI::App& command) {
    command
        .add_option_function<std::string>(
            "--config", [&command](const std::string& path) { Apply(command, path); },
            "Take options from a file of NAME = VALUE; the command line wins")
        ->configurable(false)
        ->option_text("FILE");
}

}  // namespace qxlt
