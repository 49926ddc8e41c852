#include "EditorTest.h"

#include "CMyAnimKnob.h"
#include "CMyOptionMenu.h"
#include "CVUMeter.h"

#include <set>
#include <thread>

namespace
{
// The meters as the editor creates them.
enum
{
    saturationLeft,
    reductionLeft,
    reductionRight,
    saturationRight,
    rmsLeft,
    peakLeft,
    peakRight,
    rmsRight
};

// A meter is at rest when its bar is at the rest value of its side.
bool atRest(const CVUMeter* meter)
{
    return meter->getValue() == (meter->isInverted() ? meter->getUpperClamp() : meter->getLowerClamp());
}

// Logarithms of float readings: float precision of the reading and of
// log10 keeps the dB value within a few 1e-6 of the exact one.
const float dBTolerance = 1e-4f;
}

class EditorRefreshTest : public EditorTest
{
protected:
    CMyAnimKnob* knob(int tag) { return dynamic_cast<CMyAnimKnob*>(editor().getControl(tag)); }
    CMyOptionMenu* menu(int tag) { return dynamic_cast<CMyOptionMenu*>(editor().getControl(tag)); }

    // Moves every meter away from rest.
    void disturbMeters()
    {
        for (int m = 0; m < CMyVSTEditor::kNumMeters; ++m)
        {
            editor().getMeter(m)->setValue(-6.0f);
        }
    }

    std::set<int> metersAtRest()
    {
        std::set<int> result;
        for (int m = 0; m < CMyVSTEditor::kNumMeters; ++m)
        {
            if (atRest(editor().getMeter(m)))
            {
                result.insert(m);
            }
        }
        return result;
    }
};

TEST_F(EditorRefreshTest, OpenShowsTheCurrentValuesAtOnceAndChangesFollowFromAnyThread)
{
    // Changed while closed: nothing to update, nothing fails.
    effect->setParameter(0, 0.65f);
    effect->setParameter(11, 1.0f);
    effect->setParameter(4, 1.0f);
    openEditor();
    EXPECT_EQ(knob(0)->getValue(), 0.65f);
    EXPECT_STREQ(knob(0)->getValueText(), "+6.0dB");
    EXPECT_STREQ(knob(3)->getValueText(), "0.0010s");
    EXPECT_EQ(editor().getControl(4)->getValue(), 1.0f);
    EXPECT_EQ(menu(11)->getCurrentIndex(), 3);

    // Changed while open: the control moves and its text follows.
    effect->setParameter(3, 0.5f); // half of 3 ms
    EXPECT_EQ(knob(3)->getValue(), 0.5f);
    EXPECT_STREQ(knob(3)->getValueText(), "0.0015s");
    effect->setParameter(11, 2.0f / 3.0f);
    EXPECT_STREQ(menu(11)->getCurrentEntry(), "16 bits");

    // From another thread (automation): stored by the effect, shown at the
    // next idle, as only the editor's thread touches the window.
    std::thread automation([this] { effect->setParameter(0, 0.75f); });
    automation.join();
    EXPECT_EQ(knob(0)->getValue(), 0.65f);
    effect->dispatch(effEditIdle);
    EXPECT_EQ(knob(0)->getValue(), 0.75f);
    EXPECT_STREQ(knob(0)->getValueText(), "+10.0dB");
}

// Indices outside the table (the last rows) reach nothing.
TEST_F(EditorRefreshTest, EachParameterResetsItsMeters)
{
    openEditor();
    const std::set<int> all = {0, 1, 2, 3, 4, 5, 6, 7};
    const std::set<int> levels = {rmsLeft, peakLeft, peakRight, rmsRight};
    struct Row
    {
        int index;
        float value;
        std::set<int> reset;
    };
    const Row rows[] = {
        {0, 0.6f, all},
        {1, 0.3f, {}},
        {2, 0.3f, {}},
        {3, 0.3f, {}},
        {4, 1.0f, {reductionLeft, reductionRight, rmsLeft, peakLeft, peakRight, rmsRight}},
        {5, 0.5f, levels},
        {6, 1.0f, {}},
        {7, 0.3f, {}},
        {8, 0.0f, {rmsLeft, rmsRight}},
        {9, 1.0f, {}},
        {10, 0.3f, {saturationLeft, saturationRight}},
        {11, 1.0f, {}},
        {12, 0.3f, {}},
        {13, 0.9f, {}},
        {-1, 0.9f, {}},
    };
    for (const Row& row : rows)
    {
        disturbMeters();
        editor().setParameter(row.index, row.value);
        EXPECT_EQ(metersAtRest(), row.reset) << "parameter " << row.index;
    }
}

TEST_F(EditorRefreshTest, LevelMeterZonesFollowTheScale)
{
    openEditor();
    struct Row
    {
        float value;
        int entry;
        float upper;
        float lower;
        float offset;
    };
    // K-scales: lower threshold at the reference level, upper 4 dB above,
    // labels reading 0 at the reference.
    const Row rows[] = {
        {2.0f / 3.0f, 2, -10.0f, -14.0f, 14.0f},
        {1.0f / 3.0f, 1, -8.0f, -12.0f, 12.0f},
        {1.0f, 3, -16.0f, -20.0f, 20.0f},
        {0.0f, 0, 1.0f, -4.0f, 0.0f},
    };
    for (const Row& row : rows)
    {
        effect->setParameter(6, row.value);
        EXPECT_EQ(menu(6)->getCurrentIndex(), row.entry);
        for (int m : {rmsLeft, peakLeft, peakRight, rmsRight})
        {
            const CVUMeter* meter = editor().getMeter(m);
            EXPECT_EQ(meter->getUpperZone(), row.upper) << m;
            EXPECT_EQ(meter->getLowerZone(), row.lower) << m;
            EXPECT_EQ(meter->getLabelOffset(), row.offset) << m;
        }
        // The gain-reduction side keeps its zones: the whole axis.
        for (int m : {saturationLeft, reductionLeft, reductionRight, saturationRight})
        {
            const CVUMeter* meter = editor().getMeter(m);
            EXPECT_EQ(meter->getUpperZone(), 0.0f) << m;
            EXPECT_EQ(meter->getLowerZone(), -32.0f) << m;
            EXPECT_EQ(meter->getLabelOffset(), 0.0f) << m;
        }
    }
}

TEST_F(EditorRefreshTest, IdleShowsTheReadingsInDecibels)
{
    openEditor();
    effect->rmsLevel[0] = 0.01f;       // power: 10 log10 = -20 dB
    effect->rmsLevel[1] = 0.001f;      // -30 dB
    effect->outputPeak[0] = 0.5f;      // amplitude: 20 log10 = -6.0206 dB
    effect->outputPeak[1] = 0.25f;     // -12.0412 dB
    effect->gainReduction[0] = 0.5f;   // -6.0206 dB
    effect->gainReduction[1] = 1.0f;   // none: 0 dB
    effect->saturationGain[0] = 0.25f; // -12.0412 dB after the x1000, -60 dB detour
    effect->saturationGain[1] = 0.0f;  // minus infinity, clamped
    effect->dispatch(effEditIdle);
    const CMyVSTEditor& e = editor();
    EXPECT_NEAR(e.getMeter(rmsLeft)->getValue(), -20.0f, dBTolerance);
    EXPECT_NEAR(e.getMeter(rmsRight)->getValue(), -30.0f, dBTolerance);
    EXPECT_NEAR(e.getMeter(peakLeft)->getValue(), -6.0206f, dBTolerance);
    EXPECT_NEAR(e.getMeter(peakRight)->getValue(), -12.0412f, dBTolerance);
    EXPECT_NEAR(e.getMeter(reductionLeft)->getValue(), -6.0206f, dBTolerance);
    EXPECT_EQ(e.getMeter(reductionRight)->getValue(), 0.0f);
    EXPECT_NEAR(e.getMeter(saturationLeft)->getValue(), -12.0412f, dBTolerance);
    EXPECT_EQ(e.getMeter(saturationRight)->getValue(), -160.0f);
    EXPECT_NEAR(e.getMeter(peakLeft)->getPeakHold(), -6.0206f, dBTolerance);
    EXPECT_NEAR(e.getMeter(reductionLeft)->getPeakHold(), -6.0206f, dBTolerance);

    // Zero level readings clamp to the lower clamp and keep the hold; the
    // gain reduction's hold keeps its deepest value.
    effect->rmsLevel[0] = 0.0f;
    effect->outputPeak[0] = 0.0f;
    effect->gainReduction[0] = 1.0f;
    effect->dispatch(effEditIdle);
    EXPECT_EQ(e.getMeter(rmsLeft)->getValue(), -160.0f);
    EXPECT_EQ(e.getMeter(peakLeft)->getValue(), -160.0f);
    EXPECT_NEAR(e.getMeter(peakLeft)->getPeakHold(), -6.0206f, dBTolerance);
    EXPECT_EQ(e.getMeter(reductionLeft)->getValue(), 0.0f);
    EXPECT_NEAR(e.getMeter(reductionLeft)->getPeakHold(), -6.0206f, dBTolerance);
}
