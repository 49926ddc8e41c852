#include "MasterReport.h"

#include "JsonWriter.h"

#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <utility>

namespace
{
std::string figure(const char* format, double value)
{
    if (std::isinf(value))
    {
        return value < 0 ? "-inf" : "+inf";
    }
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

void row(std::ostream& out, const char* label, const std::string& input, const std::string& output)
{
    char line[160];
    std::snprintf(line, sizeof(line), "  %-20s %16s %16s\n", label, input.c_str(), output.c_str());
    out << line;
}

double peakToLoudness(const MasterMeasurement& measurement)
{
    return measurement.truePeakDbtp() - measurement.integratedLufs();
}

void writeNumbers(JsonWriter& json, std::initializer_list<std::pair<const char*, double>> fields)
{
    for (const auto& [name, value] : fields)
    {
        json.key(name);
        json.value(value);
    }
}

void writeMeasurement(JsonWriter& json, const std::string& path, const MasterMeasurement& measurement)
{
    json.beginObject();
    json.key("path");
    json.value(path);
    json.key("seconds");
    json.value(measurement.seconds());
    writeNumbers(json, {
                           {"integrated_lufs", measurement.integratedLufs()},
                           {"loudness_range_lu", measurement.loudnessRangeLu()},
                           {"max_momentary_lufs", measurement.maxMomentaryLufs()},
                           {"max_short_term_lufs", measurement.maxShortTermLufs()},
                           {"true_peak_dbtp", measurement.truePeakDbtp()},
                           {"sample_peak_dbfs", measurement.samplePeakDbfs()},
                           {"plr_db", peakToLoudness(measurement)},
                       });
    json.endObject();
}
}

MasterReport::MasterReport(const MasterSettings& settings, const std::vector<MasteredFile>& files,
                           const std::vector<MasterUnit>& units)
    : settings(settings)
    , files(files)
    , units(units)
{
}

void MasterReport::printText(std::ostream& out) const
{
    out << "target    " << figure("%.1f LUFS", settings.targets.loudnessLufs) << " (within "
        << figure("%.2f LU", settings.targets.toleranceLu) << "), true peak at most "
        << figure("%.1f dBTP", settings.targets.truePeakDbtp) << "\n";
    for (const MasterUnit& unit : units)
    {
        const auto& passes = unit.search.getPasses();
        out << "\n"
            << (unit.files.size() > 1 ? "album of " + std::to_string(unit.files.size()) + " files"
                                      : "file " + files[unit.files.front()].inputPath)
            << ": " << (unit.search.succeeded() ? "targets met" : unit.search.getFailure())
            << (unit.written ? "" : "; nothing written") << "\n";
        out << "  pass   input gain     ceiling    loudness     true peak   reduction mean/largest\n";
        for (size_t pass = 0; pass < passes.size(); ++pass)
        {
            const MasterPassPoint& point = passes[pass];
            char line[200];
            std::snprintf(line, sizeof(line), "  %4zu %+9.2f dB %11s %8.2f LUFS %8.2f dBTP %9.2f / %.2f dB\n", pass + 1,
                          point.gainDb, point.ceilingDb ? figure("%.2f dB", *point.ceilingDb).c_str() : "-",
                          point.loudnessLufs, point.truePeakDbtp, point.meanReductionDb, point.largestReductionDb);
            out << line;
        }
        if (unit.files.size() > 1)
        {
            row(out, "album integrated", figure("%.2f LUFS", unit.inputLoudnessLufs),
                figure("%.2f LUFS", unit.outputLoudnessLufs));
        }
        for (size_t index : unit.files)
        {
            const MasteredFile& file = files[index];
            out << (unit.files.size() > 1 ? "track " + file.inputPath : std::string()) << "\n";
            row(out, "", "input", unit.written ? file.outputPath : "output (not written)");
            const MasterMeasurement& in = file.input;
            const MasterMeasurement& res = file.output;
            row(out, "integrated", figure("%.2f LUFS", in.integratedLufs()), figure("%.2f LUFS", res.integratedLufs()));
            row(out, "loudness range", figure("%.1f LU", in.loudnessRangeLu()),
                figure("%.1f LU", res.loudnessRangeLu()));
            row(out, "momentary max", figure("%.1f LUFS", in.maxMomentaryLufs()),
                figure("%.1f LUFS", res.maxMomentaryLufs()));
            row(out, "short-term max", figure("%.1f LUFS", in.maxShortTermLufs()),
                figure("%.1f LUFS", res.maxShortTermLufs()));
            row(out, "true peak", figure("%.2f dBTP", in.truePeakDbtp()), figure("%.2f dBTP", res.truePeakDbtp()));
            row(out, "sample peak", figure("%.2f dBFS", in.samplePeakDbfs()),
                figure("%.2f dBFS", res.samplePeakDbfs()));
            row(out, "PLR", figure("%.1f dB", peakToLoudness(in)), figure("%.1f dB", peakToLoudness(res)));
            ReductionSummary reduction;
            reduction.add(file.reductionDb);
            row(out, "reduction mean", "", figure("%.2f dB", reduction.meanDb));
            row(out, "reduction largest", "", figure("%.2f dB", reduction.largestDb));
            if (!file.renderCommand.empty())
            {
                out << "  render again: " << file.renderCommand << "\n";
            }
            if (!file.plotPath.empty() && unit.written)
            {
                out << "  plot: " << file.plotPath << "\n";
            }
        }
    }
}

void MasterReport::printJson(std::ostream& out) const
{
    JsonWriter json(out);
    json.beginObject();
    json.key("target_lufs");
    json.value(settings.targets.loudnessLufs);
    json.key("target_true_peak_dbtp");
    json.value(settings.targets.truePeakDbtp);
    json.key("searches");
    json.beginArray();
    for (const MasterUnit& unit : units)
    {
        json.beginObject();
        json.key("met");
        json.value(unit.search.succeeded());
        json.key("failure");
        json.value(unit.search.getFailure());
        json.key("written");
        json.value(unit.written);
        writeNumbers(json, {{"input_integrated_lufs", unit.inputLoudnessLufs},
                            {"output_integrated_lufs", unit.outputLoudnessLufs}});
        json.key("passes");
        json.beginArray();
        for (const MasterPassPoint& point : unit.search.getPasses())
        {
            json.beginObject();
            json.field("ceiling_db", point.ceilingDb);
            writeNumbers(json, {{"gain_db", point.gainDb},
                                {"integrated_lufs", point.loudnessLufs},
                                {"true_peak_dbtp", point.truePeakDbtp},
                                {"mean_reduction_db", point.meanReductionDb},
                                {"largest_reduction_db", point.largestReductionDb}});
            json.endObject();
        }
        json.endArray();
        json.key("files");
        json.beginArray();
        for (size_t index : unit.files)
        {
            const MasteredFile& file = files[index];
            json.beginObject();
            json.key("input");
            writeMeasurement(json, file.inputPath, file.input);
            json.key("output");
            writeMeasurement(json, file.outputPath, file.output);
            ReductionSummary reduction;
            reduction.add(file.reductionDb);
            writeNumbers(json,
                         {{"mean_reduction_db", reduction.meanDb}, {"largest_reduction_db", reduction.largestDb}});
            json.key("render_command");
            json.value(file.renderCommand);
            json.key("plot");
            unit.written && !file.plotPath.empty() ? json.value(file.plotPath) : json.null();
            json.endObject();
        }
        json.endArray();
        json.endObject();
    }
    json.endArray();
    json.endObject();
    out << "\n";
}
