#include "cli_args.h"

#include "app/app_paths.h"
#include "cli/headless_ui_host.h"
#include "document_session.h"
#include "modules/effect_commands.h"
#include "edit/presets.h"
#include "view/child_frame.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include <iostream>
#include <unistd.h>

// ondrava-cli effects: every effect with its parameters. Each effect's own
// dialog is asked for on a scratch document and cancelled, so what is listed
// is what the menu command shows.
int run_effects_command(const std::vector<std::string>& argv)
{
    if (!argv.empty()) {
        std::cerr << "usage: ondrava-cli effects\n";
        return kExitUsage;
    }
    auto* host = dynamic_cast<HeadlessUiHost*>(&uiHost());
    if (!host)
        return kExitFailed;
    // A second of stereo 16-bit silence, all highlighted.
    current_wave_format.nChannels = 2;
    current_wave_format.nSamplesPerSec = 44100;
    current_wave_format.wBitsPerSample = 16;
    current_wave_format.nBytesPerSample = 2;
    const std::string scratch = join_path(data_directory(), "effects-list.wav");
    if (!create_empty_waveform_file_named(scratch))
        return kExitFailed;
    DocumentSession session;
    const bool opened = session.open(scratch);
    ::unlink(scratch.c_str());
    if (!opened)
        return kExitFailed;
    CChildFrame& f = *session.active();
    f.bHighlight = 1;
    f.nSelStart = 0;
    f.nSelEnd = f.nTotalSamples;
    host->setDescribeEffects(true);
    for (const EffectCommand& c : effect_commands()) {
        const std::size_t before = host->effectDialogsShown().size();
        run_effect_command(f, c.id);
        std::string menu = c.menuText;
        std::erase(menu, '&');
        std::cout << c.name << ": " << menu << "\n";
        if (host->effectDialogsShown().size() > before) {
            const EffectDialog& d = host->effectDialogsShown().back();
            std::cout << d.describe();
            if (d.presets) {
                std::cout << "  presets (--preset NAME):";
                const auto names = list_presets(preset_context());
                for (std::size_t i = 0; i < names.size(); ++i)
                    std::cout << (i ? ", " : " ") << names[i];
                std::cout << "\n";
            }
        } else
            std::cout << "  (no parameters)\n";
    }
    host->setDescribeEffects(false);
    return kExitOk;
}
