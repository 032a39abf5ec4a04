#pragma once

#include "wavefile/channel_choice.h"

#include <functional>
#include <optional>
#include <string>

struct RealMediaSettings;

// The dialogs of making and exporting files.
class WaveFileDialogs {
public:
    virtual ~WaveFileDialogs() = default;

    // The "CREATENEWFILE" dialog: lets the user set channels, bits and rate in
    // the current wave format. false when cancelled.
    virtual bool runNewFileDialog() { return true; }
    // The RealMedia encoding dialog for a document of `channels` channels:
    // codecs, descriptions and sliders; its Encode runs `encode` with the
    // chosen settings and a line for the progress. The result of the
    // encoding, or 0 when cancelled before it.
    using RealMediaEncode =
        std::function<int(const RealMediaSettings&, const std::function<void(const std::string&)>&)>;
    virtual int runRealMediaDialog(RealMediaSettings&, int /*channels*/, const RealMediaEncode&) { return 0; }
    // Asks what to do with `file`, which holds `channels` channels (more
    // than a document holds): mix down to stereo, or take two of them.
    // Nothing when cancelled (and without dialogs: the opening then says
    // why nothing opened).
    virtual std::optional<ChannelChoice> askChannelChoice(const std::string& file, int channels);
};

// The installed dialogs, or these answers when none is installed.
WaveFileDialogs& wavefile_dialogs();
void set_wavefile_dialogs(WaveFileDialogs* dialogs);
