// "HVNMAG32": the magnified plot. The selection (up to 8192 frames) is shown
// sample by sample; what the user redraws with the mouse replaces it as a new
// version (operation code 393).

#include "modules/magnified_plot.h"
#include "modules/module_entries.h"
#include "modules/module_support.h"
#include "modules/selection_processor.h"
#include "view/child_frame.h"
#include "modules/module_dialogs.h"

#include <algorithm>
#include <memory>

static void displayMagnifiedPlot(HWND, HWND window, int)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return;
    const int channels = std::max<int>(1, f->wfx.nChannels);
    const std::size_t frames = (f->nSelEnd - f->nSelStart) / static_cast<std::size_t>(channels);
    if (frames > kMagnifiedPlotMaxFrames) {
        module_error("Highlight at most %zu samples for the magnified plot.", kMagnifiedPlotMaxFrames);
        return;
    }
    auto plot = std::make_shared<MagnifiedPlot>();
    plot->title = "Magnified plot of " + f->szDisplayName;
    plot->rate = std::max<std::uint32_t>(1, f->wfx.nSamplesPerSec);
    plot->firstFrame = f->nSelStart / static_cast<std::uint32_t>(channels);
    plot->channels.assign(static_cast<std::size_t>(channels), std::vector<float>(frames, 0.0f));
    if (!scan_selection(
            *f,
            [plot](float* s, std::size_t n, int ch, std::uint64_t first) {
                for (std::size_t i = 0; i < n; ++i)
                    for (int c = 0; c < ch; ++c)
                        plot->channels[static_cast<std::size_t>(c)][first + i] =
                            s[i * static_cast<std::size_t>(ch) + static_cast<std::size_t>(c)];
            },
            "Reading the selection..."))
        return;
    if (!module_dialogs().runMagnifiedPlot(*plot))
        return;
    process_selection(
        *f, kCommandMagnifiedPlot,
        [plot](float* s, std::size_t n, int ch, std::uint64_t first) {
            for (std::size_t i = 0; i < n; ++i)
                for (int c = 0; c < ch; ++c)
                    s[i * static_cast<std::size_t>(ch) + static_cast<std::size_t>(c)] =
                        plot->channels[static_cast<std::size_t>(c)][first + i];
        },
        {"Writing the redrawn samples..."});
}

// The entries the program calls, each behind the exception barrier.
void display_magnified_plot(HWND mainWindow, HWND frame, int setting)
{
    guarded_entry("display_magnified_plot", [&] {
        displayMagnifiedPlot(mainWindow, frame, setting);
        return 0;
    });
}
