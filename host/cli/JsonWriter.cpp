#include "JsonWriter.h"

#include <cmath>
#include <cstdio>

JsonWriter::JsonWriter(std::ostream& out)
    : out(out)
    , afterKey(false)
{
}

void JsonWriter::beginObject()
{
    open('{');
}

void JsonWriter::endObject()
{
    close('}');
}

void JsonWriter::beginArray()
{
    open('[');
}

void JsonWriter::endArray()
{
    close(']');
}

void JsonWriter::open(char bracket)
{
    beforeValue();
    out << bracket;
    hasElements.push_back(false);
}

// A container that holds elements closes on a line of its own; the document
// ends with a line break.
void JsonWriter::close(char bracket)
{
    const bool any = hasElements.back();
    hasElements.pop_back();
    if (any)
    {
        newline();
    }
    out << bracket;
    if (hasElements.empty())
    {
        out << '\n';
    }
}

void JsonWriter::key(const std::string& name)
{
    beforeValue();
    out << '"' << escape(name) << "\": ";
    afterKey = true;
}

void JsonWriter::value(const std::string& text)
{
    beforeValue();
    out << '"' << escape(text) << '"';
}

void JsonWriter::value(const char* text)
{
    value(std::string(text));
}

void JsonWriter::value(double number)
{
    if (!std::isfinite(number))
    {
        null();
        return;
    }
    beforeValue();
    char text[32];
    std::snprintf(text, sizeof(text), "%.10g", number);
    out << text;
}

void JsonWriter::value(long long number)
{
    beforeValue();
    out << number;
}

void JsonWriter::value(int number)
{
    value(static_cast<long long>(number));
}

void JsonWriter::value(bool flag)
{
    beforeValue();
    out << (flag ? "true" : "false");
}

void JsonWriter::null()
{
    beforeValue();
    out << "null";
}

void JsonWriter::value(const std::optional<double>& number)
{
    if (number)
    {
        value(*number);
    }
    else
    {
        null();
    }
}

namespace
{
// Length of the well-formed UTF-8 sequence starting at text[at], 0 if none.
size_t utf8SequenceLength(const std::string& text, size_t at)
{
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    size_t length = 0;
    unsigned minimum = 0;
    unsigned codePoint = 0;
    if (lead >= 0xC2 && lead <= 0xDF)
    {
        length = 2;
        minimum = 0x80;
        codePoint = lead & 0x1Fu;
    }
    else if (lead >= 0xE0 && lead <= 0xEF)
    {
        length = 3;
        minimum = 0x800;
        codePoint = lead & 0x0Fu;
    }
    else if (lead >= 0xF0 && lead <= 0xF4)
    {
        length = 4;
        minimum = 0x10000;
        codePoint = lead & 0x07u;
    }
    else
    {
        return 0;
    }
    if (at + length > text.size())
    {
        return 0;
    }
    for (size_t i = 1; i < length; ++i)
    {
        const unsigned char next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0u) != 0x80u)
        {
            return 0;
        }
        codePoint = (codePoint << 6) | (next & 0x3Fu);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint < minimum || codePoint > 0x10FFFF || surrogate ? 0 : length;
}
}

// Plug-ins hand over names in whatever encoding they like: bytes that are not
// UTF-8 become U+FFFD so the document stays valid.
std::string JsonWriter::escape(const std::string& text)
{
    std::string escaped;
    escaped.reserve(text.size());
    size_t at = 0;
    while (at < text.size())
    {
        const char c = text[at];
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte >= 0x80)
        {
            const size_t length = utf8SequenceLength(text, at);
            if (length == 0)
            {
                escaped += "\\ufffd";
                ++at;
            }
            else
            {
                escaped.append(text, at, length);
                at += length;
            }
            continue;
        }
        switch (c)
        {
        case '"':
            escaped += "\\\"";
            break;
        case '\\':
            escaped += "\\\\";
            break;
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        case '\t':
            escaped += "\\t";
            break;
        default:
            if (byte < 0x20 || byte == 0x7F)
            {
                char code[8];
                std::snprintf(code, sizeof(code), "\\u%04x", static_cast<unsigned>(byte));
                escaped += code;
            }
            else
            {
                escaped += c;
            }
        }
        ++at;
    }
    return escaped;
}

// A value inside a container is preceded by a comma when it is not the first,
// and by a line break and indentation; a value right after its key is not.
void JsonWriter::beforeValue()
{
    if (afterKey)
    {
        afterKey = false;
        return;
    }
    if (hasElements.empty())
    {
        return;
    }
    if (hasElements.back())
    {
        out << ',';
    }
    hasElements.back() = true;
    newline();
}

void JsonWriter::newline()
{
    out << '\n' << std::string(2 * hasElements.size(), ' ');
}

void JsonWriter::value(const std::vector<double>& numbers)
{
    beginArray();
    for (double number : numbers)
    {
        value(number);
    }
    endArray();
}
