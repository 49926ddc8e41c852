#include "ProgressBar.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace
{
constexpr int barWidth = 40;
constexpr double redrawSeconds = 0.1;
constexpr size_t noteWidth = 100;

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
    , tenthsLogged(0)
    , drawnWidth(0)
{
}

ProgressBar::~ProgressBar()
{
    finish();
}

void ProgressBar::update(double fraction, const std::string& note)
{
    const auto now = std::chrono::steady_clock::now();
    const double elapsed = std::chrono::duration<double>(now - start).count();
    if (elapsed < delaySeconds)
    {
        return;
    }
    if (!isTerminal)
    {
        const int tenths = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 10.0);
        if (tenths > tenthsLogged)
        {
            tenthsLogged = tenths;
            writeAll(fileDescriptor, "palisorne: " + std::to_string(tenths * 10) + " % done\n");
        }
        return;
    }
    if (shown && std::chrono::duration<double>(now - lastDrawn).count() < redrawSeconds)
    {
        return;
    }
    lastDrawn = now;
    draw(fraction, elapsed, note);
}

void ProgressBar::finish()
{
    if (shown)
    {
        writeAll(fileDescriptor, "\r" + std::string(drawnWidth, ' ') + "\r");
        shown = false;
    }
}

void ProgressBar::draw(double fraction, double elapsedSeconds, const std::string& note)
{
    fraction = std::clamp(fraction, 0.0, 1.0);
    const int filled = static_cast<int>(fraction * barWidth + 0.5);
    // The rate so far carries the rest of the work.
    const long remaining = fraction > 0.0 ? std::lround(elapsedSeconds * (1.0 - fraction) / fraction) : 0;
    char percent[48];
    std::snprintf(percent, sizeof(percent), "] %3d%% %ld:%02ld left", static_cast<int>(fraction * 100.0 + 0.5),
                  remaining / 60, remaining % 60);
    std::string line = "\r[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + percent;
    line += note.empty() ? "" : "  " + note.substr(0, noteWidth);
    // Pads over the end of a longer line drawn before.
    const size_t width = line.size() - 1;
    line += std::string(drawnWidth > width ? drawnWidth - width : 0, ' ');
    drawnWidth = std::max(drawnWidth, width);
    writeAll(fileDescriptor, line);
    shown = true;
}
