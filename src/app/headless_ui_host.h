#pragma once

#include "app/ui_host.h"
#include "modules/effect_dialog.h"
#include "modules/magnified_plot.h"
#include "view/spectrogram.h"

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

// The user interface of the command line and the tests: messages go to stderr,
// the progress box is a one-line bar on a terminal (nothing when stderr is not
// a terminal), and questions take their answers from a script, then from a
// default answer. Cancel is requested from outside (Ctrl+C, or a test).
class HeadlessUiHost : public UiHost {
public:
    struct Shown {
        std::string text;
        std::string caption;
        unsigned style = 0;
        int answer = 0;
    };

    HeadlessUiHost();

    // Answers for the next questions, used in order before the default.
    void scriptAnswers(std::initializer_list<int> answers);
    // What a Yes/No or OK/Cancel question gets when the script is empty:
    // true answers Yes/OK, false No/Cancel.
    void setDefaultAgree(bool agree) { m_defaultAgree = agree; }
    // Ask on the terminal when stdin is one; otherwise use the default.
    void setInteractive(bool interactive) { m_interactive = interactive; }
    void setQuiet(bool quiet) { m_quiet = quiet; }

    // Requests Cancel: the next poll of the progress box reports it. Safe to
    // call from a signal handler.
    void requestCancel() { m_cancelRequested.store(true); }
    // Requests Cancel after the given number of further polls.
    void cancelAfterPolls(int polls) { m_cancelCountdown = polls; }

    const std::vector<Shown>& shown() const { return m_shown; }
    void clearShown() { m_shown.clear(); }
    bool progressOpen() const { return m_progressOpen; }
    int progressBoxesOpened() const { return m_progressBoxesOpened; }
    int lastPercent() const { return m_lastPercent; }
    std::string controlText(int controlId) const;
    const std::string& title() const { return m_title; }
    int helpContext() const { return m_helpContext; }
    const std::string& helpFile() const { return m_helpFile; }

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
    bool runNewFileDialog() override { return true; }
    // Effect dialogs take the settings given here (key, value text), in
    // order; a bad one is reported and the dialog cancelled. In describe mode
    // every effect dialog is only recorded and cancelled.
    void setEffectSettings(std::vector<std::pair<std::string, std::string>> settings)
    {
        m_effectSettings = std::move(settings);
    }
    void setDescribeEffects(bool on) { m_describeEffects = on; }
    const std::vector<EffectDialog>& effectDialogsShown() const { return m_effectDialogs; }
    bool runEffectDialog(EffectDialog& dialog) override;
    // The preset the select dialog picks, and the name the save dialog
    // stores; without one each dialog is cancelled.
    void setPresetChoice(std::string name) { m_presetChoice = std::move(name); }
    void setPresetSaveName(std::string name) { m_presetSaveName = std::move(name); }
    int runPresetSelect(PresetContext& context, std::string& chosen) override;
    int runPresetSave(PresetContext& context) override;
    // The last spectrum shown, for the command line to save.
    void showSpectrum(const Spectrogram& spectrogram, const std::string& title) override;
    const Spectrogram* lastSpectrum() const { return m_spectrum.get(); }
    // What the magnified plot draws: lines (channel, from frame, from value,
    // to frame, to value); without any the plot is cancelled.
    struct PlotLine {
        int channel;
        std::size_t fromFrame;
        float fromValue;
        std::size_t toFrame;
        float toValue;
    };
    void setPlotLines(std::vector<PlotLine> lines) { m_plotLines = std::move(lines); }
    bool runMagnifiedPlot(MagnifiedPlot& plot) override;
    // The suggestion when questions are agreed to; on a terminal the name typed
    // (an empty line takes the suggestion); otherwise cancelled.
    std::string askSaveFileName(const std::string& title, const std::string& suggestion) override;

    // The name the next "ENTERMARKERNAME" questions get, in order; without
    // one the question is cancelled.
    void scriptMarkerNames(std::initializer_list<std::string> names) { m_markerNames.assign(names); }
    bool askMarkerName(std::string& name) override;
    // Escape is the Cancel request (Ctrl+C on a terminal, or a test's).
    bool escapePressed() override { return m_cancelRequested.exchange(false); }
    // The JAF dialog's answer: the button to choose (0 keeps the one on),
    // or Cancel.
    void setJafChoice(int button, bool ok = true)
    {
        m_jafButton = button;
        m_jafOk = ok;
    }
    // The plug-in the chooser picks: the first whose text contains `text`
    // (a URI or a name); none picks nothing (Cancel).
    void setPluginChoice(std::string text) { m_pluginChoice = std::move(text); }
    int choosePlugin(const std::vector<std::string>& names) override
    {
        for (std::size_t i = 0; i < names.size() && !m_pluginChoice.empty(); ++i)
            if (names[i].find(m_pluginChoice) != std::string::npos)
                return static_cast<int>(i);
        return -1;
    }
    // The RealMedia dialog encodes at once with the settings given here.
    void setRealMediaSettings(const RealMediaSettings& settings);
    int runRealMediaDialog(RealMediaSettings& settings, int channels, const RealMediaEncode& encode) override;
    const std::vector<std::string>& realMediaProgress() const { return m_realMediaProgress; }
    bool runJafDialog(int& button) override
    {
        if (m_jafButton)
            button = m_jafButton;
        return m_jafOk;
    }
    void refillCueList(const CChildFrame* frame, const CueList& list) override;
    // The last cue list handed over, and for which document.
    const CueList& cueList() const;
    const CChildFrame* cueListFrame() const { return m_cueListFrame; }
    int cueListRefills() const { return m_cueListRefills; }

private:
    std::deque<std::string> m_markerNames;
    std::string m_pluginChoice;
    std::shared_ptr<RealMediaSettings> m_realMedia;
    std::vector<std::string> m_realMediaProgress;
    int m_jafButton = 0;
    bool m_jafOk = true;
    std::shared_ptr<CueList> m_cueList;
    const CChildFrame* m_cueListFrame = nullptr;
    int m_cueListRefills = 0;
    std::vector<std::pair<std::string, std::string>> m_effectSettings;
    bool m_describeEffects = false;
    std::string m_presetChoice;
    std::string m_presetSaveName;
    std::shared_ptr<Spectrogram> m_spectrum;
    std::vector<PlotLine> m_plotLines;
    std::vector<EffectDialog> m_effectDialogs;
    int answerFor(unsigned style, const std::string& text);
    void redrawTerminalLine();

    std::deque<int> m_script;
    bool m_defaultAgree = false;
    bool m_interactive = false;
    bool m_quiet = false;
    bool m_terminal = false;
    std::atomic<bool> m_cancelRequested{false};
    int m_cancelCountdown = -1;
    std::vector<Shown> m_shown;
    std::map<int, std::string> m_controlTexts;
    bool m_progressOpen = false;
    int m_progressBoxesOpened = 0;
    int m_lastPercent = -1;
    std::string m_barText;
    std::string m_terminalLine;
    std::string m_title;
    std::string m_helpFile;
    int m_helpContext = 0;
};
