#include "view/view_navigation.h"

#include "app/command_ids.h"
#include "app/transport_state.h"
#include "view/child_frame.h"
#include "view/mouse_selection.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Units in a tenth and in nine tenths of the window, from the current first sample.
std::int64_t unitsTo(const CChildFrame& f, double fraction)
{
    return static_cast<std::int64_t>(f.pixel_to_level_index(static_cast<float>(fraction * f.layout.clientWidth))) -
           f.nFirstSample;
}

bool showsPastEnd(const CChildFrame& f)
{
    return f.sample_to_pixel(f.nTotalSamples) < static_cast<float>(f.layout.clientWidth);
}

}  // namespace

std::int64_t frame_mask(const CChildFrame& f)
{
    const int bytesPerFrame = f.wfx.nChannels * f.bytesPerSample();
    return bytesPerFrame == 1 ? ~std::int64_t{0} : bytesPerFrame == 2 ? ~std::int64_t{1} : ~std::int64_t{3};
}

// Document units in one scroll position: a tenth of the window at the current
// level. At the overview (fZoom 1.0) the level's units are the overview's
// entries, 128 document units each.
static std::int64_t scroll_unit(const CChildFrame& f)
{
    std::int64_t tenth = unitsTo(f, 0.1);
    if (f.fZoom == 1.0f)
        tenth *= 128;
    return tenth;
}

void first_sample_from_scroll(CChildFrame& f)
{
    const std::int64_t tenth = scroll_unit(f);
    const auto first =
        static_cast<std::int64_t>(static_cast<double>(f.nScrollPos) * tenth / f.fScrollScale) & frame_mask(f);
    f.nFirstSample = static_cast<std::uint32_t>(std::max<std::int64_t>(0, first));
}

void compute_scroll_range(CChildFrame& f, bool sizeChange)
{
    const std::int64_t window = unitsTo(f, 0.9);
    const std::int64_t tenth = unitsTo(f, 0.1);
    if (tenth == 0)
        return;
    // The range counts every tenth of a window to the end of the data, however
    // long the file: the scroll bar's coarser step (for its 32767 positions)
    // only divides what the bar shows, so its far right is the end.
    std::int64_t max = std::max<std::int64_t>(0, (static_cast<std::int64_t>(f.nLevelLength[f.nZoomLevel]) - window) / tenth);
    max = std::min<std::int64_t>(max, std::numeric_limits<int>::max() / 2);
    f.nScrollStep = 1;
    while (max / f.nScrollStep > 32767)
        f.nScrollStep *= 2;
    f.nScrollMax = static_cast<int>(max);
    f.nScrollPos = static_cast<int>(std::min<std::int64_t>(f.nFirstSample / scroll_unit(f), max));
    f.fScrollScale = 1.0f;

    if (!sizeChange && showsPastEnd(f) && f.fZoom != 1.0f) {
        while (f.nScrollMax > 0 && showsPastEnd(f)) {
            --f.nScrollMax;
            f.nScrollPos = f.nScrollMax;
            first_sample_from_scroll(f);
        }
        ++f.nScrollMax;
        f.layout.redrawAll = true;
    }
    if (f.nScrollMax > 0 && f.nScrollMax < 1000) {
        f.fScrollScale = 1000.0f / static_cast<float>(f.nScrollMax);
        f.nScrollMax = 1000;
        f.nScrollPos = static_cast<int>(f.nScrollPos * f.fScrollScale);
    }
    f.layout.recomputeScroll = false;
}

int scroll_bar_position(const CChildFrame& f)
{
    return f.nScrollPos >= f.nScrollMax ? scroll_bar_maximum(f) : f.nScrollPos / std::max(1, f.nScrollStep);
}
int scroll_bar_maximum(const CChildFrame& f)
{
    const int step = std::max(1, f.nScrollStep);
    return (f.nScrollMax + step - 1) / step;
}

bool scroll(CChildFrame& f, ScrollRequest request, int thumb)
{
    if (transport_state().busy() || f.nTotalSamples <= 15)
        return false;
    int pos = f.nScrollPos;
    bool line = false;
    switch (request) {
    case ScrollRequest::LineLeft:
        if (pos > 0)
            pos -= static_cast<int>(f.fScrollScale);
        line = true;
        break;
    case ScrollRequest::LineRight:
        if (pos < f.nScrollMax)
            pos += static_cast<int>(f.fScrollScale);
        line = true;
        break;
    case ScrollRequest::PageLeft:
        pos = std::max(0, pos - f.nScrollMax / 5);
        f.layout.redrawAll = true;
        break;
    case ScrollRequest::PageRight:
        pos = std::min(f.nScrollMax, pos + f.nScrollMax / 5);
        f.layout.redrawAll = true;
        break;
    case ScrollRequest::Thumb:
        pos = f.nScrollStep * thumb;
        f.layout.redrawAll = true;
        break;
    case ScrollRequest::ToStart:
        pos = 0;
        f.layout.redrawAll = true;
        break;
    case ScrollRequest::ToEnd:
        pos = f.nScrollMax;
        f.layout.redrawAll = true;
        break;
    }
    pos = std::clamp(pos, 0, f.nScrollMax);
    // A thumb within one bar step of the end means the end; lines move on
    // from there one at a time.
    if (request == ScrollRequest::Thumb && f.nScrollStep > 1 && f.nScrollMax - pos < f.nScrollStep)
        pos = f.nScrollMax;
    f.nScrollPos = pos;
    first_sample_from_scroll(f);
    if (line) {
        if (f.nZoomLevel != 1)
            f.mouse.lineScrollDirection = pos < f.nPrevScrollPos ? -1 : pos > f.nPrevScrollPos ? 1 : 0;
        else
            f.layout.redrawAll = true;
    }
    f.nPrevScrollPos = pos;
    update_highlight_pixels(f);
    return true;
}

bool zoom_in(CChildFrame& f)
{
    if (f.nTotalSamples <= 8 || f.fZoom >= f.fMaxZoom)
        return false;
    f.nZoomLevel = std::min(f.nZoomLevel + 1, f.nMaxZoomLevel);
    f.fZoom *= 2.0f;
    compute_scroll_range(f);
    f.layout.redrawAll = true;
    update_highlight_pixels(f);
    return true;
}

bool zoom_out(CChildFrame& f)
{
    if (f.fZoom == 1.0f)
        return false;
    f.fZoom *= 0.5f;
    f.nZoomLevel = std::max(f.nZoomLevel - 1, 1);
    compute_scroll_range(f);
    f.layout.redrawAll = true;
    update_highlight_pixels(f);
    return true;
}

bool zoom_maximum(CChildFrame& f)
{
    f.fZoom = f.fMaxZoom * 0.5f;
    f.nZoomLevel = f.nMaxZoomLevel - 1;
    return zoom_in(f);
}

bool zoom_minimum(CChildFrame& f)
{
    // The coarsest level shows the file from its start, wherever the view was.
    f.nFirstSample = 0;
    f.fZoom = 2.0f;
    f.nZoomLevel = 2;
    return zoom_out(f);
}

int fitting_zoom_level(const CChildFrame& f)
{
    // The file's width at level L is its frames x 2^(L-1) / fMaxZoom pixels:
    // the finest level at which that still fits the window.
    const double frames = static_cast<double>(f.nTotalSamples) / f.wfx.nChannels;
    int level = 1;
    for (int l = 2; l <= f.nMaxZoomLevel; ++l) {
        if (frames * std::ldexp(1.0, l - 1) / f.fMaxZoom > f.layout.clientWidth)
            break;
        level = l;
    }
    return level;
}

bool zoom_to_fit(CChildFrame& f)
{
    if (f.layout.clientWidth <= 0)
        return false;
    f.nZoomLevel = fitting_zoom_level(f);
    f.fZoom = std::ldexp(1.0f, f.nZoomLevel - 1);
    f.nFirstSample = 0;
    compute_scroll_range(f);
    f.layout.redrawAll = true;
    update_highlight_pixels(f);
    return true;
}

bool zoom_at(CChildFrame& f, int x, bool in)
{
    // The document unit under the pointer stays under it.
    const double at = f.pixel_to_sample(static_cast<float>(x));
    const float before = f.fZoom;
    if (!(in ? zoom_in(f) : zoom_out(f)))
        return false;
    if (f.fZoom == before)
        return true;
    const double unitsPerPixel = static_cast<double>(f.wfx.nChannels) * f.fMaxZoom / f.fZoom;
    const double first = std::clamp(at - x * unitsPerPixel, 0.0, static_cast<double>(f.nTotalSamples));
    f.nFirstSample = static_cast<std::uint32_t>(static_cast<std::int64_t>(first) & frame_mask(f));
    compute_scroll_range(f);
    f.layout.redrawAll = true;
    update_highlight_pixels(f);
    return true;
}

void go_to_beginning(CChildFrame& f)
{
    f.nScrollPos = 0;
    first_sample_from_scroll(f);
    f.layout.redrawAll = true;
    update_highlight_pixels(f);
}

void go_to_end(CChildFrame& f)
{
    f.nScrollPos = f.nScrollMax;
    first_sample_from_scroll(f);
    f.layout.redrawAll = true;
    update_highlight_pixels(f);
}

bool go_to_highlight(CChildFrame& f)
{
    if (!f.bHighlight)
        return false;
    const std::uint32_t kept = f.nFirstSample;
    f.nFirstSample = 0;
    const std::uint32_t lead = f.pixel_to_level_index(static_cast<float>(f.layout.clientWidth / 10));
    if (f.nSelStart < lead) {
        f.nFirstSample = kept;
        return false;
    }
    f.nFirstSample = (f.nZoomLevel == 1 && f.fZoom == 1.0f) ? 0 : f.nSelStart - lead;
    const std::int64_t tenth = scroll_unit(f);
    if (tenth > 0)
        f.nScrollPos = static_cast<int>(static_cast<double>(f.nFirstSample) * f.fScrollScale / tenth);
    f.layout.redrawAll = true;
    update_highlight_pixels(f);
    return true;
}

void select_all(CChildFrame& f)
{
    f.bHighlight = 1;
    f.bLeftChannel = f.bRightChannel = 1;
    set_selection_units(f, 0, f.nTotalSamples);
    update_highlight_pixels(f);
    f.nCaretX = 0;
    f.layout.redrawAll = true;
}

bool nudge(CChildFrame& f, int command)
{
    if (!f.bHighlight)
        return false;
    const bool coarse = command == kCommandStartEarlierCoarse || command == kCommandEndLaterCoarse;
    const std::int64_t step = static_cast<std::int64_t>(f.wfx.nSamplesPerSec / (coarse ? 20 : 200)) * f.wfx.nChannels;
    const bool startEdge =
        command == kCommandStartEarlierCoarse || command == kCommandStartEarlier || command == kCommandStartLater;
    const bool later = command == kCommandEndLaterCoarse || command == kCommandStartLater || command == kCommandEndLater;
    std::int64_t value = startEdge ? f.nSelStart : f.nSelEnd;
    value = later ? std::min<std::int64_t>(value + step, static_cast<std::int64_t>(f.nTotalSamples) - 1)
                  : std::max<std::int64_t>(value - step, 0);
    int x = static_cast<int>(f.level_index_to_pixel(static_cast<std::uint32_t>(value)));
    if (x == f.nLastNudgeX)
        x += later ? 1 : -1;
    f.nLastNudgeX = x;
    // The edge moves as in a shift-click: the other edge stays put.
    (startEdge ? f.fSelStartPixel : f.fSelEndPixel) = static_cast<float>(x);
    f.fAnchorPixel = startEdge ? f.fSelEndPixel : f.fSelStartPixel;
    f.nCaretX = x;
    compute_operation_range(f);
    return true;
}

void update_highlight_pixels(CChildFrame& f)
{
    if (!f.bHighlight)
        return;
    f.fSelStartPixel = f.sample_to_pixel(f.nSelStart);
    f.fSelEndPixel = f.sample_to_pixel(f.nSelEnd);
    f.nCaretX = static_cast<int>(f.fSelStartPixel);
}
