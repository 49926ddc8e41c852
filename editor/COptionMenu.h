#pragma once

#include "CControl.h"

#include <string>
#include <vector>

// A drop-down menu: shows its current entry; a click opens the list of
// entries over the window, below the menu, or above it where the list would
// pass the window's bottom edge. A click on an entry chooses it and tells
// the listener; a click anywhere else closes the list. The value is the
// current entry's index (the range is 0 .. entries - 1).
class COptionMenu : public CControl
{
public:
    enum Style
    {
        kTransparent = 1 << 0,
        kCentredText = 1 << 1,
        // The open list marks the current entry.
        kCheckStyle = 1 << 2,
    };

    // windowHeight: the height of the window the list must stay inside.
    COptionMenu(const CRect& size, CControlListener* listener, int tag,
                int windowHeight, int style);

    void addEntry(const char* title);
    int getNbEntries() const { return static_cast<int>(entries.size()); }
    const char* getEntry(int index) const;
    // Makes the entry current; false (and no change) outside the entries.
    bool setCurrent(int index);
    int getCurrentIndex() const { return static_cast<int>(getValue() + 0.5f); }
    const char* getCurrentEntry() const { return getEntry(getCurrentIndex()); }

    int getStyle() const { return style; }
    void setStyle(int newStyle);
    void setFontColor(const CColor& colour) { fontColour = colour; }

    bool isOpen() const { return open; }
    // Open, it is drawn above the other views and sees every click first.
    bool isModal() const override { return open; }
    // Where the list of entries is drawn while open, in window coordinates.
    CRect getListArea() const;
    // Opens or closes the list as a click on the menu does.
    void openList();
    void closeList();

protected:
    void draw(CDrawContext& context) override;
    bool onMouseDown(const CMouseEvent& event) override;
    bool onMouseUp(const CMouseEvent& event) override;
    bool onMouseMoved(const CMouseEvent& event) override;

private:
    // The entry under a point of the window, or -1.
    int entryAt(double windowX, double windowY) const;
    void drawList(CDrawContext& context, const CRect& list) const;

    std::vector<std::string> entries;
    int windowHeight;
    int style;
    CColor fontColour;
    bool open;
    int hovered;
};
