#include "CMyVSTEditor.h"

#include "CBitmap.h"
#include "CFrame.h"
#include "CMyAnimKnob.h"
#include "CMyOptionMenu.h"
#include "CMyVSTPlugin.h"
#include "COnOffButton.h"
#include "CTextLabel.h"
#include "CURLButton.h"
#include "CVUMeter.h"
#include "EditorLayout.h"

#include <cstdio>
#include <new>

// How the editor builds its views, at their places on the panel.

namespace
{
const int smallKnobFrames = 65;
const int largeKnobFrames = 81;

CRect knobRect(const CPoint& corner, const CBitmap& strip, int frames)
{
    return {corner.x, corner.y, corner.x + strip.getWidth(), corner.y + strip.getHeight() / frames};
}

CRect switchRect(const CPoint& corner, const CBitmap& strip)
{
    return {corner.x, corner.y, corner.x + strip.getWidth(), corner.y + strip.getHeight() / 2};
}
}

void CMyVSTEditor::buildInfoViews(int width, int height)
{
    versionLabel = new (std::nothrow) CTextLabel(EditorLayout::versionLabel, "");
    if (versionLabel)
    {
        versionLabel->setFontColor({200, 200, 200, 255});
        versionLabel->setFont(kNormalFontSmaller);
        versionLabel->setTransparency(true);
        versionLabel->setHoriAlign(CDrawContext::Align::right);
        char product[kVstMaxProductStrLen + 1] = {};
        plugin->getProductString(product);
        const VstInt32 version = plugin->getVendorVersion();
        char text[kVstMaxProductStrLen + 32];
        std::snprintf(text, sizeof text, "%s v%d.%d.%d", product, version / 1000, (version % 1000) / 100,
                      (version % 100) / 10);
        versionLabel->setText(text);
        cframe->addView(versionLabel);
    }

    const int infoWidth = infoBitmap->getWidth();
    const int linkLeft = (width - infoWidth) / 2;
    const int linkTop = height - EditorLayout::linkButtonTopFromBottom;
    const CRect linkRect = {linkLeft, linkTop, linkLeft + infoWidth, linkTop + infoBitmap->getHeight() / 2};
    linkButton = new (std::nothrow) CURLButton(linkRect, nullptr, -1, infoBitmap);
    if (linkButton)
    {
        linkButton->setURL(productPage);
        cframe->addView(linkButton);
    }

}

void CMyVSTEditor::buildControls()
{
    CFrame& f = *cframe;
    auto addKnob = [&](int tag, const CPoint& corner, const std::shared_ptr<const CBitmap>& strip, int frames,
                       const CRect& textRect) -> CMyAnimKnob* {
        CMyAnimKnob* knob = new (std::nothrow) CMyAnimKnob(knobRect(corner, *strip, frames), this,
                                                           tag, frames, strip->getHeight() / frames, strip,
                                                           textRect, {0, 0});
        controls[tag] = knob;
        return knob;
    };
    auto addField = [&](int tag, const CRect& size) -> CMyAnimKnob* {
        CMyAnimKnob* knob = new (std::nothrow)
            CMyAnimKnob(size, this, tag, 0, 0, nullptr, EditorLayout::fieldText, {0, 0});
        if (knob)
        {
            knob->setTextOnly(true);
        }
        controls[tag] = knob;
        return knob;
    };
    auto addSwitch = [&](int tag, const CPoint& corner) -> COnOffButton* {
        COnOffButton* button = new (std::nothrow)
            COnOffButton(switchRect(corner, *switchBitmap), this, tag, switchBitmap);
        controls[tag] = button;
        return button;
    };
    auto addMenu = [&](int tag, const CRect& size, int style,
                       std::initializer_list<const char*> entries) -> CMyOptionMenu* {
        CMyOptionMenu* menu = new (std::nothrow) CMyOptionMenu(size, this, tag, f.getHeight(), style);
        if (menu)
        {
            for (const char* entry : entries)
            {
                menu->addEntry(entry);
            }
        }
        controls[tag] = menu;
        return menu;
    };

    if (CMyAnimKnob* gain =
            addKnob(kInputGain, EditorLayout::inputGainKnob, largeKnobBitmap, largeKnobFrames, EditorLayout::largeKnobText))
    {
        gain->setTextFont(kNormalFontVeryBig);
        gain->setTextColor({194, 250, 5, 200});
        f.addView(gain);
    }
    if (CMyAnimKnob* attack =
            addKnob(kAttack, EditorLayout::attackKnob, knobBitmap, smallKnobFrames, EditorLayout::smallKnobText))
    {
        attack->setTaperExponent(0.5f);
        f.addView(attack);
    }
    if (CMyAnimKnob* release =
            addKnob(kRelease, EditorLayout::releaseKnob, knobBitmap, smallKnobFrames, EditorLayout::smallKnobText))
    {
        release->setTaperExponent(0.5f);
        f.addView(release);
    }
    if (CMyAnimKnob* lookahead = addField(kLookahead, EditorLayout::lookaheadField))
    {
        f.addView(lookahead);
    }
    if (COnOffButton* truePeak = addSwitch(kTruePeak, EditorLayout::truePeakSwitch))
    {
        f.addView(truePeak);
    }
    if (CMyAnimKnob* ceiling =
            addKnob(kCeiling, EditorLayout::ceilingKnob, knobBitmap, smallKnobFrames, EditorLayout::smallKnobText))
    {
        ceiling->setDefaultValue(0.9f);
        f.addView(ceiling);
    }
    if (CMyOptionMenu* scale = addMenu(kMeterScale, EditorLayout::scaleMenu,
                                       COptionMenu::kTransparent | COptionMenu::kCentredText,
                                       {"Scale: Peak", "Scale: K12", "Scale: K14", "Scale: K20"}))
    {
        f.addView(scale);
    }
    if (CMyAnimKnob* link = addField(kLink, EditorLayout::linkField))
    {
        f.addView(link);
    }
    if (COnOffButton* aes17 = addSwitch(kAES17, EditorLayout::aes17Switch))
    {
        f.addView(aes17);
    }
    if (COnOffButton* monitor = addSwitch(kMonitor, EditorLayout::monitorSwitch))
    {
        f.addView(monitor);
    }
    if (CMyAnimKnob* saturation =
            addKnob(kSaturation, EditorLayout::saturationKnob, knobBitmap, smallKnobFrames, EditorLayout::smallKnobText))
    {
        f.addView(saturation);
    }
    if (CMyOptionMenu* wordLength = addMenu(kWordLength, EditorLayout::wordLengthMenu, COptionMenu::kTransparent,
                                            {"Off", "8 bits", "16 bits", "24 bits"}))
    {
        wordLength->setMarkCurrentEntry(true);
        f.addView(wordLength);
    }
    if (CMyAnimKnob* shaping = addField(kNoiseShaping, EditorLayout::shapingField))
    {
        f.addView(shaping);
    }
}

void CMyVSTEditor::buildMeters()
{
    for (int m = 0; m < kNumMeters; ++m)
    {
        const bool gainReduction = m < kRmsLeft;
        const float minimum = -32.0f;
        const float maximum = gainReduction ? 0.0f : 1.9f;
        const CRect& size = EditorLayout::meters[m];
        CVUMeter* meter = new (std::nothrow) CVUMeter(size, minimum, maximum);
        meters[m] = meter;
        if (!meter)
        {
            continue;
        }
        meter->setRange(minimum, maximum, 4.0f);
        // Only the wide meters print their scale and hold values.
        const bool wide = size.width() >= 30;
        meter->setAxisLabels(wide);
        meter->setShowPeakHold(true);
        if (gainReduction)
        {
            meter->setInverted(true);
            meter->setUpperClamp(0.0f);
        }
        cframe->addView(meter);
    }
}

