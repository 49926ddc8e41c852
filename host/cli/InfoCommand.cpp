#include "InfoCommand.h"

#include "HostError.h"
#include "HostedPlugin.h"
#include "JsonWriter.h"
#include "NameMatch.h"
#include "PluginLocator.h"

#include <cstdio>
#include <vector>

namespace
{
// More distinct texts than this over the whole range: a continuous parameter.
constexpr size_t mostValueTexts = 8;
constexpr int probes = 200;

std::string categoryName(VstInt32 category)
{
    static const char* const names[] = {"unknown", "effect",   "synth",       "analysis", "mastering", "spatialiser",
                                        "room",    "surround", "restoration", "offline",  "shell",     "generator"};
    if (category >= 0 && category < static_cast<VstInt32>(sizeof(names) / sizeof(names[0])))
    {
        return names[category];
    }
    return "category " + std::to_string(category);
}

// What a parameter shows over its range; the value it had is restored.
struct ParameterRange
{
    std::string lowest;                  // display at 0
    std::string highest;                 // display at 1
    std::vector<std::string> valueTexts; // every text, for a stepped parameter
};

ParameterRange rangeOf(VstModule& module, int index)
{
    const float kept = module.getParameter(index);
    ParameterRange range;
    std::vector<std::string> seen;
    for (int step = 0; step <= probes; ++step)
    {
        module.setParameter(index, static_cast<float>(step) / probes);
        const std::string text = NameMatch::trimmed(module.parameterDisplay(index));
        if (step == 0)
        {
            range.lowest = text;
        }
        range.highest = text;
        if (seen.size() <= mostValueTexts && (seen.empty() || seen.back() != text))
        {
            seen.push_back(text);
        }
    }
    module.setParameter(index, kept);
    if (seen.size() <= mostValueTexts)
    {
        range.valueTexts = seen;
    }
    return range;
}

std::string formatted(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}
}

int InfoCommand::run(std::ostream& out, const std::string& pluginPath, double sampleRate, bool json)
{
    if (!(sampleRate >= 1000.0 && sampleRate <= 1e6))
    {
        throw HostError("--rate must lie between 1000 and 1000000 Hz");
    }
    HostedPlugin plugin(pluginPath.empty() ? PluginLocator::findDefault() : pluginPath);
    VstModule& module = plugin.module();
    plugin.start(sampleRate, 512);
    const std::string id = plugin.uniqueIdText();
    char hexId[16];
    std::snprintf(hexId, sizeof(hexId), "0x%08X", static_cast<unsigned>(module.uniqueId()));
    const int current = module.program();

    if (json)
    {
        JsonWriter writer(out);
        writer.beginObject();
        writer.field("path", module.path());
        writer.field("name", module.effectName());
        writer.field("vendor", module.vendorString());
        writer.field("product", module.productString());
        writer.field("unique_id", id);
        writer.field("unique_id_hex", std::string(hexId));
        writer.field("category", categoryName(module.plugCategory()));
        writer.field("vendor_version", module.vendorVersion());
        writer.field("vst_version", module.vstVersion());
        writer.field("inputs", module.numInputs());
        writer.field("outputs", module.numOutputs());
        writer.field("latency_samples", module.initialDelay());
        writer.field("current_program", current);
        writer.field("ours", plugin.isOurs());
        writer.field("editor", (module.flags() & effFlagsHasEditor) != 0);
        writer.key("parameters");
        writer.beginArray();
        for (int index = 0; index < module.numParams(); ++index)
        {
            const ParameterRange range = rangeOf(module, index);
            writer.beginObject();
            writer.field("index", index);
            writer.field("name", NameMatch::trimmed(module.parameterName(index)));
            writer.field("unit", NameMatch::trimmed(module.parameterLabel(index)));
            writer.field("display", NameMatch::trimmed(module.parameterDisplay(index)));
            writer.field("lowest", range.lowest);
            writer.field("highest", range.highest);
            writer.field("normalised", static_cast<double>(module.getParameter(index)));
            writer.key("value_texts");
            writer.beginArray();
            for (const std::string& text : range.valueTexts)
            {
                writer.value(text);
            }
            writer.endArray();
            writer.endObject();
        }
        writer.endArray();
        writer.key("programs");
        writer.beginArray();
        for (int index = 0; index < module.numPrograms(); ++index)
        {
            writer.value(plugin.programNameAt(index));
        }
        writer.endArray();
        writer.endObject();
        out << "\n";
        return 0;
    }

    out << "module      " << module.path() << "\n";
    out << "name        " << module.effectName() << "\n";
    out << "vendor      " << module.vendorString() << "\n";
    out << "product     " << module.productString() << "\n";
    out << "version     " << module.vendorVersion() << " (VST " << module.vstVersion() << ")\n";
    out << "unique ID   " << (id.empty() ? "" : "'" + id + "' ") << "(" << hexId << ")"
        << (plugin.isOurs() ? ", ours" : "") << "\n";
    out << "category    " << categoryName(module.plugCategory()) << "\n";
    out << "channels    " << module.numInputs() << " in, " << module.numOutputs() << " out\n";
    out << "latency     " << module.initialDelay() << " samples (started at " << formatted("%g", sampleRate)
        << " Hz)\n";
    out << "editor      " << ((module.flags() & effFlagsHasEditor) != 0 ? "yes" : "no") << "\n";
    out << "parameters  " << module.numParams() << " (value, unit, normalised; range or value texts)\n";
    for (int index = 0; index < module.numParams(); ++index)
    {
        const std::string label = NameMatch::trimmed(module.parameterLabel(index));
        const ParameterRange range = rangeOf(module, index);
        std::string values = range.lowest + " .. " + range.highest;
        if (!range.valueTexts.empty())
        {
            values.clear();
            for (const std::string& text : range.valueTexts)
            {
                values += (values.empty() ? "" : " | ") + text;
            }
        }
        char line[512];
        std::snprintf(line, sizeof(line), "  %3d  %-16s %12s %-6s (%.4f)  %s\n", index,
                      NameMatch::trimmed(module.parameterName(index)).c_str(),
                      NameMatch::trimmed(module.parameterDisplay(index)).c_str(), label.c_str(),
                      static_cast<double>(module.getParameter(index)), values.c_str());
        out << line;
    }
    out << "programs    " << module.numPrograms() << " (current: " << current << ")\n";
    for (int index = 0; index < module.numPrograms(); ++index)
    {
        char line[128];
        std::snprintf(line, sizeof(line), "  %c%3d  %s\n", index == current ? '*' : ' ', index,
                      plugin.programNameAt(index).c_str());
        out << line;
    }
    return 0;
}
