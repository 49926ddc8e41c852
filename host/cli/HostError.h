#pragma once

#include <stdexcept>
#include <string>

// A failure the user can act on. Its message is one line that names what went
// wrong and with which file, parameter or value; the command then ends with a
// non-zero exit code and leaves every existing file as it was.
class HostError : public std::runtime_error
{
public:
    explicit HostError(const std::string& message)
        : std::runtime_error(message)
    {
    }
};
