#pragma once

#include <chrono>
#include <string>

// Progress of a long job. On a terminal, a one-line bar with the time
// remaining, redrawn a few times a second at most and erased by finish();
// otherwise (a log file, a pipe) one line per tenth of the work. Either
// appears only once the work has taken longer than `delaySeconds`, so quick
// jobs stay quiet.
class ProgressBar
{
public:
    explicit ProgressBar(int fileDescriptor, double delaySeconds = 1.0);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // `fraction` of the work done, 0..1, and on a terminal what is being done
    // (shown after the bar, cut to fit a line).
    void update(double fraction, const std::string& note = "");
    void finish();

    bool isShown() const { return shown; }

private:
    void draw(double fraction, double elapsedSeconds, const std::string& note);

    int fileDescriptor;
    bool isTerminal;
    double delaySeconds;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point lastDrawn;
    bool shown;
    int tenthsLogged;
    size_t drawnWidth;
};
