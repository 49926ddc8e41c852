#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

// Writes JSON to a stream as it goes, two-space indented. Commas, quoting and
// escaping are its business; numbers that JSON cannot express (infinities of
// silent measurements, NaN) become null.
class JsonWriter
{
public:
    explicit JsonWriter(std::ostream& out);

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    // Names the next value inside an object.
    void key(const std::string& name);

    void value(const std::string& text);
    void value(const char* text);
    void value(double number);
    void value(long long number);
    void value(int number);
    void value(bool flag);
    void null();
    // The number, or null when there is none.
    void value(const std::optional<double>& number);
    // An array of numbers.
    void value(const std::vector<double>& numbers);

    // A member of the open object: key(name) then value(content).
    template <typename Content>
    void field(const std::string& name, const Content& content)
    {
        key(name);
        value(content);
    }

    static std::string escape(const std::string& text);

private:
    void open(char bracket);
    void close(char bracket);
    void beforeValue();
    void newline();

    std::ostream& out;
    // Per open container: whether it already holds an element.
    std::vector<bool> hasElements;
    bool afterKey;
};
