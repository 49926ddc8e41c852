#pragma once

// The shape the lane layer works in, without its registers: a frame holds
// up to four channels side by side, one per lane of an SSE2 register.
// Headers that pass frames around include this; only the .cpp files that run
// the lanes include ChannelLanes.h.
namespace ChannelLanes
{
constexpr int width = 4;
using Frame = float[width];
}
