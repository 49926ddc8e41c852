#include "InterruptFlag.h"

#include <csignal>

namespace
{
volatile std::sig_atomic_t raised = 0;

void onSignal(int)
{
    raised = 1;
}
}

void InterruptFlag::install()
{
    struct sigaction action = {};
    action.sa_handler = onSignal;
    // Once only: a second signal ends the process at once, should an effect
    // hang inside a call and never return to the loop that polls the flag.
    action.sa_flags = SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool InterruptFlag::isRaised()
{
    return raised != 0;
}
