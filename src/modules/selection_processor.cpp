#include "modules/selection_processor.h"

#include "app/app_paths.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "audio/playback_engine.h"
#include "edit/transfer_helpers.h"
#include "edit/undo.h"
#include "modules/effect_result.h"
#include "view/child_frame.h"
#include "view/mouse_selection.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <optional>
#include <unistd.h>
#include <vector>

namespace {

struct Range {
    std::uint64_t start = 0;  // bytes
    std::uint64_t frames = 0;
    std::size_t frameBytes = 1;
};

// The highlight in whole frames, as the edit operations take it: an edge
// inside a frame (a stereo highlight from an odd unit) moves back to the
// frame's start, so that the channels of a frame are always processed
// together and never swapped.
Range selectionRange(const CChildFrame& f)
{
    Range r;
    const std::uint64_t bps = static_cast<std::uint64_t>(std::max(1, f.bytesPerSample()));
    r.frameBytes = static_cast<std::size_t>(bps) * std::max<std::uint16_t>(1, f.wfx.nChannels);
    r.start = align_to_frame(f, static_cast<std::uint64_t>(f.nSelStart) * bps);
    const std::uint64_t end = align_to_frame(f, static_cast<std::uint64_t>(std::min(f.nSelEnd, f.nTotalSamples)) * bps);
    r.frames = end > r.start ? (end - r.start) / r.frameBytes : 0;
    return r;
}

// The highlight becomes the whole frames that are processed.
void selectRange(CChildFrame& f, const Range& r)
{
    const std::uint64_t bps = static_cast<std::uint64_t>(std::max(1, f.bytesPerSample()));
    set_selection_units(f, static_cast<std::uint32_t>(r.start / bps),
                        static_cast<std::uint32_t>((r.start + r.frames * r.frameBytes) / bps));
}

// Runs over the selection in blocks with the progress box; `step` gets each
// block's first frame index (in processing order) and its frame count.
template <typename Step>
int forEachBlock(const Range& r, std::size_t blockFrames, const char* text, Step step)
{
    const ProgressScope progress(text, true);
    int ok = 1;
    for (std::uint64_t done = 0; done < r.frames && ok;) {
        const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(blockFrames, r.frames - done));
        ok = step(done, n);
        done += n;
        progress.show(static_cast<int>(done * 100 / std::max<std::uint64_t>(r.frames, 1)));
        if (ok && done < r.frames && progress.cancelled())
            ok = 0;
    }
    return ok;
}

// Starts the new version (begun by the caller's transaction) with the
// untouched head and opens the shown version for reading and the new one
// for reading and writing. false on failure.
bool beginNewVersion(CChildFrame& f, const Range& r, UniqueFd& in, UniqueFd& out)
{
    if (r.start > 0 && !f.copy_file_to_file(f.szRedoFileName, f.szFileName, static_cast<std::uint32_t>(r.start), 0, -1,
                                            0, "Copying file..."))
        return false;
    in = UniqueFd(::open(f.szFileName.c_str(), O_RDONLY | O_CLOEXEC));
    out = UniqueFd(::open(f.szRedoFileName.c_str(), O_RDWR | O_CLOEXEC));
    if (!in.valid() || !out.valid()) {
        NewErrMsg(5031);
        return false;
    }
    return true;
}

// Writes the whole frames of `out` as PCM at `written` (which moves on) and
// keeps a part frame for later. false (and the message) on a failed write.
bool writeWholeFrames(int fd, std::vector<float>& out, int channels, SampleFormat format, std::vector<unsigned char>& encoded,
                      std::uint64_t& written)
{
    const std::size_t whole = out.size() / static_cast<std::size_t>(channels) * static_cast<std::size_t>(channels);
    encoded.resize(whole * static_cast<std::size_t>(sample_bytes(format)));
    float_to_samples(format, out.data(), encoded.data(), whole);
    if (!write_fully(fd, encoded.data(), static_cast<long long>(encoded.size()), static_cast<long long>(written))) {
        NewErrMsg(5025);
        return false;
    }
    written += encoded.size();
    out.erase(out.begin(), out.begin() + static_cast<long>(whole));
    return true;
}

// The tail of an effect that rings on (an echo, a reverb) after the
// highlight: the kernel goes on with silence in, and what it gives is mixed
// into the sound that follows in the highlighted channels, or extends the
// file past its end, until it has been below -100 dBFS for `quietFrames`
// (a minute at most). Written to `out` from `from`; the byte where the
// shown version carries on afterwards, or nothing on failure (said).
std::optional<std::uint64_t> ringPastSelection(const CChildFrame& f, const Range& r, const SampleKernel& kernel, int in,
                                               EffectResult& result, std::uint64_t from, std::uint64_t totalBytes,
                                               std::size_t quietFrames)
{
    const ProgressScope progress("Letting the tail ring...", true);
    const int channels = std::max<int>(1, f.wfx.nChannels);
    const SampleFormat format = f.sampleFormat();
    constexpr std::size_t kBlock = 4096;
    const std::uint64_t longest = 60ull * std::max<std::uint32_t>(1, f.wfx.nSamplesPerSec);
    std::vector<float> wet(kBlock * static_cast<std::size_t>(channels)), dry(wet.size());
    std::vector<unsigned char> raw(kBlock * r.frameBytes);
    std::uint64_t at = from;
    std::uint64_t loudEnd = from;  // the end of the last block that still rang
    const std::size_t quietBlocks = std::max<std::size_t>(1, (quietFrames + kBlock - 1) / kBlock);
    std::size_t quiet = 0;
    for (std::uint64_t rung = 0; rung < longest && quiet < quietBlocks; rung += kBlock) {
        std::fill(wet.begin(), wet.end(), 0.0f);
        kernel(wet.data(), kBlock, channels, r.frames + rung);
        float peak = 0;
        for (float v : wet)
            peak = std::max(peak, std::fabs(v));
        quiet = peak < 1e-5f ? quiet + 1 : 0;
        // The sound already there, where the file goes on.
        const std::size_t existing =
            at < totalBytes ? static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, (totalBytes - at) / r.frameBytes)) : 0;
        std::fill(raw.begin(), raw.end(), silence_byte(format));
        if (existing > 0 &&
            read_fully(in, raw.data(), static_cast<long long>(existing * r.frameBytes), static_cast<long long>(at)) !=
                static_cast<long long>(existing * r.frameBytes)) {
            NewErrMsg(5038);
            return std::nullopt;
        }
        samples_to_float(format, raw.data(), dry.data(), kBlock * static_cast<std::size_t>(channels));
        for (std::size_t i = 0; i < kBlock; ++i)
            for (int ch = 0; ch < channels; ++ch)
                if (channel_selected(f, ch))
                    dry[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(ch)] +=
                        wet[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(ch)];
        if (!result.write(dry.data(), kBlock, at, true))
            return std::nullopt;
        at += raw.size();
        if (quiet == 0)
            loudEnd = at;
        if (progress.cancelled())
            return std::nullopt;
    }
    // Past the file's end the file ends where the tail fell quiet.
    return at <= totalBytes ? at : std::max(totalBytes, loudEnd);
}

}  // namespace

int process_selection(CChildFrame& f, int code, const SampleKernel& kernel, const SelectionProcess& how)
{
    const Range r = selectionRange(f);
    if (!f.bHighlight || r.frames == 0 || !is_document_format(f.wfx.wFormatTag, f.wfx.nChannels, f.wfx.wBitsPerSample))
        return 0;
    selectRange(f, r);
    const int channels = std::max<int>(1, f.wfx.nChannels);
    const SampleFormat format = f.sampleFormat();
    std::vector<unsigned char> original;
    std::vector<float> samples;
    try {
        original.resize(how.blockFrames * r.frameBytes);
        samples.resize(how.blockFrames * static_cast<std::size_t>(channels));
    } catch (const std::bad_alloc&) {
        NewErrMsg(5055);
        return 0;
    }
    UniqueFd in, out;
    UndoTransaction version(f);
    if (!version.begun() || !beginNewVersion(f, r, in, out))
        return 0;
    const std::uint64_t selectionEndByte = r.start + r.frames * r.frameBytes;
    EffectResult result(f, in.get(), out.get());
    const int ok = forEachBlock(r, how.blockFrames, how.progressText, [&](std::uint64_t done, std::size_t n) {
        const std::size_t bytes = n * r.frameBytes;
        // Reversed: the block that ends `done` frames before the end, its
        // frames turned round.
        const std::uint64_t readAt = how.reverseFrames ? selectionEndByte - (done + n) * r.frameBytes
                                                       : r.start + done * r.frameBytes;
        if (read_fully(in.get(), original.data(), static_cast<long long>(bytes), static_cast<long long>(readAt)) !=
            static_cast<long long>(bytes)) {
            NewErrMsg(5038);
            return 0;
        }
        if (how.reverseFrames)
            for (std::size_t i = 0; i < n / 2; ++i)
                std::swap_ranges(original.begin() + static_cast<long>(i * r.frameBytes),
                                 original.begin() + static_cast<long>((i + 1) * r.frameBytes),
                                 original.begin() + static_cast<long>((n - 1 - i) * r.frameBytes));
        if (!how.bytesOnly) {
            samples_to_float(format, original.data(), samples.data(), n * static_cast<std::size_t>(channels));
            kernel(samples.data(), n, channels, done);
            return result.write(samples.data(), n, r.start + done * r.frameBytes, true) ? 1 : 0;
        }
        // A pure reordering: the bytes go as they are.
        return result.writeBytes(original.data(), n, r.start + done * r.frameBytes, true) ? 1 : 0;
    });
    if (!ok)
        return 0;
    const std::uint64_t bps = static_cast<std::uint64_t>(f.bytesPerSample());
    const std::uint64_t totalBytes = static_cast<std::uint64_t>(f.nTotalSamples) * bps;
    std::uint64_t resume = selectionEndByte;  // where the rest of the shown version carries on
    if (how.ringOn && !how.bytesOnly) {
        const auto rung =
            ringPastSelection(f, r, kernel, in.get(), result, selectionEndByte, totalBytes, how.ringQuietFrames);
        if (!rung)
            return 0;
        resume = *rung;
    }
    if (!settle_clipping(result, code))
        return 0;
    in.reset();
    // A tail that rang past the file's end may have written quiet blocks
    // beyond where it ends.
    if (resume >= totalBytes && ::ftruncate(out.get(), static_cast<off_t>(resume)) != 0) {
        NewErrMsg(5031);
        return 0;
    }
    out.reset();
    if (resume < totalBytes && !f.copy_file_to_file(f.szRedoFileName, f.szFileName,
                                                    static_cast<std::uint32_t>(totalBytes - resume),
                                                    static_cast<std::uint32_t>(resume), -1, 0, "Copying file..."))
        return 0;
    f.versions.newLength = static_cast<std::uint32_t>(std::max(totalBytes, resume) / bps);
    return version.commit(code, 0);
}

int scan_selection(CChildFrame& f, const SampleKernel& kernel, const char* progressText)
{
    const Range r = selectionRange(f);
    if (!f.bHighlight || r.frames == 0)
        return 0;
    const int channels = std::max<int>(1, f.wfx.nChannels);
    const std::size_t blockFrames = 65536;
    std::vector<unsigned char> raw(blockFrames * r.frameBytes);
    std::vector<float> samples(blockFrames * static_cast<std::size_t>(channels));
    UniqueFd in(::open(f.szFileName.c_str(), O_RDONLY | O_CLOEXEC));
    if (!in.valid()) {
        NewErrMsg(5007);
        return 0;
    }
    return forEachBlock(r, blockFrames, progressText, [&](std::uint64_t done, std::size_t n) {
        const std::size_t bytes = n * r.frameBytes;
        if (read_fully(in.get(), raw.data(), static_cast<long long>(bytes),
                       static_cast<long long>(r.start + done * r.frameBytes)) != static_cast<long long>(bytes))
            return 0;
        samples_to_float(f.sampleFormat(), raw.data(), samples.data(), n * static_cast<std::size_t>(channels));
        kernel(samples.data(), n, channels, done);
        return 1;
    });
}

int transform_selection(CChildFrame& f, int code, const StreamKernel& kernel, const char* progressText)
{
    const Range r = selectionRange(f);
    if (!f.bHighlight || r.frames == 0 || !is_document_format(f.wfx.wFormatTag, f.wfx.nChannels, f.wfx.wBitsPerSample))
        return 0;
    selectRange(f, r);
    const int channels = std::max<int>(1, f.wfx.nChannels);
    const SampleFormat format = f.sampleFormat();
    const std::size_t blockFrames = 65536;
    std::vector<unsigned char> raw(blockFrames * r.frameBytes);
    std::vector<float> samples(blockFrames * static_cast<std::size_t>(channels));
    std::vector<float> out;
    UniqueFd in, dest;
    UndoTransaction version(f);
    if (!version.begun() || !beginNewVersion(f, r, in, dest))
        return 0;
    std::uint64_t written = r.start;
    EffectResult result(f, in.get(), dest.get());
    // The whole frames made so far go out; a part frame waits.
    const auto flush = [&] {
        const std::size_t whole = out.size() / static_cast<std::size_t>(channels);
        if (!result.write(out.data(), whole, written, false))
            return 0;
        written += whole * r.frameBytes;
        out.erase(out.begin(), out.begin() + static_cast<long>(whole * static_cast<std::size_t>(channels)));
        return 1;
    };
    const int ok = forEachBlock(r, blockFrames, progressText, [&](std::uint64_t done, std::size_t n) {
        const std::size_t bytes = n * r.frameBytes;
        if (read_fully(in.get(), raw.data(), static_cast<long long>(bytes),
                       static_cast<long long>(r.start + done * r.frameBytes)) != static_cast<long long>(bytes)) {
            NewErrMsg(5038);
            return 0;
        }
        samples_to_float(format, raw.data(), samples.data(), n * static_cast<std::size_t>(channels));
        kernel(samples.data(), n, channels, done + n >= r.frames, out);
        return flush();
    });
    if (!ok || !settle_clipping(result, code))
        return 0;
    in.reset();
    dest.reset();
    // The new version: head, the transformed selection, the tail.
    const std::uint64_t bps = static_cast<std::uint64_t>(f.bytesPerSample());
    const std::uint64_t tail = (static_cast<std::uint64_t>(f.nTotalSamples) - std::min(f.nSelEnd, f.nTotalSamples)) * bps;
    f.versions.newLength = static_cast<std::uint32_t>((written + tail) / bps);
    // Time marks in the passage are spread over its new length, those after
    // it move with it.
    f.versions.change = PositionChange{PositionChange::Inside::Scale, static_cast<std::uint32_t>(r.start / bps),
                                       static_cast<std::uint32_t>((r.start + r.frames * r.frameBytes) / bps),
                                       static_cast<std::uint32_t>((written - r.start) / bps)};
    if (!version.commit(code, 1))
        return 0;
    // The highlight covers what the selection became.
    set_selection_units(f, f.nSelStart, static_cast<std::uint32_t>(std::min<std::uint64_t>(written / bps, f.nTotalSamples)));
    return 1;
}

std::vector<float> frames_beside_selection(const CChildFrame& f, bool after, std::size_t frames)
{
    const Range r = selectionRange(f);
    const std::uint64_t total = static_cast<std::uint64_t>(f.nTotalSamples) * static_cast<std::uint64_t>(f.bytesPerSample());
    const std::uint64_t edge = after ? r.start + r.frames * r.frameBytes : r.start;
    const std::uint64_t available = (after ? (total > edge ? total - edge : 0) : edge) / r.frameBytes;
    const std::uint64_t n = std::min<std::uint64_t>(frames, available);
    const std::uint64_t from = after ? edge : edge - n * r.frameBytes;
    std::vector<unsigned char> raw(static_cast<std::size_t>(n) * r.frameBytes);
    UniqueFd in(::open(f.szFileName.c_str(), O_RDONLY | O_CLOEXEC));
    if (!in.valid() || read_fully(in.get(), raw.data(), static_cast<long long>(raw.size()), static_cast<long long>(from)) !=
                           static_cast<long long>(raw.size()))
        return {};
    const std::size_t samples = static_cast<std::size_t>(n) * static_cast<std::size_t>(std::max<int>(1, f.wfx.nChannels));
    std::vector<float> out(samples);
    samples_to_float(f.sampleFormat(), raw.data(), out.data(), samples);
    return out;
}

std::string preview_file_path() { return join_path(data_directory(), "effect-preview.tmp"); }

StreamKernel stream_of(SampleKernel kernel)
{
    return [kernel = std::move(kernel), first = std::uint64_t{0}](const float* in, std::size_t frames, int channels,
                                                                   bool, std::vector<float>& out) mutable {
        const std::size_t base = out.size();
        out.insert(out.end(), in, in + frames * static_cast<std::size_t>(channels));
        kernel(out.data() + base, frames, channels, first);
        first += frames;
    };
}

int preview_selection(CChildFrame& f, const StreamKernel& kernel, double seconds)
{
    PlaybackEngine& playback = PlaybackEngine::instance();
    if (playback.is_playing()) {
        playback.stop_playback();
        playback.wait_until_released(2000);
    }
    Range r = selectionRange(f);
    if (!f.bHighlight || r.frames == 0 || !is_document_format(f.wfx.wFormatTag, f.wfx.nChannels, f.wfx.wBitsPerSample))
        return 0;
    r.frames = std::min<std::uint64_t>(r.frames, static_cast<std::uint64_t>(seconds * f.wfx.nSamplesPerSec));
    const int channels = std::max<int>(1, f.wfx.nChannels);
    const SampleFormat format = f.sampleFormat();
    const std::size_t blockFrames = 65536;
    std::vector<unsigned char> raw(blockFrames * r.frameBytes), encoded;
    std::vector<float> samples(blockFrames * static_cast<std::size_t>(channels)), out;
    UniqueFd in(::open(f.szFileName.c_str(), O_RDONLY | O_CLOEXEC));
    UniqueFd dest(::open(preview_file_path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!in.valid() || !dest.valid()) {
        NewErrMsg(5031);
        return 0;
    }
    std::uint64_t written = 0;
    for (std::uint64_t done = 0; done < r.frames;) {
        const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(blockFrames, r.frames - done));
        const std::size_t bytes = n * r.frameBytes;
        if (read_fully(in.get(), raw.data(), static_cast<long long>(bytes),
                       static_cast<long long>(r.start + done * r.frameBytes)) != static_cast<long long>(bytes))
            return 0;
        samples_to_float(format, raw.data(), samples.data(), n * static_cast<std::size_t>(channels));
        done += n;
        kernel(samples.data(), n, channels, done >= r.frames, out);
        if (!writeWholeFrames(dest.get(), out, channels, format, encoded, written))
            return 0;
    }
    dest.reset();
    // The preview is the start of the highlight: the cursor and the time show there.
    return playback.play_file(f, preview_file_path(), 0, static_cast<std::uint32_t>(written), f.nSelStart);
}
