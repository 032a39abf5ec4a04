#include "app/terminal_ui_host.h"

#include "app/messages.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <unistd.h>

namespace {
// The one progress box the headless host can show; its address is its handle.
OpaqueWindow* const kProgressBox = reinterpret_cast<OpaqueWindow*>(0x230);
constexpr int kTimeLeftControl = 1039;
constexpr int kConversionPercent = 102;
}  // namespace

TerminalUiHost::TerminalUiHost() : m_terminal(isatty(STDERR_FILENO) == 1) {}

std::string TerminalUiHost::controlText(int controlId) const
{
    auto it = m_controlTexts.find(controlId);
    return it == m_controlTexts.end() ? std::string() : it->second;
}

int TerminalUiHost::answer(unsigned style, const std::string& text)
{
    const unsigned buttons = style & kMessageBoxButtonMask;
    const bool yesNo = buttons == MB_YESNO || buttons == MB_YESNOCANCEL;
    if (buttons == MB_OK)
        return IDOK;
    bool agree = m_defaultAgree;
    if (m_interactive && isatty(STDIN_FILENO) == 1) {
        std::cerr << text << (yesNo ? " [y/n] " : " [OK=y/Cancel=n] ") << std::flush;
        std::string line;
        if (std::getline(std::cin, line) && !line.empty())
            agree = line[0] == 'y' || line[0] == 'Y';
    }
    if (yesNo)
        return agree ? IDYES : IDNO;
    return agree ? IDOK : IDCANCEL;
}

int TerminalUiHost::messageBox(HWND, const std::string& text, const std::string& caption,
                               unsigned style)
{
    if (m_progressOpen && m_terminal && !m_quiet)
        std::cerr << '\n';
    if (!m_quiet) {
        if (!caption.empty() && caption != "Ondrava")
            std::cerr << caption << ": ";
        std::cerr << text << std::endl;
    }
    const int given = answer(style, text);
    m_shown.push_back({text, caption, style, given});
    return given;
}

void TerminalUiHost::beep()
{
    if (m_terminal && !m_quiet)
        std::cerr << '\a' << std::flush;
}

HWND TerminalUiHost::createProgressBox(const std::string& text, bool)
{
    m_progressOpen = true;
    m_lastPercent = -1;
    m_barText = text;
    m_controlTexts.erase(kTimeLeftControl);
    m_cancelRequested.store(false);
    return kProgressBox;
}

void TerminalUiHost::setControlText(HWND, int controlId, const std::string& text)
{
    m_controlTexts[controlId] = text;
    if (controlId == kConversionPercent) {
        m_lastPercent = std::atoi(text.c_str());
        redrawTerminalLine();
    }
}

HWND TerminalUiHost::createConversionBox(const std::string& source, const std::string& destination)
{
    // Shown like the progress box: the two names over the bar.
    createProgressBox(source + " -> " + destination, true);
    m_barText = " " + source + " -> " + destination;
    m_controlTexts[kConversionPercent] = "0%";
    m_lastPercent = 0;
    return kProgressBox;
}

void TerminalUiHost::destroyProgressBox(HWND box)
{
    if (box != kProgressBox || !m_progressOpen)
        return;
    m_progressOpen = false;
    m_terminalLine.clear();
    if (m_terminal && !m_quiet)
        std::cerr << "\r\033[K" << std::flush;
}

void TerminalUiHost::drawProgressBar(HWND, int percent, const std::string& barText)
{
    m_lastPercent = percent;
    m_barText = barText;
    redrawTerminalLine();
}

bool TerminalUiHost::takeCancelClick(HWND) { return m_cancelRequested.exchange(false); }

void TerminalUiHost::drawTextOnControl(HWND, int controlId, const std::string& text,
                                       const ControlTextStyle&)
{
    m_controlTexts[controlId] = text;
    if (controlId == kTimeLeftControl)
        redrawTerminalLine();
}

void TerminalUiHost::showHelp(const std::string& helpFile, int contextId)
{
    if (!m_quiet)
        std::cerr << "help: " << helpFile << " #" << contextId << std::endl;
}

void TerminalUiHost::redrawTerminalLine()
{
    if (!m_terminal || m_quiet || !m_progressOpen || m_lastPercent < 0)
        return;
    constexpr int kWidth = 30;
    const int filled = m_lastPercent * kWidth / 100;
    std::string line(static_cast<size_t>(filled), '#');
    line.resize(kWidth, ' ');
    line = "[" + line + "]" + m_barText + controlText(kTimeLeftControl);
    // Progress is reported once per block; the terminal hears only of changes.
    if (line == m_terminalLine)
        return;
    m_terminalLine = line;
    std::cerr << "\r\033[K" << line << std::flush;
}

std::string TerminalUiHost::askSaveFileName(const std::string& title, const std::string& suggestion)
{
    if (m_interactive && isatty(STDIN_FILENO) == 1) {
        std::cerr << title << " [" << suggestion << "]: " << std::flush;
        std::string line;
        if (!std::getline(std::cin, line))
            return {};
        return line.empty() ? suggestion : line;
    }
    return m_defaultAgree ? suggestion : std::string();
}

