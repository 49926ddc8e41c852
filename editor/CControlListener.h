#pragma once

class CControl;

// Receives what the user does with a control: an edit gesture opens with
// controlBeginEdit, brings one or more valueChanged calls and closes with
// controlEndEdit.
class CControlListener
{
public:
    virtual ~CControlListener() = default;

    virtual void valueChanged(CControl* control) = 0;
    virtual void controlBeginEdit(CControl* control) = 0;
    virtual void controlEndEdit(CControl* control) = 0;
};
