#pragma once

// Turns Ctrl-C (SIGINT) and SIGTERM into a flag that long loops poll, so a
// render stops between two blocks and its temporary file is removed instead
// of being left behind by a killed process. A second signal is not caught.
class InterruptFlag
{
public:
    static void install();
    static bool isRaised();
};
