#pragma once

#include "app/unique_fd.h"
#include "audio/wave_in_device.h"

#include <QTimer>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class CChildFrame;

// The record format: kept between recordings, taken from the document that
// is recorded into at every start.
struct RecordFormat {
    std::uint16_t channels = 2;
    std::uint16_t bits = 8;
    std::uint16_t bytesPerSample = 2;
    std::uint32_t rate = 22050;
    std::uint32_t block() const { return static_cast<std::uint32_t>(channels) * bytesPerSample; }
    std::uint32_t bytesPerSecond() const { return block() * rate; }
};

// Bytes per capture buffer: a fraction of a second for the level test (an
// 18th with the fast meter, a 15th without), else 32768 bytes for 22050 Hz
// stereo 16-bit scaled by the format and clamped to 4096..32768.
std::uint32_t record_buffer_size_for(const RecordFormat& format, bool shortBuffers, bool fastMeter);
// The timer resolution of a take: 10 ms where the timer allows it.
int timer_resolution_for(int minimumPeriod, int maximumPeriod);

// Peaks of the two channels on a -128..127 scale: the largest value (only
// positive excursions count), 16-bit values divided by 256. Mono gives the
// same peak twice. `from` is rounded down to a whole frame.
struct Peaks {
    int left = 0;
    int right = 0;
};
Peaks peak_levels(const unsigned char* data, std::size_t from, std::size_t to, const RecordFormat& format);
// The clip indicator lights at a peak of 126 or more.
bool clip_indicator_lit(const Peaks& peaks);
// The trigger's level of a buffer: the larger channel peak times 1/128.
double signal_level(const unsigned char* data, std::size_t bytes, const RecordFormat& format);

// What the record dialog shows; every call comes on the user-interface
// thread. The command line leaves most of them empty.
class RecordHost {
public:
    virtual ~RecordHost() = default;
    virtual void showMeters(const Peaks&) {}        // level indicator, gauges and clip indicator
    virtual void clearMeters() {}
    virtual void showElapsed(const std::string&) {}  // elapsed time of the take
    virtual void showAvailable(const std::string&) {}
    virtual void showRecordLength(const std::string&) {}
    virtual void showTriggerStatus(const std::string&) {}
    virtual void showRecordPosition(double) {}       // seconds, after a move of the record position
    virtual void metronomeTick() {}                  // light the clip indicator and beep
    virtual void showTimeWindow() {}                 // the big play/record time display
    // A take or test started or finished: the buttons follow.
    virtual void captureStateChanged() {}
};

// The one recording stream of the program: the record dialog's engine.
// Captured buffers are written to a temporary raw-data record file in the
// document's format; in insert mode the data behind the insert point waits in
// a tail file and goes back behind the take when it ends. On OK the document
// takes the record file over as its newest version (undo code 1813).
class RecordEngine : public WaveInListener {
public:
    static RecordEngine& instance();

    void setHost(RecordHost* host) { m_host = host; }

    // The record dialog opens on (or "Record To..." chooses) a document.
    void begin_dialog(CChildFrame& frame);
    void record_to(CChildFrame& frame);
    CChildFrame* target() const { return m_frame; }
    // OK: the document adopts the take (if any) with undo code 1813; 1 when
    // it did or there was nothing to adopt. Cancel: the take is discarded.
    int adopt_take();
    void discard_take();

    int prepare_record_file(int keep_old);
    int open_record_file(std::uint64_t position);
    int start_recording();
    int start_level_test();
    int start_capture(int short_buffers);
    void stop_recording();
    void finish_capture();
    int play_take();
    // Controls 11800 and 11801: the record position to the start or the end.
    void move_record_position(bool toEnd);

    // The periodic commands: meters and available time (547, every 100 ms),
    // elapsed time (541, every 500 ms), a metronome beat (548).
    void command_547();
    void command_541();
    void command_548();

    void on_wave_in_open() override;
    void on_wave_in_data(int buffer, std::size_t bytesRecorded) override;
    void on_wave_in_close() override;

    // Runs the event loop until the device's close completion has finished
    // the capture (at most `milliseconds`); true when it has.
    bool wait_until_idle(int milliseconds);
    bool idle() const { return !m_device; }

    // Settings the dialog changes.
    RecordFormat format;
    int record_buffer_count = 6;
    int insert_mode = 0;
    bool trigger_on_signal = false;
    bool trigger_continue = false;  // the trigger's second flag: no time limit after it fires
    float signal_threshold = 0.5f;
    bool auto_stop_enabled = false;
    int auto_stop_seconds = 10;
    std::uint32_t auto_stop_limit_ms = 10000;
    bool fast_meter = true;
    bool metronome_on = false;
    int metronome_bpm = 60;
    bool rewind_after_take = true;
    std::uint32_t start_delay_ms = 0;

    // Where the next take goes in the record file, in bytes (a frame
    // boundary; the record dialog's position).
    void set_record_position(std::uint64_t bytes) { m_state.record_position = bytes; }
    // Cuts the take to `bytes` (the sampler's wanted length); false when the
    // record file could not be cut.
    bool truncate_take(std::uint64_t bytes);
    // The meters start again from silence.
    void reset_meter() { m_state.meter = Peaks{}; }

    // The stream's state, which only the engine changes.
    const std::string& szRecordFileName() const { return m_state.szRecordFileName; }
    const std::string& szRecordTailFileName() const { return m_state.szRecordTailFileName; }
    std::uint32_t record_buffer_size() const { return m_state.record_buffer_size; }
    std::uint64_t record_position() const { return m_state.record_position; }
    std::uint64_t record_bytes_written() const { return m_state.record_bytes_written; }
    std::uint64_t record_tail_length() const { return m_state.record_tail_length; }
    std::uint64_t record_length() const { return m_state.record_length; }
    bool is_recording() const { return m_state.is_recording; }
    bool test_level_mode() const { return m_state.test_level_mode; }
    bool capturing() const { return m_state.capturing; }
    bool take_recorded() const { return m_state.take_recorded; }
    bool device_lost() const { return m_state.device_lost; }
    const Peaks& meter() const { return m_state.meter; }
    const std::vector<unsigned char>& bufferData(int i) const { return m_data[static_cast<std::size_t>(i)]; }

private:
    struct RecordState {
        std::string szRecordFileName;
        std::string szRecordTailFileName;
        std::uint32_t record_buffer_size = 0;
        int record_current_buffer = 0;
        int record_last_buffer = 0;
        std::uint64_t record_position = 0;
        std::uint64_t record_bytes_written = 0;
        std::uint64_t record_file_length = 0;
        std::uint64_t record_tail_length = 0;
        std::uint64_t record_length = 0;
        bool is_recording = false;
        bool test_level_mode = false;
        bool capturing = false;
        bool take_recorded = false;
        bool device_lost = false;
        int timer_resolution = 10;
        double free_disk_bytes = -1;
        Peaks meter;
    };
    RecordState m_state;

    RecordEngine();
    void freeBuffers();
    void closeRecordFile();
    void updateMeters(const unsigned char* data, std::size_t from, std::size_t to);
    bool writeBuffer(const unsigned char* data, std::size_t bytes);
    std::string elapsedText(std::uint32_t ms) const;
    std::string bytesAsTime(std::uint64_t bytes) const;
    void removeFile(std::string& name);
    // Keeps the crash journal up to date with the take's files: a take that
    // a crash interrupts is offered back like a document.
    void journalTake();

    RecordHost* m_host = nullptr;
    CChildFrame* m_frame = nullptr;
    std::unique_ptr<WaveInDevice> m_device;
    std::vector<std::vector<unsigned char>> m_data;
    UniqueFd m_file;
    bool m_prepared = false;
    bool m_stopping = false;
    bool m_started = false;
    bool m_writeFailed = false;
    std::uint64_t m_writeStart = 0;
    std::uint64_t m_insertPoint = 0;
    std::uint32_t m_recordStartTime = 0;
    // The meters' quarter-buffer scan: a copy of the buffer last returned,
    // and how many quarters of it the ticks have read.
    std::vector<unsigned char> m_meterCopy;
    std::size_t m_meterBytes = 0;
    int m_meterQuarter = 4;
    QTimer m_recorderTimer;
    QTimer m_playTimeTimer;
    QTimer m_metronomeTimer;
    QTimer m_startDelayTimer;
};
