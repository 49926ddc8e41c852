#include "ParameterSetting.h"

#include "HostError.h"
#include "HostedPlugin.h"
#include "NameMatch.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace
{
// Bisection steps: 2^-32 is finer than a float's resolution near 1.
constexpr int bisectionSteps = 32;

std::optional<double> parseNumber(const std::string& text)
{
    const std::string clean = NameMatch::trimmed(text);
    if (clean.empty())
    {
        return std::nullopt;
    }
    char* end = nullptr;
    const double number = std::strtod(clean.c_str(), &end);
    if (end != clean.c_str() + clean.size() || std::isnan(number))
    {
        return std::nullopt;
    }
    return number;
}

// The display of one parameter as a function of the normalised value, turned
// so that it rises (`sign` is -1 for a falling display). The effect sees
// floats, so every bisection keeps both ends of its final interval: they are
// the two neighbouring floats where the display changes.
class DisplayCurve
{
public:
    struct Edge
    {
        double last;  // the last value on the lower side
        double first; // the first value on the upper side
    };

    DisplayCurve(VstModule& module, int index, const std::string& what)
        : module(module)
        , index(index)
        , what(what)
        , sign(1.0)
    {
    }

    std::string textAt(double normalised)
    {
        module.setParameter(index, static_cast<float>(normalised));
        return NameMatch::trimmed(module.parameterDisplay(index));
    }

    double at(double normalised)
    {
        const std::string display = textAt(normalised);
        const std::optional<double> number = ParameterSetting::displayedNumber(display);
        if (!number)
        {
            throw HostError(what + ": the plug-in shows '" + display
                            + "', not a number, so a value in units cannot be matched; use --set-norm");
        }
        return sign * *number;
    }

    void setFalling(bool falling) { sign = falling ? -1.0 : 1.0; }
    double turned(double value) const { return sign * value; }

    // Where the display passes from "not above `value`" to "above", given
    // at(low) <= value < at(high).
    Edge passesAbove(double value, double low, double high)
    {
        for (int step = 0; step < bisectionSteps; ++step)
        {
            const double middle = 0.5 * (low + high);
            (at(middle) <= value ? low : high) = middle;
        }
        return {low, high};
    }

    // Where the display passes from "below `value`" to "not below", given
    // at(low) < value <= at(high).
    Edge reaches(double value, double low, double high)
    {
        for (int step = 0; step < bisectionSteps; ++step)
        {
            const double middle = 0.5 * (low + high);
            (at(middle) < value ? low : high) = middle;
        }
        return {low, high};
    }

private:
    VstModule& module;
    int index;
    std::string what;
    double sign;
};
}

ParameterSetting::ParameterSetting(std::string name, std::string valueText, bool normalised)
    : name(std::move(name))
    , valueText(std::move(valueText))
    , normalised(normalised)
{
}

ParameterSetting ParameterSetting::parse(const std::string& text, bool normalised)
{
    const size_t equals = text.find_last_of('=');
    if (equals == std::string::npos || NameMatch::trimmed(text.substr(0, equals)).empty()
        || NameMatch::trimmed(text.substr(equals + 1)).empty())
    {
        throw HostError("'" + text + "' is not NAME=VALUE");
    }
    return ParameterSetting(NameMatch::trimmed(text.substr(0, equals)), NameMatch::trimmed(text.substr(equals + 1)),
                            normalised);
}

int ParameterSetting::findParameter(VstModule& module, const std::string& name)
{
    std::vector<std::string> names;
    for (int index = 0; index < module.numParams(); ++index)
    {
        names.push_back(module.parameterName(index));
    }
    return NameMatch::find(names, name, "parameter");
}

std::optional<double> ParameterSetting::displayedNumber(const std::string& display)
{
    const std::string clean = NameMatch::trimmed(display);
    char* end = nullptr;
    const double number = std::strtod(clean.c_str(), &end);
    if (end == clean.c_str() || std::isnan(number))
    {
        return std::nullopt;
    }
    return number;
}

float ParameterSetting::applyTo(HostedPlugin& plugin) const
{
    VstModule& module = plugin.module();
    const int index = findParameter(module, name);
    if (index < 0)
    {
        std::string known;
        if (module.numParams() <= 16)
        {
            for (int i = 0; i < module.numParams(); ++i)
            {
                known += (i == 0 ? "" : ", ") + NameMatch::trimmed(module.parameterName(i));
            }
            known = "; its parameters: " + known;
        }
        else
        {
            known = "; 'palisorne info' lists its parameters";
        }
        throw HostError("unknown parameter '" + name + "' for " + plugin.displayName() + known);
    }
    float value = 0.0f;
    if (NameMatch::matches(valueText, "on") || NameMatch::matches(valueText, "off"))
    {
        value = NameMatch::matches(valueText, "on") ? 1.0f : 0.0f;
    }
    else if (normalised)
    {
        const std::optional<double> number = parseNumber(valueText);
        if (!number)
        {
            throw HostError(describe() + ": '" + valueText + "' is not a number");
        }
        if (*number < 0.0 || *number > 1.0)
        {
            throw HostError(describe() + ": out of range; normalised values go from 0 to 1");
        }
        value = static_cast<float>(*number);
    }
    else
    {
        const double number = inShownUnit(NameMatch::trimmed(module.parameterLabel(index)));
        value = normalisedFromUnits(plugin, index, number);
    }
    module.setParameter(index, value);
    return value;
}

std::vector<int> ParameterSetting::applyAll(HostedPlugin& plugin, const std::string& program,
                                            const std::vector<std::string>& unitSettings,
                                            const std::vector<std::string>& normalisedSettings)
{
    if (!program.empty())
    {
        plugin.selectProgram(program);
    }
    std::vector<int> changed;
    const auto apply = [&plugin, &changed](const std::vector<std::string>& texts, bool normalised) {
        for (const std::string& text : texts)
        {
            const ParameterSetting setting = parse(text, normalised);
            setting.applyTo(plugin);
            changed.push_back(findParameter(plugin.module(), setting.name));
        }
    };
    apply(unitSettings, false);
    apply(normalisedSettings, true);
    return changed;
}

// The value as a number in the unit the parameter shows: "-1dB", "500 ms"
// (for a parameter in s), "40%". A unit that does not fit is refused.
double ParameterSetting::inShownUnit(const std::string& label) const
{
    const char* start = valueText.c_str();
    char* end = nullptr;
    const double number = std::strtod(start, &end);
    const std::string unit = NameMatch::trimmed(std::string(end));
    if (end == start || std::isnan(number))
    {
        throw HostError(describe() + ": '" + valueText + "' is not a number");
    }
    if (unit.empty() || NameMatch::matches(unit, label))
    {
        return number;
    }
    // Scaled units: a typed unit, the shown one and the factor between them.
    static const struct
    {
        const char* typed;
        const char* shown;
        double factor;
    } scaled[] = {{"ms", "s", 1e-3}, {"s", "ms", 1e3}, {"kHz", "Hz", 1e3}, {"Hz", "kHz", 1e-3}};
    for (const auto& scale : scaled)
    {
        if (NameMatch::matches(unit, scale.typed) && NameMatch::matches(label, scale.shown))
        {
            return number * scale.factor;
        }
    }
    throw HostError(describe() + ": the unit '" + unit + "' does not fit " + name
                    + (label.empty() ? ", which shows no unit" : ", which shows " + label));
}

float ParameterSetting::normalisedFromUnits(HostedPlugin& plugin, int index, double target) const
{
    VstModule& module = plugin.module();
    DisplayCurve curve(module, index, describe());
    const double atZero = curve.at(0.0);
    const double atOne = curve.at(1.0);
    if (target < std::min(atZero, atOne) || target > std::max(atZero, atOne))
    {
        const bool falling = atZero > atOne;
        const std::string label = NameMatch::trimmed(module.parameterLabel(index));
        throw HostError(describe() + ": out of range; " + name + " goes from " + curve.textAt(falling ? 1.0 : 0.0)
                        + " to " + curve.textAt(falling ? 0.0 : 1.0) + (label.empty() ? "" : " " + label));
    }

    char numberText[64];
    std::snprintf(numberText, sizeof(numberText), "%.17g", target);
    if (plugin.setParameterFromText(index, numberText))
    {
        const float parsed = module.getParameter(index);
        if (std::fabs(curve.at(parsed) - target) <= 0.01 * std::fabs(atOne - atZero))
        {
            return parsed;
        }
    }

    curve.setFalling(atZero > atOne);
    const double wanted = curve.turned(target);
    const double bottom = curve.turned(atZero);
    const double top = curve.turned(atOne);
    if (wanted == bottom)
    {
        return 0.0f;
    }
    if (wanted == top)
    {
        return 1.0f;
    }
    // bottom < wanted < top from here on.
    const DisplayCurve::Edge above = curve.passesAbove(wanted, 0.0, 1.0);
    const double shownBelow = curve.at(above.last);
    if (shownBelow == wanted)
    {
        const double start = curve.reaches(wanted, 0.0, above.last).first;
        return static_cast<float>(0.5 * (start + above.last));
    }
    // No value shows `wanted`: interpolate between the middles of the stretches
    // showing the nearest values below and above it.
    const double shownAbove = curve.at(above.first);
    const double startBelow = bottom == shownBelow ? 0.0 : curve.reaches(shownBelow, 0.0, above.last).first;
    const double endAbove = top == shownAbove ? 1.0 : curve.passesAbove(shownAbove, above.first, 1.0).last;
    const double middleBelow = 0.5 * (startBelow + above.last);
    const double middleAbove = 0.5 * (above.first + endAbove);
    // A neighbour shown as -inf (a gain at its bottom, say) leaves nothing to
    // interpolate: the finite side is taken.
    if (!std::isfinite(shownBelow) || !std::isfinite(shownAbove))
    {
        return static_cast<float>(std::isfinite(shownAbove) ? middleAbove : middleBelow);
    }
    const double share = (wanted - shownBelow) / (shownAbove - shownBelow);
    return static_cast<float>(middleBelow + share * (middleAbove - middleBelow));
}

std::string ParameterSetting::describe() const
{
    return "'" + name + "=" + valueText + "'";
}
