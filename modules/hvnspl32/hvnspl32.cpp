// "HVNSPL32": Echo and Reverb, Compressor / Expander, Envelope, spatial
// localization and the tones and special effects.

#include "dynamics_dsp.h"
#include "echo_dsp.h"
#include "spatial_dsp.h"
#include "spl_dialogs.h"
#include "tone_dsp.h"

#include "modules/module_entries.h"
#include "modules/module_support.h"
#include "modules/selection_processor.h"
#include "view/child_frame.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

// The HRTF set used for spatial localization.
const char* const kDefaultHrtf = "/usr/share/libmysofa/default.sofa";

int channelsOf(const CChildFrame& f) { return std::max<int>(1, f.wfx.nChannels); }
unsigned rateOf(const CChildFrame& f) { return std::max<std::uint32_t>(1, f.wfx.nSamplesPerSec); }

// Each effect's kernel from its dialog's values (for the run and the preview).
SampleKernel reverbKernel(const EffectDialog& d, const CChildFrame& f)
{
    Reverb::Settings s;
    s.roomSize = static_cast<float>(d.value("room") / 100);
    s.damping = static_cast<float>(d.value("damping") / 100);
    s.wet = static_cast<float>(d.value("wet") / 100);
    s.dry = static_cast<float>(d.value("dry") / 100);
    s.width = static_cast<float>(d.value("width") / 100);
    return processor_kernel(std::make_shared<Reverb>(channelsOf(f), rateOf(f), s));
}

SampleKernel echoKernel(const EffectDialog& d, const CChildFrame& f)
{
    const auto delay = static_cast<std::size_t>(std::lround(d.value("delay") * rateOf(f) / 1000.0));
    return processor_kernel(std::make_shared<FeedbackEcho>(channelsOf(f), delay,
                                                           static_cast<float>(d.value("feedback") / 100),
                                                           static_cast<float>(d.value("level") / 100),
                                                           static_cast<float>(d.value("dry") / 100)));
}

SampleKernel dynamicsKernel(const EffectDialog& d, const CChildFrame& f)
{
    DynamicsSettings s;
    s.expander = d.choice("type") == 1;
    s.thresholdDb = d.value("threshold");
    s.ratio = d.value("ratio");
    s.attackMs = d.value("attack");
    s.releaseMs = d.value("release");
    s.makeupDb = d.value("makeup");
    return processor_kernel(std::make_shared<DynamicsProcessor>(channelsOf(f), rateOf(f), s));
}

SampleKernel envelopeKernel(const EffectDialog& d, const CChildFrame& f)
{
    std::vector<EnvelopePoint> points;
    if (parse_envelope(d.text("points"), points))
        points = {{0, 1}};
    const double last = std::max(1.0, static_cast<double>(f.nSelEnd - f.nSelStart) / channelsOf(f) - 1);
    return [points, last](float* s, std::size_t frames, int channels, std::uint64_t first) {
        for (std::size_t i = 0; i < frames; ++i) {
            const auto g = static_cast<float>(envelope_gain(points, static_cast<double>(first + i) / last));
            for (int c = 0; c < channels; ++c)
                s[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)] *= g;
        }
    };
}

}  // namespace

static int echoWaveform(HWND window, int code, int)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return 0;
    const bool reverb = code == kEffectReverb;
    EffectDialog d = reverb ? reverb_dialog() : echo_dialog();
    const KernelMaker make = reverb ? reverbKernel : echoKernel;
    offer_preview(d, *f, [f, make](const EffectDialog& v) { return make(v, *f); });
    if (!run_effect_dialog(d))
        return 0;
    SelectionProcess how{reverb ? "Adding reverb..." : "Adding echo..."};
    how.ringOn = d.toggle("tail");
    // An echo is silent between its repeats: the tail has ended once a whole
    // delay has passed in silence; a reverb's dies away smoothly.
    how.ringQuietFrames = reverb ? rateOf(*f) / 10
                                 : static_cast<std::size_t>(std::lround(d.value("delay") * rateOf(*f) / 1000.0)) + 1;
    return process_selection(*f, code, make(d, *f), how);
}

static int amplifyWaveformByEnvelope(HWND window, int mode)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return 0;
    if (mode == 1)
        return run_with_dialog(*f, kEffectCompressor, compressor_dialog(), dynamicsKernel, "Compressing...");
    return run_with_dialog(*f, kEffectEnvelope, envelope_dialog(), envelopeKernel, "Shaping the envelope...");
}

namespace {

SampleKernel toneKernel(const EffectDialog& d, const CChildFrame& f)
{
    ToneSettings s;
    s.kind = static_cast<ToneSettings::Kind>(d.choice("kind"));
    s.wave = d.choice("wave");
    s.frequency = d.value("frequency");
    s.endFrequency = d.value("end");
    s.logSweep = d.choice("sweep") == 0;
    s.pink = d.choice("noise") == 1;
    s.amplitudeDb = d.value("level");
    s.digits = d.text("digits");
    s.toneMs = d.value("tone");
    s.gapMs = d.value("gap");
    const std::uint64_t frames = (f.nSelEnd - f.nSelStart) / static_cast<std::uint64_t>(channelsOf(f));
    auto generator = std::make_shared<ToneGenerator>(s, rateOf(f), frames);
    return [generator](float* samples, std::size_t n, int channels, std::uint64_t) {
        generator->generate(samples, n, channels);
    };
}

// Through the HRTF set when asked and it can be read, else the time and
// level cues (`reason` says why not).
std::shared_ptr<SpatialRenderer> spatialRenderer(const EffectDialog& d, const CChildFrame& f, std::string* reason)
{
    auto renderer = std::make_shared<SpatialRenderer>();
    if (d.choice("method") == 0) {
        if (auto why = SpatialRenderer::create(kDefaultHrtf, rateOf(f), d.value("azimuth"), d.value("elevation"),
                                               *renderer)) {
            if (reason)
                *reason = *why;
            renderer->useCues(rateOf(f), d.value("azimuth"));
        }
    } else {
        renderer->useCues(rateOf(f), d.value("azimuth"));
    }
    return renderer;
}

SampleKernel spatialKernel(const EffectDialog& d, const CChildFrame& f)
{
    return processor_kernel(spatialRenderer(d, f, nullptr));
}

}  // namespace

static void setSpatialLocalization(HWND window)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return;
    if (f->wfx.nChannels != 2) {
        module_error("Spatial localization needs a stereo file.");
        return;
    }
    EffectDialog d = spatial_dialog();
    offer_preview(d, *f, [f](const EffectDialog& v) { return spatialKernel(v, *f); });
    if (!run_effect_dialog(d))
        return;
    std::string reason;
    auto renderer = spatialRenderer(d, *f, &reason);
    if (!reason.empty())
        module_error("%s: the direction is made from time and level differences instead.", reason.c_str());
    run_processor(*f, kEffectSpatial, renderer, "Placing the sound...");
}

static void makeTonesOrEffects(HWND window)
{
    if (CChildFrame* f = selected_document(window))
        run_with_dialog(*f, kEffectTones, tones_dialog(rateOf(*f)), toneKernel, "Generating...");
}

// The entries the program calls, each behind the exception barrier.
int echo_waveform(HWND frame, int code, int flag) { return guarded_entry("echo_waveform", [&] { return echoWaveform(frame, code, flag); }); }
int amplify_waveform_by_envelope(HWND frame, int mode) { return guarded_entry("amplify_waveform_by_envelope", [&] { return amplifyWaveformByEnvelope(frame, mode); }); }
void set_spatial_localization(HWND frame)
{
    guarded_entry("set_spatial_localization", [&] {
        setSpatialLocalization(frame);
        return 0;
    });
}
void make_tones_or_effects(HWND frame)
{
    guarded_entry("make_tones_or_effects", [&] {
        makeTonesOrEffects(frame);
        return 0;
    });
}
