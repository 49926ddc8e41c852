#pragma once

#include "CKickButton.h"

#include <string>
#include <sys/types.h>

// A push button that opens a web page in the desktop's browser when
// released (xdg-open, started directly: no shell ever sees the address).
class CURLButton : public CKickButton
{
public:
    CURLButton(const CRect& size, CControlListener* listener, int tag,
               std::shared_ptr<const CBitmap> background);
    // Reaps the opener if it has finished.
    ~CURLButton() override;

    void setURL(const char* address);
    const std::string& getURL() const { return address; }

protected:
    bool onRelease() override;

private:
    void openURL();
    void reapOpener();

    std::string address;
    pid_t opener;
};
