#pragma once

#include "app/mapped_region.h"
#include "app/unique_fd.h"
#include "app/window_handle.h"
#include "wavefile/sample_format.h"
#include "wavefile/wave_state.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Display levels are numbered from 1; index 0 is unused. Level 1 is the
// overview, the highest level the working file itself.
constexpr int kLevelSlots = 32;
constexpr int kUndoSlots = 20;

// One display level: the file behind it and its memory map.
struct DisplayLevel {
    UniqueFd file;         // hLevelFile
    MappedRegion mapping;  // hLevelMapping and the view pLevelData
    bool mapped() const { return mapping.mapped(); }  // bLevelMapped
};

// One time mark of a document: a named position, alone or one end of a pair.
struct Timemark {
    std::string name;
    int x = 0;                   // view column when last placed or drawn
    std::uint32_t position = 0;  // sample units
    int partner = -1;            // on the first mark of a pair: the other's index
    int second = 0;              // 1 on the second (end) mark of a pair
};

// The data of one version of a document that is not on screen: its file, its
// display levels and the fields that go with them. Undo and redo swap it with
// the frame's own.
struct VersionState {
    std::string fileName;
    std::string overviewFileName;
    std::array<DisplayLevel, kLevelSlots> levels;
    std::array<std::uint32_t, kLevelSlots> nLevelLength{};
    int nMaxZoomLevel = 1;
    float fMaxZoom = 1.0f;
    std::uint32_t nTotalSamples = 0;
    std::uint32_t nSelStart = 0;
    std::uint32_t nSelEnd = 0;
    WaveFmtRecord wfx;
    std::vector<std::int16_t> coarseOverview;
    std::vector<Timemark> timemarks;  // as they stood in this version

    bool empty() const { return fileName.empty(); }
    // Unmaps and closes the levels and removes the overview file; the data
    // file is the caller's to keep or delete.
    void release();
};

// The files a document knows beside its working file.
struct DocumentFiles {
    std::string path;           // the WAVE file Save writes: where the document came from
    std::string aviSource;      // the AVI the document came from, if any: its video is shown and kept
    // The file a media library decoded the document from (FLAC, MP3, ...):
    // Save does not write over it (path is empty), the save dialog starts
    // beside it.
    std::string importedFrom;
    std::string overview;       // level 1 when the document has levels
    std::string selectionCopy;  // the copy of its own highlight (made by Trim), in the work folder
};

// How the view is laid out: the size of the client area it is laid out for
// (the window's, or what a renderer is asked for), and what must be redone
// at the next paint.
struct ViewLayout {
    int clientWidth = 800;
    int clientHeight = 400;
    bool redrawAll = true;
    bool redrawRuler = true;
    bool sizeChanged = true;
    bool recomputeScroll = true;
};

// What the mouse is doing in the view between its events.
struct MouseState {
    bool selecting = false;            // the left button is making a highlight
    bool stripDrag = false;            // a drag along the whole-document strip
    int stripDragX1 = 0;
    int stripDragX2 = 0;
    bool highlightDragPending = false;  // button went down inside the highlight
    bool highlightDragging = false;
    int highlightDragX = 0;
    int highlightDragY = 0;
    int lineScrollDirection = 0;  // -1 left, +1 right, 0 none since the last paint
};

// The version of a document that is not shown, and the length an operation
// gives the newest version (length-changing operations set it before
// committing), in sample units.
// How an edit moved the document's positions, for its time marks: units
// [from, to) of the shown version became `length` units of the new one.
// Marks before `from` stay, marks from `to` on move by the change in
// length. Marks inside are removed (Remove: a cut, a paste over a
// highlight), spread over the new length (Scale: a tempo change), or are
// the only ones kept, moved to the start (Crop). Move: the passage [from,
// to) moved by `shift` units, the length kept; its marks go with it, those
// where it landed are removed.
struct PositionChange {
    enum class Inside { Remove, Scale, Crop, Move } inside = Inside::Remove;
    std::uint32_t from = 0;
    std::uint32_t to = 0;
    std::uint32_t length = 0;
    std::int64_t shift = 0;
};

struct VersionSwap {
    VersionState other;
    std::uint32_t newLength = 0;
    // Set by an operation that moves positions, before it commits.
    std::optional<PositionChange> change;
};

// One open waveform document and how it is shown. The document lives on its
// working file (raw samples, no header) from opening to closing; it owns that
// file, its overview file and their maps, and removes them when destroyed.
class CChildFrame {
public:
    CChildFrame();
    ~CChildFrame();
    CChildFrame(const CChildFrame&) = delete;
    CChildFrame& operator=(const CChildFrame&) = delete;

    // The active document (the main frame's active child), or null.
    static CChildFrame* GetTheFuckingHandle();
    // The frame object that belongs to hWaveWnd.
    CChildFrame* get_private_member();

    // Length in ms as seen from the current level: at level 1 of a document
    // with an overview that is about 1/128 of the true length, on purpose.
    float get_total_milliseconds() const;
    // Copies `count` frames starting `offset` bytes after the highlight start
    // into a fresh zeroed buffer; the byte position goes to *position.
    unsigned char* make_pSaveBuffer_single_display(std::uint32_t offset, std::uint32_t* position,
                                                   std::int32_t count);
    void shitcan_pSaveBuffer();

    // The block copier at this document's sample rate and format.
    int copy_file_to_file(const std::string& destination, const std::string& source,
                          std::uint32_t count, std::uint32_t sourceOffset, std::int32_t destOffset,
                          int showProgress, const char* progressText);

    // View/data conversions; x is a pixel column of the waveform area.
    std::uint32_t pixel_to_level_index(float x) const;
    float level_index_to_pixel(std::uint32_t index) const;
    std::uint32_t pixel_to_sample(float x) const;
    float sample_to_pixel(std::uint32_t sample) const;

    // Asks "OK to close <name>?" when the document is modified; 1 when the
    // close may go ahead.
    int query_close();

    int bytesPerSample() const { return wfx.wBitsPerSample / 8; }
    // How the document's samples are stored (8-bit documents unsigned).
    SampleFormat sampleFormat() const
    {
        if (wfx.wFormatTag == 3)
            return SampleFormat::F32;
        return pcm_format(wfx.wBitsPerSample).value_or(SampleFormat::S16);
    }
    const std::int16_t* level16(int level) const;
    const std::uint8_t* level8(int level) const;
    // Releases the maps and files of all levels.
    void release_levels();

    HWND hWaveWnd = nullptr;
    std::string szFileName;       // working file: raw samples
    std::string szDisplayName;
    DocumentFiles files;
    WaveFmtRecord wfx;
    std::uint32_t nTotalSamples = 0;
    std::uint32_t nSelStart = 0;
    std::uint32_t nSelEnd = 0;
    std::uint32_t nSelStartByte = 0;
    std::uint32_t nSelEndByte = 0;
    std::uint32_t nSelStartMs = 0;
    std::uint32_t nSelEndMs = 0;
    int bHighlight = 0;
    int bLeftChannel = 1;
    int bRightChannel = 1;
    int nZoomLevel = 1;
    int nMaxZoomLevel = 1;
    float fZoom = 1.0f;
    float fMaxZoom = 1.0f;
    std::uint32_t nFirstSample = 0;
    std::array<std::uint32_t, kLevelSlots> nLevelLength{};
    std::array<DisplayLevel, kLevelSlots> levels;
    int nScrollPos = 0;
    int nScrollMax = 1;
    int nScrollStep = 1;
    float fScrollScale = 1.0f;
    float fSelStartPixel = 0.0f;
    float fSelEndPixel = 1.0f;
    int nCaretX = 0;
    int bModified = 0;
    int nInfoHeight = 0;
    int bColorDisplay = 1;
    int bToolTips = 1;
    // Time marks in the order they were added (not by position).
    std::vector<Timemark> timemarks;
    int currentTimemark = -1;  // the mark chosen last: drawn highlighted
    // A coarser summary of the overview: the minimum and maximum of every 64
    // of its blocks (16384 frames), laid out like the overview and holding the
    // same sample values (raw bytes for 8-bit data). The renderer reads it
    // when one column spans more frames than that, so that no column reads
    // more than about 256 values however long the document.
    std::vector<std::int16_t> coarseOverview;

    ViewLayout layout;
    // Mouse and keyboard state of the view.
    float fAnchorPixel = 0.0f;     // the highlight edge that stays put
    int nLastNudgeX = -1;          // x of the last nudged edge
    int nPrevScrollPos = 0;
    MouseState mouse;
    std::vector<unsigned char> pSaveBuffer;
    bool saveBufferValid = false;

    // Undo and redo: the shown version is the frame's own; the other one
    // (previous or newest) waits in versions.other.
    std::string szUndoFileName;  // the previous version
    std::string szRedoFileName;  // the newest version
    int bUndoAvailable = 0;
    int bRedoAvailable = 0;
    std::string szUndoLabel;
    std::string szRedoLabel;
    VersionSwap versions;
    // The document's own INFO items (artist, title, comments ...): read from
    // its file when it opens, written into every file saved from it.
    std::shared_ptr<InfoList> infoList;

private:
    void removeOwnedFiles();
};

// Exchanges the frame's version data (file, levels, length, selection and
// format) with a version record.
void swap_version(CChildFrame& frame, VersionState& version);

// Makes `frame` the active document (null for none).
void set_active_frame(CChildFrame* frame);
// The frame registered for a window handle, or null.
CChildFrame* frame_from_handle(HWND window);
// Number of documents open now.
int open_document_count();
