#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class CChildFrame;

// The one way effects change a document: the highlighted stretch is read in
// blocks from the shown version, handed to a kernel as floating-point samples
// (interleaved, -1..1), and written into a new version behind the untouched
// head; the tail follows and the new version is committed with the
// operation's code, so one Undo brings the old one back. Channels that are not
// highlighted keep their samples. Nothing holds more than a block in memory.

// Changes `frames` interleaved frames in place; `firstFrame` counts from the
// start of the selection.
using SampleKernel = std::function<void(float* samples, std::size_t frames, int channels, std::uint64_t firstFrame)>;

struct SelectionProcess {
    const char* progressText = "Processing...";
    // The selection's frames come out in reverse order (the kernel then sees
    // them reversed).
    bool reverseFrames = false;
    // The samples themselves stay as they are (a pure reordering): no
    // conversion to floating point and back, no kernel.
    bool bytesOnly = false;
    std::size_t blockFrames = 65536;
    // The kernel rings on after the highlight (an echo, a reverb): its tail
    // is mixed into what follows, or extends the file at its end. The
    // effect's command must be one that may change the length.
    bool ringOn = false;
    // How long the tail must stay below -100 dBFS to have ended (an echo's
    // is silent between its repeats).
    std::size_t ringQuietFrames = 8192;
};

// 1 when the new version was committed; 0 without a selection, on Cancel or
// on failure (the document is unchanged, the reason has been shown).
int process_selection(CChildFrame& frame, int code, const SampleKernel& kernel, const SelectionProcess& how = {});

// For effects that change the length (tempo): each block of the selection
// goes in as interleaved floats (all channels), the kernel appends whatever
// it has ready to `out`; on the last call (`last` set, possibly with no
// frames) it appends the rest. The output replaces the selection, the
// selection's tail follows it.
using StreamKernel =
    std::function<void(const float* in, std::size_t frames, int channels, bool last, std::vector<float>& out)>;
int transform_selection(CChildFrame& frame, int code, const StreamKernel& kernel, const char* progressText);

// Up to `frames` frames of the sound just before the highlight (`after`
// false) or just after it, as interleaved floats: what a kernel that looks
// around its input (a time stretcher's window) hears at the highlight's
// edges. Fewer at the file's start or end; none on a read failure.
std::vector<float> frames_beside_selection(const CChildFrame& frame, bool after, std::size_t frames);

// The preview of an effect: the first `seconds` of the selection through the
// kernel into a scratch file, played through the playback engine; the
// document is not touched. 1 when playback started. A second preview (or
// Play) stops the one that plays.
int preview_selection(CChildFrame& frame, const StreamKernel& kernel, double seconds = 5.0);
// An in-place kernel as a stream kernel (same length out as in).
StreamKernel stream_of(SampleKernel kernel);
// The scratch file previews are played from.
std::string preview_file_path();

// Reads every highlighted sample once (for measurements such as the peak a
// normalize needs). 0 on Cancel or failure.
int scan_selection(CChildFrame& frame, const SampleKernel& kernel, const char* progressText);
