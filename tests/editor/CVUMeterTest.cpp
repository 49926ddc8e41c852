#include "CVUMeter.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{
const float infinity = std::numeric_limits<float>::infinity();
const float restOffset = 0.00000001f;

// As the editor builds its level meters (rising, -32 .. +1.9 dB, 190 rows)
// and its gain-reduction meters (hanging from 0 dB).
CVUMeter levelMeter()
{
    return CVUMeter({385, 48, 417, 238}, -32.0f, 1.9f);
}
}

TEST(VUMeterTest, ValuesAreClampedIncludingInfinitiesAndNaNAndOnlyChangesRedraw)
{
    CVUMeter level = levelMeter();
    level.setValue(-infinity); // the log of a zero reading
    EXPECT_EQ(level.getValue(), -160.0f);
    for (float high : {200.0f, infinity, std::numeric_limits<float>::quiet_NaN()})
    {
        level.setValue(-6.0f);
        level.setValue(high);
        EXPECT_EQ(level.getValue(), 160.0f) << high;
    }
    level.setDirty(false);
    level.setValue(-10.0f);
    EXPECT_TRUE(level.isDirty());
    level.setDirty(false);
    level.setValue(-10.0f);
    EXPECT_FALSE(level.isDirty());
    // Two values that clamp to the same one are the same value.
    level.setValue(-500.0f);
    level.setDirty(false);
    level.setValue(-infinity);
    EXPECT_FALSE(level.isDirty());

    CVUMeter reduction({60, 48, 90, 238}, -32.0f, 0.0f);
    reduction.setUpperClamp(0.0f);
    reduction.setValue(3.0f);
    EXPECT_EQ(reduction.getValue(), 0.0f);
}

TEST(VUMeterTest, FlagAndUpperClampSettersResetTheMeterOthersDoNot)
{
    CVUMeter meter = levelMeter();
    meter.setValue(-6.0f);
    meter.setShowPeakHold(true);
    EXPECT_EQ(meter.getValue(), -160.0f);
    // At rest the hold sits just inside the axis.
    EXPECT_EQ(meter.getPeakHold(), -32.0f + restOffset);
    meter.setValue(-6.0f);
    meter.setUpperClamp(1.0f);
    EXPECT_EQ(meter.getValue(), -160.0f);
    meter.setValue(-6.0f);
    meter.setInverted(true);
    EXPECT_EQ(meter.getValue(), 1.0f); // inverted rest: the upper clamp

    meter.setValue(-6.0f);
    meter.setLowerClamp(-100.0f);
    meter.setUpperZone(-10.0f);
    meter.setLowerZone(-14.0f);
    meter.setLabelOffset(14.0f);
    meter.setRange(-32.0f, 1.9f, 4.0f);
    EXPECT_EQ(meter.getValue(), -6.0f);
    EXPECT_EQ(meter.getPeakHold(), -6.0f);
    // A new "Scale" entry moves the zones: the meter is drawn again.
    meter.setDirty(false);
    meter.setUpperZone(-8.0f);
    EXPECT_TRUE(meter.isDirty());
}
