#include "RenderReport.h"

#include "JsonWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace
{
// Figures are shown to 0.1 dB; a true peak this little above the ceiling is
// the meter's rounding, not an overshoot.
constexpr double ceilingTolerance = 0.005;

std::string formatted(double value, const char* unit)
{
    if (std::isinf(value))
    {
        return std::string(value < 0 ? "-inf " : "+inf ") + unit;
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f %s", value, unit);
    return text;
}

std::string channelName(size_t channel, size_t channels)
{
    if (channels == 2)
    {
        return channel == 0 ? "L" : "R";
    }
    return channels == 1 ? "M" : std::to_string(channel + 1);
}

void printRow(std::ostream& out, const std::string& label, const std::string& input, const std::string& output)
{
    char line[160];
    std::snprintf(line, sizeof(line), "  %-18s %16s %16s\n", label.c_str(), input.c_str(), output.c_str());
    out << line;
}

void writeParameters(JsonWriter& json, const std::vector<ParameterSummary>& parameters)
{
    json.beginArray();
    for (const ParameterSummary& parameter : parameters)
    {
        json.beginObject();
        json.field("index", parameter.index);
        json.field("name", parameter.name);
        json.field("display", parameter.display);
        json.field("normalised", static_cast<double>(parameter.normalised));
        json.endObject();
    }
    json.endArray();
}

void writeFile(JsonWriter& json, const AudioSummary& file)
{
    json.beginObject();
    json.field("path", file.path);
    json.field("format", file.format);
    json.field("sample_rate", file.sampleRate);
    json.field("channels", file.channels);
    json.field("frames", file.frames);
    json.field("seconds", file.sampleRate > 0 ? static_cast<double>(file.frames) / file.sampleRate : 0.0);
    json.field("integrated_lufs", file.loudness.integratedLufs);
    json.field("loudness_range_lu", file.loudness.loudnessRangeLu);
    json.field("sample_peak_dbfs", file.loudness.samplePeakDbfs);
    json.field("true_peak_dbtp", file.loudness.truePeakDbtp);
    json.field("measured_decoded", file.decoded);
    json.endObject();
}
}

double AudioSummary::largestTruePeakDbtp() const
{
    const auto& peaks = loudness.truePeakDbtp;
    return peaks.empty() ? -std::numeric_limits<double>::infinity() : *std::max_element(peaks.begin(), peaks.end());
}

bool RenderReport::truePeakAboveCeiling() const
{
    if (!ceilingDb)
    {
        return false;
    }
    const auto& peaks = output.loudness.truePeakDbtp;
    return std::any_of(peaks.begin(), peaks.end(),
                       [this](double peak) { return peak > *ceilingDb + ceilingTolerance; });
}

const char* RenderReport::hostVersion()
{
    return PALISORNE_VERSION;
}

void RenderReport::printText(std::ostream& out) const
{
    out << "palisorne " << hostVersion() << ", blocks of " << blockFrames << " frames\n";
    out << "plug-in   " << pluginName;
    if (!uniqueId.empty())
    {
        out << " ('" << uniqueId << "')";
    }
    out << " version " << vendorVersion << ", " << pluginPath << "\n";
    out << "latency   " << latencyFrames << " samples, "
        << (latencyCompensated ? "compensated (output aligned with input)" : "kept in the output") << "\n";
    if (programIndex >= 0)
    {
        out << "program   " << program << " (" << programIndex << ")\n";
    }
    for (const ParameterSummary& setting : settings)
    {
        out << "set       " << setting.name << " = " << setting.display << "\n";
    }
    out << "rendered with";
    for (const ParameterSummary& parameter : parameters)
    {
        char normalised[32];
        std::snprintf(normalised, sizeof(normalised), "%.9g", static_cast<double>(parameter.normalised));
        out << (parameter.index % 4 == 0 ? "\n " : ";") << " " << parameter.name << " = " << parameter.display << " ("
            << normalised << ")";
    }
    out << "\n";
    out << "input     " << input.path << " (" << input.format << ")\n";
    out << "output    " << output.path << " (" << output.format << ")"
        << (output.decoded ? ", measured decoded" : "") << "\n";
    out << "dither    " << dither << "\n";

    printRow(out, "", "input", "output");
    char length[2][48];
    const AudioSummary* files[2] = {&input, &output};
    for (int i = 0; i < 2; ++i)
    {
        std::snprintf(length[i], sizeof(length[i]), "%.3f s, %d ch",
                      static_cast<double>(files[i]->frames) / files[i]->sampleRate, files[i]->channels);
    }
    printRow(out, "length", length[0], length[1]);
    printRow(out, "integrated", formatted(input.loudness.integratedLufs, "LUFS"),
             formatted(output.loudness.integratedLufs, "LUFS"));
    printRow(out, "loudness range", formatted(input.loudness.loudnessRangeLu, "LU"),
             formatted(output.loudness.loudnessRangeLu, "LU"));
    const size_t channels = std::max(input.loudness.samplePeakDbfs.size(), output.loudness.samplePeakDbfs.size());
    for (size_t channel = 0; channel < channels; ++channel)
    {
        const auto cell = [channel](const std::vector<double>& values, const char* unit)
        { return channel < values.size() ? formatted(values[channel], unit) : std::string("-"); };
        printRow(out, "sample peak " + channelName(channel, channels), cell(input.loudness.samplePeakDbfs, "dBFS"),
                 cell(output.loudness.samplePeakDbfs, "dBFS"));
    }
    for (size_t channel = 0; channel < channels; ++channel)
    {
        const auto cell = [channel](const std::vector<double>& values, const char* unit)
        { return channel < values.size() ? formatted(values[channel], unit) : std::string("-"); };
        printRow(out, "true peak " + channelName(channel, channels), cell(input.loudness.truePeakDbtp, "dBTP"),
                 cell(output.loudness.truePeakDbtp, "dBTP"));
    }
    if (!largestGainReductionDb.empty())
    {
        out << "gain reduction (output against input" << (ours ? " raised by In gain" : "") << ", 10 ms RMS):";
        for (size_t channel = 0; channel < largestGainReductionDb.size(); ++channel)
        {
            out << " " << channelName(channel, largestGainReductionDb.size()) << " largest "
                << formatted(largestGainReductionDb[channel], "dB") << ", mean "
                << formatted(meanGainReductionDb[channel], "dB") << ";";
        }
        out << "\n";
    }
    if (ceilingDb)
    {
        out << "ceiling   " << formatted(*ceilingDb, "dB") << ": output true peak "
            << (truePeakAboveCeiling() ? "ABOVE it" : "at or below it") << "\n";
    }
}

void RenderReport::printJson(std::ostream& out) const
{
    JsonWriter json(out);
    json.beginObject();
    json.key("plugin");
    json.beginObject();
    json.field("path", pluginPath);
    json.field("name", pluginName);
    json.field("unique_id", uniqueId);
    json.field("ours", ours);
    json.field("latency_samples", latencyFrames);
    json.field("latency_compensated", latencyCompensated);
    json.field("vendor_version", vendorVersion);
    json.field("vst_version", vstVersion);
    json.field("program", program);
    json.field("program_index", programIndex);
    json.key("settings");
    writeParameters(json, settings);
    json.key("parameters");
    writeParameters(json, parameters);
    json.endObject();
    json.key("render");
    json.beginObject();
    json.field("host_version", hostVersion());
    json.field("block_frames", blockFrames);
    json.field("keep_latency", !latencyCompensated);
    json.field("format", outputKind);
    json.field("bits", bits);
    json.field("quality", quality);
    json.field("no_dither", noDither);
    json.field("stereo", stereo);
    json.endObject();
    json.key("input");
    writeFile(json, input);
    json.key("output");
    writeFile(json, output);
    json.key("gain_reduction_db");
    json.beginObject();
    json.field("largest", largestGainReductionDb);
    json.field("mean", meanGainReductionDb);
    json.endObject();
    json.field("dither", dither);
    json.field("ceiling_db", ceilingDb);
    json.field("true_peak_above_ceiling", truePeakAboveCeiling());
    json.key("warnings");
    json.beginArray();
    for (const std::string& warning : warnings)
    {
        json.value(warning);
    }
    json.endArray();
    json.endObject();
}
