#include "edit/transfer_helpers.h"

#include "app/instance_files.h"
#include "app/clock.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/preferences.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "view/child_frame.h"
#include "view/document_journal.h"
#include "wavefile/block_copier.h"

#include <algorithm>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <vector>

long copy_file_to_memory(const char* path, void* buffer, long bufferOffset, long count, long fileOffset,
                         int showWaitCursor)
{
    UniqueFd fd(::open(path, O_RDONLY | O_CLOEXEC));
    if (!fd.valid())
        return 0;
    if (showWaitCursor)
        put_up_wait_cursor();
    const long long got = read_fully(fd.get(), static_cast<char*>(buffer) + std::max(0L, bufferOffset),
                                     std::max(0L, count), std::max(0L, fileOffset));
    if (showWaitCursor)
        restore_wait_cursor();
    return got < 0 ? 0 : static_cast<long>(got);
}

int copy_memory_to_file(const char* path, const char* buffer, long bufferOffset, unsigned long count,
                        long fileOffset, int showWaitCursor)
{
    if (!destination_has_room(path, static_cast<std::uint32_t>(count)))
        return 0;
    UniqueFd fd(::open(path, O_WRONLY | O_CLOEXEC));
    if (!fd.valid()) {
        message_beep();
        message_box(nullptr, std::string("CMTF: Was not able to open file ") + path, "Record File",
                    MB_OK | MB_ICONEXCLAMATION);
        return 0;
    }
    if (showWaitCursor)
        put_up_wait_cursor();
    const bool ok = write_fully(fd.get(), buffer + std::max(0L, bufferOffset), static_cast<long long>(count),
                                std::max(0L, fileOffset));
    if (showWaitCursor)
        restore_wait_cursor();
    return ok && fd.reset() ? 1 : 0;
}

unsigned long compute_sample_length(unsigned long total, unsigned long align, unsigned long chunk)
{
    if (align == 0)
        align = 1;
    if (total <= chunk)
        return total - total % align;
    const unsigned long n = total / chunk;
    if (total % chunk != 0) {
        const unsigned long start = chunk;
        while ((n + 1) * chunk > total && chunk > start / 2)
            chunk -= 2;
    }
    return chunk - chunk % align;
}

unsigned char silence_byte(const CChildFrame& f) { return silence_byte(f.sampleFormat()); }

std::uint64_t align_to_frame(const CChildFrame& f, std::uint64_t bytes)
{
    const int frame = f.wfx.nChannels * f.bytesPerSample();
    if (frame <= 2)
        return frame == 1 ? bytes : bytes & ~std::uint64_t{1};
    return align_position(bytes, frame);
}

int write_silence(const std::string& path, std::uint64_t offset, std::uint64_t bytes, unsigned char fill)
{
    std::vector<char> buffer;
    try {
        buffer.assign(static_cast<std::size_t>(std::min<std::uint64_t>(bytes, 32768)), static_cast<char>(fill));
    } catch (const std::bad_alloc&) {
        NewErrMsg(5026);
        return 0;
    }
    while (bytes > 0) {
        const std::uint64_t piece = std::min<std::uint64_t>(bytes, 32768);
        if (!copy_memory_to_file(path.c_str(), buffer.data(), 0, static_cast<unsigned long>(piece),
                                 static_cast<long>(offset), 1))
            return 0;
        offset += piece;
        bytes -= piece;
    }
    return 1;
}

int copy_selected_area_to_pseudo_clipboard(CChildFrame& f)
{
    if (!preferences().backupForUndo)
        return 1;
    if (!f.files.selectionCopy.empty())
        ::unlink(f.files.selectionCopy.c_str());
    const bool created = create_work_file(f.files.selectionCopy, ".tmp").valid();
    busy_wait_ms(20);
    if (!created) {
        NewErrMsg(5031);
        return 0;
    }
    journal_document(f);
    const auto bps = static_cast<std::uint32_t>(f.bytesPerSample());
    const int frame = f.wfx.nChannels * f.bytesPerSample();
    const auto start = static_cast<std::uint32_t>(align_position(f.nSelStart * bps, frame));
    const auto end = static_cast<std::uint32_t>(align_position(f.nSelEnd * bps, frame));
    return f.copy_file_to_file(f.files.selectionCopy, f.szFileName, end > start ? end - start : 0, start, -1, 0,
                               "Copying file...");
}
