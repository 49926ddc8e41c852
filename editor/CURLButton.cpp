#include "CURLButton.h"

CURLButton::CURLButton(const CRect& size, CControlListener* listener, int tag,
                       std::shared_ptr<const CBitmap> background)
    : CKickButton(size, listener, tag, std::move(background))
{
}

void CURLButton::setURL(const char* newAddress)
{
    address = newAddress ? newAddress : "";
}

bool CURLButton::onRelease()
{
    if (getValue() != getMin())
    {
        setValue(getMin());
        setDirty();
        if (!address.empty())
        {
            opener.open(address.c_str());
        }
    }
    return true;
}

