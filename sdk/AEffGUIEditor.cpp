#include "AEffGUIEditor.h"

AEffGUIEditor::AEffGUIEditor(AudioEffect* effect)
    : AEffEditor(effect), frame(nullptr), rect{0, 0, 0, 0}
{
}

bool AEffGUIEditor::getRect(ERect** rectangle)
{
    if (!rectangle)
    {
        return false;
    }
    *rectangle = &rect;
    return true;
}

bool AEffGUIEditor::open(void* parentWindow)
{
    AEffEditor::open(parentWindow);
    return true;
}

void AEffGUIEditor::close()
{
    frame = nullptr;
    AEffEditor::close();
}

void AEffGUIEditor::idle()
{
}
