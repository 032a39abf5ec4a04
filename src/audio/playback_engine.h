#pragma once

#include "app/unique_fd.h"
#include "audio/wave_out_device.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CChildFrame;

// An SMPTE time: the start that the loop set-up stores for chase lock.
struct SmpteTime {
    int hours = 0, minutes = 0, seconds = 0, frames = 0;
    int fps = 30;
};

// What playback asks of the window around it: the 30 ms cursor timer, the
// position display, and the end of playback. The program installs one; the
// command line and the tests may leave it out.
class PlaybackHost {
public:
    virtual ~PlaybackHost() = default;
    virtual void startCursorTimer(CChildFrame& frame) = 0;
    virtual void stopCursorTimer(CChildFrame& frame) = 0;
    virtual void playbackEnded(CChildFrame& frame) = 0;
    // A cue sequence moved to entry `index` (its list selects the entry and
    // shows its name); also called with the first entry when it ends.
    virtual void sequenceEntryChanged(CChildFrame&, int /*index*/, const std::string& /*name*/) {}
};

// One entry of a cue sequence: a range of a file in the document's format.
struct CueSequenceEntry {
    std::uint32_t start = 0;  // sample units
    std::uint32_t end = 0;
    std::string file;         // up to 100 characters
};
constexpr std::size_t kMaxSequenceEntries = 10;

// The one playback stream of the program: the document's working file (or
// the pseudo-clipboard) is read in a ring of at most four buffers of a tenth
// of a second, each refilled as the device returns it, until the play range is
// used up; loops rewind without closing the device.
class PlaybackEngine : public WaveOutListener {
public:
    static PlaybackEngine& instance();

    void setHost(PlaybackHost* host) { m_host = host; }

    // Starts the frame's highlight (or the whole file), or stops a stream
    // that is playing. 1 when it started.
    int play_the_wavefile(CChildFrame& frame);
    int play_clipboard(CChildFrame& frame);
    // Plays bytes [startByte, endByte) of a headerless data file in the
    // frame's format: the record dialog's take.
    // `shownAt` is where those bytes lie in the document (in sample units)
    // when the file is not the document's own (an effect's preview of the
    // highlight): the cursor and the time show from there.
    int play_file(CChildFrame& frame, const std::string& path, std::uint32_t startByte, std::uint32_t endByte,
                  std::optional<std::uint32_t> shownAt = std::nullopt);
    // Stops playback (and a running cue sequence).
    void stop_playback();
    // Plays the cue sequence from entry `first` on: each entry when the one
    // before has closed; afterwards the first entry's range is the frame's
    // selection again.
    int play_cue_sequence(CChildFrame& frame, int first);
    int play_sequence_entry(int index);
    // A start made ready ahead of its moment (chase lock, triggered starts):
    // the document's bytes from `startByte` to the end are opened and the
    // buffers filled, and the device is opened and held where it can be, so
    // that at the start only the device has to begin. 1 when prepared.
    int prepare_start(CChildFrame& frame, std::uint32_t startByte);
    // Begins the prepared playback (never counted as a short play); with an
    // enabled alignment the device
    // starts later (or earlier) in the data to match a running clock.
    int start_prepared(const StartAlignment& alignment = {});
    // Gives up a prepared start that has not begun.
    void cancel_prepared();
    bool start_is_prepared() const { return m_prepared; }
    // Why the last prepare_start() returned 0, for the user ("" when it did not).
    const std::string& start_failure() const { return m_startFailure; }
    // While set, a device whose playback ends is held open for the next
    // prepared start (chase lock's restarts) instead of being closed.
    void set_keep_device_open(bool keep) { m_keepDeviceOpen = keep; }
    bool keep_device_open() const { return m_keepDeviceOpen; }
    // Closes a device held open after playback (keep_device_open).
    void release_held_device();
    // Moves the read position of the playing file by `bytes` (a multiple of
    // four); it takes effect with the next buffer read.
    void nudge_read_position(std::int64_t bytes);
    // The byte position of the file being played: where the sound heard now
    // comes from.
    std::uint32_t played_file_position();

    // Toggles pause; the paused time is left out of the position.
    void pause_playback();
    float get_play_position_ms();
    // The document playing now, if any.
    const CChildFrame* playing_frame() const { return m_state.is_playing ? m_frame : nullptr; }
    // Stops playback of `frame` (a document about to close) and waits, for a
    // bounded time, until the device has let go of it.
    void stop_and_release(const CChildFrame& frame);
    // Runs the event loop until the device's close completion has let go of
    // it (at most `milliseconds`); true when it has.
    bool wait_until_released(int milliseconds);

    void on_wave_out_open() override;
    void on_wave_out_done(int buffer) override;
    void on_wave_out_close() override;

    // A start point for the next Play when nothing is highlighted (the right
    // button's click, in sample units); used once.
    std::optional<std::uint32_t> play_from_unit;

    // The loop-playback setting (command 11404) and the loop count.
    bool loopPlayback = false;
    bool loop_count_enabled = false;
    int loop_count = 1;
    SmpteTime smpte_start;
    // The cue sequence (at most kMaxSequenceEntries entries) and its state.
    std::vector<CueSequenceEntry> cue_sequence;
    int play_buffer_count = 4;

    // The stream's state, which only the engine changes.
    bool sequence_running() const { return m_state.sequence_running; }
    bool is_playing() const { return m_state.is_playing; }
    bool is_paused() const { return m_state.is_paused; }
    // The play range is under half a second: no cursor or big time display.
    bool play_short() const { return m_state.play_short; }
    bool playing_clipboard() const { return m_state.playing_clipboard; }
    // The last playback ended because its device went away.
    bool device_lost() const { return m_state.device_lost; }
    std::uint32_t play_buffer_size() const { return m_state.play_buffer_size; }
    std::uint32_t play_start_offset() const { return m_state.play_start_offset; }
    // Where the played range begins in the document, in sample units: the
    // play cursor, the time and marks set while playing count from here.
    std::uint32_t play_shown_start() const { return m_state.play_shown_start; }
    std::uint32_t play_total_bytes() const { return m_state.play_total_bytes; }
    std::uint32_t play_bytes_read() const { return m_state.play_bytes_read; }
    int loop_pass() const { return m_state.loop_pass; }
    const std::vector<std::uint32_t>& bufferBytes() const { return m_bufferBytes; }

private:
    struct PlayState {
        bool sequence_running = false;
        int sequence_current = -1;
        int sequence_first = 0;
        bool is_playing = false;
        bool is_paused = false;
        bool play_short = false;
        bool playing_clipboard = false;
        bool device_lost = false;
        std::uint32_t play_buffer_size = 0;
        int play_current_buffer = 0;
        int play_buffers_queued = 0;
        std::uint32_t play_start_offset = 0;
        std::uint32_t play_shown_start = 0;
        std::uint32_t play_total_bytes = 0;
        std::uint32_t play_bytes_read = 0;
        int loop_pass = 0;
        std::uint32_t play_paused_total = 0;
        float play_position_ms = 0.0f;
    };
    PlayState m_state;
    bool m_keepDeviceOpen = false;

    PlaybackEngine();
    bool openStream(CChildFrame& frame, const StreamFormat& format, const std::string& path, std::uint32_t startByte,
                    std::uint32_t endByte, bool clipboardSizes, bool prepareOnly = false);
    // Takes the output device and sets up a fresh pass; false without one.
    bool openDevice(bool looping);
    // Selects entry `index`'s range in the frame, in units and bytes.
    void selectSequenceRange(CChildFrame& frame, int index);
    void advanceSequence();
    bool fill(int buffer);
    void writeQueued();
    // Ends the bookkeeping, tells the host, and closes the device.
    void endOfPlayback();
    void startBookkeeping();
    // Before the buffers of an aligned start go out: begins reading later in
    // the file when the start is further behind its clock than they reach.
    void moveStartForAlignment(StartAlignment& alignment);

    PlaybackHost* m_host = nullptr;
    std::string m_startFailure;
    std::unique_ptr<WaveOutDevice> m_device;
    CChildFrame* m_frame = nullptr;
    CChildFrame* m_sequenceFrame = nullptr;
    UniqueFd m_file;
    StreamFormat m_format;
    std::vector<std::vector<unsigned char>> m_buffers;
    std::vector<std::uint32_t> m_bufferBytes;
    bool m_stopRequested = false;
    bool m_prepared = false;
    bool m_preparedWithoutDevice = false;
    bool m_deviceHeld = false;
    bool m_queuedWritten = false;  // the filled buffers have gone to the device
    bool m_looping = false;
    std::uint32_t m_startTime = 0;
    std::uint32_t m_pauseTime = 0;
};
