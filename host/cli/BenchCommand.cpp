#include "BenchCommand.h"

#include "HostError.h"
#include "JsonWriter.h"
#include "PluginLocator.h"
#include "RealTimeBenchmark.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace
{
std::string formatted(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}
}

int BenchCommand::run(std::ostream& out, const BenchSettings& settings)
{
    std::vector<BenchmarkContender> contenders;
    for (const std::string& path : settings.plugins)
    {
        contenders.push_back({path, "", {}, {}});
    }
    if (contenders.empty())
    {
        contenders.push_back({PluginLocator::findDefault(), "", {}, {}});
    }
    // "N:TEXT" names the N-th plug-in; returns it and TEXT.
    auto target = [&contenders](const char* option, const std::string& text) {
        const size_t colon = text.find(':');
        char* end = nullptr;
        const long which = colon == std::string::npos ? 0 : std::strtol(text.c_str(), &end, 10);
        if (colon == std::string::npos || end != text.c_str() + colon || which < 1
            || which > static_cast<long>(contenders.size()))
        {
            throw HostError(std::string(option) + " '" + text + "': expected N:..., N from 1 to the number of plug-ins ("
                            + std::to_string(contenders.size()) + ")");
        }
        return std::make_pair(&contenders[static_cast<size_t>(which - 1)], text.substr(colon + 1));
    };
    for (const std::string& text : settings.programs)
    {
        const auto [contender, program] = target("--program", text);
        contender->program = program;
    }
    for (const std::string& text : settings.unitSettings)
    {
        const auto [contender, setting] = target("--set", text);
        contender->unitSettings.push_back(setting);
    }
    for (const std::string& text : settings.normalisedSettings)
    {
        const auto [contender, setting] = target("--set-norm", text);
        contender->normalisedSettings.push_back(setting);
    }

    const RealTimeBenchmark benchmark(settings.seconds, settings.sampleRate, settings.blockFrames, settings.passes,
                                      settings.gainDb);
    const std::vector<BenchmarkResult> results = benchmark.run(contenders);
    if (settings.json)
    {
        JsonWriter json(out);
        json.beginObject();
        json.field("seconds", settings.seconds);
        json.field("sample_rate", settings.sampleRate);
        json.field("block_frames", settings.blockFrames);
        json.field("passes", settings.passes);
        json.field("gain_db", settings.gainDb);
        json.key("plugins");
        json.beginArray();
        for (const BenchmarkResult& result : results)
        {
            json.beginObject();
            json.field("name", result.name);
            json.field("path", result.path);
            json.field("latency_samples", result.latencyFrames);
            json.field("median_real_time_factor", result.median);
            json.field("real_time_factors", result.realTimeFactors);
            json.endObject();
        }
        json.endArray();
        json.endObject();
        out << "\n";
        return 0;
    }
    out << "material: generated demo mix" << (settings.gainDb != 0.0 ? formatted(" %+.1f dB", settings.gainDb) : "")
        << ", " << formatted("%.1f", settings.seconds) << " s stereo at " << settings.sampleRate << " Hz, blocks of "
        << settings.blockFrames << " frames, " << settings.passes << " passes; process calls timed only\n";
    char line[512];
    std::snprintf(line, sizeof(line), "%-24s %8s %14s %21s  %s\n", "plug-in", "latency", "x real time",
                  "passes (min..max)", "module");
    out << line;
    for (const BenchmarkResult& result : results)
    {
        const auto range = std::minmax_element(result.realTimeFactors.begin(), result.realTimeFactors.end());
        const std::string spread = formatted("%.1f", *range.first) + ".." + formatted("%.1f", *range.second);
        std::snprintf(line, sizeof(line), "%-24s %8d %14.1f %21s  %s\n", result.name.c_str(), result.latencyFrames,
                      result.median, spread.c_str(), result.path.c_str());
        out << line;
    }
    return 0;
}

