#pragma once

#include "aeffectx.h"

class AudioEffect;

// Base of an effect's editor window. The effect owns it and forwards the
// host's editor opcodes to it; the host's parent window is kept while open.
class AEffEditor
{
public:
    explicit AEffEditor(AudioEffect* effect = nullptr) : effect(effect), systemWindow(nullptr) {}
    virtual ~AEffEditor() = default;

    // The editor's size before it is opened; false when it has none.
    virtual bool getRect(ERect** rect)
    {
        if (rect)
        {
            *rect = nullptr;
        }
        return false;
    }
    virtual bool open(void* parentWindow)
    {
        systemWindow = parentWindow;
        return false;
    }
    virtual void close() { systemWindow = nullptr; }
    virtual bool isOpen() { return systemWindow != nullptr; }
    virtual void idle() {}
    // Keys the host forwards while the editor has its focus; true when used.
    virtual bool onKeyDown(VstKeyCode&) { return false; }
    virtual bool onKeyUp(VstKeyCode&) { return false; }
    virtual bool setKnobMode(VstInt32) { return false; }
    // A parameter changed in the effect (host, automation or the editor
    // itself); index as the effect received it, value normalised.
    virtual void setParameter(VstInt32, float) {}

protected:
    AudioEffect* effect;
    void* systemWindow;
};
