#include "wavefile/library_import.h"

#include "app/app_paths.h"
#include "app/file_names.h"
#include "app/instance_files.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/progress.h"
#include "app/unique_fd.h"
#include "wavefile/audio_decoder.h"
#include "wavefile/channel_choice.h"
#include "wavefile/file_content.h"
#include "wavefile/riff_info.h"
#include "wavefile/wave_state.h"
#include "wavefile/wavefile_dialogs.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <unistd.h>
#include <vector>

namespace {

constexpr long kBlockFrames = 32768;
constexpr std::uint64_t kMostDocumentBytes = 0xFFFFFFFFull;

// The decoded frames as the document will hold them: the channels chosen
// (or mixed down), stored in the document's width.
class ImportWriter {
public:
    ImportWriter(const AudioDecoder& d, std::optional<ChannelChoice> choice)
        : m_in(d.channels), m_out(d.channels > 2 ? 2 : d.channels), m_format(d.format), m_choice(choice)
    {
        if (m_choice && m_choice->kind == ChannelChoice::Kind::Downmix)
            m_matrix = downmix_matrix(d.channels, d.channelMask);
    }
    int outputChannels() const { return m_out; }
    std::uint64_t frameBytes() const { return static_cast<std::uint64_t>(m_out) * sample_bytes(m_format); }

    SampleFormat format() const { return m_format; }

    // Stores `frames` decoded frames; false when the file cannot take them.
    bool write(int fd, const float* in, long frames)
    {
        const auto n = static_cast<std::size_t>(frames);
        const float* samples = in;
        if (m_in > 2) {
            m_mixed.resize(n * 2);
            for (std::size_t f = 0; f < n; ++f) {
                const float* frame = in + f * static_cast<std::size_t>(m_in);
                if (m_matrix.empty()) {
                    m_mixed[2 * f] = frame[m_choice->left];
                    m_mixed[2 * f + 1] = frame[m_choice->right];
                    continue;
                }
                float left = 0.0f, right = 0.0f;
                for (int c = 0; c < m_in; ++c) {
                    left += frame[c] * m_matrix[static_cast<std::size_t>(c)][0];
                    right += frame[c] * m_matrix[static_cast<std::size_t>(c)][1];
                }
                m_mixed[2 * f] = left;
                m_mixed[2 * f + 1] = right;
            }
            samples = m_mixed.data();
        }
        const std::size_t count = n * static_cast<std::size_t>(m_out);
        m_bytes.resize(count * static_cast<std::size_t>(sample_bytes(m_format)));
        float_to_samples(m_format, samples, m_bytes.data(), count);
        return write_fully(fd, m_bytes.data(), static_cast<long long>(m_bytes.size()));
    }

private:
    int m_in;
    int m_out;
    SampleFormat m_format;
    std::optional<ChannelChoice> m_choice;
    std::vector<std::array<float, 2>> m_matrix;
    std::vector<float> m_mixed;
    std::vector<unsigned char> m_bytes;
};

// Contents FFmpeg is asked about first (libsndfile reads some of them too,
// but FFmpeg knows their gapless headers and containers better).
bool ffmpegFirst(FileContent c)
{
    switch (c) {
    case FileContent::Mp3:
    case FileContent::MpegAudio:
    case FileContent::Mp4:
    case FileContent::Adts:
    case FileContent::Matroska:
    case FileContent::WavPack:
    case FileContent::MonkeysAudio:
        return true;
    default:
        return false;
    }
}

std::unique_ptr<AudioDecoder> openDecoder(const std::string& name)
{
    const FileContent content = file_content_of(name);
    if (ffmpegFirst(content)) {
        if (auto d = open_ffmpeg_decoder(name))
            return d;
        return open_sndfile_decoder(name);
    }
    if (auto d = open_sndfile_decoder(name))
        return d;
    return open_ffmpeg_decoder(name);
}

// A document holds at most kMostDocumentBytes of samples.
void sayTooLarge(const std::string& name)
{
    ErrMsg("Cannot open %s: its samples need more than the 4294967295 bytes one document can hold.",
           file_name_part(name).c_str());
}

enum class Outcome { Done, Failed, Cancelled };

Outcome decode(AudioDecoder& d, ImportWriter& writer, const std::string& name, const std::string& target,
               std::uint64_t& done)
{
    const UniqueFd file(::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!file.valid()) {
        ErrMsg("Cannot decode %s: %s cannot be made (%s).", file_name_part(name).c_str(), target.c_str(),
               std::strerror(errno));
        return Outcome::Failed;
    }
    char text[600];
    std::snprintf(text, sizeof text, "Reading file %s...", file_name_part(name).c_str());
    const ProgressScope progress(text, true);
    std::vector<float> block(static_cast<std::size_t>(kBlockFrames) * static_cast<std::size_t>(d.channels));
    for (;;) {
        const long got = d.read(block.data(), kBlockFrames);
        if (got < 0) {
            ErrMsg("Cannot open %s: %s could not decode it after %.1f seconds of sound.", file_name_part(name).c_str(),
                   d.library.c_str(), static_cast<double>(done) / std::max<std::uint32_t>(1, d.rate));
            return Outcome::Failed;
        }
        if (got == 0)
            break;
        done += static_cast<std::uint64_t>(got);
        if (done * writer.frameBytes() > kMostDocumentBytes) {
            sayTooLarge(name);
            return Outcome::Failed;
        }
        if (!writer.write(file.get(), block.data(), got)) {
            ErrMsg("Cannot decode %s: %s", file_name_part(name).c_str(), std::strerror(errno ? errno : ENOSPC));
            return Outcome::Failed;
        }
        if (d.frames > 0)
            progress.show(static_cast<int>(std::min<std::uint64_t>(100, done * 100 / d.frames)));
        if (progress.cancelled())
            return Outcome::Cancelled;
    }
    return Outcome::Done;
}

std::string decodedPath() { return join_path(instance_directory(), "decoded.raw"); }

}  // namespace

int open_library_file(const std::string& name, bool sayUnreadable)
{
    discard_imported_file();
    std::unique_ptr<AudioDecoder> d = openDecoder(name);
    if (!d || d->channels <= 0 || d->rate == 0) {
        if (!sayUnreadable)
            return -1;
        ErrMsg("Cannot open %s: it holds %s, which neither libsndfile nor FFmpeg can read.",
               file_name_part(name).c_str(), content_name(file_content_of(name)).c_str());
        return 0;
    }
    std::optional<ChannelChoice> choice;
    if (d->channels > 2) {
        choice = wavefile_dialogs().askChannelChoice(name, d->channels);
        if (!choice)
            return 0;
        if (choice->kind == ChannelChoice::Kind::Pick &&
            (choice->left >= d->channels || choice->right >= d->channels || choice->left < 0 || choice->right < 0)) {
            ErrMsg("Cannot open %s: it has %d channels, so channels %d and %d cannot be taken.",
                   file_name_part(name).c_str(), d->channels, choice->left + 1, choice->right + 1);
            return 0;
        }
    }
    ImportWriter writer(*d, choice);
    if (d->frames > 0 && d->frames * writer.frameBytes() > kMostDocumentBytes) {
        sayTooLarge(name);
        return 0;
    }
    const std::string target = decodedPath();
    std::uint64_t frames = 0;
    const Outcome outcome = decode(*d, writer, name, target, frames);
    if (outcome != Outcome::Done || frames == 0) {
        ::unlink(target.c_str());
        if (outcome == Outcome::Done && !sayUnreadable)
            return -1;
        if (outcome == Outcome::Done)
            ErrMsg("Cannot open %s: %s finds no sound in it.", file_name_part(name).c_str(), d->library.c_str());
        return 0;
    }
    const std::uint16_t bits = static_cast<std::uint16_t>(sample_bits(writer.format()));
    current_wave_format = WaveFormat{static_cast<std::uint16_t>(wave_format_tag(writer.format())),
                                     static_cast<std::uint16_t>(writer.outputChannels()), bits,
                                     static_cast<std::uint16_t>(bits / 8), d->rate};
    data_chunk_size = static_cast<std::uint32_t>(frames * writer.frameBytes());
    data_chunk_offset = 0;
    data_chunk_truncated = 0;
    szOpenedFileName = target;
    WaveState& s = wave_state();
    s.importedFrom = name;
    s.importNote = choice ? channel_choice_note(*choice, d->channels) : std::string();
    s.importInfo = info_list_from_tags(d->tags);
    return 1;
}

void discard_imported_file()
{
    WaveState& s = wave_state();
    if (!s.importedFrom.empty())
        ::unlink(decodedPath().c_str());
    s.importedFrom.clear();
    s.importNote.clear();
    s.importInfo.reset();
}
