#include "simulator/programs/modem/atcommand.h"

#include "simulator/programs/common/digits.h"

#include <cctype>

namespace modem
{
namespace
{

bool isDigit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool isLetter(char c)
{
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

char upper(char c)
{
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

std::string withoutBlanks(const std::string &text)
{
    std::string kept;
    bool quoted = false;
    for (const char c : text) {
        if (c == '"')
            quoted = !quoted;
        if (c != ' ' || quoted)
            kept += c;
    }
    return kept;
}

/** @return the fields around a separator, at least one; quoted separators are none */
std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (const char c : text) {
        quoted ^= c == '"';
        if (c == separator && !quoted)
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

/** Walks over a command body; every step takes one command off its front. */
class Scanner
{
public:
    explicit Scanner(const std::string &body) : m_text(withoutBlanks(body)) {}

    bool atEnd() const { return m_at >= m_text.size(); }

    Command next()
    {
        const char first = upper(m_text[m_at]);
        if (first == '+')
            return extended();
        if (first == 'D')
            return dial();
        if (first == 'S')
            return sRegister();
        if (first == '&' || isLetter(first))
            return basic();
        return invalid();
    }

private:
    char peek() const { return atEnd() ? '\0' : m_text[m_at]; }

    std::string digits()
    {
        std::string number;
        while (isDigit(peek()))
            number += m_text[m_at++];
        return number;
    }

    Command invalid()
    {
        Command command{m_text.substr(m_at), Command::Operation::Invalid, {}};
        m_at = m_text.size();
        return command;
    }

    Command basic()
    {
        Command command;
        if (peek() == '&')
            command.name = m_text[m_at++];
        if (!isLetter(peek()))
            return invalid();
        command.name += upper(m_text[m_at++]);
        command.value = digits();
        if (!command.value.empty())
            command.operation = Command::Operation::Set;
        return command;
    }

    Command sRegister()
    {
        ++m_at;
        Command command{"S" + digits(), Command::Operation::Invalid, {}};
        if (peek() == '?') {
            ++m_at;
            command.operation = Command::Operation::Read;
        } else if (peek() == '=') {
            ++m_at;
            command.operation = Command::Operation::Set;
            command.value = digits();
        }
        return command;
    }

    Command dial()
    {
        Command command{"D", Command::Operation::Execute, m_text.substr(m_at + 1)};
        m_at = m_text.size();
        return command;
    }

    Command extended()
    {
        Command command;
        command.name = m_text[m_at++];
        while (isLetter(peek()) || isDigit(peek()) || peek() == '_')
            command.name += upper(m_text[m_at++]);
        std::string rest;
        for (bool quoted = false; !atEnd() && (quoted || peek() != ';'); ++m_at) {
            quoted ^= peek() == '"';
            rest += peek();
        }
        ++m_at;
        if (rest == "?") {
            command.operation = Command::Operation::Read;
        } else if (rest == "=?") {
            command.operation = Command::Operation::Test;
        } else if (!rest.empty()) {
            command.operation =
                rest[0] == '=' ? Command::Operation::Set : Command::Operation::Invalid;
            command.value = rest.substr(1);
        }
        return command;
    }

    std::string m_text;
    size_t m_at = 0;
};

} // namespace

std::optional<std::string> commandBody(const std::string &line)
{
    const size_t large = line.find("AT");
    const size_t small = line.find("at");
    const size_t prefix = large < small ? large : small;
    if (prefix == std::string::npos)
        return std::nullopt;
    return line.substr(prefix + 2);
}

std::vector<Command> parseCommands(const std::string &body)
{
    std::vector<Command> commands;
    for (Scanner scanner(body); !scanner.atEnd();)
        commands.push_back(scanner.next());
    return commands;
}

std::vector<std::string> splitArguments(const std::string &value)
{
    std::vector<std::string> arguments = split(value, ',');
    for (std::string &argument : arguments) {
        if (argument.size() >= 2 && argument.front() == '"' && argument.back() == '"')
            argument = argument.substr(1, argument.size() - 2);
    }
    return arguments;
}

std::optional<PacketCall> parsePacketCall(const std::string &dialString)
{
    std::string number;
    for (const char c : dialString) {
        if (c != '"' && c != ' ')
            number += upper(c);
    }
    if (!number.empty() && (number[0] == 'T' || number[0] == 'P'))
        number.erase(0, 1);
    if (number.empty() || number.back() != '#')
        return std::nullopt;

    // *99[*[called address][*[layer 2 protocol][*[context id]]]]#
    number.pop_back();
    std::vector<std::string> fields = split(number, '*');
    if (fields.size() < 2 || fields.size() > 5 || !fields[0].empty() || fields[1] != "99")
        return std::nullopt;
    fields.resize(5);
    if (!fields[3].empty() && fields[3] != "1" && fields[3] != "PPP")
        return std::nullopt;
    if (fields[4].empty())
        return PacketCall{};
    const auto id = common::wholeNumber(fields[4], 1, 16);
    return id ? std::optional(PacketCall{*id}) : std::nullopt;
}

} // namespace modem
