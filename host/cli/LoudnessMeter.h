#pragma once

#include <ebur128.h>

#include <cstddef>
#include <string>
#include <vector>

// What the ITU-R BS.1770 meter says about one file. Silence gives -inf.
struct LoudnessFigures
{
    double integratedLufs;
    double loudnessRangeLu;
    std::vector<double> samplePeakDbfs; // per channel
    std::vector<double> truePeakDbtp;   // per channel
};

// An ITU-R BS.1770 / EBU R128 meter (libebur128) fed block by block:
// integrated loudness, loudness range, sample and true peak per channel.
class LoudnessMeter
{
public:
    LoudnessMeter(int channels, int sampleRate);
    ~LoudnessMeter();
    LoudnessMeter(const LoudnessMeter&) = delete;
    LoudnessMeter& operator=(const LoudnessMeter&) = delete;

    void addFrames(const float* interleaved, size_t frames);
    LoudnessFigures getFigures() const;

    // The figures of a whole file as a listener gets it: lossy formats are
    // decoded first.
    static LoudnessFigures measureFile(const std::string& path);

private:
    ebur128_state* state;
    int channels;
};
