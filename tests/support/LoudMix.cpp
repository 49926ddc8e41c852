#include "LoudMix.h"

#include <cmath>

void LoudMix::render(float* left, float* right, int frames, float gain)
{
    const double pi = 3.14159265358979323846;
    const int64_t section = static_cast<int64_t>(rate / 2.0);
    for (int i = 0; i < frames; ++i, ++position)
    {
        noiseState = noiseState * 1664525u + 1013904223u;
        const double noise = static_cast<double>(noiseState >> 8) / 8388608.0 - 1.0;
        const double t = static_cast<double>(position) / rate;
        double sample[2];
        for (int channel = 0; channel < 2; ++channel)
        {
            if ((position / section) % 2 == 1)
            {
                sample[channel] = 1.4 * std::sin(pi / 2.0 * static_cast<double>(position) + pi / 4.0 + channel);
                continue;
            }
            const double hit = 1.5 * std::exp(-static_cast<double>(position % (section / 2)) / (0.01 * rate)) * noise;
            sample[channel] = 1.2 * std::sin(2.0 * pi * (55.0 + 27.5 * channel) * t)
                              + 0.6 * std::sin(2.0 * pi * 440.0 * t + channel) + 0.3 * noise + hit;
        }
        left[i] = gain * static_cast<float>(sample[0]);
        right[i] = gain * static_cast<float>(sample[1]);
    }
}
