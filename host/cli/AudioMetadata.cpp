#include "AudioMetadata.h"

#include <algorithm>
#include <cstddef>

AudioMetadata AudioMetadata::readFrom(SNDFILE* file)
{
    AudioMetadata metadata;
    for (int field = SF_STR_FIRST; field <= SF_STR_LAST; ++field)
    {
        const char* text = sf_get_string(file, field);
        if (text != nullptr && *text != '\0')
        {
            metadata.strings.emplace_back(field, text);
        }
    }
    metadata.hasBroadcastInfo =
        sf_command(file, SFC_GET_BROADCAST_INFO, &metadata.broadcastInfo, sizeof(metadata.broadcastInfo)) == SF_TRUE;
    return metadata;
}

void AudioMetadata::writeTo(SNDFILE* file) const
{
    // Formats without a field refuse it; that loses nothing the output could
    // have held.
    for (const auto& [field, text] : strings)
    {
        sf_set_string(file, field, text.c_str());
    }
    if (hasBroadcastInfo)
    {
        // libsndfile wants the size the coding history needs, not the room.
        BroadcastInfo copy = broadcastInfo;
        const size_t needed = offsetof(BroadcastInfo, coding_history) + copy.coding_history_size;
        sf_command(file, SFC_SET_BROADCAST_INFO, &copy,
                   static_cast<int>(std::max(sizeof(SF_BROADCAST_INFO), std::min(needed, sizeof(copy)))));
    }
}
