#pragma once

#include "CVSTPlugin.h"
#include "limiter/CLimiter.h"

// The plug-in: the framework that talks to the host, and the limiter that
// processes the audio, in one object. Parameter changes go to the limiter's
// settings; audio blocks go straight to the limiter.
class CMyVSTPlugin : public CVSTPlugin, public CLimiter
{
public:
    CMyVSTPlugin(audioMasterCallback audioMaster, int numInputs, int numOutputs, int numPrograms, int numParams);
    ~CMyVSTPlugin() override;

    // Both flush the limiter's audio state; the settings stay.
    void suspend() override;
    void resume() override;
    // Goes to the limiter only (which clamps it); the rate the framework
    // keeps stays the one it started with.
    void setSampleRate(float rate) override;
    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override;
    // Stores the value, tells the editor and drives the limiter setting of
    // the index; a value outside 0..1 is stored as given and drives the
    // limiter as the nearest end of the range. A value that is not finite is
    // ignored; an index of 13 or more changes nothing; a negative one only
    // reaches the editor.
    void setParameter(VstInt32 index, float value) override;
};
