#include "cli_args.h"

#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/document_open.h"

#include <iostream>

// ondrava-cli open FILE [--width PX] [--dump-overview]: opens the file as a
// document exactly as the program does, reports its display levels and closes
// it again, which removes its working and level files.
int run_open_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {"width"}, {"dump-overview"});
    if (!args || args->positionals().size() != 1) {
        std::cerr << "usage: ondrava-cli open FILE [--width PX] [--dump-overview]\n";
        return kExitUsage;
    }
    const auto width = args->integer("width", 16, 100000, 1920);
    if (!width)
        return kExitUsage;
    set_screen_width_pixels(static_cast<int>(*width));

    auto frame = open_document_file(args->positionals()[0]);
    if (!frame)
        return kExitFailed;

    const bool overview = frame->nMaxZoomLevel >= 2;
    std::cout << "total_samples: " << frame->nTotalSamples << "\n"
              << "levels: " << frame->nMaxZoomLevel << "\n"
              << "max_zoom: " << frame->fMaxZoom << "\n"
              << "overview_entries: " << (overview ? frame->nLevelLength[1] : 0) << "\n";
    if (args->has("dump-overview") && overview) {
        const std::uint32_t entries = frame->nLevelLength[1];
        for (std::uint32_t i = 0; i < entries; ++i) {
            if (frame->bytesPerSample() == 1)
                std::cout << static_cast<int>(frame->level8(1)[i]) << "\n";
            else
                std::cout << frame->level16(1)[i] << "\n";
        }
    }
    if (!frame->query_close())
        return kExitFailed;
    frame.reset();
    return kExitOk;
}
