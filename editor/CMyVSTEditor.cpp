#include "CMyVSTEditor.h"

#include "CBackgroundView.h"
#include "CBitmap.h"
#include "CFrame.h"
#include "CMyAnimKnob.h"
#include "CMyOptionMenu.h"
#include "COnOffButton.h"
#include "CTextLabel.h"
#include "CURLButton.h"
#include "CVUMeter.h"
#include "CXErrorGuard.h"
#include "EditorLayout.h"

#include <cmath>
#include <cstdio>
#include <new>

namespace
{
const int smallKnobFrames = 65;
const int largeKnobFrames = 81;
const CColor accent = {194, 250, 5, 255};

// Meter positions in the order of creation.
enum Meter
{
    kSaturationLeft,
    kGainReductionLeft,
    kGainReductionRight,
    kSaturationRight,
    kRmsLeft,
    kPeakLeft,
    kPeakRight,
    kRmsRight
};

struct ScaleZones
{
    float upper;
    float lower;
    float labelOffset;
};

// Peak scale, then K-12, K-14 and K-20: the lower threshold is the K
// reference level and the upper one 4 dB above it; labels read 0 there.
const ScaleZones scaleZones[4] = {
    {1.0f, -4.0f, 0.0f},
    {-8.0f, -12.0f, 12.0f},
    {-10.0f, -14.0f, 14.0f},
    {-16.0f, -20.0f, 20.0f},
};

CRect knobRect(const CPoint& corner, const CBitmap& strip, int frames)
{
    return {corner.x, corner.y, corner.x + strip.getWidth(), corner.y + strip.getHeight() / frames};
}

CRect switchRect(const CPoint& corner, const CBitmap& strip)
{
    return {corner.x, corner.y, corner.x + strip.getWidth(), corner.y + strip.getHeight() / 2};
}
}

CMyVSTEditor::CMyVSTEditor(AudioEffectX* effect, EditorHost* host)
    : AEffGUIEditor(effect),
      effectX(effect),
      host(host),
      cframe(nullptr),
      versionLabel(nullptr),
      linkButton(nullptr),
      controls{},
      meters{},
      editorThread(std::thread::id()),
      posted{}
{
    const CBitmap background("gui.png");
    rect.top = 0;
    rect.left = 0;
    rect.bottom = static_cast<VstInt16>(background.getHeight());
    rect.right = static_cast<VstInt16>(background.getWidth());
}

CMyVSTEditor::~CMyVSTEditor()
{
    if (cframe)
    {
        close();
    }
}

bool CMyVSTEditor::open(void* parentWindow)
{
    AEffGUIEditor::open(parentWindow);
    const CXErrorGuard guard;
    editorThread.store(std::this_thread::get_id());
    for (std::atomic<bool>& flag : posted)
    {
        flag.store(false);
    }

    backgroundBitmap = std::make_shared<const CBitmap>("gui.png");
    switchBitmap = std::make_shared<const CBitmap>("switch.png");
    knobBitmap = std::make_shared<const CBitmap>("knob.png");
    largeKnobBitmap = std::make_shared<const CBitmap>("knob_large.png");
    infoBitmap = std::make_shared<const CBitmap>("info.png");

    const int width = backgroundBitmap->getWidth();
    const int height = backgroundBitmap->getHeight();
    CFrame* newFrame = new CFrame(reinterpret_cast<uintptr_t>(parentWindow), width, height);
    cframe = newFrame;
    newFrame->addView(new CBackgroundView({0, 0, width, height}, backgroundBitmap));

    versionLabel = new (std::nothrow) CTextLabel(EditorLayout::versionLabel, "");
    if (versionLabel)
    {
        versionLabel->setFontColor({200, 200, 200, 255});
        versionLabel->setFont(kNormalFontSmaller);
        versionLabel->setTransparency(true);
        versionLabel->setHoriAlign(CDrawContext::Align::right);
        char product[kVstMaxProductStrLen + 1] = {};
        effectX->getProductString(product);
        const VstInt32 version = effectX->getVendorVersion();
        char text[kVstMaxProductStrLen + 32];
        std::snprintf(text, sizeof text, "%s v%d.%d.%d", product, version / 1000, (version % 1000) / 100,
                      (version % 100) / 10);
        versionLabel->setText(text);
        newFrame->addView(versionLabel);
    }

    const int infoWidth = infoBitmap->getWidth();
    const int linkLeft = (width - infoWidth) / 2;
    const int linkTop = height - EditorLayout::linkButtonTopFromBottom;
    const CRect linkRect = {linkLeft, linkTop, linkLeft + infoWidth, linkTop + infoBitmap->getHeight() / 2};
    linkButton = new (std::nothrow) CURLButton(linkRect, nullptr, -1, infoBitmap);
    if (linkButton)
    {
        linkButton->setURL(productPage);
        newFrame->addView(linkButton);
    }

    buildControls();
    buildMeters();

    frame = newFrame;
    backgroundBitmap.reset();
    switchBitmap.reset();
    knobBitmap.reset();
    largeKnobBitmap.reset();
    infoBitmap.reset();

    // One index past the table on purpose: it must reach nothing.
    for (VstInt32 index = 0; index <= kNumParameters; ++index)
    {
        setParameter(index, effectX->getParameter(index));
    }
    return true;
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

void CMyVSTEditor::close()
{
    if (cframe)
    {
        const CXErrorGuard guard;
        CFrame* closing = cframe;
        clearViewPointers();
        delete closing;
    }
    editorThread.store(std::thread::id());
    AEffGUIEditor::close();
}

void CMyVSTEditor::clearViewPointers()
{
    cframe = nullptr;
    versionLabel = nullptr;
    linkButton = nullptr;
    for (CControl*& control : controls)
    {
        control = nullptr;
    }
    for (CVUMeter*& meter : meters)
    {
        meter = nullptr;
    }
}

void CMyVSTEditor::idle()
{
    AEffGUIEditor::idle();
    if (!isOpen() || !cframe)
    {
        return;
    }
    const CXErrorGuard guard;
    applyPostedParameters();
    updateMeters();
    cframe->idle();
}

bool CMyVSTEditor::onEditorThread() const
{
    return editorThread.load() == std::this_thread::get_id();
}

void CMyVSTEditor::setParameter(VstInt32 index, float value)
{
    if (!onEditorThread())
    {
        // Not the window's thread (or not open): note it for the next idle.
        if (index >= 0 && index < kNumParameters)
        {
            posted[index].store(true);
        }
        return;
    }
    if (!cframe)
    {
        return;
    }
    const CXErrorGuard guard;
    switch (index)
    {
    case kInputGain:
        refreshKnob(index, value);
        resetMeters({kGainReductionLeft, kGainReductionRight, kRmsLeft, kRmsRight, kPeakLeft, kPeakRight,
                     kSaturationLeft, kSaturationRight});
        break;
    case kAttack:
    case kRelease:
    case kLookahead:
    case kLink:
    case kNoiseShaping:
        refreshKnob(index, value);
        break;
    case kTruePeak:
        if (controls[index])
        {
            controls[index]->setValue(value);
        }
        resetMeters({kGainReductionLeft, kGainReductionRight, kRmsLeft, kRmsRight, kPeakLeft, kPeakRight});
        break;
    case kCeiling:
        refreshKnob(index, value);
        resetMeters({kRmsLeft, kRmsRight, kPeakLeft, kPeakRight});
        break;
    case kMeterScale:
        applyMeterScale(value);
        break;
    case kAES17:
        if (controls[index])
        {
            controls[index]->setValue(value);
        }
        resetMeters({kRmsLeft, kRmsRight});
        break;
    case kMonitor:
        if (controls[index])
        {
            controls[index]->setValue(value);
        }
        break;
    case kSaturation:
        refreshKnob(index, value);
        resetMeters({kSaturationLeft, kSaturationRight});
        break;
    case kWordLength:
        if (CMyOptionMenu* menu = static_cast<CMyOptionMenu*>(controls[index]))
        {
            menu->setValue(value, true);
        }
        break;
    default:
        break;
    }
}

void CMyVSTEditor::refreshKnob(VstInt32 index, float value)
{
    CMyAnimKnob* knob = static_cast<CMyAnimKnob*>(controls[index]);
    if (!knob)
    {
        return;
    }
    char text[EditorHost::parameterTextSize] = {};
    host->getParameterText(index, text);
    knob->setValueText(text);
    knob->setValue(value);
}

void CMyVSTEditor::resetMeters(std::initializer_list<int> meterIndices)
{
    for (int m : meterIndices)
    {
        if (meters[m])
        {
            meters[m]->reset();
        }
    }
}

void CMyVSTEditor::applyMeterScale(float value)
{
    const int scale = static_cast<int>(host->getPlainValue(kMeterScale) + 0.5f);
    if (CMyOptionMenu* menu = static_cast<CMyOptionMenu*>(controls[kMeterScale]))
    {
        menu->setValue(value, true);
    }
    if (scale < 0 || scale > 3)
    {
        return;
    }
    const ScaleZones& zones = scaleZones[scale];
    for (int m : {kRmsLeft, kRmsRight, kPeakLeft, kPeakRight})
    {
        if (meters[m])
        {
            meters[m]->setUpperZone(zones.upper);
            meters[m]->setLowerZone(zones.lower);
            meters[m]->setLabelOffset(zones.labelOffset);
        }
    }
}

void CMyVSTEditor::applyPostedParameters()
{
    for (VstInt32 index = 0; index < kNumParameters; ++index)
    {
        if (posted[index].exchange(false))
        {
            setParameter(index, effectX->getParameter(index));
        }
    }
}

void CMyVSTEditor::updateMeters()
{
    // Logarithms in single precision; a zero reading gives minus infinity,
    // which the meters clamp.
    auto level = [](float reading) { return 20.0f * std::log10(reading); };
    auto power = [](float reading) { return 10.0f * std::log10(reading); };
    struct Reading
    {
        int meter;
        float dB;
    };
    const Reading readings[kNumMeters] = {
        {kRmsLeft, power(host->getRmsLevel(0))},
        {kRmsRight, power(host->getRmsLevel(1))},
        {kPeakLeft, level(host->getOutputPeak(0))},
        {kPeakRight, level(host->getOutputPeak(1))},
        {kGainReductionLeft, level(host->getGainReduction(0))},
        {kGainReductionRight, level(host->getGainReduction(1))},
        // Scaled up before the logarithm and back after it, kept in two
        // steps although the same in exact arithmetic.
        {kSaturationLeft, level(1000.0f * host->getSaturationGain(0)) - 60.0f},
        {kSaturationRight, level(1000.0f * host->getSaturationGain(1)) - 60.0f},
    };
    for (const Reading& reading : readings)
    {
        if (meters[reading.meter])
        {
            meters[reading.meter]->setValue(reading.dB);
        }
    }
}

void CMyVSTEditor::valueChanged(CControl* control)
{
    effectX->setParameterAutomated(control->getTag(), control->getValueNormalized());
}

void CMyVSTEditor::controlBeginEdit(CControl* control)
{
    effectX->beginEdit(control->getTag());
}

void CMyVSTEditor::controlEndEdit(CControl* control)
{
    effectX->endEdit(control->getTag());
}

CControl* CMyVSTEditor::getControl(int tag) const
{
    return tag >= 0 && tag < kNumParameters ? controls[tag] : nullptr;
}

CVUMeter* CMyVSTEditor::getMeter(int index) const
{
    return index >= 0 && index < kNumMeters ? meters[index] : nullptr;
}
