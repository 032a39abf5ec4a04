#include "audio/record_engine.h"

#include "app/command_ids.h"
#include "app/instance_files.h"
#include "app/clock.h"
#include "app/file_names.h"
#include "app/messages.h"
#include "app/posix_io.h"
#include "app/preferences.h"
#include "audio/playback_engine.h"
#include "wavefile/sample_format.h"
#include "app/transport_state.h"
#include "edit/undo.h"
#include "view/child_frame.h"
#include "view/time_format.h"

#include <QCoreApplication>
#include <QThread>
#include <algorithm>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace {

WaveInFactory g_factory = nullptr;

constexpr int kRecordUndoCode = kCommandRecord;

// A sample as the meters see it: in the width's own steps, 8-bit centred
// on zero.
int sampleAt(const unsigned char* p, int bits)
{
    // 24-bit and float samples are counted in 16-bit steps, as the meters
    // read every width above 8 bits.
    const SampleFormat format = stream_sample_format(bits);
    if (format == SampleFormat::S24)
        return sample_value(format, p) >> 8;
    if (format == SampleFormat::F32)
        return static_cast<int>(std::clamp(std::lrint(sample_to_float(format, p) * 32767.0f), -32768L, 32767L));
    return sample_value(format, p);
}

// The multimedia timer's range of periods, from the resolution of the clock
// the timers run on.
bool timerCapabilities(int& minimum, int& maximum)
{
    timespec res{};
    if (clock_getres(CLOCK_MONOTONIC, &res) != 0)
        return false;
    minimum = std::max(1, static_cast<int>(res.tv_nsec / 1000000));
    maximum = 1000000;
    return true;
}

}  // namespace

void set_wave_in_factory(WaveInFactory factory) { g_factory = factory; }
std::unique_ptr<WaveInDevice> open_wave_in_device() { return g_factory ? g_factory() : nullptr; }

std::uint32_t record_buffer_size_for(const RecordFormat& f, bool shortBuffers, bool fastMeter)
{
    const std::uint32_t block = f.block();
    if (shortBuffers)
        return f.rate * block / (fastMeter ? 18u : 15u);
    auto n = static_cast<std::uint32_t>(f.rate * (1.0 / 22050) * (f.channels * 0.5) * (f.bytesPerSample * 0.5) * 32768);
    if (block > 1)
        n += 1;
    n -= n % std::max<std::uint32_t>(block, 1);
    return std::clamp<std::uint32_t>(n, 4096, 32768);
}

int timer_resolution_for(int minimumPeriod, int maximumPeriod)
{
    return std::min(std::max(minimumPeriod, 10), maximumPeriod);
}

Peaks peak_levels(const unsigned char* data, std::size_t from, std::size_t to, const RecordFormat& f)
{
    const std::size_t block = std::max<std::size_t>(f.block(), 1);
    from -= from % block;
    int left = -32767;
    int right = -32767;
    for (std::size_t i = from; i + block <= to; i += block) {
        left = std::max(left, sampleAt(data + i, f.bits));
        if (f.channels == 2)
            right = std::max(right, sampleAt(data + i + f.bytesPerSample, f.bits));
    }
    if (f.bits != 8) {
        left /= 256;
        right /= 256;
    }
    if (f.channels != 2)
        right = left;
    return {left, right};
}

bool clip_indicator_lit(const Peaks& p) { return p.left >= 126 || p.right >= 126; }

double signal_level(const unsigned char* data, std::size_t bytes, const RecordFormat& f)
{
    const Peaks p = peak_levels(data, 0, bytes, f);
    return std::max(p.left, p.right) * 0.0078125;
}

RecordEngine& RecordEngine::instance()
{
    static RecordEngine engine;
    return engine;
}

RecordEngine::RecordEngine()
{
    for (QTimer* t : {&m_recorderTimer, &m_playTimeTimer, &m_metronomeTimer})
        t->setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_recorderTimer, &QTimer::timeout, [this] { command_547(); });
    QObject::connect(&m_playTimeTimer, &QTimer::timeout, [this] { command_541(); });
    QObject::connect(&m_metronomeTimer, &QTimer::timeout, [this] { command_548(); });
    m_startDelayTimer.setSingleShot(true);
    QObject::connect(&m_startDelayTimer, &QTimer::timeout, [this] {
        if (m_device && !m_stopping)
            m_device->start();
    });
}

void RecordEngine::begin_dialog(CChildFrame& f)
{
    m_frame = &f;
    m_prepared = false;
    m_state.take_recorded = false;
    m_state.free_disk_bytes = -1;
    m_state.device_lost = false;
    const std::uint32_t units = f.bHighlight ? f.nSelStart : f.nFirstSample;
    m_state.record_position = align_position(static_cast<std::uint64_t>(units) * static_cast<std::uint64_t>(f.bytesPerSample()),
                                             f.wfx.nChannels * f.bytesPerSample());
    prepare_record_file(f.nTotalSamples > 0 ? 1 : 0);
}

void RecordEngine::record_to(CChildFrame& f)
{
    if (!idle())
        return;
    discard_take();
    begin_dialog(f);
}

void RecordEngine::removeFile(std::string& name)
{
    if (!name.empty())
        ::unlink(name.c_str());
    name.clear();
    journalTake();
}

void RecordEngine::journalTake()
{
    if (m_state.szRecordFileName.empty() && m_state.szRecordTailFileName.empty()) {
        remove_journal_record("take");
        return;
    }
    JournalRecord record;
    record["working"] = m_state.szRecordFileName;
    record["display"] = "Recording";
    record["channels"] = std::to_string(format.channels);
    record["bits"] = std::to_string(format.bits);
    record["rate"] = std::to_string(format.rate);
    record["samples"] = std::to_string(0xFFFFFFFFu);  // as long as the file has grown
    record["time"] = std::to_string(static_cast<long long>(std::time(nullptr)));
    record["owned.0"] = m_state.szRecordFileName;
    record["owned.1"] = m_state.szRecordTailFileName;
    write_journal_record("take", record);
}

int RecordEngine::prepare_record_file(int keep_old)
{
    if (!m_frame)
        return 0;
    CChildFrame& f = *m_frame;
    closeRecordFile();
    removeFile(m_state.szRecordFileName);
    const UniqueFd created = create_work_file(m_state.szRecordFileName, ".tmp");
    busy_wait_ms(20);
    format.channels = f.wfx.nChannels;
    format.rate = f.wfx.nSamplesPerSec;
    format.bits = f.wfx.wBitsPerSample;
    format.bytesPerSample = static_cast<std::uint16_t>(format.bits / 8);
    if (!created.valid()) {
        message_beep();
        message_box(nullptr, "Can't create uninitialized " + m_state.szRecordFileName, kProductName, MB_OK | MB_ICONEXCLAMATION);
        return 0;
    }
    journalTake();
    m_state.record_length = 0;
    if (keep_old) {
        const std::uint64_t bytes = get_named_file_length(f.szFileName);
        if (!f.copy_file_to_file(m_state.szRecordFileName, f.szFileName, static_cast<std::uint32_t>(bytes), 0, 0, 1,
                                 "Copying file...")) {
            ErrMsg("Failed to copy szFileName to m_state.szRecordFileName");
            return 0;
        }
        m_state.record_length = bytes;
    }
    m_prepared = true;
    return 1;
}

int RecordEngine::open_record_file(std::uint64_t position)
{
    if (!m_prepared && !prepare_record_file(0))
        return 0;
    closeRecordFile();
    const std::uint64_t at = align_position(position, static_cast<int>(format.block()));
    if (insert_mode) {
        removeFile(m_state.szRecordTailFileName);
        create_work_file(m_state.szRecordTailFileName, ".tmp");
        busy_wait_ms(20);
        journalTake();
        m_state.record_file_length =
            align_position(get_named_file_length(m_state.szRecordFileName), static_cast<int>(format.block()));
        m_insertPoint = std::min(at, m_state.record_file_length);
        m_state.record_tail_length = m_state.record_file_length - m_insertPoint;
        if (m_state.record_tail_length > 0 &&
            !m_frame->copy_file_to_file(m_state.szRecordTailFileName, m_state.szRecordFileName,
                                        static_cast<std::uint32_t>(m_state.record_tail_length),
                                        static_cast<std::uint32_t>(m_insertPoint), 0, 1, "Copying file...")) {
            removeFile(m_state.szRecordTailFileName);
            m_state.record_tail_length = 0;
            return 0;
        }
    } else {
        m_state.record_tail_length = 0;
    }
    m_file.reset(::open(m_state.szRecordFileName.c_str(), O_RDWR | O_CLOEXEC));
    if (!m_file.valid()) {
        message_beep();
        message_box(nullptr, "Can't open initialized " + m_state.szRecordFileName, kProductName, MB_OK | MB_ICONEXCLAMATION);
        return 0;
    }
    m_writeStart = insert_mode ? m_insertPoint : at;
    m_state.record_bytes_written = m_writeStart;
    return 1;
}

int RecordEngine::start_recording()
{
    if (!idle() || PlaybackEngine::instance().is_playing())
        return 0;
    if (!open_record_file(m_state.record_position))
        return 0;
    m_state.test_level_mode = false;
    m_state.is_recording = true;
    if (!start_capture(0)) {
        m_state.is_recording = false;
        closeRecordFile();
        removeFile(m_state.szRecordTailFileName);
        return 0;
    }
    return 1;
}

int RecordEngine::start_level_test()
{
    if (!idle() || PlaybackEngine::instance().is_playing())
        return 0;
    m_state.test_level_mode = true;
    m_state.is_recording = false;
    if (!start_capture(1)) {
        m_state.test_level_mode = false;
        return 0;
    }
    return 1;
}

int RecordEngine::start_capture(int short_buffers)
{
    freeBuffers();
    record_buffer_count = std::clamp(record_buffer_count, 1, 8);
    m_state.record_buffer_size = record_buffer_size_for(format, short_buffers != 0, fast_meter);
    try {
        m_data.assign(static_cast<std::size_t>(record_buffer_count), std::vector<unsigned char>(m_state.record_buffer_size, 0));
        m_meterCopy.assign(m_state.record_buffer_size, 0);
    } catch (const std::bad_alloc&) {
        freeBuffers();
        ErrMsg("Failed to allocate record buffers");
        return 0;
    }
    int minimum = 0;
    int maximum = 0;
    if (!timerCapabilities(minimum, maximum)) {
        freeBuffers();
        NewErrMsg(5012);
        return 0;
    }
    m_device = open_wave_in_device();
    const StreamFormat stream{format.channels, format.rate, format.bits};
    if (!m_device || !m_device->open(stream, this)) {
        m_device.reset();
        freeBuffers();
        message_box(nullptr, "Error opening wave device.", "Double Buffer", MB_OK);
        ErrMsg("Failed to allocate record buffers");
        return 0;
    }
    m_stopping = false;
    m_started = false;
    m_writeFailed = false;
    m_state.device_lost = false;
    // A take writes from its first buffer, unless it waits for the signal.
    m_state.capturing = !m_state.test_level_mode && !trigger_on_signal;
    m_state.record_current_buffer = 0;
    m_state.record_last_buffer = 0;
    m_meterQuarter = 4;
    m_recordStartTime = millisecond_clock();
    transport_state().recording = true;
    if (m_host)
        m_host->captureStateChanged();
    if (m_state.is_recording && preferences().bigTimeDisplay && m_host)
        m_host->showTimeWindow();
    m_state.timer_resolution = timer_resolution_for(minimum, maximum);
    if (!short_buffers) {
        m_recorderTimer.start(100);
        m_playTimeTimer.start(500);
    }
    if (metronome_on && metronome_bpm > 0)
        m_metronomeTimer.start(60000 / metronome_bpm);
    return 1;
}

void RecordEngine::on_wave_in_open()
{
    if (!m_device)
        return;
    for (int i = 0; i < record_buffer_count; ++i)
        m_device->add_buffer(i, m_data[static_cast<std::size_t>(i)].data(), m_state.record_buffer_size);
    m_recordStartTime = millisecond_clock();
    if (m_stopping)
        return;
    if (start_delay_ms > 0) {
        m_startDelayTimer.start(static_cast<int>(start_delay_ms));
    } else {
        m_device->start();
    }
    m_started = true;
}

bool RecordEngine::writeBuffer(const unsigned char* data, std::size_t bytes)
{
    if (!m_file.valid() || !write_fully(m_file.get(), data, static_cast<long long>(bytes),
                                   static_cast<long long>(m_state.record_bytes_written)))
        return false;
    m_state.record_bytes_written += bytes;
    return true;
}

void RecordEngine::on_wave_in_data(int buffer, std::size_t bytesRecorded)
{
    if (!m_device || buffer < 0 || buffer >= record_buffer_count)
        return;
    const unsigned char* data = m_data[static_cast<std::size_t>(buffer)].data();
    bytesRecorded = std::min<std::size_t>(bytesRecorded, m_state.record_buffer_size);
    if (trigger_on_signal && !m_state.capturing && !m_state.test_level_mode && bytesRecorded > 0) {
        const double level = signal_level(data, bytesRecorded, format);
        char text[96];
        std::snprintf(text, sizeof text, "Sample = %f  Threshold = %f", level, static_cast<double>(signal_threshold));
        if (m_host)
            m_host->showTriggerStatus(text);
        if (level > signal_threshold) {
            m_recordStartTime = millisecond_clock();
            m_state.capturing = true;
        }
    }
    const bool writing = !m_state.test_level_mode && m_state.capturing;
    if (writing && bytesRecorded > 0 && !m_writeFailed && !writeBuffer(data, bytesRecorded)) {
        // The disk is full (or the file went away): what is on disk stays,
        // the take ends.
        m_writeFailed = true;
        stop_recording();
    }
    m_state.record_last_buffer = buffer;
    std::memcpy(m_meterCopy.data(), data, bytesRecorded);
    m_meterBytes = bytesRecorded;
    m_meterQuarter = 0;
    if (m_state.test_level_mode) {
        const std::size_t end = bytesRecorded > 2 * format.block() ? bytesRecorded - 2 * format.block() : 0;
        updateMeters(m_meterCopy.data(), 0, end);
    }
    if (m_stopping || m_device->lost()) {
        // The device is letting go: nothing more is handed to it.
        if (m_device->lost() && !m_stopping) {
            m_state.device_lost = true;
            stop_recording();
        }
        return;
    }
    m_device->add_buffer(buffer, m_data[static_cast<std::size_t>(buffer)].data(), m_state.record_buffer_size);
    m_state.record_current_buffer = (buffer + 1) % record_buffer_count;
    if (writing && m_host)
        m_host->showRecordLength(bytesAsTime(std::max(m_state.record_bytes_written, get_named_file_length(m_state.szRecordFileName))));
    if ((auto_stop_enabled || (trigger_on_signal && !trigger_continue)) && m_state.capturing && !m_state.test_level_mode &&
        millisecond_clock() - m_recordStartTime > auto_stop_limit_ms)
        stop_recording();
}

void RecordEngine::updateMeters(const unsigned char* data, std::size_t from, std::size_t to)
{
    Peaks p = peak_levels(data, from, to, format);
    if (!fast_meter) {
        p.left = (m_state.meter.left + p.left) / 2;
        p.right = (m_state.meter.right + p.right) / 2;
    }
    m_state.meter = p;
    if (m_host)
        m_host->showMeters(m_state.meter);
}

void RecordEngine::command_547()
{
    if (!m_state.is_recording || m_meterBytes == 0)
        return;
    // A quarter of the buffer last returned per tick; the last quarter stops
    // two frames short of its end.
    if (m_meterQuarter < 4) {
        const std::size_t from = m_meterBytes * static_cast<std::size_t>(m_meterQuarter) / 4;
        const std::size_t twoFrames = 2 * format.block();
        const std::size_t to = m_meterQuarter == 3 ? (m_meterBytes > twoFrames ? m_meterBytes - twoFrames : 0)
                                                   : m_meterBytes * static_cast<std::size_t>(m_meterQuarter + 1) / 4;
        ++m_meterQuarter;
        updateMeters(m_meterCopy.data(), from, to);
    }
    if (m_state.free_disk_bytes < 0)
        m_state.free_disk_bytes = path_free_bytes(m_state.szRecordFileName);
    const double available = m_state.free_disk_bytes - static_cast<double>(m_state.record_bytes_written - m_writeStart);
    const double perMinute = static_cast<double>(format.bits) * format.channels / 8 * format.rate * 60;
    char text[64];
    std::snprintf(text, sizeof text, "%.3f%s", perMinute > 0 ? std::max(0.0, available) / perMinute : 0.0, " min");
    if (m_host)
        m_host->showAvailable(text);
}

std::string RecordEngine::elapsedText(std::uint32_t ms) const
{
    const double seconds = ms / 1000.0;
    const int timeFormat = preferences().timeFormat;
    if (timeFormat == 24 || timeFormat == 25 || timeFormat == 30)
        return smpte_text(seconds, timeFormat);
    return seconds_text(seconds);
}

std::string RecordEngine::bytesAsTime(std::uint64_t bytes) const
{
    const std::uint32_t rate = std::max<std::uint32_t>(format.bytesPerSecond(), 1);
    return elapsedText(static_cast<std::uint32_t>(bytes * 1000 / rate));
}

void RecordEngine::command_541()
{
    if (!m_state.capturing || !m_state.is_recording)
        return;
    const std::uint32_t elapsed = (millisecond_clock() - m_recordStartTime) / 500 * 500;
    if (m_host)
        m_host->showElapsed(elapsedText(elapsed));
}

void RecordEngine::command_548()
{
    if (m_stopping || idle())
        return;
    if (m_host)
        m_host->metronomeTick();
}

void RecordEngine::stop_recording()
{
    PlaybackEngine& playback = PlaybackEngine::instance();
    if (idle()) {
        // Playing the take back: that playback ends instead.
        if (playback.is_playing())
            playback.stop_playback();
        if (m_host)
            m_host->clearMeters();
        return;
    }
    if (m_stopping)
        return;
    m_stopping = true;
    m_startDelayTimer.stop();
    m_device->reset();
    m_device->close();
}

void RecordEngine::on_wave_in_close() { finish_capture(); }

void RecordEngine::finish_capture()
{
    m_recorderTimer.stop();
    m_playTimeTimer.stop();
    m_metronomeTimer.stop();
    if (m_host)
        m_host->clearMeters();
    const bool wasTest = m_state.test_level_mode;
    if (wasTest) {
        if (m_host)
            m_host->showElapsed(elapsedText(0));
        m_state.record_position = 0;
    } else {
        closeRecordFile();
        if (rewind_after_take)
            m_state.record_position = 0;
        const std::uint64_t takeLength = m_state.record_bytes_written - m_writeStart;
        if (insert_mode && m_state.record_tail_length > 0) {
            if (m_frame->copy_file_to_file(m_state.szRecordFileName, m_state.szRecordTailFileName,
                                           static_cast<std::uint32_t>(m_state.record_tail_length), 0,
                                           static_cast<std::int32_t>(m_insertPoint + takeLength), 1,
                                           "Copying file..."))
                m_state.record_bytes_written = m_insertPoint + takeLength + m_state.record_tail_length;
            m_state.record_position = m_insertPoint + takeLength;
        }
        removeFile(m_state.szRecordTailFileName);
        m_state.take_recorded = m_state.take_recorded || takeLength > 0;
        // Replace mode in the middle keeps what lies behind the take.
        m_state.record_length = std::max(m_state.record_bytes_written, get_named_file_length(m_state.szRecordFileName));
        if (m_host)
            m_host->showRecordLength(bytesAsTime(m_state.record_length));
    }
    m_device.reset();
    freeBuffers();
    m_state.is_recording = false;
    m_state.test_level_mode = false;
    m_state.capturing = false;
    m_stopping = false;
    transport_state().recording = false;
    if (m_host)
        m_host->captureStateChanged();
    if (m_state.device_lost)
        ErrMsg("The wave input device stopped during recording.");
    else if (m_writeFailed)
        ErrMsg("Recording stopped: the record file could not be written (is the disk full?).");
}

int RecordEngine::play_take()
{
    if (!idle() || !m_frame || m_state.record_length == 0)
        return 0;
    PlaybackEngine& playback = PlaybackEngine::instance();
    if (playback.is_playing())
        return 0;
    const std::uint64_t from = std::min(m_state.record_position, m_state.record_length);
    return playback.play_file(*m_frame, m_state.szRecordFileName, static_cast<std::uint32_t>(from),
                              static_cast<std::uint32_t>(m_state.record_length));
}

void RecordEngine::move_record_position(bool toEnd)
{
    m_state.record_position =
        toEnd ? align_position(get_named_file_length(m_state.szRecordFileName), static_cast<int>(format.block())) : 0;
    const double perSecond = static_cast<double>(format.bits) * format.channels / 8 * format.rate;
    if (m_host)
        m_host->showRecordPosition(perSecond > 0 ? static_cast<double>(m_state.record_position) / perSecond : 0.0);
}

int RecordEngine::adopt_take()
{
    if (!m_frame || !idle())
        return 0;
    if (!m_state.take_recorded) {
        discard_take();
        return 1;
    }
    CChildFrame& f = *m_frame;
    UndoTransaction version(f);
    if (!version.begun())
        return 0;
    // The record file becomes the newest version as it is: a rename within
    // the data folder, a copy only across file systems.
    if (!move_file(f.szRedoFileName, m_state.szRecordFileName))
        return 0;
    m_state.szRecordFileName.clear();
    journalTake();
    const std::uint64_t bytes = std::max<std::uint64_t>(get_named_file_length(f.szRedoFileName), 4);
    f.versions.newLength = static_cast<std::uint32_t>(bytes / static_cast<std::uint64_t>(f.bytesPerSample()));
    f.bHighlight = 0;
    f.nSelStart = f.nSelEnd = 0;
    const int done = version.commit(kRecordUndoCode);
    m_state.take_recorded = false;
    m_prepared = false;
    m_frame = nullptr;
    return done;
}

void RecordEngine::discard_take()
{
    closeRecordFile();
    removeFile(m_state.szRecordFileName);
    removeFile(m_state.szRecordTailFileName);
    m_state.take_recorded = false;
    m_prepared = false;
    m_state.record_length = 0;
}

void RecordEngine::closeRecordFile()
{
    m_file.reset();
}

void RecordEngine::freeBuffers()
{
    m_data.clear();
    m_meterBytes = 0;
}

bool RecordEngine::wait_until_idle(int milliseconds)
{
    for (int waited = 0; !idle() && waited < milliseconds; waited += 5) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(5);
    }
    return idle();
}

bool RecordEngine::truncate_take(std::uint64_t bytes)
{
    if (m_state.record_length <= bytes)
        return true;
    if (::truncate(m_state.szRecordFileName.c_str(), static_cast<off_t>(bytes)) != 0)
        return false;
    m_state.record_length = bytes;
    return true;
}
