// "HVNSPL32": Echo and Reverb, Compressor / Expander and Envelope (and, to
// come, spatial localization and the tone generators).

#include "dynamics_dsp.h"
#include "echo_dsp.h"
#include "spl_dialogs.h"

#include "modules/module_entries.h"
#include "modules/selection_processor.h"
#include "view/child_frame.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

CChildFrame* selectedFrame(HWND window)
{
    CChildFrame* f = frame_from_handle(window);
    return f && f->bHighlight && f->nSelEnd > f->nSelStart ? f : nullptr;
}

// Runs a stateful processor over the selection, block after block.
template <typename Processor>
int run(CChildFrame& f, int code, std::shared_ptr<Processor> p, const char* text)
{
    return process_selection(
        f, code, [p](float* s, std::size_t frames, int, std::uint64_t) { p->process(s, frames); }, {text});
}

}  // namespace

int echo_waveform(HWND window, int code, int)
{
    CChildFrame* f = selectedFrame(window);
    if (!f)
        return 0;
    const int channels = std::max<int>(1, f->wfx.nChannels);
    const unsigned rate = std::max<std::uint32_t>(1, f->wfx.nSamplesPerSec);
    if (code == 11514) {
        EffectDialog d = reverb_dialog();
        if (!run_effect_dialog(d))
            return 0;
        Reverb::Settings s;
        s.roomSize = static_cast<float>(d.value("room") / 100);
        s.damping = static_cast<float>(d.value("damping") / 100);
        s.wet = static_cast<float>(d.value("wet") / 100);
        s.dry = static_cast<float>(d.value("dry") / 100);
        s.width = static_cast<float>(d.value("width") / 100);
        return run(*f, code, std::make_shared<Reverb>(channels, rate, s), "Adding reverb...");
    }
    EffectDialog d = echo_dialog();
    if (!run_effect_dialog(d))
        return 0;
    const auto delay = static_cast<std::size_t>(std::lround(d.value("delay") * rate / 1000.0));
    auto echo = std::make_shared<FeedbackEcho>(channels, delay, static_cast<float>(d.value("feedback") / 100),
                                               static_cast<float>(d.value("level") / 100),
                                               static_cast<float>(d.value("dry") / 100));
    return run(*f, code, echo, "Adding echo...");
}

int amplify_waveform_by_envelope(HWND window, int mode)
{
    CChildFrame* f = selectedFrame(window);
    if (!f)
        return 0;
    if (mode == 1) {
        EffectDialog d = compressor_dialog();
        if (!run_effect_dialog(d))
            return 0;
        DynamicsSettings s;
        s.expander = d.choice("type") == 1;
        s.thresholdDb = d.value("threshold");
        s.ratio = d.value("ratio");
        s.attackMs = d.value("attack");
        s.releaseMs = d.value("release");
        s.makeupDb = d.value("makeup");
        return run(*f, 11503,
                   std::make_shared<DynamicsProcessor>(std::max<int>(1, f->wfx.nChannels), f->wfx.nSamplesPerSec, s),
                   s.expander ? "Expanding..." : "Compressing...");
    }
    EffectDialog d = envelope_dialog();
    if (!run_effect_dialog(d))
        return 0;
    std::vector<EnvelopePoint> points;
    if (parse_envelope(d.text("points"), points))
        return 0;
    const double last = std::max(1.0, static_cast<double>(f->nSelEnd - f->nSelStart) /
                                          std::max<std::uint16_t>(1, f->wfx.nChannels) - 1);
    return process_selection(
        *f, 11505,
        [points, last](float* s, std::size_t frames, int channels, std::uint64_t first) {
            for (std::size_t i = 0; i < frames; ++i) {
                const auto g = static_cast<float>(envelope_gain(points, static_cast<double>(first + i) / last));
                for (int c = 0; c < channels; ++c)
                    s[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)] *= g;
            }
        },
        {"Shaping the envelope..."});
}
