#include "ProgressBar.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <string>

namespace
{
std::string drain(int fileDescriptor)
{
    std::string text;
    char buffer[4096];
    ::fcntl(fileDescriptor, F_SETFL, O_NONBLOCK);
    while (true)
    {
        const ssize_t got = ::read(fileDescriptor, buffer, sizeof(buffer));
        if (got <= 0)
        {
            return text;
        }
        text.append(buffer, static_cast<size_t>(got));
    }
}
}

// Not a terminal: one line per tenth reached, however the updates fall.
TEST(ProgressBar, WritesALinePerTenthWhenTheStreamIsNotATerminal)
{
    int pipeEnds[2];
    ASSERT_EQ(::pipe(pipeEnds), 0);
    {
        ProgressBar bar(pipeEnds[1], 0.0);
        for (double fraction : {0.05, 0.1, 0.15, 0.35, 0.999, 1.0})
        {
            bar.update(fraction);
        }
        EXPECT_FALSE(bar.isShown());
    }
    ::close(pipeEnds[1]);
    EXPECT_EQ(drain(pipeEnds[0]), "palisorne: 10 % done\npalisorne: 30 % done\npalisorne: 90 % done\n"
                                  "palisorne: 100 % done\n");
    ::close(pipeEnds[0]);
}

// On a terminal: nothing before its delay, then the bar and the percentage,
// erased without a trace when done.
TEST(ProgressBar, OnATerminalWaitsForItsDelayThenDrawsAndErasesItself)
{
    int controller = -1;
    int terminal = -1;
    ASSERT_EQ(::openpty(&controller, &terminal, nullptr, nullptr, nullptr), 0);
    {
        // An hour's delay is never reached within a test.
        ProgressBar waiting(terminal, 3600.0);
        waiting.update(0.5);
        EXPECT_FALSE(waiting.isShown());
    }
    EXPECT_EQ(drain(controller), "");
    {
        ProgressBar bar(terminal, 0.0);
        bar.update(0.25);
        EXPECT_TRUE(bar.isShown());
        const std::string drawn = drain(controller);
        EXPECT_NE(drawn.find("[##########.............................."), std::string::npos) << drawn;
        EXPECT_NE(drawn.find(" 25% 0:00 left"), std::string::npos) << drawn;
        bar.finish();
        EXPECT_FALSE(bar.isShown());
        const std::string erased = drain(controller);
        EXPECT_EQ(erased.front(), '\r');
        EXPECT_EQ(erased.back(), '\r');
        EXPECT_EQ(erased.find_first_not_of(" \r"), std::string::npos);
    }
    ::close(terminal);
    ::close(controller);
}
