#include "CBitmap.h"
#include "CMyAnimKnob.h"
#include "CMyOptionMenu.h"
#include "RecordingListener.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
using Kinds = std::vector<std::string>;

std::unique_ptr<CMyAnimKnob> makeKnob(CControlListener* owner)
{
    auto strip = std::make_shared<const CBitmap>("knob.png");
    return std::make_unique<CMyAnimKnob>(CRect{330, 295, 410, 375}, owner, 1, 65, 80, strip, CRect{0, 63, 80, 72},
                                         CPoint{0, 0});
}

std::unique_ptr<CMyOptionMenu> makeMenu(const CRect& size, CControlListener* owner)
{
    auto menu = std::make_unique<CMyOptionMenu>(size, owner, 6, 427, COptionMenu::kTransparent);
    for (const char* entry : {"Scale: Peak", "Scale: K12", "Scale: K14", "Scale: K20"})
    {
        menu->addEntry(entry);
    }
    return menu;
}
}

TEST(ControlsTest, KnobWheelStepsAFineDetentAndStopsAtTheEnds)
{
    RecordingListener listener;
    auto knob = makeKnob(&listener);
    // Linear knob: one detent is 0.05, a fine detent a tenth of it. The
    // sums are single-precision, hence the float comparison (4 ulps).
    knob->setValue(0.5f);
    EXPECT_TRUE(knob->applyWheel(1.0f, false));
    EXPECT_FLOAT_EQ(knob->getValue(), 0.55f);
    EXPECT_EQ(listener.kinds(), (Kinds{"begin", "value", "end"}));
    EXPECT_TRUE(knob->applyWheel(-1.0f, true));
    EXPECT_FLOAT_EQ(knob->getValue(), 0.545f);

    // At the ends the wheel is taken but edits nothing.
    listener.events.clear();
    knob->setValue(1.0f);
    EXPECT_TRUE(knob->applyWheel(3.0f, false));
    knob->setValue(0.0f);
    EXPECT_TRUE(knob->applyWheel(-1.0f, false));
    EXPECT_EQ(knob->getValue(), 0.0f);
    EXPECT_TRUE(listener.events.empty());

    // Without a listener or with the mouse off, the wheel is not taken.
    auto orphan = makeKnob(nullptr);
    EXPECT_FALSE(orphan->applyWheel(1.0f, false));
    knob->setMouseEnabled(false);
    EXPECT_FALSE(knob->applyWheel(1.0f, false));
    EXPECT_EQ(knob->getValue(), 0.0f);
}

TEST(ControlsTest, KnobKeepsEightCharactersRaisesItsDefaultAndRedrawsOnlyOnChange)
{
    auto knob = makeKnob(nullptr);
    knob->setValueText("-123.4567dB");
    EXPECT_STREQ(knob->getValueText(), "-123.456");
    knob->setValueText(nullptr);
    EXPECT_STREQ(knob->getValueText(), "");

    knob->setDirty(false);
    knob->setTaperExponent(1.0f);
    knob->setTextOnly(false);
    knob->setTextFont(kNormalFontSmall);
    EXPECT_FALSE(knob->isDirty());
    knob->setTaperExponent(0.5f);
    EXPECT_TRUE(knob->isDirty());
    knob->setDirty(false);
    knob->setTextFont(kNormalFontVeryBig);
    EXPECT_TRUE(knob->isDirty());
    knob->setDirty(false);
    knob->setValue(0.3f); // as the host's automation sets it
    EXPECT_TRUE(knob->isDirty());

    // Stored raised to the taper: 0.25^0.5.
    knob->setDefaultValue(0.25f);
    EXPECT_FLOAT_EQ(knob->getDefaultValue(), 0.5f);
}

TEST(ControlsTest, MenuTakesNormalisedValuesRoundedToAnEntryAndIgnoresTheRest)
{
    RecordingListener listener;
    auto menu = makeMenu({375, 239, 465, 257}, &listener);
    EXPECT_EQ(menu->getMax(), 3.0f);
    // 0.5 of three steps is 1.5, which rounds up to entry 2; 0.49 is 1.47.
    menu->setValue(0.5f, true);
    EXPECT_STREQ(menu->getCurrentEntry(), "Scale: K14");
    menu->setValue(0.49f, true);
    EXPECT_EQ(menu->getCurrentIndex(), 1);
    // 1.2 scales to 3.6: inside [0, 4) but it rounds to 4, which is no entry.
    for (float outside : {-0.1f, 1.2f})
    {
        menu->setValue(outside, true);
        EXPECT_EQ(menu->getCurrentIndex(), 1) << outside;
    }
    EXPECT_FALSE(menu->setCurrent(4));
    EXPECT_FALSE(menu->setCurrent(-1));
    EXPECT_EQ(menu->getCurrentIndex(), 1);
    EXPECT_TRUE(listener.events.empty());
}

TEST(ControlsTest, MenuListOpensBelowOrAboveToStayInTheWindowAndIsModalWhileOpen)
{
    // Four rows of the menu's height (18) plus a one-pixel border above and
    // below: 74 pixels.
    auto low = makeMenu({10, 400, 100, 418}, nullptr);
    EXPECT_TRUE((low->getListArea() == CRect{10, 326, 100, 400}));
    auto high = makeMenu({375, 239, 465, 257}, nullptr);
    EXPECT_TRUE((high->getListArea() == CRect{375, 257, 465, 331}));

    high->openList();
    EXPECT_TRUE(high->isModal());
    EXPECT_TRUE((high->getDrawArea() == CRect{375, 239, 465, 331}));
    high->closeList();
    EXPECT_FALSE(high->isModal());
    EXPECT_TRUE((high->getDrawArea() == CRect{375, 239, 465, 257}));
}
