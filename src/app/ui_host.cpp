#include "app/ui_host.h"

#include "app/terminal_ui_host.h"

namespace {
UiHost* g_host = nullptr;
}

UiHost& uiHost()
{
    if (!g_host) {
        static TerminalUiHost fallback;
        return fallback;
    }
    return *g_host;
}

void setUiHost(UiHost* host) { g_host = host; }
