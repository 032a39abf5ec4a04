#pragma once

// A window as the core sees it: an opaque token that only the user-interface
// host can turn into a real window. Documents, dialogs and the progress box are
// all addressed this way, so the core never needs a widget header.
struct OpaqueWindow;
using HWND = OpaqueWindow*;

// Message-box styles and results, with the values the effect modules expect.
enum MessageBoxStyle : unsigned {
    MB_OK = 0x0000,
    MB_OKCANCEL = 0x0001,
    MB_YESNOCANCEL = 0x0003,
    MB_YESNO = 0x0004,
    MB_ICONQUESTION = 0x0020,
    MB_ICONEXCLAMATION = 0x0030,
    MB_ICONINFORMATION = 0x0040,
    MB_TASKMODAL = 0x2000,
};
constexpr unsigned kMessageBoxButtonMask = 0x000F;
constexpr unsigned kMessageBoxIconMask = 0x00F0;

enum MessageBoxResult : int {
    IDOK = 1,
    IDCANCEL = 2,
    IDYES = 6,
    IDNO = 7,
};
