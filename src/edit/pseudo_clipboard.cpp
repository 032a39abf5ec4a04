#include "edit/pseudo_clipboard.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/instance_files.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "view/child_frame.h"
#include "wavefile/helper_programs.h"
#include "wavefile/pcm_converter.h"
#include "wavefile/sample_format.h"
#include "wavefile/wave_state.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <fstream>
#include <new>
#include <sstream>
#include <unistd.h>
#include <vector>


std::string clipboard_data_path() { return join_path(data_directory(), "clipbord.clp"); }
std::string clipboard_text_path() { return join_path(data_directory(), "cliptext.clp"); }
// The clipboard converted for one paste: this program's own.
std::string clipboard_converted_path() { return exchange_file_path("convclip.clp"); }

ClipboardLock::ClipboardLock(bool writing)
    : m_fd(::open(join_path(data_directory(), "clipbord.lck").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644))
{
    if (m_fd.valid())
        ::flock(m_fd.get(), writing ? LOCK_EX : LOCK_SH);
}

std::string format_text(const ClipboardFormat& f)
{
    char text[64];
    std::snprintf(text, sizeof text, "%d%s%d%s%ld", f.channels, " ", f.bits, " ", f.rate);
    return text;
}

std::optional<ClipboardFormat> parse_format_text(const std::string& text)
{
    ClipboardFormat f;
    char extra = 0;
    if (std::sscanf(text.c_str(), "%d %d %ld %c", &f.channels, &f.bits, &f.rate, &extra) != 3)
        return std::nullopt;
    if (!is_document_format(f.bits == 32 ? 3 : 1, f.channels, f.bits) || f.rate <= 0)
        return std::nullopt;
    return f;
}

ClipboardFormat format_of(const CChildFrame& frame)
{
    return {frame.wfx.nChannels, frame.wfx.wBitsPerSample, static_cast<long>(frame.wfx.nSamplesPerSec)};
}

int copy_to_pseudo_clipboard(CChildFrame& f)
{
    bCopyOneChannel = 0;
    if (f.wfx.nChannels == 2 && f.bLeftChannel != f.bRightChannel) {
        nChannelSelector = f.bLeftChannel ? 2 : 3;
        bCopyOneChannel = 1;
    }
    // The clipboard is shared by every running program: it is made under a
    // name of its own and takes the shared names only when complete, the
    // samples and their format together, under the clipboard's lock.
    std::string data;
    if (!create_work_file(data, ".clp").valid()) {
        bCopyOneChannel = 0;
        NewErrMsg(5031);
        return 0;
    }
    const auto bps = static_cast<std::uint32_t>(f.bytesPerSample());
    const int frame = f.wfx.nChannels * f.bytesPerSample();
    const auto start = static_cast<std::uint32_t>(align_position(std::min(f.nSelStart, f.nTotalSamples) * bps, frame));
    const auto end = static_cast<std::uint32_t>(align_position(std::min(f.nSelEnd, f.nTotalSamples) * bps, frame));
    const int copied =
        f.copy_file_to_file(data, f.szFileName, end > start ? end - start : 0, start, -1, 0, "Copying file...");
    bCopyOneChannel = 0;
    std::string text;
    const bool textWritten = copied && [&] {
        if (!create_work_file(text, ".clp").valid())
            return false;
        std::ofstream out(text, std::ios::trunc);
        out << format_text(format_of(f));
        return static_cast<bool>(out.flush());
    }();
    bool installed = false;
    if (textWritten) {
        const ClipboardLock lock(true);
        installed = ::rename(data.c_str(), clipboard_data_path().c_str()) == 0 &&
                    ::rename(text.c_str(), clipboard_text_path().c_str()) == 0;
    }
    ::unlink(data.c_str());
    if (!text.empty())
        ::unlink(text.c_str());
    if (!copied)
        return 0;
    if (!installed) {
        NewErrMsg(5031);
        return 0;
    }
    clipboard_source_frame = f.hWaveWnd;
    return 1;
}

std::optional<InsertSource> clipboard_for(const CChildFrame& destination)
{
    std::string data = clipboard_data_path();
    std::uint64_t length = 0;
    std::stringstream text;
    {
        // The samples and their format as one program left them together;
        // the samples are held by a link of this program's own.
        const ClipboardLock lock(false);
        const std::string snapshot = exchange_file_path("clipsnap.clp");
        ::unlink(snapshot.c_str());
        if (::link(data.c_str(), snapshot.c_str()) == 0)
            data = snapshot;
        length = get_named_file_length(data);
        std::ifstream textFile(clipboard_text_path());
        text << textFile.rdbuf();
    }
    const auto clip = parse_format_text(text.str());
    if (!file_exists(data) || length == 0 || !clip) {
        NewErrMsg(5070);
        return std::nullopt;
    }
    const ClipboardFormat dest = format_of(destination);
    if (clip->channels == dest.channels && clip->bits == dest.bits && clip->rate == dest.rate)
        return InsertSource{data, length};

    // Convert the clipboard into "convclip.clp" in the destination's format.
    conversion_parameters = {static_cast<std::uint32_t>(clip->rate), static_cast<std::uint32_t>(clip->bits / 8),
                             static_cast<std::uint32_t>(clip->channels), static_cast<std::uint32_t>(dest.rate),
                             static_cast<std::uint32_t>(dest.bits / 8), static_cast<std::uint32_t>(dest.channels)};
    if (!begin_pcm_conversion()) {
        NewErrMsg(5071);
        return std::nullopt;
    }
    const std::string converted = clipboard_converted_path();
    ::unlink(converted.c_str());
    UniqueFd in(::open(data.c_str(), O_RDONLY | O_CLOEXEC));
    UniqueFd out(::open(converted.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!in.valid() || !out.valid()) {
        end_pcm_conversion();
        NewErrMsg(5070);
        return std::nullopt;
    }
    std::vector<unsigned char> input, output;
    // Whole source frames at a time (32768 bytes for 8- and 16-bit data).
    const std::size_t sourceFrame = static_cast<std::size_t>(clip->channels * (clip->bits / 8));
    const std::size_t block = 32768 - 32768 % sourceFrame;
    try {
        input.assign(block, 0);
        output.assign(converted_buffer_size(block) + 64, 0);
    } catch (const std::bad_alloc&) {
        end_pcm_conversion();
        NewErrMsg(5026);
        return std::nullopt;
    }
    std::optional<ProgressScope> progress(std::in_place, "Reformating waveform ...", false);
    std::uint64_t done = 0, written = 0;
    bool ok = true;
    while (ok && done < length) {
        const long long got = read_fully(in.get(), input.data(), static_cast<long long>(block));
        if (got <= 0)
            break;
        done += static_cast<std::uint64_t>(got);
        const std::size_t n = convert_pcm_block(input.data(), static_cast<std::size_t>(got), output.data(), output.size());
        ok = write_fully(out.get(), output.data(), static_cast<long long>(n));
        written += n;
        progress->show(static_cast<int>(done * 100.0 / (length + 1.0)));
    }
    const std::size_t n = finish_pcm_conversion(output.data(), output.size());
    ok = ok && write_fully(out.get(), output.data(), static_cast<long long>(n));
    written += n;
    end_pcm_conversion();
    progress.reset();
    if (!ok || !out.reset()) {
        NewErrMsg(5070);
        return std::nullopt;
    }
    return InsertSource{converted, written};
}
