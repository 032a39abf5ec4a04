#include "wavefile/wave_state.h"

#include "wavefile/byte_order.h"
#include "wavefile/riff_info.h"

WaveFormat current_wave_format;
WaveFmtRecord wave_fmt_record;
ChunkInfo riff_chunk_info;
ChunkInfo data_chunk_info;
std::uint32_t data_chunk_size = 0;
std::uint64_t data_chunk_offset = 0;
int data_chunk_truncated = 0;
std::uint16_t input_format_tag = 0;
int header_read_ok = 0;
int info_chunk_present = 0;
std::uint32_t new_file_counter = 0;
std::shared_ptr<InfoList> last_info_list;

std::string szOpenedFileName;
int bOpenedByConverter = 0;
int bNeedsConversion = 0;
int bCopyOneChannel = 0;
int nChannelSelector = 2;

namespace {
InputCapsQuery g_capsQuery = nullptr;
}

std::array<unsigned char, WaveFmtRecord::kSize> WaveFmtRecord::toBytes() const
{
    std::array<unsigned char, kSize> b{};
    put_le16(&b[0], wFormatTag);
    put_le16(&b[2], nChannels);
    put_le32(&b[4], nSamplesPerSec);
    put_le32(&b[8], nAvgBytesPerSec);
    put_le16(&b[12], nBlockAlign);
    put_le16(&b[14], wBitsPerSample);
    return b;
}

WaveFmtRecord WaveFmtRecord::fromBytes(const unsigned char* b)
{
    WaveFmtRecord r;
    r.wFormatTag = get_le16(b);
    r.nChannels = get_le16(b + 2);
    r.nSamplesPerSec = get_le32(b + 4);
    r.nAvgBytesPerSec = get_le32(b + 8);
    r.nBlockAlign = get_le16(b + 12);
    r.wBitsPerSample = get_le16(b + 14);
    return r;
}

void fill_fmt_record_from_current_format()
{
    const WaveFormat& f = current_wave_format;
    wave_fmt_record.wFormatTag = 1;
    wave_fmt_record.nChannels = f.nChannels;
    wave_fmt_record.nSamplesPerSec = f.nSamplesPerSec;
    wave_fmt_record.nAvgBytesPerSec = static_cast<std::uint32_t>(f.nBytesPerSample) * f.nChannels *
                                      f.nSamplesPerSec;
    wave_fmt_record.nBlockAlign = static_cast<std::uint16_t>(f.nBytesPerSample * f.nChannels);
    wave_fmt_record.wBitsPerSample = f.wBitsPerSample;
}

void reset_wave_state()
{
    current_wave_format = WaveFormat{};
    wave_fmt_record = WaveFmtRecord{};
    riff_chunk_info = ChunkInfo{};
    data_chunk_info = ChunkInfo{};
    data_chunk_size = 0;
    input_format_tag = 0;
    header_read_ok = 0;
    info_chunk_present = 0;
    new_file_counter = 0;
    last_info_list.reset();
    szOpenedFileName.clear();
    bOpenedByConverter = 0;
    bNeedsConversion = 0;
    bCopyOneChannel = 0;
    nChannelSelector = 2;
}

void set_wave_input_caps_query(InputCapsQuery query) { g_capsQuery = query; }

std::uint32_t wave_input_caps(int device)
{
    return g_capsQuery ? g_capsQuery(device) : 0xFFFFFFFFu;
}
