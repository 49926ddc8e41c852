#include "PlanarBuffer.h"

#include <algorithm>

PlanarBuffer::PlanarBuffer(int channels, size_t frames)
    : samples(static_cast<size_t>(std::max(channels, 0)), std::vector<float>(frames, 0.0f))
{
    for (auto& channel : samples)
    {
        channelPointers.push_back(channel.data());
    }
}

void PlanarBuffer::clear()
{
    for (auto& channel : samples)
    {
        std::fill(channel.begin(), channel.end(), 0.0f);
    }
}
