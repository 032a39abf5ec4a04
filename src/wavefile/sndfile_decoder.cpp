#include "wavefile/audio_decoder.h"

#include <sndfile.h>

namespace {

// The document width that holds each libsndfile sub-format without loss.
SampleFormat formatOf(int subtype)
{
    switch (subtype) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
        return SampleFormat::U8;
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
    case SF_FORMAT_IMA_ADPCM:
    case SF_FORMAT_MS_ADPCM:
    case SF_FORMAT_GSM610:
    case SF_FORMAT_VOX_ADPCM:
    case SF_FORMAT_G721_32:
    case SF_FORMAT_G723_24:
    case SF_FORMAT_G723_40:
    case SF_FORMAT_DWVW_12:
    case SF_FORMAT_DWVW_16:
    case SF_FORMAT_DPCM_8:
    case SF_FORMAT_DPCM_16:
    case SF_FORMAT_ALAC_16:
    case SF_FORMAT_NMS_ADPCM_16:
    case SF_FORMAT_NMS_ADPCM_24:
    case SF_FORMAT_NMS_ADPCM_32:
        return SampleFormat::S16;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_DWVW_24:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
        return SampleFormat::S24;
    default:
        // 32-bit integers, float, double, Vorbis, Opus, MPEG.
        return SampleFormat::F32;
    }
}

class SndfileDecoder : public AudioDecoder {
public:
    explicit SndfileDecoder(SNDFILE* file) : m_file(file) {}
    ~SndfileDecoder() override { sf_close(m_file); }
    SndfileDecoder(const SndfileDecoder&) = delete;
    SndfileDecoder& operator=(const SndfileDecoder&) = delete;

    long read(float* out, long count) override
    {
        const sf_count_t got = sf_readf_float(m_file, out, count);
        if (got == 0 && sf_error(m_file) != SF_ERR_NO_ERROR)
            return -1;
        return static_cast<long>(got);
    }

private:
    SNDFILE* m_file;
};

}  // namespace

std::unique_ptr<AudioDecoder> open_sndfile_decoder(const std::string& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file)
        return nullptr;
    auto d = std::make_unique<SndfileDecoder>(file);
    // Integer samples scaled by 1/2^(bits-1) exactly, float ones as they are
    // (libsndfile's default normalisation).
    sf_command(file, SFC_SET_NORM_FLOAT, nullptr, SF_TRUE);
    d->channels = info.channels;
    d->rate = static_cast<std::uint32_t>(info.samplerate);
    d->format = formatOf(info.format & SF_FORMAT_SUBMASK);
    d->frames = info.frames > 0 ? static_cast<std::uint64_t>(info.frames) : 0;
    d->library = "libsndfile";
    auto tag = [&](int id, std::string& field) {
        if (const char* s = sf_get_string(file, id))
            field = s;
    };
    tag(SF_STR_TITLE, d->tags.title);
    tag(SF_STR_ARTIST, d->tags.artist);
    tag(SF_STR_ALBUM, d->tags.album);
    tag(SF_STR_COMMENT, d->tags.comment);
    tag(SF_STR_DATE, d->tags.date);
    tag(SF_STR_TRACKNUMBER, d->tags.track);
    return d;
}
