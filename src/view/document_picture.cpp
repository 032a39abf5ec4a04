#include "view/document_picture.h"

#include "view/child_frame.h"
#include "view/view_navigation.h"
#include "view/waveform_renderer.h"

#include <algorithm>
#include <cmath>

QImage document_picture(CChildFrame& f, int width, int height, int level, std::uint32_t first, int timeFormat,
                        long* valuesPerColumn)
{
    // What the picture changes of the view, put back afterwards.
    const int clientWidth = f.layout.clientWidth, clientHeight = f.layout.clientHeight, zoomLevel = f.nZoomLevel;
    const float zoom = f.fZoom;
    const std::uint32_t firstSample = f.nFirstSample;
    const int scrollPos = f.nScrollPos, scrollMax = f.nScrollMax, scrollStep = f.nScrollStep;
    const float scrollScale = f.fScrollScale, startPixel = f.fSelStartPixel, endPixel = f.fSelEndPixel;
    const int caret = f.nCaretX;

    // The control row of the window is not drawn: lay out a client area
    // that much taller and leave it off the picture.
    f.layout.clientWidth = width;
    f.layout.clientHeight = height + nControlRowHeight;
    f.nZoomLevel = std::clamp(level, 1, std::max(1, f.nMaxZoomLevel));
    f.fZoom = std::ldexp(1.0f, f.nZoomLevel - 1);
    f.nFirstSample = first & static_cast<std::uint32_t>(frame_mask(f));
    compute_scroll_range(f, true);
    f.layout.redrawAll = true;
    WaveformRenderer renderer(width);
    QImage client;
    renderer.paint(f, client, timeFormat);
    if (valuesPerColumn)
        *valuesPerColumn = renderer.maxValuesPerColumn();
    const QImage picture = client.copy(0, 0, width, height);

    f.layout.clientWidth = clientWidth;
    f.layout.clientHeight = clientHeight;
    f.nZoomLevel = zoomLevel;
    f.fZoom = zoom;
    f.nFirstSample = firstSample;
    f.nScrollPos = scrollPos;
    f.nScrollMax = scrollMax;
    f.nScrollStep = scrollStep;
    f.fScrollScale = scrollScale;
    f.fSelStartPixel = startPixel;
    f.fSelEndPixel = endPixel;
    f.nCaretX = caret;
    f.layout.redrawAll = f.layout.sizeChanged = true;
    return picture;
}
