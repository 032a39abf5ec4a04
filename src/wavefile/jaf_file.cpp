#include "wavefile/jaf_file.h"

#include "app/app_paths.h"
#include "app/atomic_file.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "wavefile/adpcm_open.h"
#include "wavefile/helper_programs.h"
#include "wavefile/riff_file.h"
#include "wavefile/wave_converter.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <vector>

int run_wave_converter(const std::string& source)
{
    const std::string output = converter_output_path();
    ::unlink(output.c_str());
    ::unlink(converter_marker_path().c_str());
    // "%s %s %d": the helper, the file, and the format tag wanted (PCM).
    const HelperWait wait =
        run_helper_until_finished(waveconv_program(), {source, "1"}, 0, 100, helper_poll_limit(source));
    if (wait == HelperWait::NotStarted) {
        ErrMsg("Decompression algorithm not found. Returning.");
        return 0;
    }
    if (!file_exists(output)) {
        report_helper_wait(wait, "WAVECONV.EXE", source);
        ErrMsg("Failed to decompress file");
        return 0;
    }
    return 1;
}

int decompress_jaf_file(std::string& name)
{
    // Only a ratio the expansion can stretch by is taken from the file.
    const std::optional<float> ratio =
        read_waveform_header_any_format(name, 0) ? jaf_ratio_from_average_bytes(wave_fmt_record.nAvgBytesPerSec)
                                                 : std::nullopt;
    if (!ratio) {
        ErrMsg("Can't read header");
        return 0;
    }
    jaf_ratio = *ratio;
    if (!run_wave_converter(name))
        return 0;
    std::vector<std::uint8_t> input;
    std::vector<std::int16_t> output;
    try {
        input.assign(131072, 0);
        output.assign(262144, 0);
    } catch (const std::bad_alloc&) {
        NewErrMsg(5026);
        return 0;
    }
    const std::string converted = converter_output_path();
    if (!ReadInputWaveformHeader(converted, 0)) {
        ErrMsg("Failed to decompress file");
        return 0;
    }
    const int channels = wave_fmt_record.nChannels == 2 ? 2 : 1;
    wave_fmt_record.wBitsPerSample = 16;
    const WaveFmtRecord expandedFormat = wave_fmt_record;
    std::string expanded = name;
    ReplaceExt(expanded, "wav");
    // A file already under that name is replaced only when the user says so.
    expanded = name_for_converted_file(name, expanded);
    if (expanded.empty()) {
        ::unlink(converted.c_str());
        return 0;
    }
    wave_fmt_record = expandedFormat;
    AtomicFile staged;
    RiffFile out;
    if (!staged.begin(expanded) || !out.open(staged.temporaryPath(), RiffFile::Mode::Create)) {
        ErrMsg("Can't create uninitialized %s", expanded.c_str());
        ::unlink(converted.c_str());
        return 0;
    }
    ChunkInfo riff, data;
    if (!begin_waveform_file(out, riff, data))
        return 0;
    const UniqueFd source(::open(converted.c_str(), O_RDONLY | O_CLOEXEC));
    const int in = source.get();
    if (in < 0) {
        ErrMsg("Failed to decompress file");
        return 0;
    }
    // Both files from byte 64: the 20 bytes after the data chunk's start
    // are left as they fall.
    const long long length = static_cast<long long>(get_named_file_length(converted));
    out.seek(64, SEEK_SET);
    long long consumed = 0;
    bool ok = true;
    {
        ProgressScope progress("Decompressing waveform ...", false);
        while (consumed < length - 64) {
            const long long got = read_fully(in, input.data(), 32768, 64 + consumed);
            if (got <= 0)
                break;
            jaf_expand_block(input.data(), static_cast<std::size_t>(got), output.data(), output.size(), channels,
                             jaf_ratio);
            const long long bytes =
                (static_cast<long long>(jaf_ratio * 65536.0f) * got / 32768 - 4 * channels) / 4 * 4;
            if (bytes > 0 && out.write(output.data(), bytes) != bytes) {
                ok = false;
                break;
            }
            consumed += got;
            progress.show(static_cast<int>(consumed * 100 / std::max<long long>(1, length - 64)));
            if (progress.cancelled()) {
                ok = false;
                break;
            }
        }
    }
    const bool sized = out.ascend(data) == MMSYSERR_NOERROR && out.ascend(riff) == MMSYSERR_NOERROR;
    const bool closed = out.close();
    ::unlink(converted.c_str());
    if (!ok || !sized || !closed)
        return 0;
    if (!staged.commit()) {
        ErrMsg("Cannot write output WAVE file %s: %s", expanded.c_str(), std::strerror(errno));
        return 0;
    }
    name = expanded;
    return 1;
}

int open_jaf_file(const std::string& name)
{
    std::string expanded = name;
    if (!decompress_jaf_file(expanded))
        return 0;
    szOpenedFileName = expanded;
    return 1;
}
