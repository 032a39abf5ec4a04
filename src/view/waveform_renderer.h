#pragma once

#include "app/preferences.h"

#include <QColor>
#include <QImage>

class CChildFrame;

// Heights of the bands of a document window, from the top.
constexpr int kStripHeight = 14;        // the whole-document strip (y < 15)
constexpr int nRulerHeight = 46;        // the ruler; 46 - 14 rows of it are shown
constexpr int nControlRowHeight = 25;   // play bar, status box and scroll bar

struct DisplayColours {
    QColor data, background, grid, wavecrest, marker, markerText;
    static DisplayColours fromPreferences(const Preferences& prefs);
};

// Draws one document's view into off-screen images: the waveform bitmap and
// the ruler, kept between paints so that a paint without a redraw flag only
// adds the columns right of the last one drawn; and composes them with the
// strip, the highlight, the caret and the time marks into the client image.
class WaveformRenderer {
public:
    explicit WaveformRenderer(int screenWidth);

    // Paints the client area of `frame` (its layout's client width x height)
    // into `client`, consuming the frame's redraw flags. The bottom control
    // row is left for the window's own controls.
    void paint(CChildFrame& frame, QImage& client, int timeFormat);

    void setColours(const DisplayColours& colours);
    // Device pixels per window pixel (1, 2 or 4; a fractional ratio rounds
    // up): the images have the device's resolution, the trace has a column
    // for every device pixel, and everything else keeps its size in window
    // pixels. The frame's arithmetic stays in window pixels.
    void setScale(int scale);
    int scale() const { return m_scale; }
    const QImage& waveformImage() const { return m_wave; }
    const QImage& rulerImage() const { return m_ruler; }

    // What the last paint read: the most sample values for one column, and
    // the columns drawn.
    long maxValuesPerColumn() const { return m_maxValuesPerColumn; }
    int columnsDrawn() const { return m_columnsDrawn; }

    // The waveform bitmap's drawing height for a client height.
    static int drawingHeight(const CChildFrame& frame, int clientHeight);

private:
    void drawWaveformBitmap(CChildFrame& frame, bool full);
    void traceWaveform(CChildFrame& frame, bool full);
    void drawRuler(CChildFrame& frame, int timeFormat);
    void drawStrip(const CChildFrame& frame, QImage& client);
    void drawHighlight(const CChildFrame& frame, QImage& client);
    void drawCaret(const CChildFrame& frame, QImage& client);
    void drawTimemarks(const CChildFrame& frame, QImage& client);
    void line(int x0, int y0, int x1, int y1, QRgb colour);

    int m_screenWidth;
    int m_scale = 1;
    DisplayColours m_colours;
    QImage m_wave;
    QImage m_ruler;
    QImage m_brick;
    int m_lastColumn = 0;
    int m_lastIndexEnd = 0;
    int m_prevMax[2] = {0, 0};
    long m_maxValuesPerColumn = 0;
    int m_columnsDrawn = 0;
};
