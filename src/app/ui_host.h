#pragma once

#include "app/window_handle.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>


// What every part of the core asks of a user interface: message boxes, the
// one modeless progress box, text painted into dialog controls, help, a file
// name to write and the wait cursor. The dialogs of one subsystem are that
// subsystem's own request interface (wavefile_dialogs.h, view_dialogs.h,
// edit_dialogs.h, module_dialogs.h). The windowed program installs its widget
// implementations; the command line installs its own. The core never talks to
// a window any other way.

struct ControlTextStyle {
    std::string face;          // font face name, e.g. "Helv"
    int tenthsOfPoint = 80;    // font size in tenths of a point
    std::uint32_t colour = 0;  // 0x00BBGGRR
    unsigned flags = 0;        // draw flags; 100 means bold and embossed
    std::uint32_t background = 0;
    bool ownBackground = false;  // false: the button-face colour
    int weight = 400;
};

// The owner-draw record of a bitmap button, reduced to what painting needs.
struct OwnerDrawItem {
    int controlId = 0;
    bool drawEntire = true;
    bool disabled = false;
    bool selected = false;
    bool focused = false;
    HWND control = nullptr;
};

class UiHost {
public:
    virtual ~UiHost() = default;

    // A modal message box; returns one of the MessageBoxResult values.
    virtual int messageBox(HWND owner, const std::string& text, const std::string& caption,
                           unsigned style) = 0;
    virtual void beep() = 0;
    virtual void setMainWindowTitle(const std::string& title) = 0;

    virtual HWND createProgressBox(const std::string& text, bool showCancel) = 0;
    virtual void destroyProgressBox(HWND box) = 0;
    // Paints the bar control of the box: percent of its width filled, barText on top.
    virtual void drawProgressBar(HWND box, int percent, const std::string& barText) = 0;
    // Takes the next mouse message addressed to the box; true only for a left
    // press strictly inside its Cancel button.
    virtual bool takeCancelClick(HWND box) = 0;

    // The wave converter's box: source (control 100), destination (101), the
    // percentage (102, set with setControlText) and an abort button that
    // takeCancelClick reports.
    virtual HWND createConversionBox(const std::string& source, const std::string& destination) = 0;
    virtual void destroyConversionBox(HWND box) = 0;

    virtual void drawTextOnControl(HWND parent, int controlId, const std::string& text,
                                   const ControlTextStyle& style) = 0;
    // Sets the plain text of a dialog control.
    virtual void setControlText(HWND dialog, int controlId, const std::string& text) = 0;
    virtual void paintBitmapButton(const OwnerDrawItem& item, const std::string& bitmapName,
                                   const std::string& label, bool labelInRightHalf) = 0;
    virtual void centreWindow(HWND window) = 0;

    virtual void showHelp(const std::string& helpFile, int contextId) = 0;
    virtual void setWaitCursor(bool on) = 0;

    // Asks for the name of a file to write (a save dialog titled `title`);
    // empty when cancelled.
    virtual std::string askSaveFileName(const std::string& title, const std::string& suggestion) = 0;

    // Whether Escape was pressed since the last question (a wait for a
    // helper program ends on it).
    virtual bool escapePressed() = 0;
};

// The host in use. Before any host is installed a TerminalUiHost answers.
UiHost& uiHost();
void setUiHost(UiHost* host);
