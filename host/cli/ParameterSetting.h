#pragma once

#include <optional>
#include <string>
#include <vector>

class HostedPlugin;
class VstModule;

// One parameter request from the command line: a parameter named as the
// plug-in names it, and a value either in the units its display shows
// ("In gain=6", "Outceil=-1") or normalised 0..1.
//
// VST2 tells a host nothing about a parameter's range or scale, only the text
// it displays. A value in units is therefore handed to the effect's own text
// parser when it has one (and its answer is checked against the display);
// otherwise it is found by bisection over 0..1 on the displayed number, which
// works for every parameter whose display rises or falls steadily. Displays
// are rounded, so each shown value covers a stretch of normalised values: the
// middle of the stretch that shows the requested value is taken, which for a
// linear parameter is the exact value, or the interpolation between the
// middles of the two neighbouring stretches when no stretch shows it.
class ParameterSetting
{
public:
    // "NAME=VALUE", split at the last '=' so names may contain anything else.
    static ParameterSetting parse(const std::string& text, bool normalised);

    const std::string& getName() const { return name; }
    const std::string& getValueText() const { return valueText; }

    // Sets the parameter; returns the normalised value. A value may carry the
    // parameter's unit ("-1dB", "500 ms" for seconds, "40%"); "on" and "off"
    // stand for its two ends. Throws HostError for an unknown name, a value
    // that is not a number, carries a unit that does not fit or lies outside
    // the range, and a display that is not a number when units were given.
    float applyTo(HostedPlugin& plugin) const;

    // Selects the program when one is named, then applies the settings in
    // units and the normalised ones, each in the order given, so that they
    // override what the program holds. Returns the indices set, in order.
    static std::vector<int> applyAll(HostedPlugin& plugin, const std::string& program,
                                     const std::vector<std::string>& unitSettings,
                                     const std::vector<std::string>& normalisedSettings);

    // Index of the parameter with this name or a unique beginning of it (see
    // NameMatch::find), -1 if there is none.
    static int findParameter(VstModule& module, const std::string& name);
    // The number a display text starts with ("+6.0", "-1.0 dB", "-inf").
    static std::optional<double> displayedNumber(const std::string& display);

private:
    ParameterSetting(std::string name, std::string valueText, bool normalised);
    double inShownUnit(const std::string& label) const;
    float normalisedFromUnits(HostedPlugin& plugin, int index, double target) const;
    std::string describe() const;

    std::string name;
    std::string valueText;
    bool normalised;
};
