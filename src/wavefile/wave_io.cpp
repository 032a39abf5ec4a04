#include "wavefile/wave_io.h"
#include "wavefile/wave_header.h"

#include "app/messages.h"
#include "wavefile/byte_order.h"
#include "wavefile/riff_file.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_state.h"

#include <algorithm>
#include <new>

namespace {

constexpr FourCC kFact = make_fourcc("fact");
constexpr FourCC kInfo = make_fourcc("INFO");
constexpr FourCC kDisp = make_fourcc("DISP");
constexpr std::uint32_t kUnknownCount = 0xFFFFFFFFu;

// Display chunks carry a picture or text for a file browser; the program has
// no use for them and accepts them as they are.
void handleDisplayChunk(RiffFile&, const ChunkInfo&) {}

}  // namespace

int wioFileOpen(std::unique_ptr<wave_io_info>* result, const char* fileName, unsigned)
{
    if (!result)
        return WIOERR_BADPARAM;
    RiffFile file;
    if (!fileName || !file.open(fileName, RiffFile::Mode::Read))
        return WIOERR_FILEERROR;
    ChunkInfo riff;
    riff.fccType = kWave;
    if (file.descend(riff, nullptr, MMIO_FINDRIFF) != MMSYSERR_NOERROR)
        return WIOERR_FILEERROR;

    std::unique_ptr<wave_io_info> info;
    bool dataSeen = false;
    std::uint32_t dataOffset = 0;
    std::uint32_t dataBytes = 0;
    std::uint32_t frames = kUnknownCount;
    std::shared_ptr<InfoList> infoList;
    if (create_info_list(infoList) != INFO_OK)
        return WIOERR_NOMEM;

    const std::uint64_t riffEnd = static_cast<std::uint64_t>(riff.dwDataOffset) + riff.cksize;
    ChunkInfo ck;
    while (file.descend(ck, &riff, 0) == MMSYSERR_NOERROR) {
        if (static_cast<std::uint64_t>(ck.dwDataOffset) + ck.cksize > riffEnd)
            return WIOERR_FILEERROR;
        if (ck.ckid == kFmt) {
            if (!info) {
                // A chunk that ends past the end of the file is a short read;
                // finding out before allocating keeps a lying size harmless.
                if (static_cast<long long>(ck.dwDataOffset) + ck.cksize > file.size())
                    return WIOERR_FILEERROR;
                try {
                    info = std::make_unique<wave_io_info>();
                    info->fmt.assign(std::max<std::uint32_t>(ck.cksize, 18), 0);
                } catch (const std::bad_alloc&) {
                    return WIOERR_NOMEM;
                }
                if (file.read(info->fmt.data(), ck.cksize) != ck.cksize)
                    return WIOERR_FILEERROR;
                const unsigned char* f = info->fmt.data();
                current_wave_format.wFormatTag = get_le16(f);
                current_wave_format.nChannels = get_le16(f + 2);
                current_wave_format.nSamplesPerSec = get_le32(f + 4);
                current_wave_format.wBitsPerSample = get_le16(f + 14);
            }
        } else if (ck.ckid == kData) {
            if (!dataSeen) {
                dataSeen = true;
                dataOffset = ck.dwDataOffset;
                dataBytes = ck.cksize;
            }
        } else if (ck.ckid == kFact) {
            if (frames == kUnknownCount && ck.cksize >= 4) {
                unsigned char count[4];
                if (file.read(count, 4) != 4)
                    return WIOERR_FILEERROR;
                frames = get_le32(count);
            }
        } else if (ck.ckid == kList && ck.fccType == kInfo) {
            info_chunk_present = 1;
            const int error = riffParseINFO(file, ck, *infoList);
            if (error != INFO_OK)
                return error;
        } else if (ck.ckid == kDisp) {
            handleDisplayChunk(file, ck);
        }
        if (file.ascend(ck) != MMSYSERR_NOERROR)
            return WIOERR_FILEERROR;
    }

    if (!info)
        return WIOERR_FORMAT;
    if (frames == kUnknownCount) {
        const unsigned char* f = info->fmt.data();
        // Uncompressed samples need no count: PCM and float, in the plain or
        // the extensible header.
        const std::uint16_t tag = effective_format_tag(f, info->fmt.size());
        const std::uint32_t rate = get_le32(f + 4);
        const std::uint32_t avgBytes = get_le32(f + 8);
        if (tag == 1 || tag == 3) {
            // A lying format can ask for more frames than a count can hold.
            const double computed = avgBytes ? static_cast<double>(rate) * dataBytes / avgBytes : 0.0;
            frames = computed >= 4294967295.0 ? 0xFFFFFFFFu : static_cast<std::uint32_t>(computed);
        } else {
            const int answer = message_box(
                nullptr,
                "This wave file does not have a 'fact' chunk and requires one! This is completely "
                "invalid and MUST be fixed! Attempt to load it anyway?",
                "wioFileOpen", MB_YESNO | MB_ICONEXCLAMATION | MB_TASKMODAL);
            if (answer == IDNO)
                return WIOERR_REFUSED;
            frames = 0;
        }
    }
    info->dwDataOffset = dataOffset;
    info->dwDataBytes = dataBytes;
    info->dwDataSamples = frames;
    info->pInfo = infoList;
    last_info_list = std::move(infoList);
    *result = std::move(info);
    return WIOERR_NOERROR;
}

int wioFileClose(std::unique_ptr<wave_io_info>* info)
{
    if (!info || !*info)
        return WIOERR_BADPARAM;
    info->reset();
    return WIOERR_NOERROR;
}
