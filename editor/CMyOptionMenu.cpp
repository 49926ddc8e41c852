#include "CMyOptionMenu.h"

#include <cstdint>

void CMyOptionMenu::setValue(float value, bool normalised)
{
    const int count = getNbEntries();
    if (normalised)
    {
        value *= static_cast<float>(count - 1);
    }
    if (value >= 0.0f && value < static_cast<float>(count))
    {
        // The entry index travels as a signed byte.
        const int8_t entry = static_cast<int8_t>(static_cast<int>(value + 0.5f));
        setCurrent(entry);
        setDirty();
    }
}

void CMyOptionMenu::setMarkCurrentEntry(bool on)
{
    setStyle(on ? (getStyle() | kCheckStyle) : (getStyle() & ~kCheckStyle));
}
