// "HVNEQL32": filters, the graphic equalizer, the flanger, noise reduction,
// quantize, tempo and pitch, and the spectrum display.

#include "biquad.h"
#include "eql_dialogs.h"
#include "flange_dsp.h"
#include "noise_reduction_dsp.h"
#include "spectrum_dsp.h"
#include "time_pitch_dsp.h"

#include "modules/module_entries.h"
#include "modules/module_services.h"
#include "modules/module_support.h"
#include "modules/selection_move.h"
#include "modules/selection_processor.h"
#include "view/child_frame.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

int channelsOf(const CChildFrame& f) { return std::max<int>(1, f.wfx.nChannels); }
double rateOf(const CChildFrame& f) { return std::max<std::uint32_t>(1, f.wfx.nSamplesPerSec); }

// Each effect's kernel from its dialog's values (for the run and the preview).
SampleKernel filterKernel(const EffectDialog& d, const CChildFrame& f)
{
    const auto type = static_cast<FilterType>(d.choice("type"));
    const int order = 2 * (d.choice("order") + 1);
    return processor_kernel(std::make_shared<BiquadCascade>(
        design_filter(type, rateOf(f), d.value("frequency"), d.value("bandwidth"), order), channelsOf(f)));
}

SampleKernel equalizerKernel(const EffectDialog& d, const CChildFrame& f)
{
    // One peaking section an octave wide per band that is not flat and lies
    // below the Nyquist frequency.
    std::vector<BiquadCoefficients> sections;
    for (int i = 0; i < 10; ++i) {
        const double gain = d.value("band" + std::to_string(i + 1));
        if (gain != 0 && kEqualizerBands[i] < rateOf(f) * 0.45)
            sections.push_back(BiquadCoefficients::peaking(rateOf(f), kEqualizerBands[i], 1.414, gain));
    }
    return processor_kernel(std::make_shared<BiquadCascade>(sections, channelsOf(f)));
}

SampleKernel flangeKernel(const EffectDialog& d, const CChildFrame& f)
{
    FlangeSettings s;
    s.delayMs = d.value("delay");
    s.depthMs = d.value("depth");
    s.rateHz = d.value("rate");
    s.feedback = d.value("feedback") / 100;
    s.mix = d.value("mix") / 100;
    return processor_kernel(std::make_shared<Flanger>(channelsOf(f), f.wfx.nSamplesPerSec, s));
}

}  // namespace

static void filterWaveform(HWND window)
{
    if (CChildFrame* f = selected_document(window))
        run_with_dialog(*f, kEffectFilter, filter_dialog(rateOf(*f)), filterKernel, "Filtering...");
}

static void doFilterWaveform(float cutoff, char* const name, char* const title)
{
    CChildFrame* f = active_document();
    if (!f || !f->bHighlight || f->nSelEnd <= f->nSelStart)
        return;
    // The named filter preset (a steep low-pass when there is none), at the
    // cut-off asked for.
    EffectDialog d = filter_dialog(rateOf(*f));
    d.set("order", "8");
    const std::string values = filter_preset_values(name ? name : "");
    if (!values.empty())
        d.applyValuesText(values);
    d.set("type", "low-pass");
    if (auto* p = const_cast<EffectParameter*>(d.find("frequency")))
        p->value = std::clamp(static_cast<double>(cutoff), p->min, p->max);
    process_selection(*f, kEffectFilter, filterKernel(d, *f), {title ? title : "Filtering..."});
}

static void getEqualizationSelection(HWND window)
{
    if (CChildFrame* f = selected_document(window))
        run_with_dialog(*f, kEffectEqualize, equalizer_dialog(), equalizerKernel, "Equalizing...");
}

static void flangeWaveform(HWND window)
{
    if (CChildFrame* f = selected_document(window))
        run_with_dialog(*f, kEffectFlange, flange_dialog(), flangeKernel, "Flanging...");
}

namespace {

// A straight line from `from` to `to` over the selection.
std::function<double(double)> ramp(double from, double to)
{
    return [from, to](double t) { return from + (to - from) * t; };
}

StreamKernel timePitchKernel(const CChildFrame& f, std::function<double(double)> tempo,
                             std::function<double(double)> semitones)
{
    const std::size_t frames = (f.nSelEnd - f.nSelStart) / static_cast<std::size_t>(channelsOf(f));
    // The stretcher's window takes in about a tenth of a second either side.
    const std::size_t around = f.wfx.nSamplesPerSec / 5;
    auto shifter = std::make_shared<TimePitchShifter>(channelsOf(f), f.wfx.nSamplesPerSec, frames, std::move(tempo),
                                                      std::move(semitones), frames_beside_selection(f, false, around),
                                                      frames_beside_selection(f, true, around));
    return [shifter](const float* in, std::size_t n, int, bool last, std::vector<float>& out) {
        shifter->process(in, n, last, out);
    };
}

// The tempo and pitch ramps a dialog's values ask for.
StreamKernel tempoKernel(const EffectDialog& d, const CChildFrame& f)
{
    const bool gradual = d.choice("mode") == 1;
    const double from = (gradual ? d.value("start") : d.value("tempo")) / 100;
    const double to = (gradual ? d.value("end") : d.value("tempo")) / 100;
    return timePitchKernel(f, ramp(from, to), ramp(0, 0));
}

StreamKernel pitchKernel(const EffectDialog& d, const CChildFrame& f)
{
    const bool glissando = d.choice("mode") == 1;
    const double from = glissando ? d.value("start") : d.value("semitones");
    const double to = glissando ? d.value("end") : d.value("semitones");
    return timePitchKernel(f, ramp(1, 1), ramp(from, to));
}

}  // namespace

static int stretchSelectedPassage(HWND window, int code, int flag)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return 0;
    EffectDialog d = tempo_dialog();
    // Accelerando and Ritardando open on a gradual change their way.
    if (flag == 1 || flag == 2) {
        d.set("mode", "gradual");
        d.set("end", flag == 1 ? "150" : "66");
        d.title = flag == 1 ? "Accelerando" : "Ritardando";
    }
    d.preview = [f](const EffectDialog& v) { preview_selection(*f, tempoKernel(v, *f)); };
    if (!run_effect_dialog(d))
        return 0;
    return transform_selection(*f, code, tempoKernel(d, *f), "Changing the tempo...");
}

static int howToChangePitch(HWND window)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return 0;
    EffectDialog d = pitch_dialog();
    if (chosen_effect_variant() == 1) {
        d.set("mode", "glissando");
        d.title = "Glissando";
    }
    d.preview = [f](const EffectDialog& v) { preview_selection(*f, pitchKernel(v, *f)); };
    if (!run_effect_dialog(d))
        return 0;
    return transform_selection(*f, kEffectPitch, pitchKernel(d, *f), "Changing the pitch...");
}

std::string noise_profile_path() { return user_file_path("noise_profile.bin"); }

namespace {

StreamKernel noiseKernel(const EffectDialog& d, const NoiseProfile& profile)
{
    NoiseReductionSettings s;
    s.reductionDb = d.value("reduction");
    s.oversubtraction = d.value("oversubtraction");
    s.smoothing = d.value("smoothing") / 100;
    auto reducer = std::make_shared<NoiseReducer>(profile, s);
    return [reducer](const float* in, std::size_t n, int, bool last, std::vector<float>& out) {
        reducer->process(in, n, last, out);
    };
}

}  // namespace

static void removeNoise(HWND window)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return;
    EffectDialog d = noise_reduction_dialog();
    // The preview reduces with the profile taken (nothing without one).
    d.preview = [f](const EffectDialog& v) {
        NoiseProfile profile;
        if (profile.load(noise_profile_path()) && profile.channels == channelsOf(*f))
            preview_selection(*f, noiseKernel(v, profile));
    };
    if (!run_effect_dialog(d))
        return;
    if (d.choice("step") == 1) {
        // The highlight holds only noise: its mean spectrum becomes the profile.
        NoiseProfiler profiler(channelsOf(*f), 1024 << d.choice("fft"));
        if (!scan_selection(
                *f, [&profiler](float* s, std::size_t frames, int, std::uint64_t) { profiler.add(s, frames); },
                "Taking the noise profile..."))
            return;
        if (profiler.windows() == 0) {
            module_error("Highlight a longer stretch of noise: the profile needs at least %d samples.", 1024 << d.choice("fft"));
            return;
        }
        if (!profiler.result().save(user_file_path("noise_profile.bin", true)))
            module_error("Cannot write the noise profile %s", noise_profile_path().c_str());
        return;
    }
    NoiseProfile profile;
    if (!profile.load(noise_profile_path()) || profile.channels != channelsOf(*f)) {
        module_error("First take a noise profile: highlight a stretch of noise alone and choose the profile step.");
        return;
    }
    transform_selection(*f, kEffectNoiseReduction, noiseKernel(d, profile), "Reducing noise...");
}

// The frames a quantize moves a start by: to the nearest line of a grid of
// `gridFrames` frames.
long quantize_offset(long startFrame, double gridFrames)
{
    if (gridFrames <= 0)
        return 0;
    return std::lround(std::round(static_cast<double>(startFrame) / gridFrames) * gridFrames) - startFrame;
}

static void shiftWaveform(HWND window)
{
    CChildFrame* f = module_document(window);
    if (!f)
        return;
    if (!f->bHighlight || f->nSelEnd <= f->nSelStart) {
        module_message(5053);
        return;
    }
    EffectDialog d = shift_dialog();
    if (!run_effect_dialog(d))
        return;
    const auto channels = static_cast<long>(channelsOf(*f));
    const double rate = rateOf(*f);
    const long start = static_cast<long>(f->nSelStart) / channels;
    const long end = static_cast<long>(f->nSelEnd) / channels;
    const long total = static_cast<long>(f->nTotalSamples) / channels;
    long shift = 0;
    if (d.choice("mode") == 0) {
        shift = std::lround(d.value("shift") * rate / 1000);
    } else {
        // A whole note is four beats; the grid divides it.
        const double beat = 60.0 / d.value("tempo") * rate;
        shift = quantize_offset(start, 4 * beat / (1 << d.choice("grid")));
    }
    if (shift == 0)
        return;
    if (start + shift < 0 || end + shift > total) {
        module_message(5054);
        return;
    }
    // The highlight moves; where it was becomes silence, where it lands is
    // replaced.
    // A failure has said why; the entry returns nothing either way.
    static_cast<void>(move_selection(*f, shift, kEffectQuantize));
}

static void show3DSpectrum(HWND window)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return;
    const std::uint64_t frames = (f->nSelEnd - f->nSelStart) / static_cast<std::uint64_t>(channelsOf(*f));
    SpectrogramBuilder builder(frames, rateOf(*f), 512, 2048);
    if (!scan_selection(
            *f, [&builder](float* s, std::size_t n, int channels, std::uint64_t) { builder.add(s, n, channels); },
            "Computing the spectrum..."))
        return;
    show_spectrum(builder.result(), "Spectrum of " + f->szDisplayName);
}

// The entries the program calls, each behind the exception barrier.
void get_equalization_selection(HWND frame)
{
    guarded_entry("get_equalization_selection", [&] {
        getEqualizationSelection(frame);
        return 0;
    });
}
void flange_waveform(HWND frame)
{
    guarded_entry("flange_waveform", [&] {
        flangeWaveform(frame);
        return 0;
    });
}
void filter_waveform(HWND frame)
{
    guarded_entry("filter_waveform", [&] {
        filterWaveform(frame);
        return 0;
    });
}
void do_filter_waveform(float cutoff, char* const name, char* const title)
{
    guarded_entry("do_filter_waveform", [&] {
        doFilterWaveform(cutoff, name, title);
        return 0;
    });
}
int stretch_selected_passage(HWND frame, int code, int flag) { return guarded_entry("stretch_selected_passage", [&] { return stretchSelectedPassage(frame, code, flag); }); }
int how_to_change_pitch(HWND frame) { return guarded_entry("how_to_change_pitch", [&] { return howToChangePitch(frame); }); }
void remove_noise(HWND frame)
{
    guarded_entry("remove_noise", [&] {
        removeNoise(frame);
        return 0;
    });
}
void shift_waveform(HWND frame)
{
    guarded_entry("shift_waveform", [&] {
        shiftWaveform(frame);
        return 0;
    });
}
void show_3D_spectrum(HWND frame)
{
    guarded_entry("show_3D_spectrum", [&] {
        show3DSpectrum(frame);
        return 0;
    });
}
