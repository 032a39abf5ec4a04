#include "cli_args.h"

#include "app/preferences.h"
#include "view/child_frame.h"
#include "view/document_picture.h"
#include "view/display_levels.h"
#include "view/document_open.h"
#include "view/view_navigation.h"
#include "view/waveform_renderer.h"

#include <QImage>
#include <cmath>
#include <iostream>

// ondrava-cli render FILE --width W --height H [--level N] [--first SAMPLE]
//                    [--time-format 1|24|25|30] --out FILE.png
// Draws the document with the window's renderer: the whole-document strip,
// the ruler and the waveform area of a W x H view, for scripts and thumbnails.
int run_render_command(const std::vector<std::string>& argv)
{
    const auto args = CliArgs::parse(argv, {"width", "height", "level", "first", "time-format", "out"}, {});
    if (!args || args->positionals().size() != 1 || !args->value("out")) {
        std::cerr << "usage: ondrava-cli render FILE --width W --height H [--level N] [--first SAMPLE]"
                     " [--time-format 1|24|25|30] --out FILE.png\n";
        return kExitUsage;
    }
    const auto width = args->integer("width", 64, 16384, 1920);
    const auto height = args->integer("height", 100, 16384, 400);
    const auto level = args->integer("level", 1, 31, 1);
    const auto first = args->integer("first", 0, 0xFFFFFFFFL, 0);
    const auto format = args->integer("time-format", 1, 30, preferences().timeFormat);
    if (!width || !height || !level || !first || !format)
        return kExitUsage;
    if (*format != 1 && *format != 24 && *format != 25 && *format != 30) {
        std::cerr << "ondrava-cli: --time-format must be 1, 24, 25 or 30\n";
        return kExitUsage;
    }

    set_screen_width_pixels(static_cast<int>(*width));
    auto frame = open_document_file(args->positionals()[0]);
    if (!frame)
        return kExitFailed;
    CChildFrame& f = *frame;
    long values = 0;
    const QImage picture = document_picture(f, static_cast<int>(*width), static_cast<int>(*height),
                                            static_cast<int>(*level), static_cast<std::uint32_t>(*first),
                                            static_cast<int>(*format), &values);
    f.nZoomLevel = std::min(static_cast<int>(*level), f.nMaxZoomLevel);
    f.nFirstSample = static_cast<std::uint32_t>(*first) & static_cast<std::uint32_t>(frame_mask(f));
    if (!picture.save(QString::fromStdString(*args->value("out")), "PNG")) {
        std::cerr << "Cannot write " << *args->value("out") << "\n";
        return kExitFailed;
    }
    std::cout << "level: " << f.nZoomLevel << "\n"
              << "first_sample: " << f.nFirstSample << "\n"
              << "values_per_column: " << values << "\n";
    return kExitOk;
}
