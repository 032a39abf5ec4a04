#include "view/child_frame.h"

#include "app/messages.h"
#include "app/posix_io.h"
#include "view/document_journal.h"
#include "wavefile/block_copier.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <map>
#include <new>
#include <unistd.h>

namespace {

std::map<HWND, CChildFrame*>& registry()
{
    static std::map<HWND, CChildFrame*> frames;
    return frames;
}

CChildFrame* g_active = nullptr;
std::uintptr_t g_nextHandle = 0x1000;

}  // namespace

void set_active_frame(CChildFrame* frame) { g_active = frame; }

CChildFrame* frame_from_handle(HWND window)
{
    auto it = registry().find(window);
    return it == registry().end() ? nullptr : it->second;
}

int open_document_count() { return static_cast<int>(registry().size()); }

CChildFrame::CChildFrame()
{
    // The handle is a token the user interface binds its window to; the core
    // only needs it to be unique and to find the frame again.
    g_nextHandle += 0x10;
    hWaveWnd = reinterpret_cast<HWND>(g_nextHandle);
    registry()[hWaveWnd] = this;
}

CChildFrame::~CChildFrame()
{
    registry().erase(hWaveWnd);
    if (g_active == this)
        g_active = nullptr;
    release_levels();
    removeOwnedFiles();
    // Only once its files are gone is the document out of the crash journal.
    forget_document(*this);
}

void CChildFrame::release_levels()
{
    for (DisplayLevel& level : levels) {
        level.mapping.reset();
        level.file.reset();
    }
}

void CChildFrame::removeOwnedFiles()
{
    versions.other.release();
    // The shown version, the other version and the selection copy.
    for (const std::string* name :
         {&szFileName, &files.overview, &szUndoFileName, &szRedoFileName, &files.selectionCopy})
        if (!name->empty())
            ::unlink(name->c_str());
}

void VersionState::release()
{
    for (DisplayLevel& level : levels) {
        level.mapping.reset();
        level.file.reset();
    }
    if (!overviewFileName.empty())
        ::unlink(overviewFileName.c_str());
    overviewFileName.clear();
    coarseOverview.clear();
}

void swap_version(CChildFrame& f, VersionState& v)
{
    std::swap(f.szFileName, v.fileName);
    std::swap(f.files.overview, v.overviewFileName);
    std::swap(f.levels, v.levels);
    std::swap(f.nLevelLength, v.nLevelLength);
    std::swap(f.nMaxZoomLevel, v.nMaxZoomLevel);
    std::swap(f.fMaxZoom, v.fMaxZoom);
    std::swap(f.nTotalSamples, v.nTotalSamples);
    std::swap(f.nSelStart, v.nSelStart);
    std::swap(f.nSelEnd, v.nSelEnd);
    std::swap(f.wfx, v.wfx);
    std::swap(f.coarseOverview, v.coarseOverview);
    std::swap(f.timemarks, v.timemarks);
}

CChildFrame* CChildFrame::GetTheFuckingHandle() { return g_active; }

CChildFrame* CChildFrame::get_private_member() { return frame_from_handle(hWaveWnd); }

float CChildFrame::get_total_milliseconds() const
{
    if (wfx.nSamplesPerSec == 0 || wfx.nChannels == 0)
        return 0.0f;
    return static_cast<float>(nLevelLength[nZoomLevel]) / static_cast<float>(wfx.nSamplesPerSec) /
           static_cast<float>(wfx.nChannels) * 1000.0f;
}

void CChildFrame::shitcan_pSaveBuffer()
{
    pSaveBuffer.clear();
    pSaveBuffer.shrink_to_fit();
    saveBufferValid = false;
}

unsigned char* CChildFrame::make_pSaveBuffer_single_display(std::uint32_t offset,
                                                            std::uint32_t* position,
                                                            std::int32_t count)
{
    shitcan_pSaveBuffer();
    const long long bytes = static_cast<long long>(count > 0 ? count : 0) * wfx.nBlockAlign;
    try {
        pSaveBuffer.assign(static_cast<size_t>(bytes > 0 ? bytes : 1), 0);
    } catch (const std::bad_alloc&) {
        NewErrMsg(5001);
        return nullptr;
    }
    saveBufferValid = true;
    const std::uint32_t start = nSelStart * static_cast<std::uint32_t>(bytesPerSample()) + offset;
    if (position)
        *position = start;
    UniqueFd fd(::open(szFileName.c_str(), O_RDONLY | O_CLOEXEC));
    // What cannot be read stays as the zeroed buffer has it.
    if (fd.valid())
        static_cast<void>(read_fully(fd.get(), pSaveBuffer.data(), bytes, start));
    return pSaveBuffer.data();
}

int CChildFrame::copy_file_to_file(const std::string& destination, const std::string& source,
                                   std::uint32_t count, std::uint32_t sourceOffset,
                                   std::int32_t destOffset, int showProgress,
                                   const char* progressText)
{
    const CopyFormat format{wfx.nSamplesPerSec, wfx.nChannels,
                            static_cast<std::uint16_t>(bytesPerSample())};
    return ::copy_file_to_file(format, destination, source, count, sourceOffset, destOffset,
                               showProgress, progressText);
}

std::uint32_t CChildFrame::pixel_to_level_index(float x) const
{
    auto u = static_cast<std::uint32_t>(static_cast<double>(wfx.nChannels) * fMaxZoom * x / fZoom);
    if (nZoomLevel == 1)
        u >>= 7;
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(static_cast<std::uint64_t>(nFirstSample) + u, nTotalSamples));
}

float CChildFrame::level_index_to_pixel(std::uint32_t index) const
{
    const double delta = static_cast<double>(index) - static_cast<double>(nFirstSample);
    return static_cast<float>(fZoom / (static_cast<double>(wfx.nChannels) * fMaxZoom) * delta);
}

std::uint32_t CChildFrame::pixel_to_sample(float x) const
{
    double length = nLevelLength[nZoomLevel];
    if (nZoomLevel == 1 && fZoom == 1.0f)
        length *= 128.0;
    const auto base = length > 0.0
                          ? static_cast<std::uint32_t>(static_cast<double>(nFirstSample) *
                                                       nTotalSamples / length)
                          : 0u;
    return static_cast<std::uint32_t>(static_cast<double>(fMaxZoom) * wfx.nChannels * x / fZoom) +
           base;
}

float CChildFrame::sample_to_pixel(std::uint32_t sample) const
{
    const double length = nLevelLength[nZoomLevel];
    auto shift = length > 0.0 ? static_cast<std::uint32_t>(static_cast<double>(nTotalSamples) *
                                                           nFirstSample / length)
                              : 0u;
    if (fZoom == 1.0f)
        shift >>= 7;
    const double delta = static_cast<double>(sample) - static_cast<double>(shift);
    return static_cast<float>(fZoom / (static_cast<double>(wfx.nChannels) * fMaxZoom) * delta);
}

int CChildFrame::query_close()
{
    if (!bModified)
        return 1;
    const std::string question = "OK to close " + szDisplayName + "?";
    return message_box(hWaveWnd, question, kProductName, MB_OKCANCEL | MB_ICONQUESTION) == IDOK;
}

const std::int16_t* CChildFrame::level16(int level) const
{
    return static_cast<const std::int16_t*>(levels[level].mapping.data());
}

const std::uint8_t* CChildFrame::level8(int level) const
{
    return static_cast<const std::uint8_t*>(levels[level].mapping.data());
}
