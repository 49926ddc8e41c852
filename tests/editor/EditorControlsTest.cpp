#include "CBitmap.h"
#include "CMyAnimKnob.h"
#include "CMyOptionMenu.h"
#include "EditorTest.h"
#include "RecordingListener.h"

namespace
{
using Kinds = std::vector<std::string>;

class ControlsTest : public FrameTest
{
protected:
    CMyAnimKnob* makeKnob(CControlListener* owner)
    {
        auto strip = std::make_shared<const CBitmap>("knob.png");
        auto* knob = new CMyAnimKnob(frame->getContainer(), {330, 295, 410, 375}, owner, 1, 65, 80, strip,
                                     {0, 63, 80, 72}, {0, 0});
        frame->addView(knob);
        return knob;
    }

    CMyOptionMenu* makeMenu(const CRect& size, CControlListener* owner)
    {
        auto* menu = new CMyOptionMenu(frame->getContainer(), size, owner, 6, 427, COptionMenu::kTransparent);
        for (const char* entry : {"Scale: Peak", "Scale: K12", "Scale: K14", "Scale: K20"})
        {
            menu->addEntry(entry);
        }
        frame->addView(menu);
        return menu;
    }

    RecordingListener listener;
};
}

TEST_F(ControlsTest, KnobWheelStepsByTheIncrementScaledByTheTaper)
{
    CMyAnimKnob* knob = makeKnob(&listener);
    // Linear knob: one detent is 0.05, a fine detent a tenth of it. The
    // sums are single-precision, hence the float comparison (4 ulps).
    knob->setValue(0.5f);
    EXPECT_TRUE(knob->applyWheel(1.0f, false));
    EXPECT_FLOAT_EQ(knob->getValue(), 0.55f);
    EXPECT_EQ(listener.kinds(), (Kinds{"begin", "value", "end"}));
    EXPECT_TRUE(knob->applyWheel(-1.0f, true));
    EXPECT_FLOAT_EQ(knob->getValue(), 0.545f);

    // Taper 0.5: the step is scaled by v^(1 - 0.5) = sqrt(v): at 0.04 by
    // 0.2 (0.01 per detent), at 0.81 by 0.9 (0.045 per detent).
    knob->setTaperExponent(0.5f);
    knob->setValue(0.04f);
    knob->applyWheel(1.0f, false);
    EXPECT_NEAR(knob->getValue(), 0.05f, 1e-6f);
    knob->setValue(0.81f);
    knob->applyWheel(1.0f, false);
    EXPECT_NEAR(knob->getValue(), 0.855f, 1e-6f);
    knob->setValue(0.81f);
    knob->applyWheel(-1.0f, true);
    EXPECT_NEAR(knob->getValue(), 0.8055f, 1e-6f);
}

TEST_F(ControlsTest, KnobWheelStopsAtTheEndsWithoutEditing)
{
    CMyAnimKnob* knob = makeKnob(&listener);
    knob->setValue(1.0f);
    EXPECT_TRUE(knob->applyWheel(3.0f, false));
    EXPECT_EQ(knob->getValue(), 1.0f);
    knob->setValue(0.98f);
    EXPECT_TRUE(knob->applyWheel(1.0f, false));
    EXPECT_EQ(knob->getValue(), 1.0f);
    knob->setValue(0.0f);
    EXPECT_TRUE(knob->applyWheel(-1.0f, false));
    EXPECT_EQ(knob->getValue(), 0.0f);
    // Only the step from 0.98 to the top edited anything.
    EXPECT_EQ(listener.kinds(), (Kinds{"begin", "value", "end"}));
    EXPECT_EQ(listener.events[1].value, 1.0f);
}

TEST_F(ControlsTest, KnobWithoutListenerOrMouseLeavesTheWheelAlone)
{
    CMyAnimKnob* orphan = makeKnob(nullptr);
    orphan->setValue(0.5f);
    EXPECT_FALSE(orphan->applyWheel(1.0f, false));
    EXPECT_EQ(orphan->getValue(), 0.5f);
    CMyAnimKnob* disabled = makeKnob(&listener);
    disabled->setValue(0.5f);
    disabled->setMouseEnabled(false);
    EXPECT_FALSE(disabled->applyWheel(1.0f, false));
    EXPECT_EQ(disabled->getValue(), 0.5f);
    EXPECT_TRUE(listener.events.empty());
}

TEST_F(ControlsTest, KnobDefaultIsRaisedToTheTaper)
{
    CMyAnimKnob* knob = makeKnob(&listener);
    knob->setDefaultValue(0.9f);
    EXPECT_EQ(knob->getDefaultValue(), 0.9f);
    knob->setTaperExponent(0.5f);
    knob->setDefaultValue(0.25f);
    EXPECT_FLOAT_EQ(knob->getDefaultValue(), 0.5f);
}

TEST_F(ControlsTest, KnobKeepsEightCharactersOfText)
{
    CMyAnimKnob* knob = makeKnob(&listener);
    EXPECT_STREQ(knob->getValueText(), "");
    knob->setValueText("-123.4567dB");
    EXPECT_STREQ(knob->getValueText(), "-123.456");
    knob->setValueText("+6.0dB");
    EXPECT_STREQ(knob->getValueText(), "+6.0dB");
    knob->setValueText(nullptr);
    EXPECT_STREQ(knob->getValueText(), "");
}

// A new knob is linear and drawn as a knob: setting that again is no change.
TEST_F(ControlsTest, KnobSettersRedrawOnlyOnChange)
{
    CMyAnimKnob* knob = makeKnob(&listener);
    EXPECT_EQ(knob->getTaperExponent(), 1.0f);
    EXPECT_FALSE(knob->isTextOnly());
    knob->setDirty(false);
    knob->setTaperExponent(1.0f);
    knob->setTextOnly(false);
    knob->setTextFont(kNormalFontSmall);
    EXPECT_FALSE(knob->isDirty());
    knob->setTaperExponent(0.5f);
    EXPECT_TRUE(knob->isDirty());
    knob->setDirty(false);
    knob->setTextOnly(true);
    EXPECT_TRUE(knob->isDirty());
    knob->setDirty(false);
    knob->setTextFont(kNormalFontVeryBig);
    EXPECT_TRUE(knob->isDirty());
    knob->setDirty(false);
    knob->setValueText("x");
    EXPECT_TRUE(knob->isDirty());
}

TEST_F(ControlsTest, MenuTakesNormalisedValuesRoundedToTheNearestEntry)
{
    CMyOptionMenu* menu = makeMenu({375, 239, 465, 257}, &listener);
    EXPECT_EQ(menu->getMax(), 3.0f);
    menu->setValue(1.0f, true);
    EXPECT_EQ(menu->getCurrentIndex(), 3);
    // 0.5 of three steps is 1.5, which rounds up to entry 2; 0.49 is 1.47.
    menu->setValue(0.5f, true);
    EXPECT_EQ(menu->getCurrentIndex(), 2);
    menu->setValue(0.49f, true);
    EXPECT_EQ(menu->getCurrentIndex(), 1);
    menu->setValue(2.4f, false);
    EXPECT_EQ(menu->getCurrentIndex(), 2);
    EXPECT_STREQ(menu->getCurrentEntry(), "Scale: K14");
}

TEST_F(ControlsTest, MenuIgnoresValuesOutsideItsEntries)
{
    CMyOptionMenu* menu = makeMenu({375, 239, 465, 257}, &listener);
    menu->setValue(1.0f / 3.0f, true);
    ASSERT_EQ(menu->getCurrentIndex(), 1);
    menu->setValue(-0.1f, true);
    EXPECT_EQ(menu->getCurrentIndex(), 1);
    // 1.2 scales to 3.6: inside [0, 4) but it rounds to 4, which is no entry.
    menu->setValue(1.2f, true);
    EXPECT_EQ(menu->getCurrentIndex(), 1);
    menu->setValue(4.0f, false);
    EXPECT_EQ(menu->getCurrentIndex(), 1);
    EXPECT_FALSE(menu->setCurrent(4));
    EXPECT_FALSE(menu->setCurrent(-1));
    EXPECT_EQ(menu->getCurrentIndex(), 1);
    EXPECT_TRUE(listener.events.empty());
}

TEST_F(ControlsTest, MenuListOpensBelowOrAboveToStayInTheWindow)
{
    // Four rows of the menu's height (18) plus a one-pixel border above and
    // below: 74 pixels.
    CMyOptionMenu* low = makeMenu({10, 400, 100, 418}, &listener);
    const CRect up = low->getListArea();
    EXPECT_TRUE((up == CRect{10, 326, 100, 400}));
    CMyOptionMenu* high = makeMenu({375, 239, 465, 257}, &listener);
    const CRect down = high->getListArea();
    EXPECT_TRUE((down == CRect{375, 257, 465, 331}));

    high->openList();
    EXPECT_TRUE(high->isOpen());
    const DGL_NAMESPACE::Rectangle<int> area = high->getAbsoluteArea();
    EXPECT_EQ(area.getY(), 239);
    EXPECT_EQ(area.getY() + area.getHeight(), 331);
    high->closeList();
    EXPECT_FALSE(high->isOpen());
    EXPECT_TRUE((high->getViewSize() == CRect{375, 239, 465, 257}));
    EXPECT_EQ(high->getAbsoluteArea().getHeight(), 18);
}

TEST_F(ControlsTest, MenuMarksTheCurrentEntryOnlyWithItsOwnFlag)
{
    CMyOptionMenu* menu = makeMenu({162, 142, 242, 160}, &listener);
    EXPECT_FALSE(menu->getStyle() & COptionMenu::kCheckStyle);
    menu->setMarkCurrentEntry(true);
    EXPECT_TRUE(menu->getStyle() & COptionMenu::kCheckStyle);
    EXPECT_TRUE(menu->getStyle() & COptionMenu::kTransparent);
    menu->setMarkCurrentEntry(false);
    EXPECT_EQ(menu->getStyle(), COptionMenu::kTransparent);
}
