#include "RenderRecipe.h"

#include "HostError.h"

#include <nlohmann/json.hpp>

#include <fstream>

void RenderRecipe::load(const std::string& reportPath, RenderSettings& settings)
{
    std::ifstream file(reportPath);
    if (!file)
    {
        throw HostError("cannot read the report '" + reportPath + "'");
    }
    try
    {
        const nlohmann::json report = nlohmann::json::parse(file);
        const nlohmann::json& plugin = report.at("plugin");
        const nlohmann::json& render = report.at("render");
        if (settings.pluginPath.empty())
        {
            settings.pluginPath = plugin.at("path").get<std::string>();
        }
        const int programIndex = plugin.at("program_index").get<int>();
        if (programIndex >= 0)
        {
            settings.programIndex = programIndex;
        }
        for (const nlohmann::json& parameter : plugin.at("parameters"))
        {
            settings.recordedValues.push_back({parameter.at("index").get<int>(),
                                               parameter.at("name").get<std::string>(),
                                               parameter.at("normalised").get<float>()});
        }
        settings.blockFrames = render.at("block_frames").get<int>();
        settings.keepLatency = render.at("keep_latency").get<bool>();
        settings.format = render.at("format").get<std::string>();
        settings.bits = render.at("bits").get<std::string>();
        if (!render.at("quality").is_null())
        {
            settings.quality = render.at("quality").get<double>();
        }
        settings.noDither = render.at("no_dither").get<bool>();
        settings.stereo = render.at("stereo").get<bool>();
    }
    catch (const nlohmann::json::exception& error)
    {
        throw HostError("'" + reportPath + "' is not a palisorne render report: " + error.what());
    }
}
