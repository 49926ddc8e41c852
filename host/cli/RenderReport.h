#pragma once

#include "LoudnessMeter.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

// One audio file as the report shows it.
struct AudioSummary
{
    std::string path;
    std::string format;
    int sampleRate = 0;
    int channels = 0;
    long long frames = 0;
    LoudnessFigures loudness;
    bool decoded = false; // measured after encoding and decoding again

    double largestTruePeakDbtp() const;
};

// A parameter as it stood when the render began.
struct ParameterSummary
{
    int index = 0;
    std::string name;
    std::string display; // with its unit label
    float normalised = 0.0f;
};

// What a render did and what the BS.1770 meter found in its input and output,
// written for people (text) or programs (JSON).
class RenderReport
{
public:
    std::string pluginPath;
    std::string pluginName;
    std::string uniqueId;
    bool ours = false;
    int latencyFrames = 0;
    bool latencyCompensated = true;
    int vendorVersion = 0;
    int vstVersion = 0;
    std::string program;
    int programIndex = -1; // -1: the plug-in has no programs
    std::vector<ParameterSummary> settings;   // those the command line gave
    std::vector<ParameterSummary> parameters; // every one, as rendered

    // How the render ran, enough to run it again.
    int blockFrames = 0;
    std::string outputKind; // "wav", "flac" ...
    std::string bits;       // "16", "24", "32f"; empty: another sample type
    std::optional<double> quality;
    bool noDither = false;
    bool stereo = false;

    AudioSummary input;
    AudioSummary output;

    // Per channel of the plug-in (see GainReductionMeter).
    std::vector<double> largestGainReductionDb;
    std::vector<double> meanGainReductionDb;
    std::optional<double> ceilingDb;
    std::string dither;
    std::vector<std::string> warnings;

    // True when a channel's true peak lies above the ceiling by more than the
    // report's resolution; false without a ceiling.
    bool truePeakAboveCeiling() const;

    void printText(std::ostream& out) const;
    void printJson(std::ostream& out) const;

    // palisorne's own version.
    static const char* hostVersion();
};
