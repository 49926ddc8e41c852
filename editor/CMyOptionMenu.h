#pragma once

#include "COptionMenu.h"

// The editor's drop-down menu: it also takes a parameter's normalised value
// and shows the entry it stands for.
class CMyOptionMenu : public COptionMenu
{
public:
    using COptionMenu::COptionMenu;

    // With normalised set, value 0..1 spans the entries; the rounded entry
    // is chosen when the scaled value lies in [0, entries); anything outside
    // changes nothing.
    virtual void setValue(float value, bool normalised);
    // Marks the current entry in the open list.
    virtual void setMarkCurrentEntry(bool on);

    using COptionMenu::setValue;
};
