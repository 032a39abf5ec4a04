#include "wavefile/wave_converter.h"

#include "app/atomic_file.h"
#include "app/messages.h"
#include "app/progress.h"
#include "app/ui_host.h"
#include "wavefile/byte_order.h"
#include "wavefile/riff_file.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_io.h"
#include "wavefile/wave_state.h"

#include <cstdio>
#include <new>
#include <vector>


namespace {

constexpr const char* kCaption = "Halvorn Wave Converter";

bool sameAsStandard(const AdpcmFormat& f)
{
    const auto& standard = adpcm_standard_coefficients();
    if (f.coefficients.size() != standard.size())
        return false;
    for (std::size_t i = 0; i < standard.size(); ++i)
        if (f.coefficients[i] != standard[i])
            return false;
    return true;
}

// Everything a conversion holds; closing patches the sizes of what was written.
struct Job {
    RiffFile source;
    RiffFile destination;
    ChunkInfo riff;
    ChunkInfo data;
    bool dataOpen = false;
    HWND box = nullptr;

    ~Job()
    {
        if (dataOpen) {
            destination.ascend(data);
            destination.ascend(riff);
        }
        if (box)
            uiHost().destroyConversionBox(box);
    }
};

bool writeChunk(RiffFile& file, const char (&id)[5], const std::vector<unsigned char>& body)
{
    ChunkInfo ck;
    ck.ckid = make_fourcc(id);
    ck.cksize = static_cast<std::uint32_t>(body.size());
    return file.createChunk(ck, 0) == MMSYSERR_NOERROR &&
           file.write(body.data(), static_cast<long long>(body.size())) == static_cast<long long>(body.size()) &&
           file.ascend(ck) == MMSYSERR_NOERROR;
}

}  // namespace

std::optional<AdpcmFormat> conversion_destination(const AdpcmFormat& s, float jafRatio)
{
    AdpcmFormat d;
    d.channels = s.channels;
    d.samplesPerSec = s.samplesPerSec;
    if (s.formatTag == 1) {
        const bool rateOk = s.samplesPerSec == 11025 || s.samplesPerSec == 22050 || s.samplesPerSec == 44100;
        if ((s.bitsPerSample != 8 && s.bitsPerSample != 16) || (s.channels != 1 && s.channels != 2) || !rateOk ||
            s.blockAlign != s.channels * s.bitsPerSample / 8) {
            ErrMsg("This PCM wave file is not valid for conversion!");
            return std::nullopt;
        }
        d.formatTag = 2;
        d.bitsPerSample = 4;
        d.blockAlign = adpcm_block_align(s.channels, s.samplesPerSec);
        d.samplesPerBlock = adpcm_samples_per_block(d.blockAlign, s.channels);
        d.extraSize = 1056;
        d.coefficients.assign(adpcm_standard_coefficients().begin(), adpcm_standard_coefficients().end());
        const std::uint32_t b = s.samplesPerSec * s.channels * 4 / 8;
        d.avgBytesPerSec = ((b / d.blockAlign + 1) * 7 * s.channels + b) & 0xFFFF;
    } else if (s.formatTag == 2) {
        // Every field is checked against the block size before anything is
        // allocated from it: samples per block must fit in the block.
        if (!adpcm_format_is_sound(s) || !sameAsStandard(s)) {
            ErrMsg("This ADPCM wave file is not valid for conversion!");
            return std::nullopt;
        }
        d.formatTag = 1;
        d.bitsPerSample = 8;
        d.blockAlign = s.channels == 1 ? 1 : 2;
        d.samplesPerBlock = s.samplesPerBlock;
        d.extraSize = 0;
        d.avgBytesPerSec = s.samplesPerSec * 8;
    } else {
        ErrMsg("This wave converter application does not know how to convert current format!");
        return std::nullopt;
    }
    if (jafRatio > 0.0f)
        // The quotient in double precision from the single-precision ratio,
        // truncated: 29999 for 1.47, 15624 for 2.8224.
        d.avgBytesPerSec = static_cast<std::uint32_t>(44100.0 / static_cast<double>(jafRatio));
    return d;
}

int convert_wave_file(HWND, const std::string& sourceName, const std::string& destinationName, float jafRatio)
{
    std::unique_ptr<wave_io_info> info;
    if (wioFileOpen(&info, sourceName.c_str(), 0) != WIOERR_NOERROR) {
        ErrMsg("%s is not a valid wave file.", sourceName.c_str());
        ErrMsg("WaveConvFileOpen failed, waveconv line 221");
        return 0;
    }
    AdpcmFormat source = AdpcmFormat::fromBytes(info->fmt.data(), info->fmt.size());
    // A file that leaves the field out has the count its block align gives.
    if (source.formatTag == 2 && source.samplesPerBlock == 0 && source.channels >= 1 && source.channels <= 2 &&
        source.blockAlign > 7 * source.channels)
        source.samplesPerBlock = adpcm_samples_per_block(source.blockAlign, source.channels);
    const std::optional<AdpcmFormat> destination = conversion_destination(source, jafRatio);
    if (!destination)
        return 0;
    const bool encoding = source.formatTag == 1;
    const std::size_t sourceBlock =
        encoding ? static_cast<std::size_t>(source.blockAlign) * destination->samplesPerBlock : source.blockAlign;
    const std::size_t destinationBlock =
        encoding ? destination->blockAlign : static_cast<std::size_t>(destination->samplesPerBlock) * destination->blockAlign;
    if (sourceBlock == 0 || destinationBlock == 0) {
        ErrMsg("There is something invalid/corrupt in the source header!");
        return 0;
    }

    // The destination takes its name only when the conversion is complete:
    // an aborted or failed one leaves whatever was there before.
    AtomicFile staged;
    Job job;
    std::vector<unsigned char> in, out;
    try {
        in.assign(sourceBlock, 0);
        out.assign(destinationBlock + 4, 0);
    } catch (const std::bad_alloc&) {
        ErrMsg("Could not allocate destination conversion header!");
        return 0;
    }
    if (!job.source.open(sourceName, RiffFile::Mode::Read) || !staged.begin(destinationName) ||
        !job.destination.open(staged.temporaryPath(), RiffFile::Mode::Create)) {
        ErrMsg("Conversion aborted--destination file is corrupt!");
        return 0;
    }
    job.riff.fccType = kWave;
    bool ok = job.destination.createChunk(job.riff, MMIO_CREATERIFF) == MMSYSERR_NOERROR;

    // The source's display and playlist chunks go along whole.
    ChunkInfo sourceRiff;
    sourceRiff.fccType = kWave;
    ok = ok && job.source.descend(sourceRiff, nullptr, MMIO_FINDRIFF) == MMSYSERR_NOERROR;
    const std::uint64_t riffEnd = static_cast<std::uint64_t>(sourceRiff.dwDataOffset) + sourceRiff.cksize;
    ChunkInfo ck;
    while (ok && job.source.descend(ck, &sourceRiff, 0) == MMSYSERR_NOERROR) {
        if (static_cast<std::uint64_t>(ck.dwDataOffset) + ck.cksize > riffEnd) {
            ok = false;
            break;
        }
        if (ck.ckid == make_fourcc("DISP") || ck.ckid == make_fourcc("plst"))
            ok = copy_riff_chunk(job.source, job.destination, ck) == 1;
        ok = ok && job.source.ascend(ck) == MMSYSERR_NOERROR;
    }
    if (ok && info->pInfo)
        ok = write_info_list(&job.destination, info->pInfo.get()) == INFO_OK;

    std::vector<unsigned char> fmt = destination->toBytes();
    if (destination->formatTag == 2)
        fmt.resize(18 + destination->extraSize, 0);  // 50 bytes of format, then zeros
    ok = ok && writeChunk(job.destination, "fmt ", fmt);
    std::vector<unsigned char> fact(4);
    put_le32(fact.data(), info->dwDataSamples);
    ok = ok && writeChunk(job.destination, "fact", fact);
    job.data.ckid = kData;
    ok = ok && job.destination.createChunk(job.data, 0) == MMSYSERR_NOERROR;
    ok = ok && job.source.seek(info->dwDataOffset, SEEK_SET) >= 0;
    if (!ok) {
        ErrMsg("Conversion aborted--destination file is corrupt!");
        return 0;
    }
    job.dataOpen = true;

    const LongOperation operation;
    job.box = uiHost().createConversionBox(sourceName, destinationName);

    const std::uint64_t total = info->dwDataBytes;
    std::uint64_t done = 0;
    int shown = -1;
    bool completed = true;
    while (done < total) {
        const int percent = static_cast<int>(done * 100 / total);
        if (percent != shown) {
            shown = percent;
            char text[16];
            std::snprintf(text, sizeof text, "%u%%", static_cast<unsigned>(percent));
            uiHost().setControlText(job.box, 102, text);
        }
        if (operation_abort_requested() || uiHost().takeCancelClick(job.box)) {
            completed = false;
            break;
        }
        const std::size_t want = std::min<std::uint64_t>(std::min<std::size_t>(sourceBlock, 0xFFFF), total - done);
        const long long got = job.source.read(in.data(), static_cast<long long>(want));
        if (got <= 0)
            break;
        done += static_cast<std::uint64_t>(got);
        const std::size_t produced = encoding
                                         ? encode_adpcm_block(source, in.data(), *destination, out.data(),
                                                              static_cast<std::size_t>(got), out.size())
                                         : decode_adpcm_block(source, in.data(), *destination, out.data(),
                                                              static_cast<std::size_t>(got), out.size());
        if (produced && job.destination.write(out.data(), static_cast<long long>(produced)) != static_cast<long long>(produced)) {
            completed = false;
            break;
        }
    }
    job.dataOpen = false;
    const bool closed = job.destination.ascend(job.data) == MMSYSERR_NOERROR &&
                        job.destination.ascend(job.riff) == MMSYSERR_NOERROR && job.destination.close();
    completed = completed && closed && staged.commit();
    message_box(nullptr, completed ? "Conversion completed successfully!" : "Conversion aborted--destination file is corrupt!",
                kCaption, MB_OK | MB_ICONEXCLAMATION);
    return completed ? 1 : 0;
}
