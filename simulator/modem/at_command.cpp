#include "at_command.h"

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
    std::vector<std::string> arguments(1);
    bool quoted = false;
    for (const char c : value) {
        quoted ^= c == '"';
        if (c == ',' && !quoted)
            arguments.emplace_back();
        else
            arguments.back() += c;
    }
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
    if (number.size() < 4 || number.compare(0, 3, "*99") != 0 || number.back() != '#')
        return std::nullopt;

    // *99[*[called address][*[layer 2 protocol][*[context id]]]]#
    std::vector<std::string> fields;
    for (const char c : number.substr(3, number.size() - 4)) {
        if (c == '*')
            fields.emplace_back();
        else if (fields.empty())
            return std::nullopt;
        else
            fields.back() += c;
    }
    fields.resize(fields.size() < 3 ? 3 : fields.size());
    const std::string &protocol = fields[1];
    const std::string &context = fields[2];
    if (fields.size() > 3 || !(protocol.empty() || protocol == "1" || protocol == "PPP"))
        return std::nullopt;
    if (context.empty())
        return PacketCall{};
    if (context.size() > 2 || context.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    const int id = std::stoi(context);
    return id >= 1 && id <= 16 ? std::optional(PacketCall{id}) : std::nullopt;
}

} // namespace modem
