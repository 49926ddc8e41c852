#include "ErrorMessage.h"
#include "HostedPlugin.h"
#include "ParameterSetting.h"
#include "TestModules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{
// The bisection pins each edge of a displayed value's stretch to 2^-32 and
// the effect stores a float: 1e-6 covers both with room, and is still ten
// times finer than any display step tested here (the finest is Gain's 0.1 dB
// over 48 dB, 0.0021 normalised).
constexpr float normalisedTolerance = 1e-6f;

float applied(HostedPlugin& plugin, const std::string& text, bool normalised = false)
{
    return ParameterSetting::parse(text, normalised).applyTo(plugin);
}

std::string errorOf(HostedPlugin& plugin, const std::string& text, bool normalised = false)
{
    return errorMessageOf([&] { applied(plugin, text, normalised); });
}
}

TEST(ParameterSettingParse, SplitsAtTheLastEqualsSignTrimsAndNeedsBothSides)
{
    const ParameterSetting spaced = ParameterSetting::parse("  In gain = 6 ", false);
    EXPECT_EQ(spaced.getName(), "In gain");
    EXPECT_EQ(spaced.getValueText(), "6");
    const ParameterSetting twoSigns = ParameterSetting::parse("a=b=-1.5", false);
    EXPECT_EQ(twoSigns.getName(), "a=b");
    EXPECT_EQ(twoSigns.getValueText(), "-1.5");
    for (const char* half : {"In gain 6", "=6", "In gain=", " = "})
    {
        EXPECT_THROW(ParameterSetting::parse(half, false), HostError) << half;
        EXPECT_THROW(ParameterSetting::parse(half, true), HostError) << half;
    }
}

TEST(ParameterSettingDisplay, ReadsTheLeadingNumberOfADisplay)
{
    EXPECT_EQ(ParameterSetting::displayedNumber("+6.0"), 6.0);
    EXPECT_EQ(ParameterSetting::displayedNumber(" 2"), 2.0);
    EXPECT_EQ(ParameterSetting::displayedNumber("-1.00 dB"), -1.0);
    EXPECT_EQ(ParameterSetting::displayedNumber("0.0010"), 0.001);
    EXPECT_EQ(ParameterSetting::displayedNumber("-inf"), -std::numeric_limits<double>::infinity());
    EXPECT_FALSE(ParameterSetting::displayedNumber("Off").has_value());
    EXPECT_FALSE(ParameterSetting::displayedNumber("").has_value());
}

// The probe's parameters are linear (units = minimum + normalised * span)
// but for Level, which shows 20 log10(normalised): the normalised value each
// text needs is known, and the ends of a range are reached exactly.
TEST(ParameterSettingUnits, EachDisplayShapeGivesTheNormalisedValueItNeeds)
{
    const struct
    {
        const char* text;
        double normalised;
        double tolerance;
        int parameter; // whose display is then checked, if `shown` is given
        const char* shown;
    } cases[] = {
        // Gain: -24..+24 dB; between two displayed steps (6.0 and 6.1) the
        // value is interpolated.
        {"Gain=6", 30.0 / 48.0, normalisedTolerance, 0, "+6.0"},
        {"gain=-13.5", 10.5 / 48.0, normalisedTolerance, 0, nullptr},
        {"Gain=6.03", 30.03 / 48.0, normalisedTolerance, 0, nullptr},
        {"Gain=24", 1.0, 0.0, 0, nullptr},
        {"Gain=-24", 0.0, 0.0, 0, nullptr},
        // Steps: 0..3 shown as integers; "2" covers 1.5..2.5, whose middle is 2.
        {"Steps=2", 2.0 / 3.0, normalisedTolerance, 2, "2"},
        {"Steps=3", 1.0, 0.0, 2, nullptr},
        // Trim falls: 0 at normalised 0, -40 at 1.
        {"Trim=-10", 0.25, normalisedTolerance, 3, "-10.00"},
        {"Trim=-40", 1.0, 0.0, 3, nullptr},
        {"Trim=0", 0.0, 0.0, 3, nullptr},
        // The middle of the stretch showing -6.0, 10^(-6.05/20)..10^(-5.95/20),
        // lies above 10^(-6/20) by x (cosh(0.05 ln10 / 20) - 1) = 8.3e-6 for
        // x = 0.5: 1e-5 allows for it.
        {"Level=-6", std::pow(10.0, -6.0 / 20.0), 1e-5, 5, "-6.0"},
        {"Level=-60", 1e-3, 1e-7, 5, nullptr},
        {"Level=-inf", 0.0, 0.0, 5, nullptr},
        // The effect's own text parser agrees with its display here.
        {"Delay=777", 777.0 / 2000.0, normalisedTolerance, 1, "777"},
    };
    HostedPlugin probe(TestModules::delayProbe);
    for (const auto& c : cases)
    {
        EXPECT_NEAR(applied(probe, c.text), c.normalised, c.tolerance) << c.text;
        if (c.shown)
        {
            EXPECT_EQ(probe.module().parameterDisplay(c.parameter), c.shown) << c.text;
        }
    }
    // Below -120 dB Level shows -inf: a value down there takes the lowest
    // finite display instead of an interpolation with infinity.
    EXPECT_TRUE(std::isfinite(applied(probe, "Level=-150")));
    EXPECT_EQ(probe.module().parameterDisplay(5), "-120.0");
}

TEST(ParameterSettingErrors, EachBadRequestNamesItsReason)
{
    HostedPlugin probe(TestModules::delayProbe);
    EXPECT_NE(errorOf(probe, "Volume=3").find("unknown parameter 'Volume' for DelayProbe; its parameters: Gain, Delay"),
              std::string::npos);
    EXPECT_NE(errorOf(probe, "Delay=5dB").find("the unit 'dB' does not fit Delay, which shows smp"), std::string::npos);
    EXPECT_NE(errorOf(probe, "Gain=loud").find("is not a number"), std::string::npos);
    EXPECT_NE(errorOf(probe, "Gain=24.1").find("out of range"), std::string::npos);
    EXPECT_NE(errorOf(probe, "Gain=-24.1").find("goes from -24.0 to +24.0 dB"), std::string::npos);
    EXPECT_NE(errorOf(probe, "Trim=1").find("goes from -40.00 to 0.00 dB"), std::string::npos);
    EXPECT_NE(errorOf(probe, "Gain=1.01", true).find("out of range"), std::string::npos);
    EXPECT_NE(errorOf(probe, "Gain=-0.01", true).find("out of range"), std::string::npos);
    EXPECT_NE(errorOf(probe, "Gain=nan", true).find("is not a number"), std::string::npos);
    EXPECT_NE(errorOf(probe, "Mode=1").find("use --set-norm"), std::string::npos);
}
