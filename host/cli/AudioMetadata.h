#pragma once

#include <sndfile.h>

#include <string>
#include <utility>
#include <vector>

// What an audio file says about its contents besides the samples: the text
// fields libsndfile knows (title, artist, album, date, comment ...) and the
// broadcast-wave record. Carried from input to output where both formats hold
// it; a field the output's format cannot hold is left out.
struct AudioMetadata
{
    using BroadcastInfo = SF_BROADCAST_INFO_VAR(16384);

    std::vector<std::pair<int, std::string>> strings; // SF_STR_* and the text
    bool hasBroadcastInfo = false;
    BroadcastInfo broadcastInfo = {};

    static AudioMetadata readFrom(SNDFILE* file);
    // Before any audio is written: libsndfile places some fields in the header.
    void writeTo(SNDFILE* file) const;
};
