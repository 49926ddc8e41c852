#pragma once

#include "AEffGUIEditor.h"
#include "CControlListener.h"
#include "ParameterTable.h"

#include <atomic>
#include <initializer_list>
#include <memory>
#include <thread>

class CBitmap;
class CControl;
class CFrame;
class CMyVSTPlugin;
class CTextLabel;
class CURLButton;
class CVUMeter;

// The plug-in's editor: a 506 x 427 panel with the 13 parameter controls,
// eight bar meters (gain reduction and saturation on the left, output peak
// and RMS on the right), the version label and the link to the product's
// web page. User edits go to the host as automated parameter changes; the
// plug-in's parameter changes come back through setParameter; idle pulls
// the meter readings.
//
// Everything that touches the window runs on the thread that opened it (the
// host's user-interface thread). setParameter called from any other thread
// (automation on the audio thread) only posts the index, lock-free; the next
// idle applies it.
class CMyVSTEditor : public AEffGUIEditor, public CControlListener
{
public:
    static constexpr int kNumMeters = 8;

    // Reads parameter texts and values from the plug-in's framework and the
    // meters from its limiter.
    explicit CMyVSTEditor(CMyVSTPlugin* plugin);
    ~CMyVSTEditor() override;

    bool open(void* parentWindow) override;
    void close() override;
    void idle() override;
    void setParameter(VstInt32 index, float value) override;

    void valueChanged(CControl* control) override;
    void controlBeginEdit(CControl* control) override;
    void controlEndEdit(CControl* control) override;

    // The views while open, null while closed.
    CFrame* getCFrame() const { return cframe; }
    CControl* getControl(int tag) const;
    // In the order of creation (see EditorLayout).
    CVUMeter* getMeter(int index) const;
    CURLButton* getLinkButton() const { return linkButton; }

    // The product's web page, opened by the link button.
    static constexpr const char* productPage = "https://www.virelmatt.com/palisorne";

private:
    // Meters in the order of creation.
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

    // The version label and the link button.
    void buildInfoViews(int width, int height);
    void buildControls();
    void buildMeters();
    void refreshKnob(VstInt32 index, float value);
    void resetMeters(std::initializer_list<int> meterIndices);
    void applyMeterScale(float value);
    void applyPostedParameters();
    void updateMeters();
    void clearViewPointers();
    bool onEditorThread() const;

    CMyVSTPlugin* plugin;
    CFrame* cframe;

    std::shared_ptr<const CBitmap> backgroundBitmap;
    std::shared_ptr<const CBitmap> switchBitmap;
    std::shared_ptr<const CBitmap> knobBitmap;
    std::shared_ptr<const CBitmap> largeKnobBitmap;
    std::shared_ptr<const CBitmap> infoBitmap;

    CTextLabel* versionLabel;
    CURLButton* linkButton;
    CControl* controls[kNumParameters];
    CVUMeter* meters[kNumMeters];

    std::atomic<std::thread::id> editorThread;
    std::atomic<bool> posted[kNumParameters];
};
