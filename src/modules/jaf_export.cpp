#include "modules/jaf_export.h"

#include "app/atomic_file.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "modules/module_entries.h"
#include "view/child_frame.h"
#include "view/mouse_selection.h"
#include "wavefile/file_types.h"
#include "view/view_navigation.h"
#include "wavefile/helper_programs.h"
#include "wavefile/jaf_blocks.h"
#include "wavefile/riff_file.h"
#include "wavefile/wave_converter.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"
#include "modules/module_dialogs.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <vector>

namespace {

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

// Saving as JAF (the save dispatch lies below the effects) reaches the
// export through this registration, made when the library loads.
const bool registered = [] {
    set_jaf_exporter([](const SaveRequest& r) {
        set_active_frame(r.document);
        return compress_to_jaf_file(r.target);
    });
    return true;
}();

}  // namespace

int compress_to_jaf_file(const std::string& target)
{
    CChildFrame* frame = CChildFrame::GetTheFuckingHandle();
    if (!frame)
        return 0;
    CChildFrame& f = *frame;
    int button = jaf_button;
    if (!module_dialogs().runJafDialog(button))
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
    const UniqueFd source(::open(f.szFileName.c_str(), O_RDONLY | O_CLOEXEC));
    const int in = source.get();
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
        NewErrMsg(5070);
        return 0;
    }
    WaveFmtRecord format = f.wfx;
    format.nAvgBytesPerSec = jaf_average_bytes(jaf_ratio);
    if (!write_waveform_header(out, 0, {format, f.infoList.get(), {}})) {
        return 0;
    }
    std::vector<std::int16_t> input, output;
    try {
        input.assign(65536, 0);
    } catch (const std::bad_alloc&) {
        NewErrMsg(5002);
        return 0;
    }
    try {
        output.assign(65536, 0);
    } catch (const std::bad_alloc&) {
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
        ProgressScope progress("Compressing waveform", true);
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
            progress.show(static_cast<int>(consumed * 100 / std::max<std::uint32_t>(1, inputBytes)));
            if (progress.cancelled()) {
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
    // A cancelled or failed compression leaves the target as it was; only a
    // failed write has something to say.
    if (!writeOk)
        ErrMsg("Cannot write output WAVE file %s: %s", target.c_str(), std::strerror(writeError ? writeError : EIO));
    if (cancelled || !writeOk)
        return 0;

    const std::string compressed = converter_output_path();
    ::unlink(compressed.c_str());
    const int converted = convert_wave_file(nullptr, staged.temporaryPath(), compressed, jaf_ratio);
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

