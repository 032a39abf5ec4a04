#include "wavefile/wave_header.h"

#include "app/messages.h"
#include "app/preferences.h"
#include "wavefile/byte_order.h"
#include "wavefile/cue_chunk.h"
#include "wavefile/riff_file.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_state.h"
#include "wavefile/wavefile_dialogs.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>
#include <unistd.h>

namespace {

// A failure of the header check: tell the user when asked, close, record it.
int failCheck(RiffFile& file, int report, int messageId)
{
    if (report)
        NewErrMsg(messageId);
    file.close();
    header_read_ok = 0;
    return 0;
}

}  // namespace

std::string current_directory_with_slash()
{
    char buffer[4096];
    std::string dir = getcwd(buffer, sizeof buffer) ? buffer : ".";
    if (dir.empty() || dir.back() != '/')
        dir += '/';
    return dir;
}

namespace {

constexpr std::uint32_t kDs64Size = 28;  // RIFF size, data size, sample count, an empty table

int writeHeader(RiffFile& file, std::uint32_t dataSize, bool wide, const WaveHeaderContent& content)
{
    wave_fmt_record = content.format;
    riff_chunk_info = ChunkInfo{};
    riff_chunk_info.fccType = kWave;
    riff_chunk_info.cksize = 0;
    if (wide) {
        riff_chunk_info.ckid = kRf64;
        riff_chunk_info.cksize = 0xFFFFFFFFu;
    }
    if (file.createChunk(riff_chunk_info, wide ? 0 : MMIO_CREATERIFF) != MMSYSERR_NOERROR) {
        NewErrMsg(5031);
        return 0;
    }
    if (wide) {
        ChunkInfo ds64;
        ds64.ckid = kDs64;
        ds64.cksize = kDs64Size;
        const unsigned char zeros[kDs64Size] = {};
        if (file.createChunk(ds64, 0) != MMSYSERR_NOERROR || file.write(zeros, kDs64Size) != kDs64Size ||
            file.ascend(ds64) != MMSYSERR_NOERROR) {
            NewErrMsg(5031);
            return 0;
        }
    }
    if (content.info && write_info_list(&file, const_cast<InfoList*>(content.info)) != INFO_OK) {
        NewErrMsg(5031);
        return 0;
    }
    data_chunk_info = ChunkInfo{};
    data_chunk_info.ckid = kFmt;
    const std::vector<unsigned char> record = fmt_chunk_bytes(content.format);
    const auto recordSize = static_cast<long long>(record.size());
    data_chunk_info.cksize = static_cast<std::uint32_t>(record.size());
    if (file.createChunk(data_chunk_info, 0) != MMSYSERR_NOERROR ||
        file.write(record.data(), recordSize) != recordSize ||
        file.ascend(data_chunk_info) != MMSYSERR_NOERROR) {
        NewErrMsg(5031);
        return 0;
    }
    // Time marks go before the samples: the loader takes the samples from
    // the end of the file, so nothing may follow them.
    if (!write_cue_chunks(file, content.cues)) {
        NewErrMsg(5031);
        return 0;
    }
    data_chunk_info = ChunkInfo{};
    data_chunk_info.ckid = kData;
    data_chunk_info.cksize = wide ? 0xFFFFFFFFu : dataSize;
    if (file.createChunk(data_chunk_info, 0) != MMSYSERR_NOERROR) {
        NewErrMsg(5031);
        return 0;
    }
    return 1;
}

// Completes an RF64 file: the 64-bit sizes go into "ds64"; the 32-bit fields
// stay all ones, as the form has them.
int completeRf64(RiffFile& file)
{
    const long long end = file.position();
    const long long dataSize = end - static_cast<long long>(data_chunk_info.dwDataOffset);
    if (dataSize < 0)
        return MMIOERR_CANNOTSEEK;
    if (dataSize & 1) {
        const unsigned char pad = 0;
        if (file.write(&pad, 1) != 1)
            return MMIOERR_CANNOTWRITE;
    }
    const long long riffSize = file.position() - 8;
    const std::uint32_t frame = std::max<std::uint32_t>(1, wave_fmt_record.nBlockAlign);
    unsigned char sizes[24];
    put_le64(sizes, static_cast<std::uint64_t>(riffSize));
    put_le64(sizes + 8, static_cast<std::uint64_t>(dataSize));
    put_le64(sizes + 16, static_cast<std::uint64_t>(dataSize) / frame);
    const long long at = file.position();
    // "RF64", its size and "WAVE", then the ds64 chunk's id and size.
    if (file.seek(20, SEEK_SET) < 0 || file.write(sizes, sizeof sizes) != static_cast<long long>(sizeof sizes) ||
        file.seek(at, SEEK_SET) < 0)
        return MMIOERR_CANNOTWRITE;
    data_chunk_info.dwFlags &= ~MMIO_DIRTY;
    riff_chunk_info.dwFlags &= ~MMIO_DIRTY;
    return MMSYSERR_NOERROR;
}

}  // namespace

namespace {

// The content the exported routines write: the pending format, INFO list and
// cue points.
WaveHeaderContent pendingContent()
{
    return {wave_fmt_record, info_chunk_present ? last_info_list.get() : nullptr, cue_points_to_write};
}

}  // namespace

int create_waveform_format_header(RiffFile& file, std::uint32_t dataSize)
{
    return writeHeader(file, dataSize, false, pendingContent());
}

int create_rf64_waveform_header(RiffFile& file) { return writeHeader(file, 0, true, pendingContent()); }

int write_waveform_header(RiffFile& file, std::uint32_t dataSize, const WaveHeaderContent& content, bool rf64)
{
    return writeHeader(file, rf64 ? 0 : dataSize, rf64, content);
}

bool needs_rf64(std::uint64_t dataBytes)
{
    // Room for the header, INFO and cue chunks inside the 32-bit RIFF size.
    return dataBytes > 0xFFFFFFFFull - (16u << 20);
}

int ascend_and_update_waveform_file(RiffFile& file)
{
    if (riff_chunk_info.ckid == kRf64)
        return completeRf64(file);
    const int first = file.ascend(data_chunk_info);
    const int second = file.ascend(riff_chunk_info);
    return second != MMSYSERR_NOERROR ? second : first;
}

namespace {

// The data size of an RF64 file: its "ds64" chunk, which stands first in
// the form, holds the RIFF size, the data size and the sample count as 64-bit
// numbers. The file is left where it was.
std::optional<std::uint64_t> readDs64DataSize(RiffFile& file, ChunkInfo& form)
{
    const long long at = file.position();
    std::optional<std::uint64_t> size;
    ChunkInfo ds64;
    unsigned char sizes[16];
    if (file.descend(ds64, &form, 0) == MMSYSERR_NOERROR && ds64.ckid == kDs64 && ds64.cksize >= 16 &&
        file.read(sizes, 16) == 16)
        size = get_le64(sizes + 8);
    file.seek(at, SEEK_SET);
    return size;
}

}  // namespace

std::uint16_t effective_format_tag(const unsigned char* record, std::size_t size)
{
    const std::uint16_t tag = get_le16(record);
    if (tag == kWaveFormatExtensible && size >= kExtensibleFmtSize && get_le16(record + 16) >= 22)
        return get_le16(record + 24);
    return tag;
}

namespace {

int readHeader(const std::string& fileName, int report, bool pcmOnly)
{
    // The input device is asked, not the output device: it is the one whose
    // formats a recording into this document would need.
    const std::uint32_t caps = wave_input_caps(preferences().waveInputDevice);

    RiffFile file;
    if (!file.open(fileName, RiffFile::Mode::Read)) {
        if (report)
            NewErrMsg(5032);
        return 0;
    }
    ChunkInfo riff;
    if (file.descend(riff, nullptr, 0) != MMSYSERR_NOERROR)
        return failCheck(file, report, 5034);
    const bool wide = riff.ckid == kRf64 || riff.ckid == kBw64;
    if ((riff.ckid != kRiff && !wide) || riff.fccType != kWave)
        return failCheck(file, report, 5035);
    const std::optional<std::uint64_t> wideDataSize = wide ? readDs64DataSize(file, riff) : std::nullopt;

    ChunkInfo fmt;
    fmt.ckid = kFmt;
    if (file.descend(fmt, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR)
        return failCheck(file, report, 5036);
    if (fmt.cksize < WaveFmtRecord::kSize)
        return failCheck(file, report, 5037);
    unsigned char record[kExtensibleFmtSize] = {};
    const long long recordBytes = std::min<long long>(fmt.cksize, kExtensibleFmtSize);
    if (file.read(record, recordBytes) != recordBytes || file.ascend(fmt) != MMSYSERR_NOERROR)
        return failCheck(file, report, 5038);
    wave_fmt_record = WaveFmtRecord::fromBytes(record);
    // The extensible header names its samples by a sub-format GUID whose
    // first two bytes are the plain format tag.
    const std::uint16_t tag = effective_format_tag(record, static_cast<std::size_t>(recordBytes));

    input_format_tag = tag;
    if (pcmOnly && tag != 1 && tag != 3)
        return failCheck(file, report, 5039);

    if (report) {
        if (wave_fmt_record.wBitsPerSample == 16 &&
            (!(caps & WAVE_FORMAT_1M16) || !(caps & WAVE_FORMAT_1S16)))
            NewErrMsg(5040);
        if (wave_fmt_record.nSamplesPerSec > 44000 && !(caps & WAVE_FORMAT_4M08))
            NewErrMsg(5041);
    }

    current_wave_format.nChannels = wave_fmt_record.nChannels;
    current_wave_format.wBitsPerSample = wave_fmt_record.wBitsPerSample;
    current_wave_format.nSamplesPerSec = wave_fmt_record.nSamplesPerSec;
    current_wave_format.wFormatTag = tag;
    current_wave_format.nBytesPerSample =
        static_cast<std::uint16_t>(wave_fmt_record.wBitsPerSample >> 3);

    ChunkInfo data;
    data.ckid = kData;
    if (file.descend(data, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR)
        return failCheck(file, report, 5042);
    if (!file.getInfo())
        return failCheck(file, report, 5043);
    // The samples are the data chunk's own bytes. A size of all ones means
    // "to the end of the file" (a recording that was never completed, or an
    // RF64 file, whose "ds64" chunk holds the true size); a size past the end
    // of the file is a truncated file, of which the whole frames present are
    // read.
    const std::uint64_t fileSize = static_cast<std::uint64_t>(std::max(file.size(), 0LL));
    const std::uint64_t present = fileSize > data.dwDataOffset ? fileSize - data.dwDataOffset : 0;
    const std::uint32_t frameBytes = wave_fmt_record.nBlockAlign
                                         ? wave_fmt_record.nBlockAlign
                                         : std::max(1u, (wave_fmt_record.wBitsPerSample + 7u) / 8u *
                                                            std::max<std::uint32_t>(1, wave_fmt_record.nChannels));
    std::uint64_t size = data.cksize;
    data_chunk_truncated = 0;
    if (data.cksize == 0xFFFFFFFFu)
        size = wideDataSize ? *wideDataSize : present / frameBytes * frameBytes;
    if (size > present) {
        size = present / frameBytes * frameBytes;
        data_chunk_truncated = 1;
    }
    if (size > 0xFFFFFFFFu) {
        if (report)
            ErrMsg("Cannot open %s: it holds %llu bytes of samples, more than the 4294967295 bytes one document "
                   "can hold.",
                   fileName.c_str(), static_cast<unsigned long long>(size));
        file.close();
        header_read_ok = 0;
        return 0;
    }
    data_chunk_size = static_cast<std::uint32_t>(size);
    data_chunk_offset = data.dwDataOffset;
    if (!file.setInfo())
        return failCheck(file, report, 5044);

    file.close();
    header_read_ok = 1;
    return 1;
}

}  // namespace

int ReadInputWaveformHeader(const std::string& fileName, int report) { return readHeader(fileName, report, true); }

int read_waveform_header_any_format(const std::string& fileName, int report)
{
    return readHeader(fileName, report, false);
}

int create_new_empty_waveform_file(int showDialog)
{
    if (showDialog && !wavefile_dialogs().runNewFileDialog())
        return 0;

    new_file_counter += 1;
    char leaf[32];
    std::snprintf(leaf, sizeof leaf, "SAMPLE%u.WAV", new_file_counter);
    return create_empty_waveform_file_named(current_directory_with_slash() + leaf);
}

int begin_waveform_file(RiffFile& file, ChunkInfo& riff, ChunkInfo& data)
{
    riff = ChunkInfo{};
    riff.fccType = kWave;
    if (file.createChunk(riff, MMIO_CREATERIFF) != MMSYSERR_NOERROR) {
        file.close();
        ErrMsg("Can't create RIFF chunk, nf 1512");
        return 0;
    }
    const std::vector<unsigned char> record = fmt_chunk_bytes(wave_fmt_record);
    const auto recordSize = static_cast<long long>(record.size());
    ChunkInfo fmt;
    fmt.ckid = kFmt;
    fmt.cksize = static_cast<std::uint32_t>(record.size());
    if (file.createChunk(fmt, 0) != MMSYSERR_NOERROR) {
        file.close();
        ErrMsg("Can't create info chunk, nf 1521");
        return 0;
    }
    if (file.write(record.data(), recordSize) != recordSize) {
        file.close();
        ErrMsg("Can't mmioWrite, nf 1538");
        return 0;
    }
    file.ascend(fmt);
    data = ChunkInfo{};
    data.ckid = kData;
    if (file.createChunk(data, 0) != MMSYSERR_NOERROR) {
        file.close();
        ErrMsg("Can't write wave data chunk, nf 1551");
        return 0;
    }
    return 1;
}

int create_empty_waveform_file_named(const std::string& name)
{
    RiffFile file;
    if (!file.open(name, RiffFile::Mode::Create)) {
        message_beep();
        ErrMsg("Can't create uninitialized %s", name.c_str());
        return 0;
    }
    fill_fmt_record_from_current_format();
    ChunkInfo riff, data;
    if (!begin_waveform_file(file, riff, data))
        return 0;
    // The whole content of a new file whatever its format: silence for 8-bit
    // data, nearly so for 16-bit data.
    static constexpr unsigned char kNewFileData[8] = {0x80, 0x00, 0x80, 0x00,
                                                      0x80, 0x00, 0x80, 0x00};
    // 24-bit and float files, which that content does not fit, start as
    // eight samples of silence.
    std::vector<unsigned char> content(kNewFileData, kNewFileData + sizeof kNewFileData);
    if (const auto deep = sample_format_of(wave_fmt_record.wFormatTag, wave_fmt_record.wBitsPerSample);
        deep && sample_bytes(*deep) > 2)
        content.assign(8u * static_cast<std::size_t>(sample_bytes(*deep)), 0);
    if (file.write(content.data(), static_cast<long long>(content.size())) != static_cast<long long>(content.size())) {
        file.close();
        ErrMsg("Can't write wave data chunk, nf 1551");
        return 0;
    }
    const bool sized = file.ascend(data) == MMSYSERR_NOERROR && file.ascend(riff) == MMSYSERR_NOERROR;
    if (!file.close() || !sized) {
        ErrMsg("Can't write wave data chunk, nf 1551");
        return 0;
    }
    szOpenedFileName = name;
    return 1;
}

bool read_wave_facts(const std::string& fileName, WaveFacts& facts)
{
    RiffFile file;
    if (!file.open(fileName, RiffFile::Mode::Read))
        return false;
    ChunkInfo riff;
    riff.fccType = kWave;
    if (file.descend(riff, nullptr, MMIO_FINDRIFF) != MMSYSERR_NOERROR)
        return false;
    ChunkInfo fmt;
    fmt.ckid = kFmt;
    unsigned char record[WaveFmtRecord::kSize];
    if (file.descend(fmt, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR || fmt.cksize < WaveFmtRecord::kSize ||
        file.read(record, WaveFmtRecord::kSize) != WaveFmtRecord::kSize)
        return false;
    const WaveFmtRecord r = WaveFmtRecord::fromBytes(record);
    facts = {r.wFormatTag, r.nSamplesPerSec, r.wBitsPerSample, r.nChannels};
    return true;
}

std::string wave_format_name(std::uint16_t formatTag)
{
    switch (formatTag) {
    case 1: return "MS RIFF Wave PCM";
    case 2: return "MS RIFF Wave ADPCM";
    default: return "Unknown Format";
    }
}

std::string wave_facts_text(const WaveFacts& facts)
{
    char text[96];
    std::snprintf(text, sizeof text, facts.channels == 1 ? "%ld kHz %d bits Mono" : "%ld kHz %d bits Stereo",
                  static_cast<long>(facts.rate), static_cast<int>(facts.bits));
    return text;
}

std::vector<unsigned char> fmt_chunk_bytes(const WaveFmtRecord& format)
{
    const auto plain = format.toBytes();
    std::vector<unsigned char> bytes(plain.begin(), plain.end());
    if (format.wFormatTag == 3) {
        // IEEE float: the 18-byte form with an empty extension.
        bytes.resize(18, 0);
        return bytes;
    }
    if (format.wFormatTag != 1 || (format.wBitsPerSample <= 16 && format.nChannels <= 2))
        return bytes;
    // PCM deeper than 16 bits or with more than two channels: the extensible
    // form, which readers need to know the valid bits and the speakers.
    static constexpr unsigned char kPcmSubFormat[16] = {0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                                        0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    bytes.resize(kExtensibleFmtSize, 0);
    put_le16(&bytes[0], kWaveFormatExtensible);
    put_le16(&bytes[16], 22);
    put_le16(&bytes[18], format.wBitsPerSample);
    const std::uint32_t mask = format.nChannels == 1 ? 0x4u : format.nChannels == 2 ? 0x3u : 0u;
    put_le32(&bytes[20], mask);
    std::copy(std::begin(kPcmSubFormat), std::end(kPcmSubFormat), bytes.begin() + 24);
    return bytes;
}

WaveFmtRecord pcm_fmt_record(int channels, std::uint32_t rate, int bits)
{
    return sample_fmt_record(channels, rate, bits == 32 ? SampleFormat::F32 : pcm_format(bits).value_or(SampleFormat::S16));
}

WaveFmtRecord sample_fmt_record(int channels, std::uint32_t rate, SampleFormat format)
{
    const int bits = sample_bits(format);
    const auto blockAlign = static_cast<std::uint16_t>(channels * bits / 8);
    WaveFmtRecord r;
    r.wFormatTag = static_cast<std::uint16_t>(wave_format_tag(format));
    r.nChannels = static_cast<std::uint16_t>(channels);
    r.nSamplesPerSec = rate;
    r.nBlockAlign = blockAlign;
    r.nAvgBytesPerSec = rate * blockAlign;
    r.wBitsPerSample = static_cast<std::uint16_t>(bits);
    return r;
}

void set_pcm_fmt_record(int channels, std::uint32_t rate, int bits)
{
    wave_fmt_record = pcm_fmt_record(channels, rate, bits);
}

int create_plain_waveform_header(RiffFile& file, int channels, std::uint32_t rate, int bits)
{
    return write_waveform_header(file, 0, {pcm_fmt_record(channels, rate, bits), nullptr, {}});
}
