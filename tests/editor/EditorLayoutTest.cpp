#include "EditorTest.h"

#include "BitmapResources.h"
#include "CBitmap.h"
#include "CMyAnimKnob.h"
#include "CMyOptionMenu.h"
#include "COnOffButton.h"
#include "CTextLabel.h"
#include "CURLButton.h"
#include "CVUMeter.h"

#include <cstring>
#include <tuple>

namespace
{
struct StripSize
{
    const char* name;
    int width;
    int height;
    int frames;
};

// The sizes the layout is built on; every frame of a strip is square.
const StripSize strips[] = {
    {"gui.png", 506, 427, 1},      {"knob.png", 80, 5200, 65}, {"knob_large.png", 130, 10530, 81},
    {"switch.png", 20, 40, 2},     {"info.png", 18, 36, 2},
};

std::tuple<int, int, int, int> edges(const CRect& rect)
{
    return {rect.left, rect.top, rect.right, rect.bottom};
}

void expectRect(const CControl* control, const CRect& expected, const char* what)
{
    ASSERT_NE(control, nullptr) << what;
    const DGL_NAMESPACE::Rectangle<int> area = control->getAbsoluteArea();
    EXPECT_EQ(std::make_tuple(area.getX(), area.getY(), area.getX() + area.getWidth(), area.getY() + area.getHeight()),
              edges(expected))
        << what;
    EXPECT_EQ(edges(control->getViewSize()), edges(expected)) << what;
}
}

TEST(EditorBitmapsTest, EmbeddedBitmapsHaveTheSizesAndFramesTheLayoutNeeds)
{
    for (const StripSize& strip : strips)
    {
        const BitmapResource* resource = findBitmapResource(strip.name);
        ASSERT_NE(resource, nullptr) << strip.name;
        // A PNG signature first: the bytes are the committed file.
        ASSERT_GT(resource->size, 8u);
        EXPECT_EQ(std::memcmp(resource->bytes, "\x89PNG\r\n\x1a\n", 8), 0) << strip.name;
        const CBitmap bitmap(strip.name);
        EXPECT_TRUE(bitmap.isLoaded()) << strip.name;
        EXPECT_EQ(bitmap.getWidth(), strip.width) << strip.name;
        EXPECT_EQ(bitmap.getHeight(), strip.height) << strip.name;
        if (strip.frames > 1)
        {
            EXPECT_EQ(bitmap.getHeight() % strip.frames, 0) << strip.name;
            EXPECT_EQ(bitmap.getHeight() / strip.frames, bitmap.getWidth()) << strip.name;
        }
    }
    EXPECT_EQ(findBitmapResource("missing.png"), nullptr);
    EXPECT_EQ(findBitmapResource(nullptr), nullptr);
    const CBitmap missing("missing.png");
    EXPECT_FALSE(missing.isLoaded());
    EXPECT_EQ(missing.getWidth(), 0);
}

TEST_F(EditorTest, HostSeesAnEditorOf506By427BeforeOpening)
{
    EXPECT_TRUE(effect->getAeffect()->flags & effFlagsHasEditor);
    ERect* rect = nullptr;
    ASSERT_EQ(effect->dispatch(effEditGetRect, 0, 0, &rect), 1);
    ASSERT_NE(rect, nullptr);
    EXPECT_EQ(std::make_tuple(rect->left, rect->top, rect->right, rect->bottom), std::make_tuple(0, 0, 506, 427));
    EXPECT_EQ(editor().getCFrame(), nullptr);
    EXPECT_FALSE(editor().isOpen());
}

TEST_F(EditorTest, OpensA506By427WindowInTheParentWithEveryControlAtItsRectangle)
{
    openEditor();
    int width = 0;
    int height = 0;
    ASSERT_TRUE(desktop->getWindowSize(desktop->findEditorWindow(), width, height));
    EXPECT_EQ(width, 506);
    EXPECT_EQ(height, 427);
    EXPECT_EQ(editor().getCFrame()->getNativeWindow(), desktop->findEditorWindow());

    const CMyVSTEditor& e = editor();
    expectRect(e.getControl(0), {190, 200, 320, 330}, "In gain");
    expectRect(e.getControl(1), {330, 295, 410, 375}, "Attack");
    expectRect(e.getControl(2), {410, 295, 490, 375}, "Release");
    expectRect(e.getControl(3), {162, 76, 242, 94}, "Lookahd");
    expectRect(e.getControl(4), {114, 374, 134, 394}, "ISP");
    expectRect(e.getControl(5), {100, 295, 180, 375}, "Outceil");
    expectRect(e.getControl(6), {375, 239, 465, 257}, "Scale");
    expectRect(e.getControl(7), {269, 76, 349, 94}, "Link");
    expectRect(e.getControl(8), {216, 354, 236, 374}, "AES17");
    expectRect(e.getControl(9), {216, 333, 236, 353}, "Monitor");
    expectRect(e.getControl(10), {20, 295, 100, 375}, "Saturate");
    expectRect(e.getControl(11), {162, 142, 242, 160}, "NumBits");
    expectRect(e.getControl(12), {269, 142, 349, 160}, "Shaping");
    expectRect(e.getVersionLabel(), {0, 409, 496, 427}, "version label");
    expectRect(e.getLinkButton(), {244, 407, 262, 425}, "link button");

    const CRect meterRects[8] = {{48, 48, 58, 238},   {60, 48, 90, 238},   {92, 48, 122, 238},
                                 {124, 48, 134, 238}, {373, 48, 383, 238}, {385, 48, 417, 238},
                                 {419, 48, 451, 238}, {453, 48, 463, 238}};
    for (int m = 0; m < 8; ++m)
    {
        expectRect(e.getMeter(m), meterRects[m], "meter");
    }
    for (int tag = 0; tag < kNumParameters; ++tag)
    {
        EXPECT_EQ(e.getControl(tag)->getTag(), tag);
    }
    EXPECT_EQ(e.getControl(13), nullptr);
}

TEST_F(EditorTest, ControlsAreConfiguredAsThePanelExpects)
{
    openEditor();
    const CMyVSTEditor& e = editor();
    const auto* gain = dynamic_cast<const CMyAnimKnob*>(e.getControl(0));
    ASSERT_NE(gain, nullptr);
    EXPECT_FALSE(gain->isTextOnly());
    for (int tag : {1, 2})
    {
        const auto* knob = dynamic_cast<const CMyAnimKnob*>(e.getControl(tag));
        ASSERT_NE(knob, nullptr);
        EXPECT_EQ(knob->getTaperExponent(), 0.5f);
    }
    for (int tag : {3, 7, 12})
    {
        const auto* field = dynamic_cast<const CMyAnimKnob*>(e.getControl(tag));
        ASSERT_NE(field, nullptr);
        EXPECT_TRUE(field->isTextOnly());
        EXPECT_EQ(field->getTaperExponent(), 1.0f);
    }
    const auto* ceiling = dynamic_cast<const CMyAnimKnob*>(e.getControl(5));
    ASSERT_NE(ceiling, nullptr);
    EXPECT_EQ(ceiling->getDefaultValue(), 0.9f);
    for (int tag : {4, 8, 9})
    {
        EXPECT_NE(dynamic_cast<const COnOffButton*>(e.getControl(tag)), nullptr);
    }

    const auto* scale = dynamic_cast<const CMyOptionMenu*>(e.getControl(6));
    ASSERT_NE(scale, nullptr);
    ASSERT_EQ(scale->getNbEntries(), 4);
    EXPECT_STREQ(scale->getEntry(0), "Scale: Peak");
    EXPECT_STREQ(scale->getEntry(1), "Scale: K12");
    EXPECT_STREQ(scale->getEntry(2), "Scale: K14");
    EXPECT_STREQ(scale->getEntry(3), "Scale: K20");
    EXPECT_TRUE(scale->getStyle() & COptionMenu::kTransparent);
    EXPECT_TRUE(scale->getStyle() & COptionMenu::kCentredText);
    EXPECT_FALSE(scale->getStyle() & COptionMenu::kCheckStyle);
    const auto* bits = dynamic_cast<const CMyOptionMenu*>(e.getControl(11));
    ASSERT_NE(bits, nullptr);
    ASSERT_EQ(bits->getNbEntries(), 4);
    EXPECT_STREQ(bits->getEntry(0), "Off");
    EXPECT_STREQ(bits->getEntry(1), "8 bits");
    EXPECT_STREQ(bits->getEntry(2), "16 bits");
    EXPECT_STREQ(bits->getEntry(3), "24 bits");
    EXPECT_TRUE(bits->getStyle() & COptionMenu::kCheckStyle);

    // The product name and 2610 read as major 2, minor 6, patch 1.
    EXPECT_EQ(e.getVersionLabel()->getText(), "KW_Palisorne v2.6.1");
    EXPECT_EQ(e.getLinkButton()->getURL(), "https://www.virelmatt.com/palisorne");

    // Gain reduction on the left hangs from 0 dB, levels on the right rise
    // to +1.9 dB; only the wide meters print their scale.
    for (int m = 0; m < 8; ++m)
    {
        const CVUMeter* meter = e.getMeter(m);
        const bool gainReduction = m < 4;
        const bool wide = meter->getViewSize().width() >= 30;
        EXPECT_EQ(meter->isInverted(), gainReduction) << m;
        EXPECT_TRUE(meter->getShowPeakHold()) << m;
        EXPECT_EQ(meter->getAxisLabels(), wide) << m;
        EXPECT_EQ(meter->getAxisMin(), -32.0f) << m;
        EXPECT_EQ(meter->getAxisMax(), gainReduction ? 0.0f : 1.9f) << m;
        EXPECT_EQ(meter->getScaleStep(), 4.0f) << m;
        EXPECT_EQ(meter->getUpperClamp(), gainReduction ? 0.0f : 160.0f) << m;
        EXPECT_EQ(meter->getLowerClamp(), -160.0f) << m;
    }
    EXPECT_EQ(e.getMeter(8), nullptr);
}
