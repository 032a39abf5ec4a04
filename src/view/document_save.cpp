#include "view/document_save.h"

#include "app/app_paths.h"
#include "app/atomic_file.h"
#include "app/clock.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "view/child_frame.h"
#include "view/timemark_storage.h"
#include "wavefile/block_copier.h"
#include "wavefile/helper_programs.h"
#include "wavefile/pcm_converter.h"
#include "wavefile/riff_file.h"
#include "wavefile/sample_format.h"
#include "wavefile/wave_converter.h"
#include "wavefile/wave_header.h"
#include "wavefile/wave_state.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <vector>

namespace {

std::function<void()> g_openOpenedFile;

// The sample-format conversion of a save ends however the save ends (after
// its progress box has closed).
struct ConversionEnd {
    ~ConversionEnd() { end_pcm_conversion(); }
};

}  // namespace

void set_open_opened_file_handler(std::function<void()> handler) { g_openOpenedFile = std::move(handler); }

void send_open_opened_file()
{
    if (g_openOpenedFile)
        g_openOpenedFile();
}

int save_waveform_file(const std::string& target, int selectionOnly, int convert)
{
    CChildFrame* frame = CChildFrame::GetTheFuckingHandle();
    return frame ? save_waveform_file(*frame, target, selectionOnly, convert) : 0;
}

namespace {

// Writes the RIFF WAVE file into `path` (a fresh temporary file); `target`
// is the name the user knows it by, for the messages.
int write_waveform_file(CChildFrame& f, const std::string& path, const std::string& target, int selectionOnly,
                        int convert)
{
    const std::uint32_t bytesPerSample = static_cast<std::uint32_t>(f.bytesPerSample());
    const std::uint32_t count = selectionOnly ? f.nSelEnd - f.nSelStart : f.nTotalSamples;
    std::uint64_t total = static_cast<std::uint64_t>(count) * bytesPerSample;
    std::uint64_t block = std::min<std::uint32_t>(f.nTotalSamples, 32768);
    // 24-bit and float documents are read and written in whole frames.
    const int frameBytes = f.wfx.nChannels * f.bytesPerSample();
    const bool deep = frameBytes == 3 || frameBytes > 4;
    if (deep) {
        block = std::max<std::uint64_t>(align_position(block, frameBytes), static_cast<std::uint64_t>(frameBytes));
        total = align_position(total, frameBytes);
    }

    const bool converting = convert != 0;
    std::uint16_t channels = f.wfx.nChannels;
    std::uint16_t bits = f.wfx.wBitsPerSample;
    std::uint32_t rate = f.wfx.nSamplesPerSec;
    std::vector<unsigned char> converted;
    if (converting) {
        channels = current_wave_format.nChannels;
        bits = current_wave_format.wBitsPerSample;
        rate = current_wave_format.nSamplesPerSec;
        // Reductions from 24-bit or float samples are dithered; between 16
        // and 8 bits the values are rounded as they always were.
        conversion_parameters = {f.wfx.nSamplesPerSec, bytesPerSample, f.wfx.nChannels, rate,
                                 static_cast<std::uint32_t>(bits / 8), channels, bytesPerSample > 2};
        try {
            converted.assign(converted_buffer_size(block) + 64, 0);
        } catch (const std::bad_alloc&) {
            NewErrMsg(5071);
            return 0;
        }
    }
    if (!destination_has_room(target, static_cast<std::uint32_t>(total))) {
        NewErrMsg(5025);
        return 0;
    }
    RiffFile out;
    if (!out.open(path, RiffFile::Mode::Create)) {
        NewErrMsg(5009);
        return 0;
    }
    UniqueFd in(::open(f.szFileName.c_str(), O_RDONLY | O_CLOEXEC));
    if (!in.valid()) {
        NewErrMsg(5009);
        return 0;
    }
    long long position = selectionOnly ? static_cast<long long>(f.nSelStart) * bytesPerSample : 0;
    if (deep)
        position = static_cast<long long>(align_position(static_cast<std::uint64_t>(position), frameBytes));

    // The document's own INFO items and time marks go into the file with its
    // samples.
    const WaveHeaderContent content{
        pcm_fmt_record(channels, rate, bits), f.infoList.get(),
        timemarks_to_cue_points(f, selectionOnly ? f.nSelStart : 0, selectionOnly ? f.nSelEnd : f.nTotalSamples + 1,
                                static_cast<double>(rate) / std::max<std::uint32_t>(1, f.wfx.nSamplesPerSec))};
    // More than 4 GiB of samples (a long document converted to more
    // channels, bits or a higher rate) take the RF64 form.
    const double outputBytes = static_cast<double>(total) * channels * (bits / 8) * rate /
                               std::max(1.0, static_cast<double>(f.wfx.nChannels) * bytesPerSample * f.wfx.nSamplesPerSec);
    if (!write_waveform_header(out, 0, content, needs_rf64(static_cast<std::uint64_t>(outputBytes))))
        return 0;

    std::vector<unsigned char> buffer;
    try {
        buffer.assign(static_cast<std::size_t>(2 * block) + 4, 0);
    } catch (const std::bad_alloc&) {
        NewErrMsg(5001);
        return 0;
    }
    const ConversionEnd conversionEnd;
    const ProgressScope progress("Saving file ...", false);
    if (converting && !begin_pcm_conversion()) {
        NewErrMsg(5071);
        return 0;
    }

    auto writeOut = [&](const unsigned char* bytes, std::size_t n) {
        if (out.write(bytes, static_cast<long long>(n)) == static_cast<long long>(n))
            return true;
        ErrMsg("Cannot write output WAVE file %s: %s", target.c_str(), std::strerror(errno ? errno : ENOSPC));
        return false;
    };
    WritebackPacer writeback(out.fd());
    std::uint64_t done = 0;
    while (done < total) {
        if (total - done < block)
            block = total - done;
        const long long got = read_fully(in.get(), buffer.data(), static_cast<long long>(block), position);
        if (got <= 0)
            break;
        position += got;
        if (converting) {
            std::size_t n = convert_pcm_block(buffer.data(), static_cast<std::size_t>(got), converted.data(),
                                              converted.size());
            // The last sample of every converted block is written as silence.
            if (bits == 16 && n >= 2)
                converted[n - 1] = converted[n - 2] = 0;
            if (!writeOut(converted.data(), n))
                return 0;
        } else if (!writeOut(buffer.data(), static_cast<std::size_t>(got))) {
            return 0;
        }
        writeback.advance(out.position());
        progress.show(static_cast<int>(static_cast<double>(done) * 100.0 / (total + 1.0)));
        done += static_cast<std::uint64_t>(got);
        if (progress.cancelled())
            return 0;
    }
    if (converting) {
        const std::size_t n = finish_pcm_conversion(converted.data(), converted.size());
        if (n && !writeOut(converted.data(), n))
            return 0;
    }
    if (ascend_and_update_waveform_file(out) != MMSYSERR_NOERROR) {
        ErrMsg("Cannot write output WAVE file %s: %s", target.c_str(), std::strerror(errno ? errno : EIO));
        return 0;
    }
    if (!out.close()) {
        ErrMsg("Failed to close output file");
        return 0;
    }
    return 1;
}

}  // namespace

int save_waveform_file(CChildFrame& f, const std::string& target, int selectionOnly, int convert)
{
    // The file is written beside the target and takes its name only when it
    // is complete and on the disk: a failure, a Cancel or a kill leaves the
    // previous file as it was.
    AtomicFile file;
    if (!file.begin(target)) {
        NewErrMsg(5009);
        return 0;
    }
    if (!write_waveform_file(f, file.temporaryPath(), target, selectionOnly, convert))
        return 0;
    if (!file.commit()) {
        ErrMsg("Cannot write output WAVE file %s: %s", target.c_str(), std::strerror(errno));
        return 0;
    }
    f.bModified = 0;
    return 1;
}

int save_wav_by_type(CChildFrame& f, const std::string& target, int selectionOnly, const SaveOptions& options)
{
    if (!options.bSaveCompressed)
        return save_waveform_file(f, target, selectionOnly, options.bSaveConverts);
    // The PCM file is made beside the target, converted into "outadpcm.wav",
    // and that takes the target's name: the target itself is only ever
    // replaced by a finished ADPCM file.
    AtomicFile pcm;
    if (!pcm.begin(target)) {
        NewErrMsg(5009);
        return 0;
    }
    if (!write_waveform_file(f, pcm.temporaryPath(), target, selectionOnly, options.bSaveConverts))
        return 0;
    const std::string compressed = converter_output_path();
    ::unlink(compressed.c_str());
    const int converted = convert_wave_file(f.hWaveWnd, pcm.temporaryPath(), compressed);
    if (!converted) {
        ::unlink(compressed.c_str());
        return 0;
    }
    if (!install_file_atomically(target, compressed)) {
        ErrMsg("Cannot write output WAVE file %s: %s", target.c_str(), std::strerror(errno));
        ::unlink(compressed.c_str());
        return 0;
    }
    f.bModified = 0;
    return 1;
}

int new_file_from_selection(CChildFrame& f)
{
    new_file_counter += 1;
    char leaf[32];
    std::snprintf(leaf, sizeof leaf, "SAMPLE%u.WAV", new_file_counter);
    const std::string name = current_directory_with_slash() + leaf;
    busy_wait_ms(20);

    // Made beside its name and renamed into place when it is complete.
    AtomicFile staged;
    if (!staged.begin(name)) {
        message_beep();
        message_box(f.hWaveWnd, "Can't create new wave file " + name, "Record File", MB_OK | MB_ICONEXCLAMATION);
        return 0;
    }
    const std::string& made = staged.temporaryPath();
    {
        RiffFile file;
        if (!file.open(made, RiffFile::Mode::Create)) {
            message_beep();
            message_box(f.hWaveWnd, "Can't create new wave file " + name, "Record File", MB_OK | MB_ICONEXCLAMATION);
            return 0;
        }
        if (!write_waveform_header(file, 0, {f.wfx, f.infoList.get(), {}}))
            return 0;
    }
    const std::uint32_t bytes = (f.nSelEnd - f.nSelStart) * static_cast<std::uint32_t>(f.bytesPerSample());
    bCopyOneChannel = 0;
    if (f.wfx.nChannels == 2 && f.bLeftChannel && !f.bRightChannel) {
        nChannelSelector = 2;
        bCopyOneChannel = 1;
    } else if (f.wfx.nChannels == 2 && !f.bLeftChannel) {
        nChannelSelector = 3;
        bCopyOneChannel = 1;
    }
    const int copied = f.copy_file_to_file(made, f.szFileName, bytes, f.nSelStartByte, -1, 0, "Creating new file...");
    bCopyOneChannel = 0;
    if (!copied)
        return 0;
    RiffFile file;
    if (!file.open(made, RiffFile::Mode::ReadWrite) || file.seek(0, SEEK_END) < 0 ||
        ascend_and_update_waveform_file(file) != MMSYSERR_NOERROR || !file.close() || !staged.commit()) {
        NewErrMsg(5031);
        return 0;
    }
    szOpenedFileName = name;
    send_open_opened_file();
    return 1;
}

int copy_whole_file(CChildFrame& f, const std::string& destination, const std::string& source, const char* text,
                    int fromTheEnd)
{
    if (destination == source)
        return 1;
    UniqueFd in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (!in.valid()) {
        NewErrMsg(5032);
        return 0;
    }
    ::unlink(destination.c_str());
    UniqueFd out(::open(destination.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!out.valid()) {
        message_box(nullptr, "Files 624: Cannot create output file " + destination, "Oops...", MB_OK);
        return 0;
    }
    const std::uint64_t length = get_named_file_length(source);
    std::uint64_t position = fromTheEnd && length > f.nTotalSamples ? length - f.nTotalSamples : 0;
    std::vector<unsigned char> buffer;
    try {
        buffer.assign(32768, 0);
    } catch (const std::bad_alloc&) {
        NewErrMsg(5026);
        return 0;
    }
    const ConversionEnd conversionEnd;
    const ProgressScope progress(text ? text : "Updating buffers ...", true);
    std::uint64_t copied = 0;
    for (;;) {
        const long long got = read_fully(in.get(), buffer.data(), 32768, static_cast<long long>(position));
        if (got <= 0)
            break;
        if (!write_fully(out.get(), buffer.data(), got)) {
            NewErrMsg(5025);
            return 0;
        }
        position += static_cast<std::uint64_t>(got);
        copied += static_cast<std::uint64_t>(got);
        progress.show(length ? static_cast<int>(copied * 100 / length) : 100);
        if (progress.cancelled())
            return 0;
    }
    return out.reset() ? 1 : 0;
}
