#pragma once

#include <chrono>
#include <string>

// A one-line progress bar on a terminal. It appears only when the stream is a
// terminal and the work has already taken longer than `delaySeconds`, so
// quick jobs and redirected output stay clean; it is redrawn a few times a
// second at most and erased by finish().
class ProgressBar
{
public:
    explicit ProgressBar(int fileDescriptor, double delaySeconds = 1.0);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // `fraction` of the work done, 0..1.
    void update(double fraction);
    void finish();

    bool isShown() const { return shown; }

private:
    void draw(double fraction);

    int fileDescriptor;
    bool isTerminal;
    double delaySeconds;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point lastDrawn;
    bool shown;
};
