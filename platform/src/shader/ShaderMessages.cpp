// Translates glslang's messages.
//
// Its log has these lines, of which the last two follow from the others:
//   ERROR: file:line: 'word' : text
//   WARNING: file:line: 'word' : text
//   ERROR: Linking pixel stage: text
//   file(line): error at column n, HLSL parsing failed.
//   ERROR: n compilation errors.  No code generated.
#include "shader/ShaderMessages.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <vector>

namespace gleam {
namespace {

struct Message
{
    bool isError = true;
    std::string file;
    std::uint32_t line = 1;
    std::string word;
    std::string text;
};

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

std::optional<std::uint32_t> Number(std::string_view text)
{
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

bool TakePrefix(std::string_view& text, std::string_view prefix)
{
    if (!text.starts_with(prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

/// "file:line: 'word' : text", or a text alone.
Message ParseBody(std::string_view body, std::string_view defaultFile)
{
    Message message;
    message.file = defaultFile;
    const std::size_t place = body.find(": '");
    const std::size_t colon = place == std::string_view::npos ? place : body.rfind(':', place - 1);
    const auto line =
        colon == std::string_view::npos ? std::nullopt : Number(body.substr(colon + 1, place - colon - 1));
    const std::size_t wordEnd = place == std::string_view::npos ? place : body.find("' : ", place + 3);
    if (!line || wordEnd == std::string_view::npos) {
        message.text = Trim(body);
        return message;
    }
    message.file = body.substr(0, colon);
    message.line = *line;
    message.word = body.substr(place + 3, wordEnd - place - 3);
    message.text = Trim(body.substr(wordEnd + 4));
    return message;
}

bool Contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

/// Where the parser gave up: the last word that it read.
struct ParseStop
{
    std::string file;
    std::uint32_t line = 1;
    std::uint32_t column = 1;
};

std::optional<ParseStop> ParseStopLine(std::string_view line)
{
    const std::size_t mark = line.find("): error at column ");
    const std::size_t open = mark == std::string_view::npos ? mark : line.rfind('(', mark);
    if (open == std::string_view::npos)
        return std::nullopt;
    ParseStop stop;
    stop.file = line.substr(0, open);
    stop.line = Number(line.substr(open + 1, mark - open - 1)).value_or(1);
    const std::string_view rest = line.substr(mark + 19);
    stop.column = Number(rest.substr(0, rest.find(','))).value_or(1);
    return stop;
}

std::string_view LineOf(std::string_view text, std::uint32_t line)
{
    for (; line > 1; --line) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos)
            return {};
        text.remove_prefix(end + 1);
    }
    return text.substr(0, text.find_first_of("\r\n"));
}

/// A line of the preprocessed text by its number under the #line directives.
std::string_view PreprocessedLine(std::string_view text, std::string_view file, std::uint32_t wanted,
                                  std::string_view defaultFile)
{
    std::string current(defaultFile);
    std::uint32_t number = 1;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        std::string_view directive = line;
        if (TakePrefix(directive, "#line ")) {
            const std::size_t space = directive.find(' ');
            number = Number(Trim(directive.substr(0, space))).value_or(1);
            const std::size_t quote = directive.find('"');
            if (quote != std::string_view::npos)
                current = directive.substr(quote + 1, directive.rfind('"') - quote - 1);
            continue;
        }
        if (number == wanted && current == file)
            return line;
        ++number;
    }
    return {};
}

bool IsWordCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

/// The word, number or sign that ends at `column` (counted from 1) of a line.
std::string_view WordEndingAt(std::string_view line, std::uint32_t column)
{
    std::size_t end = std::min<std::size_t>(column, line.size());
    while (end > 0 && std::isspace(static_cast<unsigned char>(line[end - 1])))
        --end;
    std::size_t begin = end;
    while (begin > 0 && IsWordCharacter(line[begin - 1]))
        --begin;
    if (begin == end && end > 0)
        --begin;
    while (begin < end && end < line.size() && IsWordCharacter(line[end - 1]) && IsWordCharacter(line[end]))
        ++end;
    return line.substr(begin, end - begin);
}

/// Column of a whole word in a line, or 1.
std::uint32_t ColumnOf(std::string_view line, std::string_view word)
{
    if (word.empty())
        return 1;
    for (std::size_t at = line.find(word); at != std::string_view::npos; at = line.find(word, at + 1)) {
        const bool isWord = IsWordCharacter(word.front());
        const bool startsClear = !isWord || at == 0 || !IsWordCharacter(line[at - 1]);
        const std::size_t end = at + word.size();
        const bool endsClear = !isWord || end >= line.size() || !IsWordCharacter(line[end]);
        if (startsClear && endsClear)
            return static_cast<std::uint32_t>(at + 1);
    }
    return 1;
}

std::string PublishedText(const Message& message)
{
    const std::string quoted = "'" + message.word + "'";
    const std::string& text = message.text;
    if (text == "unknown variable" || Contains(text, "undeclared identifier"))
        return "X3004: undeclared identifier " + quoted;
    if (Contains(text, "no matching overloaded function"))
        return "X3013: " + quoted + ": no matching function with these parameters";
    if (Contains(text, "Could not process include directive")) {
        const std::size_t name = text.rfind(": ");
        return "X1507: failed to open source file: '" + text.substr(name + 2) + "'";
    }
    if (Contains(text, "entrypoint not found"))
        return "X3501: " + text;
    if (Contains(text, "cannot convert"))
        return "X3017: " + quoted + ": " + text;
    if (Contains(text, "redefinition") || Contains(text, "redeclaration"))
        return "X3003: redefinition of " + quoted;
    if (Contains(text, "wrong operand types") || Contains(text, "type mismatch"))
        return "X3020: type mismatch at " + quoted + ": " + text;
    if (Contains(text, "l-value required"))
        return "X3025: " + quoted + ": l-value specifies const object";
    if (message.word == "#error")
        return "X1519: #error: " + text;
    if (message.word.starts_with("#") || Contains(text, "preprocessor") || Contains(text, "macro"))
        return "X1500: " + quoted + ": " + text;
    if (Contains(text, "Reserved word") || Contains(text, "reserved word"))
        return "X3000: syntax error: reserved word " + quoted;
    return "X3000: " + (message.word.empty() ? text : quoted + ": " + text);
}

/// Messages that follow from others, or tell of what later steps put right.
bool IsConsequence(const Message& message)
{
    return Contains(message.text, "No code generated") || Contains(message.text, "compilation terminated") ||
           Contains(message.text, "from ' temp void'") || Contains(message.text, "illegal SPIR-V") ||
           Contains(message.text, "struct-member initializers ignored");
}

class Translation
{
public:
    Translation(const SourceTexts& sources, std::string_view preprocessed, std::string_view defaultFile)
        : m_sources(sources), m_preprocessed(preprocessed), m_defaultFile(defaultFile)
    {
    }

    std::string Run(std::string_view log)
    {
        std::vector<Message> messages;
        std::optional<ParseStop> stop;
        while (!log.empty()) {
            const std::string_view line = log.substr(0, log.find('\n'));
            log.remove_prefix(std::min(line.size() + 1, log.size()));
            Read(line, messages, stop);
        }
        std::string text;
        for (const Message& message : messages)
            text += Translate(message);
        // "Expected" tells what the grammar was trying; it is of use only when nothing told the cause before.
        const bool hasError = std::any_of(messages.begin(), messages.end(), [](const Message& m) { return m.isError; });
        if (stop && !hasError)
            text += Unexpected(*stop);
        return text;
    }

private:
    void Read(std::string_view line, std::vector<Message>& messages, std::optional<ParseStop>& stop)
    {
        if (const auto found = ParseStopLine(line)) {
            stop = found;
            return;
        }
        const bool isError = TakePrefix(line, "ERROR: ");
        if (!isError && !TakePrefix(line, "WARNING: "))
            return;
        Message message = ParseBody(line, m_defaultFile);
        message.isError = isError;
        if (message.text == "Expected" || IsConsequence(message))
            return;
        // Names that glslang gives to its built-in methods.
        std::string_view word = message.word;
        if (TakePrefix(word, "__BI_"))
            message.word = std::string(word);
        messages.push_back(std::move(message));
    }

    std::string_view SourceLine(std::string_view file, std::uint32_t line) const
    {
        const auto source = m_sources.find(file);
        return source == m_sources.end() ? std::string_view() : LineOf(source->second, line);
    }

    std::string Translate(const Message& message) const
    {
        const std::uint32_t column = ColumnOf(SourceLine(message.file, message.line), message.word);
        return OneMessage(message.file, message.line, column, message.isError ? "error" : "warning",
                          PublishedText(message));
    }

    std::string Unexpected(const ParseStop& stop) const
    {
        const std::string_view line = PreprocessedLine(m_preprocessed, stop.file, stop.line, m_defaultFile);
        const std::string_view word = WordEndingAt(line, stop.column);
        const std::uint32_t column = ColumnOf(SourceLine(stop.file, stop.line), word);
        const std::string text = word.empty() ? "X3000: syntax error: unexpected end of file"
                                              : "X3000: syntax error: unexpected token '" + std::string(word) + "'";
        return OneMessage(stop.file, stop.line, column, "error", text);
    }

    const SourceTexts& m_sources;
    std::string_view m_preprocessed;
    std::string_view m_defaultFile;
};

} // namespace

std::string OneMessage(std::string_view file, std::uint32_t line, std::uint32_t column, std::string_view severity,
                       std::string_view text)
{
    std::string message(file);
    message += '(' + std::to_string(line) + ',' + std::to_string(column) + "): ";
    message.append(severity).append(" ");
    const bool hasNumber = text.size() > 6 && text[0] == 'X' && text[5] == ':';
    if (!hasNumber)
        message += "X3000: ";
    message.append(text).append("\n");
    return message;
}

std::string PublishedMessages(std::string_view log, const SourceTexts& sources, std::string_view preprocessed,
                              std::string_view defaultFile)
{
    return Translation(sources, preprocessed, defaultFile).Run(log);
}

} // namespace gleam
