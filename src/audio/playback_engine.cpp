#include "audio/playback_engine.h"
#include "wavefile/sample_format.h"

#include "app/clock.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/transport_state.h"
#include "audio/volume.h"
#include "edit/pseudo_clipboard.h"
#include "edit/timemarks.h"
#include "view/child_frame.h"

#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <fcntl.h>
#include <fstream>
#include <new>
#include <sstream>
#include <unistd.h>

namespace {

WaveOutFactory g_factory = nullptr;

bool sixteenToTwentyThree(int bits) { return bits >= 16 && bits <= 23; }

}  // namespace

void set_wave_out_factory(WaveOutFactory factory) { g_factory = factory; }

std::unique_ptr<WaveOutDevice> open_wave_out_device() { return g_factory ? g_factory() : nullptr; }

PlaybackEngine::PlaybackEngine()
{
    // A mark made while the document plays goes at the play position: play
    // time scaled to the document's units, plus where play began.
    set_playing_unit_source([this](const CChildFrame& f) -> std::optional<double> {
        if (playing_frame() != &f)
            return std::nullopt;
        const double unitsPerMs = static_cast<double>(f.wfx.nSamplesPerSec) * f.wfx.nChannels / 1000.0;
        return std::min<double>(m_state.play_shown_start + get_play_position_ms() * unitsPerMs, f.nTotalSamples);
    });
}

PlaybackEngine& PlaybackEngine::instance()
{
    static PlaybackEngine engine;
    return engine;
}

int PlaybackEngine::play_the_wavefile(CChildFrame& f)
{
    if (m_state.is_playing && m_device) {
        play_from_unit.reset();
        // A second Play stops at once (a cue sequence too); the buffers the
        // reset returns are not refilled.
        m_state.sequence_running = false;
        m_stopRequested = true;
        m_looping = false;
        m_device->reset();
        endOfPlayback();
        return 0;
    }
    if (f.nTotalSamples < 30 || !openDevice(loopPlayback)) {
        play_from_unit.reset();
        return 0;
    }
    const std::uint32_t bps = static_cast<std::uint32_t>(f.bytesPerSample());
    // Without a highlight Play starts at the click it came from, if any.
    const std::uint32_t channels = static_cast<std::uint32_t>(std::max<int>(1, f.wfx.nChannels));
    const std::uint32_t from = std::min(play_from_unit.value_or(0) / channels * channels, f.nTotalSamples);
    play_from_unit.reset();
    const std::uint32_t start = f.bHighlight ? f.nSelStart : from;
    const std::uint32_t end = f.bHighlight ? f.nSelEnd : f.nTotalSamples;
    if (!f.bHighlight && end < start + 30) {
        m_device.reset();
        return 0;  // a click at the very end: nothing to play
    }
    const StreamFormat format{f.wfx.nChannels, f.wfx.nSamplesPerSec, f.wfx.wBitsPerSample};
    if (!openStream(f, format, f.szFileName, start * bps, end * bps, false))
        return 0;
    return 1;
}

int PlaybackEngine::play_file(CChildFrame& f, const std::string& path, std::uint32_t startByte, std::uint32_t endByte,
                              std::optional<std::uint32_t> shownAt)
{
    if (m_state.is_playing || endByte < startByte + 4 || !openDevice(false))
        return 0;
    const StreamFormat format{f.wfx.nChannels, f.wfx.nSamplesPerSec, f.wfx.wBitsPerSample};
    if (!openStream(f, format, path, startByte, endByte, false))
        return 0;
    if (shownAt)
        m_state.play_shown_start = *shownAt;
    return 1;
}

bool PlaybackEngine::openDevice(bool looping)
{
    // A prepared start owns the device until it begins or is given up.
    if (m_prepared)
        return false;
    m_deviceHeld = false;
    m_device = open_wave_out_device();
    if (!m_device)
        return false;
    set_output_volume(output_level);
    m_state.play_current_buffer = 0;
    m_state.loop_pass = 0;
    m_state.playing_clipboard = false;
    m_looping = looping;
    return true;
}

int PlaybackEngine::play_clipboard(CChildFrame& f)
{
    if (m_state.is_playing || !openDevice(false))
        return 0;
    m_state.playing_clipboard = true;
    std::ifstream text(clipboard_text_path());
    std::stringstream line;
    line << text.rdbuf();
    const auto clip = parse_format_text(line.str());
    if (!clip)
        return 0;
    const StreamFormat format{clip->channels, static_cast<std::uint32_t>(clip->rate), clip->bits};
    const auto length = static_cast<std::uint32_t>(get_named_file_length(clipboard_data_path()));
    return openStream(f, format, clipboard_data_path(), 0, length, true) ? 1 : 0;
}

bool PlaybackEngine::openStream(CChildFrame& f, const StreamFormat& format, const std::string& path,
                                std::uint32_t startByte, std::uint32_t endByte, bool clipboard, bool prepareOnly)
{
    m_file.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!m_file.valid()) {
        NewErrMsg(clipboard ? 5009 : 5007);
        return false;
    }
    // 24-bit and float frames are kept whole (8- and 16-bit positions keep
    // their 4-byte boundary below).
    const int frameBytes = std::max(1, format.channels * format.bits / 8);
    if (frameBytes == 3 || frameBytes > 4) {
        startByte = static_cast<std::uint32_t>(align_position(startByte, frameBytes));
        endByte = std::max(startByte, static_cast<std::uint32_t>(align_position(endByte, frameBytes)));
    }
    const std::uint32_t rangeBytes = endByte - startByte;
    if (clipboard) {
        // The clipboard's buffers: a fixed size from its byte rate.
        const std::uint32_t p = format.bytesPerSecond();
        m_state.play_buffer_size = p < 88201 ? p * 8192 / 44100 : 65532;
        play_buffer_count = 4;
        m_state.play_short = false;
    } else {
        m_state.play_buffer_size = static_cast<std::uint32_t>(format.channels * (format.bits / 8)) * format.rate / 10;
        const double duration = static_cast<double>(rangeBytes) / std::max<std::uint32_t>(1, format.bytesPerSecond());
        play_buffer_count = 4;
        if (sixteenToTwentyThree(format.bits) && (rangeBytes / 4 < m_state.play_buffer_size || duration < 1.24))
            play_buffer_count = 1;
        // A one-buffer ring holds the whole range: a short selection plays
        // from a single buffer. Four buffers hold a tenth of a second each.
        m_state.play_buffer_size = play_buffer_count == 1 ? rangeBytes
                                                  : std::min(rangeBytes / static_cast<std::uint32_t>(play_buffer_count),
                                                             m_state.play_buffer_size);
        m_state.play_short = duration * (sixteenToTwentyThree(format.bits) ? 0.25 : 1.0) < 0.5;
    }
    // The device takes whole frames from each buffer.
    if (frameBytes == 3 || frameBytes > 4)
        m_state.play_buffer_size =
            std::max<std::uint32_t>(static_cast<std::uint32_t>(align_position(m_state.play_buffer_size, frameBytes)),
                                    static_cast<std::uint32_t>(frameBytes));
    try {
        m_buffers.assign(static_cast<std::size_t>(play_buffer_count),
                         std::vector<unsigned char>(std::max<std::uint32_t>(m_state.play_buffer_size, 1), 0));
        m_bufferBytes.assign(static_cast<std::size_t>(play_buffer_count), 0);
    } catch (const std::bad_alloc&) {
        NewErrMsg(5001);
        m_file.reset();
        return false;
    }
    m_state.play_total_bytes = rangeBytes;
    m_state.play_start_offset = static_cast<std::uint32_t>(align_position(startByte, frameBytes));
    m_state.play_shown_start = m_state.play_start_offset / static_cast<std::uint32_t>(std::max(1, format.bits / 8));
    m_queuedWritten = false;
    m_state.play_bytes_read = 0;
    m_state.play_buffers_queued = 0;
    for (int i = 0; i < play_buffer_count; ++i)
        if (!fill(i))
            break;
    m_format = format;
    m_frame = &f;
    if (prepareOnly) {
        // Held open where the device allows it; otherwise the device opens
        // at the start.
        if (m_device->prepare(format, this)) {
            m_prepared = true;
            m_preparedWithoutDevice = false;
            return true;
        }
        if (m_device->holds()) {
            // It could hold a stream but will not open this one.
            message_beep();
            m_file.reset();
            return false;
        }
        m_prepared = true;
        m_preparedWithoutDevice = true;
        return true;
    }
    if (!m_device->open(format, this)) {
        message_beep();
        if (clipboard)
            NewErrMsg(5009);
        m_file.reset();
        return false;
    }
    m_state.is_playing = true;
    transport_state().playing = true;
    startBookkeeping();
    return true;
}

bool PlaybackEngine::fill(int i)
{
    const std::int64_t left = static_cast<std::int64_t>(m_state.play_total_bytes) - m_state.play_bytes_read;
    const std::uint32_t count = static_cast<std::uint32_t>(std::min<std::int64_t>(left, m_state.play_buffer_size));
    if (left <= 0)
        return false;
    const long long got = read_fully(m_file.get(), m_buffers[static_cast<std::size_t>(i)].data(), count,
                                     static_cast<long long>(m_state.play_start_offset) + m_state.play_bytes_read);
    if (got < 1)
        return false;
    m_state.play_bytes_read += static_cast<std::uint32_t>(got);
    m_bufferBytes[static_cast<std::size_t>(i)] = static_cast<std::uint32_t>(got);
    ++m_state.play_buffers_queued;
    return true;
}

void PlaybackEngine::writeQueued()
{
    m_queuedWritten = true;
    for (int i = 0; i < m_state.play_buffers_queued && i < play_buffer_count; ++i)
        m_device->write(i, m_buffers[static_cast<std::size_t>(i)].data(), m_bufferBytes[static_cast<std::size_t>(i)]);
    m_state.play_current_buffer = 0;
}

void PlaybackEngine::on_wave_out_open()
{
    // Stop came before the device was ready: nothing was written, so
    // nothing will come back; end here.
    if (m_stopRequested && m_state.is_playing) {
        m_state.play_buffers_queued = 0;
        endOfPlayback();
        return;
    }
    // A prepared start given up before its device was ready.
    if (m_stopRequested && !m_prepared)
        return;
    writeQueued();
}

void PlaybackEngine::on_wave_out_done(int)
{
    --m_state.play_buffers_queued;
    if (!m_state.is_playing)
        return;  // returned after playback already ended
    if (m_device->lost()) {
        m_stopRequested = true;
        m_looping = false;
    }
    // The returned buffer is refilled and goes back at once, unless Stop was
    // asked for; a one-buffer ring refills too, so nothing is cut short.
    if (!m_stopRequested && fill(m_state.play_current_buffer)) {
        m_device->write(m_state.play_current_buffer, m_buffers[static_cast<std::size_t>(m_state.play_current_buffer)].data(),
                        m_bufferBytes[static_cast<std::size_t>(m_state.play_current_buffer)]);
        m_state.play_current_buffer = (m_state.play_current_buffer + 1) % play_buffer_count;
    }
    if (m_state.play_buffers_queued > 0)
        return;
    // The pass is over: playback ends unless another pass is due.
    m_device->reset();
    if (!m_looping || (loop_count_enabled && ++m_state.loop_pass >= loop_count)) {
        endOfPlayback();
        return;
    }
    // Rewind without closing the device.
    m_state.play_current_buffer = 0;
    m_state.play_buffers_queued = 0;
    m_state.play_bytes_read = 0;
    for (int i = 0; i < play_buffer_count; ++i)
        if (!fill(i))
            break;
    writeQueued();
}

void PlaybackEngine::on_wave_out_close()
{
    m_buffers.clear();
    m_bufferBytes.clear();
    m_device.reset();
    if (m_state.sequence_running)
        advanceSequence();
}

void PlaybackEngine::stop_playback()
{
    // Stop ends the whole sequence, not just its entry.
    m_state.sequence_running = false;
    if (!m_device || !m_state.is_playing)
        return;
    m_looping = false;
    m_stopRequested = true;
    m_device->reset();
}

int PlaybackEngine::play_cue_sequence(CChildFrame& f, int first)
{
    if (m_state.is_playing || m_device || first < 0 || first >= static_cast<int>(cue_sequence.size()) ||
        cue_sequence.size() > kMaxSequenceEntries)
        return 0;
    m_sequenceFrame = &f;
    m_state.sequence_first = m_state.sequence_current = first;
    m_state.sequence_running = true;
    if (!play_sequence_entry(first)) {
        m_state.sequence_running = false;
        return 0;
    }
    return 1;
}

void PlaybackEngine::selectSequenceRange(CChildFrame& f, int index)
{
    const CueSequenceEntry& e = cue_sequence[static_cast<std::size_t>(index)];
    const std::uint32_t bps = static_cast<std::uint32_t>(f.bytesPerSample());
    f.nSelStart = std::min(e.start, e.end);
    f.nSelEnd = std::max(e.start, e.end);
    f.nSelStartByte = f.nSelStart * bps;
    f.nSelEndByte = f.nSelEnd * bps;
}

int PlaybackEngine::play_sequence_entry(int index)
{
    if (!m_sequenceFrame || index < 0 || index >= static_cast<int>(cue_sequence.size()) || m_state.is_playing)
        return 0;
    CChildFrame& f = *m_sequenceFrame;
    selectSequenceRange(f, index);
    m_stopRequested = false;
    if (!openDevice(false))
        return 0;
    const StreamFormat format{f.wfx.nChannels, f.wfx.nSamplesPerSec, f.wfx.wBitsPerSample};
    const std::string& file = cue_sequence[static_cast<std::size_t>(index)].file;
    return openStream(f, format, file.empty() ? f.szFileName : file, f.nSelStartByte, f.nSelEndByte, false) ? 1 : 0;
}

void PlaybackEngine::advanceSequence()
{
    CChildFrame* f = m_sequenceFrame;
    const int next = m_state.sequence_current + 1;
    if (f && next < static_cast<int>(cue_sequence.size())) {
        m_state.sequence_current = next;
        if (m_host)
            m_host->sequenceEntryChanged(*f, next, cue_sequence[static_cast<std::size_t>(next)].file);
        if (play_sequence_entry(next))
            return;
    }
    // The end (or an entry that would not play): the first entry's range
    // comes back.
    m_state.sequence_running = false;
    m_state.sequence_current = -1;
    if (f && m_state.sequence_first < static_cast<int>(cue_sequence.size())) {
        selectSequenceRange(*f, m_state.sequence_first);
        if (m_host)
            m_host->sequenceEntryChanged(*f, m_state.sequence_first, cue_sequence[static_cast<std::size_t>(m_state.sequence_first)].file);
    }
}

void PlaybackEngine::stop_and_release(const CChildFrame& frame)
{
    if (m_sequenceFrame == &frame) {
        m_state.sequence_running = false;
        m_sequenceFrame = nullptr;
    }
    if (m_frame != &frame)
        return;
    stop_playback();
    wait_until_released(2000);
    if (!m_state.is_playing)
        m_frame = nullptr;
}

bool PlaybackEngine::wait_until_released(int milliseconds)
{
    // Completions arrive through the event loop.
    for (int waited = 0; m_device && waited < milliseconds; waited += 5) {
        QCoreApplication::processEvents();
        QThread::msleep(5);
    }
    QCoreApplication::processEvents();
    return !m_device;
}

void PlaybackEngine::pause_playback()
{
    if (!m_state.is_playing || !m_device)
        return;
    m_state.is_paused = !m_state.is_paused;
    transport_state().paused = m_state.is_paused;
    if (!m_state.is_paused) {
        m_device->restart();
        m_state.play_paused_total += millisecond_clock() - m_pauseTime;
        if (!m_state.play_short && m_host)
            m_host->startCursorTimer(*m_frame);
    } else {
        m_pauseTime = millisecond_clock();
        m_device->pause();
        if (!m_state.play_short && m_host)
            m_host->stopCursorTimer(*m_frame);
    }
}

float PlaybackEngine::get_play_position_ms()
{
    if (!m_device || !m_frame)
        return m_state.play_position_ms;
    const DevicePosition p = m_device->position();
    const double bytesPerSecond = m_format.bytesPerSecond();
    switch (p.unit) {
    case PositionUnit::Milliseconds: m_state.play_position_ms = static_cast<float>(p.value); break;
    case PositionUnit::Samples: m_state.play_position_ms = static_cast<float>(p.value * 1000.0 / m_format.rate); break;
    case PositionUnit::Bytes: m_state.play_position_ms = static_cast<float>(p.value * 1000.0 / bytesPerSecond); break;
    case PositionUnit::Smpte: {
        const int fps = p.fps == 24 || p.fps == 25 ? p.fps : 30;
        m_state.play_position_ms = static_cast<float>(((p.hours * 60 + p.minutes) * 60 + p.seconds) * 1000.0 +
                                              p.frames * 1000.0 / fps);
        break;
    }
    case PositionUnit::Other: break;
    }
    return m_state.play_position_ms;
}

void PlaybackEngine::startBookkeeping()
{
    m_startTime = m_pauseTime = millisecond_clock();
    m_state.play_paused_total = 0;
    m_stopRequested = false;
    if (!m_state.play_short && m_host && m_frame)
        m_host->startCursorTimer(*m_frame);
}

void PlaybackEngine::endOfPlayback()
{
    // The position stays where playback ended.
    get_play_position_ms();
    m_state.device_lost = m_device && m_device->lost();
    if (m_state.device_lost)
        ErrMsg("The wave output device stopped during playback.");
    m_state.is_playing = false;
    m_state.is_paused = false;
    transport_state().playing = false;
    transport_state().paused = false;
    m_file.reset();
    if (m_host && m_frame) {
        if (!m_state.play_short)
            m_host->stopCursorTimer(*m_frame);
        m_host->playbackEnded(*m_frame);
    }
    // The close completion releases the buffers and the device; a device
    // kept for the next prepared start stays open and silent.
    if (m_device && m_keepDeviceOpen && m_device->hold()) {
        m_deviceHeld = true;
        return;
    }
    if (m_device)
        m_device->close();
}

void PlaybackEngine::release_held_device()
{
    if (!m_deviceHeld || m_state.is_playing || m_prepared)
        return;
    m_deviceHeld = false;
    if (m_device)
        m_device->close();
}

int PlaybackEngine::prepare_start(CChildFrame& f, std::uint32_t startByte)
{
    m_startFailure.clear();
    if (m_state.is_playing || m_prepared || (m_device && !m_deviceHeld)) {
        m_startFailure = "Playback is already running.";
        return 0;
    }
    const std::uint32_t bps = static_cast<std::uint32_t>(f.bytesPerSample());
    const std::uint32_t end = f.nTotalSamples * bps;
    startByte = static_cast<std::uint32_t>(align_position(startByte, static_cast<int>(bps) * f.wfx.nChannels));
    if (startByte + 4 > end) {
        m_startFailure = "The start is at the end of the file: there is nothing to play.";
        return 0;
    }
    if (m_deviceHeld) {
        // The device held open since the last playback takes this start.
        m_deviceHeld = false;
        set_output_volume(output_level);
        m_state.play_current_buffer = 0;
        m_state.loop_pass = 0;
        m_state.playing_clipboard = false;
        m_looping = false;
    } else if (!openDevice(false)) {
        m_startFailure = "There is no wave output device.";
        return 0;
    }
    m_stopRequested = false;
    const StreamFormat format{f.wfx.nChannels, f.wfx.nSamplesPerSec, f.wfx.wBitsPerSample};
    if (!openStream(f, format, f.szFileName, startByte, end, false, true)) {
        m_device.reset();
        m_startFailure = "The wave output device would not open for " + std::to_string(format.rate) + " Hz, " +
                         std::to_string(format.bits) + "-bit " + (format.channels == 2 ? "stereo" : "mono") +
                         " sound.";
        return 0;
    }
    return 1;
}

int PlaybackEngine::start_prepared(const StartAlignment& alignment)
{
    if (!m_prepared || !m_device || m_state.is_playing)
        return 0;
    m_prepared = false;
    // A start at a moment (chase lock, a triggered start) shows its cursor
    // and time however short the rest of the file.
    m_state.play_short = false;
    if (m_preparedWithoutDevice) {
        m_preparedWithoutDevice = false;
        if (!m_device->open(m_format, this)) {
            message_beep();
            m_file.reset();
            m_device.reset();
            return 0;
        }
    } else {
        StartAlignment aligned = alignment;
        if (aligned.enabled && !m_queuedWritten)
            moveStartForAlignment(aligned);
        m_device->go(aligned);
    }
    m_state.is_playing = true;
    transport_state().playing = true;
    startBookkeeping();
    return 1;
}

void PlaybackEngine::moveStartForAlignment(StartAlignment& alignment)
{
    // The device skips what an aligned start is too late for, but only as
    // far as its buffers reach; a start far behind its clock begins reading
    // later in the file instead, a little short of where it should, and the
    // device skips the rest.
    const double bytesPerSecond = m_format.bytesPerSecond();
    const double lateSeconds = alignment.referenceSeconds +
                               static_cast<double>(monotonic_ns() - alignment.referenceNs) / 1e9 +
                               m_device->outputLatency() - 0.02;
    if (lateSeconds <= 0.0 || bytesPerSecond <= 0.0)
        return;
    const std::uint32_t frameBytes = static_cast<std::uint32_t>(std::max(1, m_format.channels * m_format.bits / 8));
    std::uint32_t shift = static_cast<std::uint32_t>(lateSeconds * bytesPerSecond) / frameBytes * frameBytes;
    shift = std::min(shift, m_state.play_total_bytes > frameBytes ? (m_state.play_total_bytes - frameBytes) / frameBytes * frameBytes : 0);
    if (shift == 0)
        return;
    m_state.play_start_offset += shift;
    m_state.play_shown_start += shift / static_cast<std::uint32_t>(std::max(1, m_format.bits / 8));
    m_state.play_total_bytes -= shift;
    m_state.play_bytes_read = 0;
    m_state.play_buffers_queued = 0;
    for (int i = 0; i < play_buffer_count; ++i)
        if (!fill(i))
            break;
    alignment.referenceSeconds -= shift / bytesPerSecond;
}

void PlaybackEngine::cancel_prepared()
{
    if (!m_prepared)
        return;
    m_prepared = false;
    m_file.reset();
    if (m_preparedWithoutDevice) {
        m_preparedWithoutDevice = false;
        m_buffers.clear();
        m_bufferBytes.clear();
        m_device.reset();
        return;
    }
    // The held buffers come back (not refilled: nothing is playing) and the
    // close completion lets go of the device.
    m_stopRequested = true;
    if (m_device) {
        m_device->reset();
        m_device->close();
    }
}

void PlaybackEngine::nudge_read_position(std::int64_t bytes)
{
    if (!m_state.is_playing)
        return;
    const std::int64_t moved = std::clamp<std::int64_t>(static_cast<std::int64_t>(m_state.play_bytes_read) + bytes, 0,
                                                        static_cast<std::int64_t>(m_state.play_total_bytes));
    m_state.play_bytes_read =
        static_cast<std::uint32_t>(align_position(static_cast<std::uint64_t>(moved),
                                                  std::max(1, m_format.channels * m_format.bits / 8)));
}

std::uint32_t PlaybackEngine::played_file_position()
{
    if (!m_device)
        return m_state.play_start_offset;
    const DevicePosition p = m_device->position();
    if (p.unit != PositionUnit::Bytes)
        return m_state.play_start_offset + static_cast<std::uint32_t>(get_play_position_ms() / 1000.0 * m_format.bytesPerSecond());
    return m_state.play_start_offset + static_cast<std::uint32_t>(std::min<std::uint64_t>(p.value, m_state.play_total_bytes));
}
