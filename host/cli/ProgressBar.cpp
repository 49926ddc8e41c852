#include "ProgressBar.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace
{
constexpr int barWidth = 40;
constexpr double redrawSeconds = 0.1;

void writeAll(int fileDescriptor, const std::string& text)
{
    size_t done = 0;
    while (done < text.size())
    {
        const ssize_t written = ::write(fileDescriptor, text.data() + done, text.size() - done);
        if (written <= 0)
        {
            return;
        }
        done += static_cast<size_t>(written);
    }
}
}

ProgressBar::ProgressBar(int fileDescriptor, double delaySeconds)
    : fileDescriptor(fileDescriptor)
    , isTerminal(::isatty(fileDescriptor) == 1)
    , delaySeconds(delaySeconds)
    , start(std::chrono::steady_clock::now())
    , lastDrawn(start)
    , shown(false)
{
}

ProgressBar::~ProgressBar()
{
    finish();
}

void ProgressBar::update(double fraction)
{
    if (!isTerminal)
    {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (std::chrono::duration<double>(now - start).count() < delaySeconds)
    {
        return;
    }
    if (shown && std::chrono::duration<double>(now - lastDrawn).count() < redrawSeconds)
    {
        return;
    }
    lastDrawn = now;
    draw(fraction);
}

void ProgressBar::finish()
{
    if (shown)
    {
        writeAll(fileDescriptor, "\r" + std::string(barWidth + 16, ' ') + "\r");
        shown = false;
    }
}

void ProgressBar::draw(double fraction)
{
    fraction = std::clamp(fraction, 0.0, 1.0);
    const int filled = static_cast<int>(fraction * barWidth + 0.5);
    char percent[16];
    std::snprintf(percent, sizeof(percent), "] %3d%%", static_cast<int>(fraction * 100.0 + 0.5));
    writeAll(fileDescriptor, "\r[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + percent);
    shown = true;
}
