#pragma once

#include <cstddef>
#include <vector>

// One block of audio as processReplacing takes it: a separate array per
// channel, and the array of their pointers.
class PlanarBuffer
{
public:
    PlanarBuffer(int channels, size_t frames);

    float** pointers() { return channelPointers.data(); }
    float* channel(int index) { return samples[static_cast<size_t>(index)].data(); }
    int channels() const { return static_cast<int>(samples.size()); }
    void clear();

private:
    std::vector<std::vector<float>> samples;
    std::vector<float*> channelPointers;
};
