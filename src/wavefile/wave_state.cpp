#include "wavefile/wave_state.h"

#include "wavefile/byte_order.h"
#include "wavefile/riff_info.h"

namespace {
WaveState g_waveState;
}  // namespace

WaveState& wave_state() { return g_waveState; }
void reset_wave_state() { g_waveState = WaveState{}; }

WaveFormat& current_wave_format = g_waveState.current_wave_format;
WaveFmtRecord& wave_fmt_record = g_waveState.wave_fmt_record;
ChunkInfo& riff_chunk_info = g_waveState.riff_chunk_info;
ChunkInfo& data_chunk_info = g_waveState.data_chunk_info;
std::uint32_t& data_chunk_size = g_waveState.data_chunk_size;
std::uint64_t& data_chunk_offset = g_waveState.data_chunk_offset;
int& data_chunk_truncated = g_waveState.data_chunk_truncated;
std::uint16_t& input_format_tag = g_waveState.input_format_tag;
int& header_read_ok = g_waveState.header_read_ok;
int& info_chunk_present = g_waveState.info_chunk_present;
std::uint32_t& new_file_counter = g_waveState.new_file_counter;
std::shared_ptr<InfoList>& last_info_list = g_waveState.last_info_list;
std::vector<CuePoint>& cue_points_to_write = g_waveState.cue_points_to_write;
std::string& szOpenedFileName = g_waveState.szOpenedFileName;
std::string& szOpenedAviFileName = g_waveState.szOpenedAviFileName;
int& bOpenedByConverter = g_waveState.bOpenedByConverter;
int& bNeedsConversion = g_waveState.bNeedsConversion;
int& bCopyOneChannel = g_waveState.bCopyOneChannel;
int& nChannelSelector = g_waveState.nChannelSelector;
int& last_file_type = g_waveState.last_file_type;
PcmConversionParameters& conversion_parameters = g_waveState.conversion_parameters;
float& jaf_ratio = g_waveState.jaf_ratio;
int& jaf_button = g_waveState.jaf_button;

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
    wave_fmt_record.wFormatTag = f.wFormatTag == 3 ? 3 : 1;
    wave_fmt_record.nChannels = f.nChannels;
    wave_fmt_record.nSamplesPerSec = f.nSamplesPerSec;
    wave_fmt_record.nAvgBytesPerSec = static_cast<std::uint32_t>(f.nBytesPerSample) * f.nChannels *
                                      f.nSamplesPerSec;
    wave_fmt_record.nBlockAlign = static_cast<std::uint16_t>(f.nBytesPerSample * f.nChannels);
    wave_fmt_record.wBitsPerSample = f.wBitsPerSample;
}

void set_wave_input_caps_query(InputCapsQuery query) { g_capsQuery = query; }

std::uint32_t wave_input_caps(int device)
{
    return g_capsQuery ? g_capsQuery(device) : 0xFFFFFFFFu;
}
