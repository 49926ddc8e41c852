#pragma once

#include "MasterSession.h"

#include <ostream>
#include <vector>

// What `palisorne master` did, for people (text) or programs (JSON): per
// search (a file, or the album) every pass and the settings reached, and per
// file the BS.1770 figures of input and output, the peak-to-loudness ratio,
// the gain reduction and the `palisorne render` command that repeats it.
class MasterReport
{
public:
    MasterReport(const MasterSettings& settings, const std::vector<MasteredFile>& files,
                 const std::vector<MasterUnit>& units);

    void printText(std::ostream& out) const;
    void printJson(std::ostream& out) const;

private:
    const MasterSettings& settings;
    const std::vector<MasteredFile>& files;
    const std::vector<MasterUnit>& units;
};
