#pragma once

#include "AEffEditor.h"

// Base of a graphical editor: the effect, the window frame that the toolkit
// builds on open (null while closed), and the editor's fixed rectangle.
class AEffGUIEditor : public AEffEditor
{
public:
    explicit AEffGUIEditor(AudioEffect* effect);

    bool getRect(ERect** rect) override;
    bool open(void* parentWindow) override;
    void close() override;
    void idle() override;

    void* getFrame() const { return frame; }

protected:
    void* frame;
    ERect rect;
};
