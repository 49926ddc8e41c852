#include "CWebPageOpener.h"

#include <windows.h>

#include <shellapi.h>

CWebPageOpener::~CWebPageOpener() = default;

void CWebPageOpener::open(const char* address)
{
    ShellExecuteA(nullptr, "open", address, nullptr, nullptr, SW_SHOWNORMAL);
}
