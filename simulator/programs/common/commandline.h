// Command lines of the simulators: options with their values, operands, --help.
#pragma once

#include "simulator/programs/common/setting.h"

#include <climits>
#include <cstdio>
#include <getopt.h>
#include <optional>
#include <string>
#include <vector>

namespace common
{

/** What a program takes. */
struct CommandLine {
    std::string program;
    std::string purpose;              ///< one sentence
    std::vector<Setting> operands;    ///< in their order
    std::vector<Setting> options;     ///< names without the dashes
    std::size_t optionalOperands = 0; ///< how many of the last ones may be missing
    std::string notes = {};           ///< what the help ends with
};

inline std::string helpText(const CommandLine &line)
{
    std::string usage = "Usage: " + line.program + (line.options.empty() ? "" : " [OPTION]...");
    for (std::size_t i = 0; i < line.operands.size(); ++i) {
        const std::string &form = line.operands[i].value.form;
        usage += i + line.optionalOperands < line.operands.size() ? ' ' + form : " [" + form + ']';
    }
    std::string help = usage + '\n' + line.purpose + "\n\n";
    for (const Setting &operand : line.operands)
        help += helpLines(operand.value.form, operand.help);
    for (const Setting &option : line.options)
        help += helpLines("--" + option.name + ' ' + option.value.form, option.help);
    return help + helpLines("--help", "this text") + line.notes;
}

/** @return how a person wrote the option that getopt_long(3) did not understand */
inline std::string refusedOption(char **argv)
{
    // It names single letters itself: of several in one word, optind still points before the word.
    const bool isLetter = ::optopt > 0 && ::optopt <= UCHAR_MAX;
    return isLetter ? std::string("-") + static_cast<char>(::optopt) : argv[::optind - 1];
}

/** Reads the options. @return what is wrong with them, in a sentence, or nothing */
inline std::string takeOptions(const CommandLine &line, int argc, char **argv, bool &help)
{
    constexpr int Known = UCHAR_MAX + 1; // no letter
    constexpr int Help = Known + 1;
    std::vector<option> names;
    for (const Setting &setting : line.options)
        names.push_back({setting.name.c_str(), required_argument, nullptr, Known});
    names.push_back({"help", no_argument, nullptr, Help});
    names.push_back({});
    int index = 0;
    for (int found; (found = ::getopt_long(argc, argv, ":", names.data(), &index)) != -1;) {
        if (found == ':')
            return refusedOption(argv) + " needs a value";
        if (found == '?')
            return "there is no option " + refusedOption(argv);
        help = help || found == Help;
        if (found != Known)
            continue;
        const Setting &setting = line.options[static_cast<std::size_t>(index)];
        std::string fault = assign(setting, "--" + setting.name, ::optarg);
        if (!fault.empty())
            return fault;
    }
    return {};
}

/** Reads the operands that getopt_long(3) has left. @return as takeOptions() */
inline std::string takeOperands(const CommandLine &line, int argc, char **argv)
{
    std::size_t taken = 0;
    for (int i = ::optind; i < argc; ++i, ++taken) {
        if (taken == line.operands.size())
            return std::string("there is no use for ") + argv[i];
        const Setting &operand = line.operands[taken];
        std::string fault = assign(operand, operand.name, argv[i]);
        if (!fault.empty())
            return fault;
    }
    return taken + line.optionalOperands < line.operands.size()
               ? line.operands[taken].name + " is missing"
               : std::string();
}

/**
 * Sets what a command line says. Prints the help if it asks for that, or what is wrong with it.
 * @return nothing when the program is to go on, else its exit status: 0 after the help, 2 else
 */
inline std::optional<int> readCommandLine(const CommandLine &line, int argc, char **argv)
{
    bool help = false;
    std::string fault = takeOptions(line, argc, argv, help);
    if (fault.empty() && help) {
        std::fputs(helpText(line).c_str(), stdout);
        return 0;
    }
    if (fault.empty())
        fault = takeOperands(line, argc, argv);
    if (fault.empty())
        return std::nullopt;
    std::fprintf(stderr, "%s: %s; try %s --help\n", line.program.c_str(), fault.c_str(),
                 line.program.c_str());
    return 2;
}

} // namespace common
