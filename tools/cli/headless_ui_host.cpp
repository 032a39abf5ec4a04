#include "headless_ui_host.h"

#include "app/app_paths.h"
#include "app/messages.h"
#include "edit/presets.h"
#include "edit/timemarks.h"
#include "wavefile/realmedia_encoder.h"

#include <cstdio>

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
        if (!quiet() && terminal())
            std::fprintf(stderr, "\r%s", line.c_str());
    });
}

ModuleDialogs::ClipAnswer HeadlessUiHost::askClipping(const std::string& text)
{
    if (m_clipAnswer)
        return *m_clipAnswer;
    ErrMsg("%s Nothing was changed: run it with --on-clip normalize to normalize the result to -0.1 dBFS, or with "
           "--on-clip clip to apply it clipped.",
           text.c_str());
    return ClipAnswer::Cancel;
}

std::optional<ChannelChoice> HeadlessUiHost::askChannelChoice(const std::string& file, int channels)
{
    if (m_channelChoice)
        return m_channelChoice;
    ErrMsg("%s has %d channels; a document holds one or two. Open it with --downmix to mix them down to stereo, "
           "or with --channels-from L,R to take two of them.",
           file_name_part(file).c_str(), channels);
    return std::nullopt;
}
