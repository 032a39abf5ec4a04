#include "wavefile/block_copier.h"

#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "wavefile/wave_state.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <new>
#include <unistd.h>
#include <vector>

namespace {

// Copies up to `count` bytes inside the kernel. Returns the bytes copied, 0 at
// the end of the source, -1 when this pair of files cannot be copied this way
// (the caller then reads and writes), -2 on a write error.
long kernelCopy(int in, int out, long count)
{
    for (;;) {
        const ssize_t n = copy_file_range(in, nullptr, out, nullptr, static_cast<size_t>(count), 0);
        if (n >= 0)
            return n;
        if (errno == EINTR)
            continue;
        if (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP ||
            errno == EBADF)
            return -1;
        return -2;
    }
}


}  // namespace

bool destination_has_room(const std::string&, std::uint32_t) { return true; }

// With frame = channels x bytes per sample and half = frame / 2, i starts at 0
// for selector 2 and at half otherwise, and while i < bytes - frame the sample
// at i is copied to i + half. Selector 2 thus copies each left sample over its
// right sample; any other selector copies each right sample over the left
// sample of the next frame. The last frame of a block is left as it is.
void rewrite_one_channel(unsigned char* block, long bytes, const CopyFormat& format, int selector)
{
    const long frame = static_cast<long>(format.channels) * format.bytesPerSample;
    const long half = frame / 2;
    for (long i = selector == 2 ? 0 : half; i < bytes - frame; i += frame) {
        block[i + half] = block[i];
        if (format.bytesPerSample == 2)
            block[i + half + 1] = block[i + 1];
    }
}

int copy_file_to_file(const CopyFormat& format, const std::string& destination,
                      const std::string& source, std::uint32_t count, std::uint32_t sourceOffset,
                      std::int32_t destOffset, int showProgress, const char* progressText)
{
    if (destination == source)
        return 1;

    put_up_wait_cursor();
    // The cursor comes back however the copy ends, with a box or without.
    struct CursorBack {
        ~CursorBack() { restore_wait_cursor(); }
    } cursorBack;
    std::optional<ProgressScope> box;
    const long blockSize = count < kCopyBlockSize ? static_cast<long>(count) : kCopyBlockSize;

    UniqueFd in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (!in.valid())
        return 0;
    if (!destination_has_room(destination, count)) {
        NewErrMsg(5025);
        return 0;
    }
    UniqueFd out(::open(destination.c_str(), O_RDWR | O_CLOEXEC));
    if (!out.valid())
        return 0;
    std::vector<unsigned char> buffer;
    try {
        buffer.assign(static_cast<size_t>(blockSize > 0 ? blockSize : 1), 0);
    } catch (const std::bad_alloc&) {
        NewErrMsg(5026);
        return 0;
    }
    posix_fadvise(in.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    if (lseek(in.get(), sourceOffset, SEEK_SET) < 0)
        return 0;
    if ((destOffset == -1 ? lseek(out.get(), 0, SEEK_END) : lseek(out.get(), destOffset, SEEK_SET)) < 0)
        return 0;

    const bool progress = showProgress || count / (format.samplesPerSec ? format.samplesPerSec : 1) >= 6;
    if (progress)
        box.emplace(progressText ? progressText : "Updating buffers ...", false);

    std::uint32_t copied = 0;
    std::uint32_t remaining = count;
    long ask = blockSize;
    // Plain copies stay inside the kernel while it can do them; the one-channel
    // rewrite needs every block in hand.
    bool inKernel = !bCopyOneChannel;
    while (copied < count) {
        // In the kernel there is no buffer to fill: one call takes up to 32
        // blocks, which spares most of the calls on a long file.
        const long kernelAsk = static_cast<long>(std::min<std::uint64_t>(count - copied, 32ull * kCopyBlockSize));
        long got = inKernel ? kernelCopy(in.get(), out.get(), kernelAsk) : -1;
        if (got == -1) {
            inKernel = false;
            got = static_cast<long>(read_fully(in.get(), buffer.data(), ask));
            if (got >= 1 && bCopyOneChannel)
                rewrite_one_channel(buffer.data(), got, format, nChannelSelector);
            if (got >= 1 && !write_fully(out.get(), buffer.data(), got))
                got = -2;
        }
        if (got == -2) {
            NewErrMsg(5025);
            return 0;
        }
        if (got < 1)
            break;
        copied += static_cast<std::uint32_t>(got);
        remaining -= static_cast<std::uint32_t>(got);
        if (remaining < static_cast<std::uint32_t>(blockSize))
            ask = static_cast<long>(remaining);
        else
            ask = blockSize;
        if (box) {
            if (box->cancelled())
                return 0;
            box->show(static_cast<int>(copied * 100.0 / (count + 1.0)));
        }
    }
    if (!out.reset()) {
        NewErrMsg(5025);
        return 0;
    }
    return 1;
}
