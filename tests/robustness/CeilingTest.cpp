// The ceiling on real, loud material: every factory program, at +0, +6 and
// +12 dB of extra gain on the input, keeps every output sample within its
// clip level. The true peak of the output is measured with libebur128 (an
// independent BS.1770 meter) and reported per program, both as the program
// stands and with true-peak detection ("ISP") switched on: the detector
// interpolates only four points per sample interval, so some overshoot
// between the samples is a property of the detector, reported here and not
// asserted.
#include "AuditedPlugin.h"
#include "LoudMaterial.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr int factoryPrograms = 17;
constexpr int truePeakIndex = 4;
constexpr double sampleRate = 44100.0;
constexpr int blockSize = 512;
constexpr int latency = 1535;
// Every section of the material once: 6 sections of 2 s.
constexpr int materialFrames = static_cast<int>(12 * sampleRate);
const float extraGainsDb[] = {0.0f, 6.0f, 12.0f};

struct Measurement
{
    double samplePeakOverDb;   // highest sample peak relative to the clip level
    double truePeakOverDb;     // highest true peak relative to the clip level
    bool clean;
};

// One program at one extra gain, with the program's own ISP setting or with
// ISP forced on; the output's sample and true peaks against the clip level.
Measurement measure(int program, float extraGainDb, bool forceTruePeak, std::string& failure)
{
    AuditedPlugin plugin(PALISORNE_MODULE_PATH, static_cast<float>(sampleRate));
    plugin.module().setProgram(program);
    if (forceTruePeak)
    {
        plugin.module().setParameter(truePeakIndex, 1.0f);
    }
    const double clipLevel = plugin.clipLevel();

    std::unique_ptr<ebur128_state, void (*)(ebur128_state*)> meter(
        ebur128_init(2, static_cast<unsigned long>(sampleRate), EBUR128_MODE_TRUE_PEAK),
        [](ebur128_state* state) { ebur128_destroy(&state); });

    LoudMaterial material(sampleRate, static_cast<uint32_t>(1 + program));
    const float gain = std::pow(10.0f, extraGainDb / 20.0f);
    std::vector<float> silence(blockSize, 0.0f);
    std::vector<float> interleaved(2 * blockSize);
    for (int done = 0; done < materialFrames + latency + blockSize; done += blockSize)
    {
        if (done < materialFrames)
        {
            plugin.process(material, blockSize, gain);
        }
        else
        {
            plugin.process(silence.data(), silence.data(), blockSize);
        }
        for (int i = 0; i < blockSize; ++i)
        {
            interleaved[2 * i] = plugin.outputLeft()[i];
            interleaved[2 * i + 1] = plugin.outputRight()[i];
        }
        ebur128_add_frames_float(meter.get(), interleaved.data(), blockSize);
    }

    double truePeak = 0.0;
    for (unsigned channel = 0; channel < 2; ++channel)
    {
        double peak = 0.0;
        ebur128_true_peak(meter.get(), channel, &peak);
        truePeak = std::max(truePeak, peak);
    }
    const OutputAudit& audit = plugin.audit();
    if (!audit.clean())
    {
        failure = audit.firstViolation();
    }
    return {20.0 * std::log10(audit.highestRatio()), 20.0 * std::log10(truePeak / clipLevel), audit.clean()};
}

// One line per program: collected by the test cases, printed once at the end.
struct ReportLine
{
    int program;
    std::string name;
    bool truePeakOn;
    Measurement asProgrammed;
    Measurement truePeakForced;
};

std::vector<ReportLine>& reportLines()
{
    static std::vector<ReportLine> lines;
    return lines;
}

class TruePeakReport : public ::testing::Environment
{
public:
    void TearDown() override
    {
        std::vector<ReportLine>& lines = reportLines();
        if (lines.empty())
        {
            return;
        }
        std::sort(lines.begin(), lines.end(),
                  [](const ReportLine& a, const ReportLine& b) { return a.program < b.program; });
        std::printf("\nWorst over +0/+6/+12 dB extra gain, 44.1 kHz, dB relative to the clip level:\n");
        std::printf("%-3s %-26s %-4s %12s %12s %14s\n", "#", "program", "ISP", "sample peak", "true peak",
                    "TP, ISP on");
        for (const ReportLine& line : lines)
        {
            std::printf("%-3d %-26s %-4s %+12.3f %+12.3f %+14.3f\n", line.program, line.name.c_str(),
                        line.truePeakOn ? "on" : "off", line.asProgrammed.samplePeakOverDb,
                        line.asProgrammed.truePeakOverDb, line.truePeakForced.truePeakOverDb);
        }
    }
};

::testing::Environment* const report = ::testing::AddGlobalTestEnvironment(new TruePeakReport);

class CeilingOnLoudMaterial : public ::testing::TestWithParam<int>
{
};
}

TEST_P(CeilingOnLoudMaterial, NoSampleAboveTheClipLevelAtAnyExtraGain)
{
    const int program = GetParam();
    ReportLine line{program, "", false, {-999.0, -999.0, true}, {-999.0, -999.0, true}};
    {
        VstModule probe(PALISORNE_MODULE_PATH);
        probe.setProgram(program);
        line.name = probe.programName();
        line.truePeakOn = probe.getParameter(truePeakIndex) > 0.5f;
    }
    for (const float extraGainDb : extraGainsDb)
    {
        for (const bool forceTruePeak : {false, true})
        {
            SCOPED_TRACE("extra gain " + std::to_string(extraGainDb) + " dB, ISP "
                         + (forceTruePeak ? "forced on" : "as programmed"));
            std::string failure;
            const Measurement m = measure(program, extraGainDb, forceTruePeak, failure);
            EXPECT_TRUE(m.clean) << failure;
            EXPECT_LE(m.samplePeakOverDb, 0.0);
            Measurement& worst = forceTruePeak ? line.truePeakForced : line.asProgrammed;
            worst.samplePeakOverDb = std::max(worst.samplePeakOverDb, m.samplePeakOverDb);
            worst.truePeakOverDb = std::max(worst.truePeakOverDb, m.truePeakOverDb);
        }
    }
    // The material is loud enough that every program works at its ceiling.
    EXPECT_GT(line.asProgrammed.samplePeakOverDb, -0.5);
    RecordProperty("true_peak_over_ceiling_db", std::to_string(line.asProgrammed.truePeakOverDb));
    RecordProperty("true_peak_over_ceiling_db_isp_on", std::to_string(line.truePeakForced.truePeakOverDb));
    reportLines().push_back(line);
}

INSTANTIATE_TEST_SUITE_P(FactoryPrograms, CeilingOnLoudMaterial, ::testing::Range(0, factoryPrograms));
