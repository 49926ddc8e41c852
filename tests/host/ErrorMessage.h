#pragma once

#include "HostError.h"

#include <string>

// The message of the HostError that action throws, or "no error".
template <class Action>
std::string errorMessageOf(Action action)
{
    try
    {
        action();
    }
    catch (const HostError& error)
    {
        return error.what();
    }
    return "no error";
}
