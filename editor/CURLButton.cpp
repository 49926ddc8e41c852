#include "CURLButton.h"

#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

CURLButton::CURLButton(const CRect& size, CControlListener* listener, int tag,
                       std::shared_ptr<const CBitmap> background)
    : CKickButton(size, listener, tag, std::move(background)), opener(0)
{
}

CURLButton::~CURLButton()
{
    reapOpener();
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
        openURL();
    }
    return true;
}

void CURLButton::openURL()
{
    if (address.empty())
    {
        return;
    }
    // One opener at a time: a click while the previous one still runs (it
    // usually returns as soon as the browser has the page) does nothing.
    reapOpener();
    if (opener != 0)
    {
        return;
    }
    char program[] = "xdg-open";
    char* arguments[] = {program, &address[0], nullptr};
    pid_t child = 0;
    if (posix_spawnp(&child, program, nullptr, nullptr, arguments, environ) == 0)
    {
        opener = child;
    }
}

void CURLButton::reapOpener()
{
    if (opener != 0 && waitpid(opener, nullptr, WNOHANG) != 0)
    {
        opener = 0;
    }
}
