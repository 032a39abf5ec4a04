#include "app/headless_ui_host.h"

#include "app/messages.h"
#include "edit/presets.h"
#include "edit/timemarks.h"
#include "wavefile/realmedia_encoder.h"

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

HeadlessUiHost::HeadlessUiHost() : m_terminal(isatty(STDERR_FILENO) == 1) {}

void HeadlessUiHost::scriptAnswers(std::initializer_list<int> answers)
{
    m_script.insert(m_script.end(), answers.begin(), answers.end());
}

std::string HeadlessUiHost::controlText(int controlId) const
{
    auto it = m_controlTexts.find(controlId);
    return it == m_controlTexts.end() ? std::string() : it->second;
}

int HeadlessUiHost::answerFor(unsigned style, const std::string& text)
{
    const unsigned buttons = style & kMessageBoxButtonMask;
    const bool yesNo = buttons == MB_YESNO || buttons == MB_YESNOCANCEL;
    if (buttons == MB_OK)
        return IDOK;
    if (!m_script.empty()) {
        int answer = m_script.front();
        m_script.pop_front();
        return answer;
    }
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

int HeadlessUiHost::messageBox(HWND, const std::string& text, const std::string& caption,
                               unsigned style)
{
    if (m_progressOpen && m_terminal && !m_quiet)
        std::cerr << '\n';
    if (!m_quiet) {
        if (!caption.empty() && caption != "Ondrava")
            std::cerr << caption << ": ";
        std::cerr << text << std::endl;
    }
    int answer = answerFor(style, text);
    m_shown.push_back({text, caption, style, answer});
    return answer;
}

void HeadlessUiHost::beep()
{
    if (m_terminal && !m_quiet)
        std::cerr << '\a' << std::flush;
}

HWND HeadlessUiHost::createProgressBox(const std::string& text, bool)
{
    m_progressOpen = true;
    ++m_progressBoxesOpened;
    m_lastPercent = -1;
    m_barText = text;
    m_controlTexts.erase(kTimeLeftControl);
    m_cancelRequested.store(false);
    return kProgressBox;
}

void HeadlessUiHost::setControlText(HWND, int controlId, const std::string& text)
{
    m_controlTexts[controlId] = text;
    if (controlId == kConversionPercent) {
        m_lastPercent = std::atoi(text.c_str());
        redrawTerminalLine();
    }
}

HWND HeadlessUiHost::createConversionBox(const std::string& source, const std::string& destination)
{
    // Shown like the progress box: the two names over the bar.
    createProgressBox(source + " -> " + destination, true);
    m_barText = " " + source + " -> " + destination;
    m_controlTexts[kConversionPercent] = "0%";
    m_lastPercent = 0;
    return kProgressBox;
}

void HeadlessUiHost::destroyProgressBox(HWND box)
{
    if (box != kProgressBox || !m_progressOpen)
        return;
    m_progressOpen = false;
    m_terminalLine.clear();
    if (m_terminal && !m_quiet)
        std::cerr << "\r\033[K" << std::flush;
}

void HeadlessUiHost::drawProgressBar(HWND, int percent, const std::string& barText)
{
    m_lastPercent = percent;
    m_barText = barText;
    redrawTerminalLine();
}

bool HeadlessUiHost::takeCancelClick(HWND)
{
    if (m_cancelCountdown >= 0) {
        if (m_cancelCountdown == 0) {
            m_cancelCountdown = -1;
            return true;
        }
        --m_cancelCountdown;
    }
    return m_cancelRequested.exchange(false);
}

void HeadlessUiHost::drawTextOnControl(HWND, int controlId, const std::string& text,
                                       const ControlTextStyle&)
{
    m_controlTexts[controlId] = text;
    if (controlId == kTimeLeftControl)
        redrawTerminalLine();
}

void HeadlessUiHost::showHelp(const std::string& helpFile, int contextId)
{
    m_helpFile = helpFile;
    m_helpContext = contextId;
    if (!m_quiet)
        std::cerr << "help: " << helpFile << " #" << contextId << std::endl;
}

void HeadlessUiHost::redrawTerminalLine()
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

std::string HeadlessUiHost::askSaveFileName(const std::string& title, const std::string& suggestion)
{
    if (!m_script.empty()) {
        const int answer = m_script.front();
        m_script.pop_front();
        return answer == IDOK || answer == IDYES ? suggestion : std::string();
    }
    if (m_interactive && isatty(STDIN_FILENO) == 1) {
        std::cerr << title << " [" << suggestion << "]: " << std::flush;
        std::string line;
        if (!std::getline(std::cin, line))
            return {};
        return line.empty() ? suggestion : line;
    }
    return m_defaultAgree ? suggestion : std::string();
}

bool HeadlessUiHost::runEffectDialog(EffectDialog& dialog)
{
    if (m_describeEffects) {
        m_effectDialogs.push_back(dialog);
        return false;
    }
    // A preset first, then the single settings over it.
    if (dialog.presets && !m_presetChoice.empty() && !pick_effect_preset(dialog))
        return false;
    for (const auto& [key, value] : m_effectSettings)
        if (const auto reason = dialog.set(key, value)) {
            messageBox(nullptr, *reason, kProductName, MB_OK | MB_ICONEXCLAMATION);
            return false;
        }
    m_effectDialogs.push_back(dialog);
    return true;
}

int HeadlessUiHost::runPresetSelect(PresetContext& context, std::string& chosen)
{
    if (m_presetChoice.empty())
        return 2;
    for (const std::string& name : list_presets(context))
        if (name == m_presetChoice) {
            chosen = name;
            return 1;
        }
    messageBox(nullptr, "There is no preset \"" + m_presetChoice + "\" in " + context.section, kProductName,
               MB_OK | MB_ICONEXCLAMATION);
    return 2;
}

int HeadlessUiHost::runPresetSave(PresetContext& context)
{
    if (m_presetSaveName.empty())
        return 2;
    return save_preset(context, m_presetSaveName, context.extra) == SavePresetResult::Saved ? 1 : 2;
}

void HeadlessUiHost::showSpectrum(const Spectrogram& spectrogram, const std::string&)
{
    m_spectrum = std::make_shared<Spectrogram>(spectrogram);
}

bool HeadlessUiHost::runMagnifiedPlot(MagnifiedPlot& plot)
{
    if (m_plotLines.empty())
        return false;
    for (const PlotLine& l : m_plotLines)
        plot.drawLine(l.channel, l.fromFrame, l.fromValue, l.toFrame, l.toValue);
    return true;
}

bool HeadlessUiHost::askMarkerName(std::string& name)
{
    if (m_markerNames.empty())
        return false;
    name = m_markerNames.front();
    m_markerNames.pop_front();
    return !name.empty();
}

void HeadlessUiHost::refillCueList(const CChildFrame* frame, const CueList& list)
{
    m_cueList = std::make_shared<CueList>(list);
    m_cueListFrame = frame;
    ++m_cueListRefills;
}

const CueList& HeadlessUiHost::cueList() const
{
    static const CueList none;
    return m_cueList ? *m_cueList : none;
}

void HeadlessUiHost::setRealMediaSettings(const RealMediaSettings& settings)
{
    m_realMedia = std::make_shared<RealMediaSettings>(settings);
}

int HeadlessUiHost::runRealMediaDialog(RealMediaSettings& settings, int, const RealMediaEncode& encode)
{
    if (m_realMedia)
        settings = *m_realMedia;
    m_realMediaProgress.clear();
    return encode(settings, [this](const std::string& line) {
        m_realMediaProgress.push_back(line);
        if (!m_quiet && m_terminal)
            std::fprintf(stderr, "\r%s", line.c_str());
    });
}
