#include "CXErrorGuard.h"

// Win32 reports errors per call: there are no asynchronous errors to drop.
CXErrorGuard::CXErrorGuard() = default;

CXErrorGuard::~CXErrorGuard() = default;

unsigned long CXErrorGuard::getDroppedErrors()
{
    return 0;
}
