#pragma once

#include "OutputAudit.h"
#include "VstModule.h"

#include <string>
#include <vector>

class LoudMaterial;

// One instance of the plug-in driven as a host drives it (opened, rate and
// block size set, resumed), whose every output block is audited: finite and
// within the clip level that the parameters read back at the start of the
// block give (ClipLevelBound), or within a fixed bound while another thread
// changes the parameters. Output buffers are filled with NaN before each
// call, so a sample the plug-in fails to write is caught too.
class AuditedPlugin
{
public:
    static constexpr int maxBlockSize = 8192;

    explicit AuditedPlugin(const std::string& modulePath, float sampleRate = 44100.0f);

    VstModule& module() { return plugin; }
    const OutputAudit& audit() const { return outputAudit; }

    // Processes frames (0..maxBlockSize) of the two inputs; inPlace hands the
    // host's output arrays as inputs too, as hosts may.
    void process(const float* left, const float* right, int frames, bool inPlace = false);
    // The next frames of the material, times gain.
    void process(LoudMaterial& material, int frames, float gain = 1.0f);

    // The last block's output.
    const float* outputLeft() const { return output[0].data(); }
    const float* outputRight() const { return output[1].data(); }

    // The clip level the current parameter values give.
    double clipLevel();
    // Audits against this bound from now on instead (0 returns to the above).
    void useFixedBound(double bound) { fixedBound = bound; }

private:
    VstModule plugin;
    OutputAudit outputAudit;
    std::vector<float> input[2];
    std::vector<float> output[2];
    double fixedBound;
};
