#include "wavefile/jaf_file.h"

#include "app/app_paths.h"
#include "app/atomic_file.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/ui_host.h"
#include "modules/module_entries.h"
#include "view/child_frame.h"
#include "view/mouse_selection.h"
#include "view/view_navigation.h"
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

namespace {

// The progress box of a compression or expansion, closed however it ends.
struct Progress {
    HWND box;
    Progress(const char* text, int cancel) : box(display_message_dialog(text, cancel))
    {
        current_progress_box = box;
        show_percent_done(box, 0);
    }
    ~Progress()
    {
        terminate_message_dialog(box);
        restore_wait_cursor();
    }
};

// Low-passes the whole document through the effect module, the user's
// highlight kept.
void antialias(CChildFrame& f, float cutoff)
{
    const int highlight = f.bHighlight;
    const std::uint32_t start = f.nSelStart, end = f.nSelEnd;
    f.bHighlight = 1;
    set_selection_units(f, 0, f.nTotalSamples);
    char name[] = "LOPASS";
    char title[] = "Antialiasing filtering";
    do_filter_waveform(cutoff, name, title);
    f.bHighlight = highlight;
    set_selection_units(f, start, end);
}

}  // namespace

int compress_to_jaf_file(const std::string& target)
{
    CChildFrame* frame = CChildFrame::GetTheFuckingHandle();
    if (!frame)
        return 0;
    CChildFrame& f = *frame;
    int button = jaf_button;
    if (!uiHost().runJafDialog(button))
        return 0;
    jaf_button = std::clamp(button, 2000, 2004);
    jaf_ratio = kJafRatios[static_cast<std::size_t>(jaf_button - 2000)];
    const std::array<std::int16_t, 32768> dither = jaf_dither_table(static_cast<unsigned>(std::time(nullptr)));

    // Filtered first, so an 8-bit document is filtered and then refused.
    antialias(f, 22050.0f / jaf_ratio);
    if (f.wfx.wBitsPerSample != 16) {
        ErrMsg("This algorithm is designed for 16 bit files only.");
        return 0;
    }
    if (!f.bHighlight) {
        f.bHighlight = 1;
        set_selection_units(f, 0, f.nTotalSamples);
        update_highlight_pixels(f);
    }
    const std::uint32_t inputBytes = 2 * f.nSelEnd - 2 * f.nSelStart;
    const auto outputLimit = static_cast<std::uint32_t>(static_cast<float>(inputBytes) / jaf_ratio);
    current_wave_format.nSamplesPerSec = f.wfx.nSamplesPerSec;
    data_chunk_size = 2 * f.nTotalSamples;

    // Reading starts at byte 44 of the working file whatever the highlight;
    // the highlight only says how much is taken.
    const int in = ::open(f.szFileName.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) {
        NewErrMsg(5070);
        return 0;
    }
    long long position = 44;
    // Written beside the target; the target is replaced only by a finished,
    // compressed file.
    AtomicFile staged;
    RiffFile out;
    if (!staged.begin(target) || !out.open(staged.temporaryPath(), RiffFile::Mode::Create)) {
        ::close(in);
        NewErrMsg(5070);
        return 0;
    }
    wave_fmt_record = f.wfx;
    wave_fmt_record.nAvgBytesPerSec = jaf_average_bytes(jaf_ratio);
    int headerWritten = 0;
    {
        const DocumentInfoForHeader info(f);
        headerWritten = create_waveform_format_header(out, 0);
    }
    if (!headerWritten) {
        ::close(in);
        return 0;
    }
    std::vector<std::int16_t> input, output;
    try {
        input.assign(65536, 0);
    } catch (const std::bad_alloc&) {
        ::close(in);
        NewErrMsg(5002);
        return 0;
    }
    try {
        output.assign(65536, 0);
    } catch (const std::bad_alloc&) {
        ::close(in);
        NewErrMsg(5026);
        return 0;
    }
    const int channels = f.wfx.nChannels == 2 ? 2 : 1;
    std::uint64_t consumed = 0, written = 0;
    bool cancelled = false;
    bool writeOk = true;
    int writeError = 0;
    const auto writeOut = [&](const std::uint64_t bytes) {
        if (out.write(output.data(), static_cast<long long>(bytes)) == static_cast<long long>(bytes))
            return true;
        writeOk = false;
        writeError = errno;
        return false;
    };
    {
        put_up_wait_cursor();
        Progress progress("Compressing waveform", 1);
        for (;;) {
            const long long got = read_fully(in, input.data(), 65536, position);
            if (got <= 0)
                break;
            position += got;
            const std::size_t k = jaf_decimate_block(input.data(), output.data(), channels, jaf_ratio, dither);
            consumed += static_cast<std::uint64_t>(got);
            const std::uint64_t blockBytes = 2 * k;
            if (written + blockBytes > outputLimit) {
                const std::uint64_t rest = outputLimit - written;
                writeOut(rest);
                written += rest;
                break;
            }
            if (!writeOut(blockBytes))
                break;
            written += blockBytes;
            show_percent_done(progress.box, static_cast<int>(consumed * 100 / std::max<std::uint32_t>(1, inputBytes)));
            if (cancel_button_pressed(progress.box)) {
                cancelled = true;
                break;
            }
            if (consumed >= inputBytes)
                break;
        }
    }
    if (writeOk && ascend_and_update_waveform_file(out) != MMSYSERR_NOERROR) {
        writeOk = false;
        writeError = errno;
    }
    if (!out.close() && writeOk) {
        writeOk = false;
        writeError = errno;
    }
    ::close(in);
    // A cancelled or failed compression leaves the target as it was; only a
    // failed write has something to say.
    if (!writeOk)
        ErrMsg("Cannot write output WAVE file %s: %s", target.c_str(), std::strerror(writeError ? writeError : EIO));
    if (cancelled || !writeOk)
        return 0;

    const std::string compressed = converter_output_path();
    ::unlink(compressed.c_str());
    jaf_conversion = true;
    const int converted = convert_wave_file(nullptr, staged.temporaryPath(), compressed);
    jaf_conversion = false;
    if (!converted) {
        ::unlink(compressed.c_str());
        ErrMsg("Failed to decompress file");
        return 0;
    }
    if (!install_file_atomically(target, compressed)) {
        ErrMsg("Cannot write output WAVE file %s: %s", target.c_str(), std::strerror(errno));
        ::unlink(compressed.c_str());
        return 0;
    }
    char text[64];
    std::snprintf(text, sizeof text, "File compression = %f",
                  static_cast<double>(inputBytes) / static_cast<double>(std::max<std::uint64_t>(1, get_named_file_length(target))));
    message_box(nullptr, text, "File Compression Successful", MB_OK | MB_ICONINFORMATION);
    return 1;
}

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
    const int in = ::open(converted.c_str(), O_RDONLY | O_CLOEXEC);
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
        Progress progress("Decompressing waveform ...", 0);
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
            show_percent_done(progress.box, static_cast<int>(consumed * 100 / std::max<long long>(1, length - 64)));
            if (cancel_button_pressed(progress.box)) {
                ok = false;
                break;
            }
        }
    }
    ::close(in);
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
