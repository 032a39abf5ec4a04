#include "view/mouse_selection.h"

#include "app/transport_state.h"
#include "view/child_frame.h"
#include "view/view_navigation.h"
#include "view/waveform_renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

// A click lands on whole pixel columns: the display grid.
float snapped(int x, const CChildFrame& f) { return static_cast<float>(std::clamp(x, 0, f.layout.clientWidth)); }

bool acceptsClicks(const CChildFrame& f) { return f.nTotalSamples > 8 && !transport_state().busy(); }

// Moves the edge that is not the anchor to x.
void extendTo(CChildFrame& f, float x)
{
    f.fSelStartPixel = std::min(f.fAnchorPixel, x);
    f.fSelEndPixel = std::max(f.fAnchorPixel, x);
    f.bHighlight = f.fSelStartPixel != f.fSelEndPixel;
    compute_operation_range(f);
    f.nCaretX = static_cast<int>(f.fSelStartPixel);
}

// The strip selects proportionally over the whole document.
void selectFromStrip(CChildFrame& f, int x1, int x2)
{
    const double n = f.nTotalSamples;
    const double w = std::max(1, f.layout.clientWidth);
    const auto start = static_cast<std::uint32_t>(std::min(x1, x2) * n / w);
    const auto end = static_cast<std::uint32_t>(std::min(std::trunc(std::max(x1, x2) * n / w), n));
    set_selection_units(f, start, end);
}

}  // namespace

void set_selection_units(CChildFrame& f, std::uint32_t start, std::uint32_t end)
{
    const double msPerUnit = f.nTotalSamples ? f.get_total_milliseconds() / f.nTotalSamples : 0.0;
    f.nSelStart = start;
    f.nSelEnd = end;
    f.nSelStartByte = start * static_cast<std::uint32_t>(f.bytesPerSample());
    f.nSelEndByte = end * static_cast<std::uint32_t>(f.bytesPerSample());
    f.nSelStartMs = static_cast<std::uint32_t>(start * msPerUnit);
    f.nSelEndMs = static_cast<std::uint32_t>(end * msPerUnit);
}

void compute_operation_range(CChildFrame& f)
{
    const std::uint32_t n = f.nTotalSamples;
    const double msPerUnit = n ? f.get_total_milliseconds() / n : 0.0;
    const auto bps = static_cast<std::uint32_t>(f.bytesPerSample());
    if (!f.bHighlight) {
        f.nSelStart = 0;
        f.nSelEnd = n;
        f.nSelStartByte = 0;
        f.nSelEndByte = n * bps;
        f.nSelStartMs = 0;
        f.nSelEndMs = static_cast<std::uint32_t>(f.get_total_milliseconds());
        return;
    }
    std::int64_t start = std::min<std::uint32_t>(f.pixel_to_sample(f.fSelStartPixel), n);
    std::int64_t end = std::min<std::uint32_t>(f.pixel_to_sample(f.fSelEndPixel), n);
    if (start == 0 && end == n)
        end = n < 9 ? 8 : n - 8;
    if (end == start)
        end = start + 8;
    f.nSelStartByte = static_cast<std::uint32_t>(start * bps);
    f.nSelEndByte = static_cast<std::uint32_t>(end * bps);
    const std::int64_t mask = frame_mask(f);
    start &= mask;
    end &= mask;
    f.nSelStart = static_cast<std::uint32_t>(start);
    f.nSelEnd = static_cast<std::uint32_t>(end);
    f.nSelStartMs = static_cast<std::uint32_t>(start * msPerUnit);
    f.nSelEndMs = static_cast<std::uint32_t>(end * msPerUnit);
    if (f.nSelStartMs == f.nSelEndMs)
        f.nSelEndMs += 8;
}

ViewZone zone_at(const CChildFrame& f, int y)
{
    if (y < 15)
        return ViewZone::Strip;
    if (y < f.nInfoHeight + nRulerHeight)
        return ViewZone::Ruler;
    if (y >= f.layout.clientHeight - nControlRowHeight)
        return ViewZone::Controls;
    return ViewZone::Waveform;
}

int channels_at(const CChildFrame& f, int y)
{
    if (f.wfx.nChannels != 2)
        return 3;
    const int h = f.layout.clientHeight - f.nInfoHeight - nControlRowHeight - nRulerHeight;
    const int top = f.nInfoHeight + nRulerHeight;
    if (y < top + h / 4)
        return 1;
    if (y > top + 3 * h / 4)
        return 2;
    return 3;
}

ViewCursor cursor_at(const CChildFrame& f, int, int y)
{
    switch (zone_at(f, y)) {
    case ViewZone::Strip: return ViewCursor::Strip;
    case ViewZone::Ruler:
    case ViewZone::Controls: return ViewCursor::Arrow;
    case ViewZone::Waveform: break;
    }
    switch (channels_at(f, y)) {
    case 1: return ViewCursor::LeftChannel;
    case 2: return ViewCursor::RightChannel;
    default: return ViewCursor::LeftRight;
    }
}

bool left_button_down(CChildFrame& f, int x, int y, bool shift)
{
    if (!acceptsClicks(f))
        return false;
    const ViewZone zone = zone_at(f, y);
    if (zone == ViewZone::Strip) {
        f.bHighlight = 0;
        f.mouse.stripDrag = true;
        f.mouse.stripDragX1 = f.mouse.stripDragX2 = std::clamp(x, 0, f.layout.clientWidth);
        return true;
    }
    if (zone != ViewZone::Waveform)
        return false;
    const float px = snapped(x, f);
    if (f.bHighlight && !shift && px >= f.fSelStartPixel && px <= f.fSelEndPixel) {
        f.mouse.highlightDragPending = true;
        f.mouse.highlightDragX = x;
        f.mouse.highlightDragY = y;
        return false;
    }
    f.mouse.selecting = true;
    if (!shift || !f.bHighlight) {
        f.bHighlight = 0;
        f.fSelStartPixel = f.fSelEndPixel = px;
        f.fAnchorPixel = shift ? static_cast<float>(f.nCaretX) : px;
        const int channels = channels_at(f, y);
        f.bLeftChannel = (channels & 1) != 0;
        f.bRightChannel = (channels & 2) != 0;
        if (shift)
            extendTo(f, px);
        else
            compute_operation_range(f);
        f.nCaretX = static_cast<int>(f.fSelStartPixel);
        return true;
    }
    // Shift extends: the edge nearer the click moves (the end edge on a tie).
    const float toStart = std::fabs(px - f.fSelStartPixel);
    const float toEnd = std::fabs(px - f.fSelEndPixel);
    f.fAnchorPixel = toStart < toEnd ? f.fSelEndPixel : f.fSelStartPixel;
    extendTo(f, px);
    return true;
}

bool mouse_moved(CChildFrame& f, int x, int y, bool leftDown, bool shift)
{
    if (!leftDown)
        return false;
    if (f.mouse.stripDrag) {
        f.mouse.stripDragX2 = std::clamp(x, 0, f.layout.clientWidth);
        selectFromStrip(f, f.mouse.stripDragX1, f.mouse.stripDragX2);
        return true;
    }
    if (f.mouse.highlightDragPending) {
        if (!shift && (std::abs(x - f.mouse.highlightDragX) > 5 || std::abs(y - f.mouse.highlightDragY) >= 6)) {
            f.mouse.highlightDragPending = false;
            f.mouse.highlightDragging = true;
        }
        return false;
    }
    if (!f.mouse.selecting)
        return false;
    extendTo(f, snapped(x, f));
    return true;
}

bool left_button_up(CChildFrame& f, int x, int)
{
    if (f.mouse.stripDrag) {
        f.mouse.stripDrag = false;
        zoom_to_region(f, f.mouse.stripDragX1, std::clamp(x, 0, f.layout.clientWidth));
        return true;
    }
    if (f.mouse.highlightDragging || f.mouse.highlightDragPending) {
        // A highlight dragged out as data is dropped by the edit commands.
        f.mouse.highlightDragging = false;
        f.mouse.highlightDragPending = false;
        return false;
    }
    if (!f.mouse.selecting)
        return false;
    f.mouse.selecting = false;
    if (!f.bHighlight) {
        f.bLeftChannel = f.bRightChannel = 1;
        f.nCaretX = static_cast<int>(snapped(x, f));
        compute_operation_range(f);
    } else {
        f.nCaretX = static_cast<int>(f.fSelStartPixel);
    }
    return true;
}

void zoom_to_region(CChildFrame& f, int x1, int x2)
{
    const int a = std::max(1, std::min(x1, x2));
    const int b = std::min(f.layout.clientWidth, std::max(x1, x2));
    selectFromStrip(f, a, b);
    f.nFirstSample = 0;
    f.fZoom = 1.0f;
    const std::uint32_t length = f.nSelEnd - f.nSelStart;
    while (f.fZoom < f.fMaxZoom && f.sample_to_pixel(length) < f.layout.clientWidth / 2.0f)
        f.fZoom *= 2.0f;
    f.fZoom = std::clamp(f.fZoom, 1.0f, f.fMaxZoom);
    f.nZoomLevel = std::clamp(static_cast<int>(std::log2(f.fZoom)) + 1, 1, f.nMaxZoomLevel);
    f.nFirstSample = f.nSelStart;
    f.bHighlight = 1;
    f.bLeftChannel = f.bRightChannel = 1;
    compute_scroll_range(f);
    f.layout.redrawAll = true;
    f.fSelStartPixel = f.sample_to_pixel(f.nSelStart);
    f.fSelEndPixel = f.sample_to_pixel(f.nSelEnd);
    f.nCaretX = static_cast<int>(f.fSelStartPixel);
}

RightButtonAction right_button_down(const CChildFrame& f, int, int y)
{
    if (zone_at(f, y) != ViewZone::Waveform)
        return RightButtonAction::None;
    return transport_state().playing ? RightButtonAction::Stop : RightButtonAction::Play;
}
