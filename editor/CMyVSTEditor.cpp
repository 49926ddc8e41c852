#include "CMyVSTEditor.h"

#include "CBackgroundView.h"
#include "CBitmap.h"
#include "CFrame.h"
#include "CMyAnimKnob.h"
#include "CMyOptionMenu.h"
#include "CMyVSTPlugin.h"
#include "CVUMeter.h"
#include "CXErrorGuard.h"

#include <cmath>

namespace
{
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

}

CMyVSTEditor::CMyVSTEditor(CMyVSTPlugin* plugin)
    : AEffGUIEditor(plugin),
      plugin(plugin),
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

    buildInfoViews(width, height);
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
        setParameter(index, plugin->getParameter(index));
    }
    return true;
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
    char text[CVSTPlugin::parameterTextSize] = {};
    plugin->getParameterText(index, text);
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
    const int scale = static_cast<int>(plugin->getPlainValue(kMeterScale) + 0.5f);
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
            setParameter(index, plugin->getParameter(index));
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
        {kRmsLeft, power(plugin->getRmsLevel(0))},
        {kRmsRight, power(plugin->getRmsLevel(1))},
        {kPeakLeft, level(plugin->getOutputPeak(0))},
        {kPeakRight, level(plugin->getOutputPeak(1))},
        {kGainReductionLeft, level(plugin->getGainReduction(0))},
        {kGainReductionRight, level(plugin->getGainReduction(1))},
        // Scaled up before the logarithm and back after it, kept in two
        // steps although the same in exact arithmetic.
        {kSaturationLeft, level(1000.0f * plugin->getSaturationGain(0)) - 60.0f},
        {kSaturationRight, level(1000.0f * plugin->getSaturationGain(1)) - 60.0f},
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
    plugin->setParameterAutomated(control->getTag(), control->getValueNormalized());
}

void CMyVSTEditor::controlBeginEdit(CControl* control)
{
    plugin->beginEdit(control->getTag());
}

void CMyVSTEditor::controlEndEdit(CControl* control)
{
    plugin->endEdit(control->getTag());
}

CControl* CMyVSTEditor::getControl(int tag) const
{
    return tag >= 0 && tag < kNumParameters ? controls[tag] : nullptr;
}

CVUMeter* CMyVSTEditor::getMeter(int index) const
{
    return index >= 0 && index < kNumMeters ? meters[index] : nullptr;
}
