#pragma once

#include "app/dialog_slot.h"
#include "app/terminal_ui_host.h"
#include "edit/edit_dialogs.h"
#include "modules/effect_dialog.h"
#include "modules/magnified_plot.h"
#include "modules/module_dialogs.h"
#include "view/spectrogram.h"
#include "view/view_dialogs.h"
#include "wavefile/wavefile_dialogs.h"

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// The command line's user interface: the terminal's (messages, progress,
// questions), and every dialog answered from the command's options instead
// of a window: effect settings and presets, the magnified plot's lines,
// marker names, the JAF, plug-in and RealMedia choices. The spectrum and the
// cue list are kept for the command to print or save. Made, it answers every
// subsystem's dialogs until it goes.
class HeadlessUiHost : public TerminalUiHost,
                       public WaveFileDialogs,
                       public ViewDialogs,
                       public EditDialogs,
                       public ModuleDialogs {
public:
    HeadlessUiHost() = default;
    HeadlessUiHost(const HeadlessUiHost&) = delete;
    HeadlessUiHost& operator=(const HeadlessUiHost&) = delete;

    bool runNewFileDialog() override { return true; }
    // The answer for files of more than two channels (--downmix or
    // --channels-from); without one the question is refused with the
    // options named.
    void setChannelChoice(const ChannelChoice& choice) { m_channelChoice = choice; }
    std::optional<ChannelChoice> askChannelChoice(const std::string& file, int channels) override;
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
    // The name the next "ENTERMARKERNAME" questions get, in order; without
    // one the question is cancelled.
    void scriptMarkerNames(std::initializer_list<std::string> names) { m_markerNames.assign(names); }
    bool askMarkerName(std::string& name) override;
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
    // What an effect that would clip does (--on-clip normalize|clip|fail);
    // without an answer it fails with the message.
    void setClipAnswer(std::optional<ClipAnswer> answer) { m_clipAnswer = answer; }
    ClipAnswer askClipping(const std::string& text) override;
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
    // This host answers every subsystem's dialogs while it lives.
    DialogInstallation<WaveFileDialogs> m_wavefileDialogs{this, wavefile_dialogs, set_wavefile_dialogs};
    DialogInstallation<ViewDialogs> m_viewDialogs{this, view_dialogs, set_view_dialogs};
    DialogInstallation<EditDialogs> m_editDialogs{this, edit_dialogs, set_edit_dialogs};
    DialogInstallation<ModuleDialogs> m_moduleDialogs{this, module_dialogs, set_module_dialogs};
    std::deque<std::string> m_markerNames;
    std::optional<ChannelChoice> m_channelChoice;
    std::optional<ClipAnswer> m_clipAnswer;
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
};
