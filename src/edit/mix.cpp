#include "edit/mix.h"

#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "view/child_frame.h"
#include "wavefile/sample_format.h"

#include <algorithm>
#include <optional>
#include <cmath>
#include <fcntl.h>
#include <new>
#include <vector>


namespace {

struct Gains {
    double clip = 1.0;
    double dest = 1.0;
};

// The mix's own rule for a result: truncated toward zero, and clipped
// symmetrically at the largest positive value of the width.
// Float documents keep the result as it is, beyond full scale too.
void writeSample(unsigned char* p, SampleFormat format, double v)
{
    if (format == SampleFormat::F32) {
        float_to_sample(format, p, static_cast<float>(v));
        return;
    }
    const long top = static_cast<long>(full_scale(format)) - 1;
    put_sample_value(format, p, std::clamp<long>(static_cast<long>(v), -top, top));
}

// A sample in the width's own steps (float samples as they are).
double readSample(const unsigned char* p, SampleFormat format)
{
    return format == SampleFormat::F32 ? static_cast<double>(sample_to_float(format, p)) : sample_value(format, p);
}

}  // namespace

int mix_into(const CChildFrame& d, const std::string& insertSource, std::uint64_t length, std::uint64_t start,
             const std::string& out, bool crossfade, std::uint64_t crossfadeBytes)
{
    const SampleFormat format = d.sampleFormat();
    const int bps = sample_bytes(format);
    // Reads of whole pairs of samples (16384 bytes for 8- and 16-bit data).
    const long long chunk = 16384 - 16384 % (2 * bps);
    std::vector<unsigned char> mixed, clip;
    try {
        mixed.assign(static_cast<std::size_t>(chunk), 0);
        clip.assign(static_cast<std::size_t>(chunk), 0);
    } catch (const std::bad_alloc&) {
        NewErrMsg(5001);
        return 0;
    }
    UniqueFd dest(::open(d.szFileName.c_str(), O_RDONLY | O_CLOEXEC));
    UniqueFd source(::open(insertSource.c_str(), O_RDONLY | O_CLOEXEC));
    UniqueFd target(::open(out.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!dest.valid() || !source.valid() || !target.valid()) {
        NewErrMsg(5070);
        return 0;
    }
    const MixSettings s = mix_settings;  // a cross-fade leaves the settings as they were
    const double step = 2.0 * bps;       // bytes per step of two sample values
    const double n = crossfadeBytes ? static_cast<double>(crossfadeBytes) : static_cast<double>(length);
    // The linear ramps' slopes, from the levels at the start; each takes the
    // other stream's level.
    const double clipSlope = step * s.destLevel / n;
    const double destSlope = step * s.clipLevel / n;
    const double k = -std::log(0.08) * step / n;

    std::optional<ProgressScope> progress(std::in_place, "Mixing waveform...", false);
    std::uint64_t done = 0;
    long long stepIndex = 0;
    bool ok = true;
    while (ok && done < length) {
        const long long want = static_cast<long long>(std::min<std::uint64_t>(static_cast<std::uint64_t>(chunk), length - done));
        const long long destGot = std::max(0LL, read_fully(dest.get(), mixed.data(), want, static_cast<long long>(start + done)));
        const long long clipGot = std::max(0LL, read_fully(source.get(), clip.data(), want, static_cast<long long>(done)));
        if (clipGot <= 0)
            break;
        for (long long at = 0; at + 2 * bps <= clipGot; at += 2 * bps) {
            ++stepIndex;
            Gains left{s.clipLevel, s.destLevel}, right{s.clipLevel, s.destLevel};
            if (crossfade) {
                Gains g;
                if (s.crossfadeCurve == 1) {
                    g.clip = 2.0 * stepIndex * clipSlope;
                    g.dest = 2.0 * s.destLevel - stepIndex * destSlope;
                } else {
                    const double e = 1.0 - std::exp(-k * stepIndex);
                    g.clip = 2.0 * e * s.clipLevel;
                    g.dest = 2.0 * (1.0 - e) * s.destLevel;
                }
                g.clip = std::min(g.clip, 2.0 * s.clipLevel);
                g.dest = std::max(g.dest, 0.0);
                left = right = g;
            } else if (s.target == MixTarget::Left) {
                left = {2.0 * s.clipLevel, 0.0};
                right = {0.0, 2.0 * s.destLevel};
            } else if (s.target == MixTarget::Right) {
                left = {0.0, 2.0 * s.destLevel};
                right = {2.0 * s.clipLevel, 0.0};
            }
            for (int half = 0; half < 2; ++half) {
                const long long pos = at + half * bps;
                Gains g = half == 0 ? left : right;
                // Past the destination's data the clipboard stands alone.
                if (pos + bps > destGot)
                    g = {2.0 * s.clipLevel, 0.0};
                const double c = readSample(clip.data() + pos, format);
                const double v = pos + bps <= destGot ? readSample(mixed.data() + pos, format) : 0.0;
                writeSample(mixed.data() + pos, format, (c * g.clip + v * g.dest) * 0.5);
            }
        }
        ok = write_fully(target.get(), mixed.data(), clipGot);
        done += static_cast<std::uint64_t>(clipGot);
        progress->show(static_cast<int>(done * 100.0 / (length + 1.0)));
    }
    progress.reset();
    if (!ok)
        NewErrMsg(5025);
    return ok ? 1 : 0;
}
