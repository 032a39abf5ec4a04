// "HVNEFF32": level effects. Clear and Amplify, Fade, Pan, Modulate and
// Reverse, each a dialog (none for Clear and Reverse) and a pass over the
// selection through the program's selection processor.

#include "hvneff32_dialogs.h"
#include "level_dsp.h"

#include "modules/module_entries.h"
#include "modules/module_support.h"
#include "modules/selection_processor.h"
#include "view/child_frame.h"

#include <algorithm>
#include <cmath>

namespace {

int gainPass(CChildFrame& f, unsigned short code, float gain, const char* text)
{
    return process_selection(
        f, code,
        [gain](float* s, std::size_t frames, int channels, std::uint64_t) {
            for (std::size_t i = 0; i < frames * static_cast<std::size_t>(channels); ++i)
                s[i] *= gain;
        },
        {text});
}

// The largest magnitude among the highlighted samples; negative on Cancel.
float selectionPeak(CChildFrame& f)
{
    float peak = 0;
    const bool twoChannels = f.wfx.nChannels == 2;
    const bool left = !twoChannels || f.bLeftChannel;
    const bool right = twoChannels && f.bRightChannel;
    const int ok = scan_selection(
        f,
        [&](const float* s, std::size_t frames, int channels, std::uint64_t) {
            for (std::size_t i = 0; i < frames; ++i) {
                if (left)
                    peak = std::max(peak, std::fabs(s[i * static_cast<std::size_t>(channels)]));
                if (right)
                    peak = std::max(peak, std::fabs(s[i * static_cast<std::size_t>(channels) + 1]));
            }
        },
        "Measuring the peak...");
    return ok ? peak : -1.0f;
}

double selectionFrames(const CChildFrame& f)
{
    return static_cast<double>(f.nSelEnd - f.nSelStart) / std::max<std::uint16_t>(1, f.wfx.nChannels);
}

}  // namespace

static int amplifyWaveform(HWND, HWND window, unsigned short code, int, char*)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return 0;
    if (code == kCommandClear)
        return gainPass(*f, code, 0.0f, "Clearing...");
    EffectDialog d = amplify_dialog();
    offer_preview(d, *f, [f](const EffectDialog& v) {
        float g = 1.0f;
        if (v.choice("mode") == 0)
            g = decibels_to_gain(v.value("gain"));
        else if (v.choice("mode") == 1)
            g = static_cast<float>(v.value("percent") / 100.0);
        else if (const float peak = selectionPeak(*f); peak > 0)
            g = decibels_to_gain(v.value("peak")) / peak;
        return SampleKernel([g](float* s, std::size_t frames, int channels, std::uint64_t) {
            for (std::size_t i = 0; i < frames * static_cast<std::size_t>(channels); ++i)
                s[i] *= g;
        });
    });
    if (!run_effect_dialog(d))
        return 0;
    float gain = 1.0f;
    switch (d.choice("mode")) {
    case 0: gain = decibels_to_gain(d.value("gain")); break;
    case 1: gain = static_cast<float>(d.value("percent") / 100.0); break;
    default: {
        const float peak = selectionPeak(*f);
        if (peak < 0)
            return 0;
        if (peak == 0) {
            module_error("The highlighted section is silent: there is nothing to normalize.");
            return 0;
        }
        gain = decibels_to_gain(d.value("peak")) / peak;
        break;
    }
    }
    return gainPass(*f, code, gain, "Amplifying...");
}

namespace {

// Each effect's kernel from its dialog's values (for the run and the preview).
SampleKernel fadeKernel(const EffectDialog& d, const CChildFrame& f)
{
    const bool in = d.choice("direction") == 0;
    const bool log = d.choice("curve") == 1;
    const double range = d.value("range");
    // The last frame of a fade-in is at full level, the first of a fade-out.
    const double last = std::max(1.0, selectionFrames(f) - 1);
    return [=](float* s, std::size_t frames, int channels, std::uint64_t first) {
        for (std::size_t i = 0; i < frames; ++i) {
            const float g = fade_gain(static_cast<double>(first + i) / last, in, log, range);
            for (int c = 0; c < channels; ++c)
                s[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)] *= g;
        }
    };
}

SampleKernel panKernel(const EffectDialog& d, const CChildFrame& f)
{
    const double from = d.value("start") / 100.0;
    const double to = d.value("end") / 100.0;
    const bool constantPower = d.choice("law") == 0;
    const double last = std::max(1.0, selectionFrames(f) - 1);
    return [=](float* s, std::size_t frames, int, std::uint64_t first) {
        // The gains every 64 frames, joined by straight lines.
        constexpr std::size_t kStep = 64;
        for (std::size_t i = 0; i < frames; i += kStep) {
            const std::size_t n = std::min(kStep, frames - i);
            float l0 = 1, r0 = 1, l1 = 1, r1 = 1;
            pan_gains(from + (to - from) * static_cast<double>(first + i) / last, constantPower, l0, r0);
            pan_gains(from + (to - from) * static_cast<double>(first + i + n) / last, constantPower, l1, r1);
            for (std::size_t j = 0; j < n; ++j) {
                const float x = static_cast<float>(j) / kStep;
                s[2 * (i + j)] *= l0 + (l1 - l0) * x;
                s[2 * (i + j) + 1] *= r0 + (r1 - r0) * x;
            }
        }
    };
}

SampleKernel modulateKernel(const EffectDialog& d, const CChildFrame& f)
{
    const bool ring = d.choice("mode") == 1;
    const double frequency = d.value("frequency");
    const double depth = d.value("depth") / 100.0;
    const int wave = d.choice("wave");
    const double rate = std::max<std::uint32_t>(1, f.wfx.nSamplesPerSec);
    return [=](float* s, std::size_t frames, int channels, std::uint64_t first) {
        for (std::size_t i = 0; i < frames; ++i) {
            const double t = static_cast<double>(first + i) / rate;
            const float g = ring ? modulator(t, frequency, wave) : tremolo_gain(t, frequency, depth, wave);
            for (int c = 0; c < channels; ++c)
                s[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)] *= g;
        }
    };
}

}  // namespace

static int fadeWaveform(HWND window, unsigned short code)
{
    CChildFrame* f = selected_document(window);
    return f ? run_with_dialog(*f, code, fade_dialog(), fadeKernel, "Fading...") : 0;
}

static int panWaveform(HWND window, unsigned short code)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return 0;
    if (f->wfx.nChannels != 2) {
        module_error("Pan needs a stereo file.");
        return 0;
    }
    return run_with_dialog(*f, code, pan_dialog(), panKernel, "Panning...");
}

static int modulateWaveform(HWND window, unsigned short code)
{
    CChildFrame* f = selected_document(window);
    return f ? run_with_dialog(*f, code, modulate_dialog(), modulateKernel, "Modulating...") : 0;
}

static int reverseWaveform(HWND window, unsigned short code)
{
    CChildFrame* f = selected_document(window);
    if (!f)
        return 0;
    SelectionProcess how;
    how.progressText = "Reversing...";
    how.reverseFrames = true;
    how.bytesOnly = true;
    return process_selection(*f, code, {}, how);
}

// The entries the program calls, each behind the exception barrier.
int amplify_waveform(HWND mainWindow, HWND frame, unsigned short code, int setting, char* workDirectory) { return guarded_entry("amplify_waveform", [&] { return amplifyWaveform(mainWindow, frame, code, setting, workDirectory); }); }
int fade_waveform(HWND frame, unsigned short code) { return guarded_entry("fade_waveform", [&] { return fadeWaveform(frame, code); }); }
int pan_waveform(HWND frame, unsigned short code) { return guarded_entry("pan_waveform", [&] { return panWaveform(frame, code); }); }
int modulate_waveform(HWND frame, unsigned short code) { return guarded_entry("modulate_waveform", [&] { return modulateWaveform(frame, code); }); }
int reverse_waveform(HWND frame, unsigned short code) { return guarded_entry("reverse_waveform", [&] { return reverseWaveform(frame, code); }); }
