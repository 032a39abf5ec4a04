#pragma once

#include "app/ui_host.h"

#include <atomic>
#include <map>
#include <string>
#include <vector>

// The user interface of a program without windows (the helper programs, and
// the base of the command line's): messages go to stderr, the progress box
// is a one-line bar on a terminal (nothing when stderr is not a terminal),
// and questions are asked on the terminal when it is interactive, or take a
// default answer. Cancel is requested from outside (Ctrl+C). It is also the
// host in use before any other is installed.
class TerminalUiHost : public UiHost {
public:
    struct Shown {
        std::string text;
        std::string caption;
        unsigned style = 0;
        int answer = 0;
    };

    TerminalUiHost();

    // What a Yes/No or OK/Cancel question gets when the script is empty:
    // true answers Yes/OK, false No/Cancel.
    void setDefaultAgree(bool agree) { m_defaultAgree = agree; }
    // Ask on the terminal when stdin is one; otherwise use the default.
    void setInteractive(bool interactive) { m_interactive = interactive; }
    void setQuiet(bool quiet) { m_quiet = quiet; }

    // Requests Cancel: the next poll of the progress box reports it. Safe to
    // call from a signal handler.
    void requestCancel() { m_cancelRequested.store(true); }

    // The messages shown and their answers (the helpers print them again).
    const std::vector<Shown>& shown() const { return m_shown; }
    void clearShown() { m_shown.clear(); }
    // The progress box as the terminal line shows it.
    bool progressOpen() const { return m_progressOpen; }
    int lastPercent() const { return m_lastPercent; }
    std::string controlText(int controlId) const;
    const std::string& title() const { return m_title; }

    int messageBox(HWND owner, const std::string& text, const std::string& caption,
                   unsigned style) override;
    void beep() override;
    void setMainWindowTitle(const std::string& title) override { m_title = title; }
    HWND createProgressBox(const std::string& text, bool showCancel) override;
    void destroyProgressBox(HWND box) override;
    void drawProgressBar(HWND box, int percent, const std::string& barText) override;
    bool takeCancelClick(HWND box) override;
    void drawTextOnControl(HWND parent, int controlId, const std::string& text,
                           const ControlTextStyle& style) override;
    void setControlText(HWND, int controlId, const std::string& text) override;
    HWND createConversionBox(const std::string& source, const std::string& destination) override;
    void destroyConversionBox(HWND box) override { destroyProgressBox(box); }
    void paintBitmapButton(const OwnerDrawItem&, const std::string&, const std::string&,
                           bool) override {}
    void centreWindow(HWND) override {}
    void showHelp(const std::string& helpFile, int contextId) override;
    void setWaitCursor(bool) override {}

    // The suggestion when questions are agreed to; on a terminal the name typed
    // (an empty line takes the suggestion); otherwise cancelled.
    std::string askSaveFileName(const std::string& title, const std::string& suggestion) override;
    // Escape is the Cancel request (Ctrl+C on a terminal, or a test's).
    bool escapePressed() override { return m_cancelRequested.exchange(false); }

protected:
    bool quiet() const { return m_quiet; }
    bool terminal() const { return m_terminal; }
    // The answer a question gets.
    virtual int answer(unsigned style, const std::string& text);

private:
    void redrawTerminalLine();

    bool m_defaultAgree = false;
    bool m_interactive = false;
    bool m_quiet = false;
    bool m_terminal = false;
    std::atomic<bool> m_cancelRequested{false};
    std::vector<Shown> m_shown;
    std::map<int, std::string> m_controlTexts;
    bool m_progressOpen = false;
    int m_lastPercent = -1;
    std::string m_barText;
    std::string m_terminalLine;
    std::string m_title;
};
