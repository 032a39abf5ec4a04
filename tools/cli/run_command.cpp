#include "cli_args.h"

#include "document_session.h"
#include "view/child_frame.h"
#include "view/document_save.h"
#include "view/mouse_selection.h"

#include <cstdlib>
#include <iostream>

// ondrava-cli run IN [STEP...]: opens IN as a document and applies the steps
// in the order given, each as its menu command does. Positions are sample
// units (a stereo frame counts two). Steps:
//   --select START:END           highlight that range
//   --channel left|right|both    which channels the highlight covers
//   --new-from-selection         the highlight becomes SAMPLE<n>.WAV, opened as
//                                the active document
//   --save OUT                   save the active document as OUT
//   --save-selection OUT         save its highlight as OUT
int run_run_command(const std::vector<std::string>& argv)
{
    auto usage = [] {
        std::cerr << "usage: ondrava-cli run IN [--select START:END] [--channel left|right|both]"
                     " [--new-from-selection] [--save OUT] [--save-selection OUT]\n";
        return kExitUsage;
    };
    if (argv.empty() || argv[0].rfind("--", 0) == 0)
        return usage();
    // Check every step before doing any.
    for (size_t i = 1; i < argv.size(); ++i) {
        const std::string& step = argv[i];
        const bool takesValue = step == "--select" || step == "--channel" || step == "--save" || step == "--save-selection";
        if (takesValue && i + 1 >= argv.size())
            return usage();
        if (!takesValue && step != "--new-from-selection")
            return usage();
        if (takesValue)
            ++i;
    }
    DocumentSession session;
    if (!session.open(argv[0]))
        return kExitFailed;
    for (size_t i = 1; i < argv.size(); ++i) {
        CChildFrame& f = *session.active();
        const std::string& step = argv[i];
        if (step == "--new-from-selection") {
            if (!new_file_from_selection(f))
                return kExitFailed;
            continue;
        }
        const std::string& value = argv[++i];
        if (step == "--select") {
            char* end = nullptr;
            const unsigned long start = std::strtoul(value.c_str(), &end, 10);
            const unsigned long stop = *end == ':' ? std::strtoul(end + 1, &end, 10) : 0;
            if (*end != '\0' || stop <= start || stop > f.nTotalSamples) {
                std::cerr << "ondrava-cli: --select needs START:END within 0:" << f.nTotalSamples << "\n";
                return kExitUsage;
            }
            f.bHighlight = 1;
            set_selection_units(f, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(stop));
        } else if (step == "--channel") {
            if (value != "left" && value != "right" && value != "both")
                return usage();
            f.bLeftChannel = value != "right";
            f.bRightChannel = value != "left" || f.wfx.nChannels == 1;
        } else if (step == "--save" || step == "--save-selection") {
            if (!save_waveform_file(f, value, step == "--save-selection", 0))
                return kExitFailed;
        }
    }
    return kExitOk;
}
