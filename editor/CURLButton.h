#pragma once

#include "CKickButton.h"
#include "platform/CWebPageOpener.h"

#include <string>

// A push button that opens a web page in the desktop's browser when
// released (see CWebPageOpener).
class CURLButton : public CKickButton
{
public:
    CURLButton(const CRect& size, CControlListener* listener, int tag,
               std::shared_ptr<const CBitmap> background);

    void setURL(const char* address);

protected:
    bool onRelease() override;

private:
    std::string address;
    CWebPageOpener opener;
};
