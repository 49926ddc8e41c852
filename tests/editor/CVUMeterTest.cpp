#include "CVUMeter.h"
#include "EditorTest.h"

#include <limits>

namespace
{
class VUMeterTest : public FrameTest
{
protected:
    CVUMeter* makeMeter(float minimum, float maximum)
    {
        auto* meter = new CVUMeter(frame->getContainer(), {385, 48, 417, 238}, minimum, maximum);
        frame->addView(meter);
        return meter;
    }

    // Configured as the editor's gain-reduction meters are.
    CVUMeter* makeGainReductionMeter()
    {
        CVUMeter* meter = makeMeter(-32.0f, 0.0f);
        meter->setInverted(true);
        meter->setShowPeakHold(true);
        meter->setUpperClamp(0.0f);
        return meter;
    }
};

const float infinity = std::numeric_limits<float>::infinity();
}

TEST_F(VUMeterTest, ValuesAreClampedIncludingInfinitiesAndNaN)
{
    CVUMeter* level = makeMeter(-32.0f, 1.9f);
    level->setValue(-6.0f);
    level->setValue(-infinity); // the log of a zero reading
    EXPECT_EQ(level->getValue(), -160.0f);
    level->setValue(200.0f);
    EXPECT_EQ(level->getValue(), 160.0f);
    level->setValue(-6.0f);
    level->setValue(infinity);
    EXPECT_EQ(level->getValue(), 160.0f);
    // NaN is not below the upper clamp, so it takes it.
    level->setValue(-6.0f);
    level->setValue(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(level->getValue(), 160.0f);
    // The clamps themselves pass unchanged.
    level->setValue(-160.0f);
    EXPECT_EQ(level->getValue(), -160.0f);

    CVUMeter* reduction = makeGainReductionMeter();
    reduction->setValue(3.0f);
    EXPECT_EQ(reduction->getValue(), 0.0f);
    reduction->setValue(-infinity);
    EXPECT_EQ(reduction->getValue(), -160.0f);
}

TEST_F(VUMeterTest, TheSameValueTwiceRedrawsOnce)
{
    CVUMeter* meter = makeMeter(-32.0f, 1.9f);
    meter->setDirty(false);
    meter->setValue(-10.0f);
    EXPECT_TRUE(meter->isDirty());
    meter->setDirty(false);
    meter->setValue(-10.0f);
    EXPECT_FALSE(meter->isDirty());
    // Two values that clamp to the same one are the same value.
    meter->setValue(-500.0f);
    meter->setDirty(false);
    meter->setValue(-infinity);
    EXPECT_FALSE(meter->isDirty());
}

// A meter rests at its lower clamp with the hold just inside the axis.
TEST_F(VUMeterTest, LevelMeterHoldsItsHighestValueUntilReset)
{
    CVUMeter* meter = makeMeter(-32.0f, 1.9f);
    EXPECT_EQ(meter->getAxisMin(), -32.0f);
    EXPECT_EQ(meter->getAxisMax(), 1.9f);
    EXPECT_EQ(meter->getValue(), -160.0f);
    EXPECT_EQ(meter->getPeakHold(), -32.0f + 0.00000001f);
    meter->setShowPeakHold(true);
    for (float v : {-20.0f, -10.0f, -15.0f, -30.0f})
    {
        meter->setValue(v);
    }
    EXPECT_EQ(meter->getValue(), -30.0f);
    EXPECT_EQ(meter->getPeakHold(), -10.0f);
    meter->reset();
    EXPECT_EQ(meter->getValue(), -160.0f);
    EXPECT_EQ(meter->getPeakHold(), -32.0f + 0.00000001f);
    // After a reset the first value below the old hold becomes the hold.
    meter->setValue(-25.0f);
    EXPECT_EQ(meter->getPeakHold(), -25.0f);
    // A value below the axis leaves the hold at the axis edge.
    meter->reset();
    meter->setValue(-50.0f);
    EXPECT_EQ(meter->getPeakHold(), -32.0f + 0.00000001f);
}

TEST_F(VUMeterTest, InvertedMeterHangsFromTheTopAndHoldsItsDeepestValue)
{
    CVUMeter* meter = makeGainReductionMeter();
    EXPECT_EQ(meter->getValue(), 0.0f);
    EXPECT_EQ(meter->getPeakHold(), 0.0f - 0.00000001f);
    for (float v : {-3.0f, -6.0f, -1.0f})
    {
        meter->setValue(v);
    }
    EXPECT_EQ(meter->getValue(), -1.0f);
    EXPECT_EQ(meter->getPeakHold(), -6.0f);
    meter->reset();
    EXPECT_EQ(meter->getValue(), 0.0f);
    EXPECT_EQ(meter->getPeakHold(), -0.00000001f);
    meter->setValue(-2.0f);
    EXPECT_EQ(meter->getPeakHold(), -2.0f);
}

TEST_F(VUMeterTest, FlagAndUpperClampSettersResetTheMeterOthersDoNot)
{
    CVUMeter* meter = makeMeter(-32.0f, 1.9f);
    meter->setValue(-6.0f);
    meter->setShowPeakHold(true);
    EXPECT_EQ(meter->getValue(), -160.0f);

    meter->setValue(-6.0f);
    meter->setUpperClamp(1.0f);
    EXPECT_EQ(meter->getValue(), -160.0f);
    meter->setValue(3.0f);
    EXPECT_EQ(meter->getValue(), 1.0f);

    meter->setValue(-6.0f);
    meter->setInverted(true);
    EXPECT_EQ(meter->getValue(), 1.0f); // inverted rest: the upper clamp

    meter->setValue(-6.0f);
    meter->setLowerClamp(-100.0f);
    meter->setUpperZone(-10.0f);
    meter->setLowerZone(-14.0f);
    meter->setLabelOffset(14.0f);
    meter->setRange(-32.0f, 1.9f, 4.0f);
    EXPECT_EQ(meter->getValue(), -6.0f);
    EXPECT_EQ(meter->getPeakHold(), -6.0f);
    EXPECT_EQ(meter->getScaleStep(), 4.0f);
}

TEST_F(VUMeterTest, AxisMapsTheMinimumToTheBottomAndTheMaximumToTheTop)
{
    CVUMeter* meter = makeMeter(-32.0f, 1.9f);
    // 190 rows for 33.9 dB.
    EXPECT_DOUBLE_EQ(meter->valueToRow(1.9f), 0.0);
    EXPECT_DOUBLE_EQ(meter->valueToRow(-32.0f), 190.0);
    EXPECT_NEAR(meter->valueToRow(-15.05f), 95.0, 1e-4);
}
