#include "view/waveform_renderer.h"

#include "view/child_frame.h"
#include "view/display_levels.h"
#include "view/time_format.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

QColor toQColor(Rgb c) { return QColor((c >> 16) & 0xFF, (c >> 8) & 0xFF, c & 0xFF); }

const QColor kTopBand(64, 64, 64);
const QColor kCentreGrey(128, 128, 128);
const QColor kRulerGrey(192, 192, 192);

// The brick pattern that marks the area past the end of the data: an 8 x 8
// tile of two courses of bricks with light mortar.
QImage makeBrickTile()
{
    QImage tile(8, 8, QImage::Format_RGB32);
    const QRgb brick = qRgb(160, 64, 48);
    const QRgb mortar = qRgb(208, 200, 184);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            const bool joint = y == 3 || y == 7 || (y < 3 && x == 0) || (y > 3 && y < 7 && x == 4);
            tile.setPixel(x, y, joint ? mortar : brick);
        }
    }
    return tile;
}

// Where a channel's band lies in the waveform bitmap.
struct Band {
    int top;
    int height;
    int centre() const { return top + height / 2; }
};

int bandCount(const CChildFrame& f) { return f.wfx.nChannels == 2 ? 2 : 1; }

// The trace is drawn in the steps of 8-bit samples for 8-bit documents and of
// 16-bit samples for every other: the overview of 24-bit and float documents
// holds 16-bit values, and their own samples are brought to that scale.
double displayFullScale(const CChildFrame& f) { return f.bytesPerSample() == 1 ? 128.0 : 32768.0; }
int displayValue(SampleFormat format, const unsigned char* p)
{
    if (format == SampleFormat::S24)
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(p[1] | p[2] << 8));  // the value >> 8
    // Rounded down, as the overview's entries are (a conversion truncates
    // toward zero; values below it step one down).
    const float x = std::clamp(sample_to_float(format, p) * 32768.0f, -32768.0f, 32767.0f);
    const int truncated = static_cast<int>(x);
    return truncated - (x < static_cast<float>(truncated) ? 1 : 0);
}

// Rows a sample value moves the trace in a drawing `rows` high, less a
// margin of `margin` rows: half the height for each band of a stereo file.
double rowsPerValue(const CChildFrame& f, int rows, int margin)
{
    return (bandCount(f) == 2 ? 0.5 : 1.0) * (rows - margin) / (2.0 * displayFullScale(f));
}

Band bandOf(int channel, int bands, int height)
{
    if (bands == 1)
        return {0, height};
    const int half = height / 2;
    return channel == 0 ? Band{0, half} : Band{half, height - half};
}

}  // namespace

DisplayColours DisplayColours::fromPreferences(const Preferences& prefs)
{
    DisplayColours c;
    if (!prefs.colorDisplay) {
        // Without colour display: dark trace on white, grey lines.
        c.data = QColor(0, 0, 0);
        c.background = QColor(255, 255, 255);
        c.grid = QColor(160, 160, 160);
        c.wavecrest = QColor(96, 96, 96);
        c.marker = QColor(0, 0, 0);
        c.markerText = QColor(255, 255, 255);
        return c;
    }
    c.data = toQColor(prefs.colours[static_cast<int>(DisplayColour::Data)]);
    c.background = toQColor(prefs.colours[static_cast<int>(DisplayColour::Background)]);
    c.grid = toQColor(prefs.colours[static_cast<int>(DisplayColour::Grid)]);
    c.wavecrest = toQColor(prefs.colours[static_cast<int>(DisplayColour::Wavecrest)]);
    c.marker = toQColor(prefs.colours[static_cast<int>(DisplayColour::Marker)]);
    c.markerText = toQColor(prefs.colours[static_cast<int>(DisplayColour::MarkerText)]);
    return c;
}

WaveformRenderer::WaveformRenderer(int screenWidth)
    : m_screenWidth(std::max(16, screenWidth)),
      m_colours(DisplayColours::fromPreferences(preferences())),
      m_brick(makeBrickTile())
{
}

void WaveformRenderer::setColours(const DisplayColours& colours) { m_colours = colours; }

void WaveformRenderer::setScale(int scale)
{
    scale = scale <= 1 ? 1 : scale <= 2 ? 2 : 4;  // whole frames per column need a power of two
    if (scale == m_scale)
        return;
    m_scale = scale;
    m_wave = QImage();
    m_ruler = QImage();
    m_lastColumn = 0;
    // The bricks keep their size in window pixels.
    m_brick = makeBrickTile().scaled(8 * scale, 8 * scale);
    m_brick.setDevicePixelRatio(scale);
}

int WaveformRenderer::drawingHeight(const CChildFrame& f, int clientHeight)
{
    return std::max(4, clientHeight + 2 - f.nInfoHeight - nControlRowHeight - nRulerHeight);
}

void WaveformRenderer::paint(CChildFrame& f, QImage& client, int timeFormat)
{
    const int height = drawingHeight(f, f.layout.clientHeight);
    const int s = m_scale;
    bool full = f.layout.redrawAll || f.layout.redrawRuler || f.layout.sizeChanged || f.mouse.lineScrollDirection != 0;
    if (m_wave.isNull() || m_wave.height() != height * s || m_wave.width() != m_screenWidth * s) {
        m_wave = QImage(m_screenWidth * s, height * s, QImage::Format_RGB32);
        m_wave.setDevicePixelRatio(s);
        full = true;
    }
    drawWaveformBitmap(f, full);
    drawRuler(f, timeFormat);

    // The client image has the device's pixels; everything drawn with a
    // painter below uses the window's own (logical) coordinates.
    if (client.size() != QSize(f.layout.clientWidth * s, f.layout.clientHeight * s))
        client = QImage(f.layout.clientWidth * s, f.layout.clientHeight * s, QImage::Format_RGB32);
    client.setDevicePixelRatio(s);
    client.fill(kRulerGrey);
    QPainter p(&client);
    const int rulerTop = f.nInfoHeight + kStripHeight;
    p.drawImage(QPoint(0, rulerTop), m_ruler, QRect(0, 0, f.layout.clientWidth * s, (nRulerHeight - kStripHeight) * s));
    const int waveTop = f.nInfoHeight + nRulerHeight;
    const int waveRows = std::max(0, f.layout.clientHeight - nControlRowHeight - waveTop);
    p.drawImage(QPoint(0, waveTop), m_wave, QRect(0, 0, f.layout.clientWidth * s, std::min(waveRows, height) * s));
    p.end();
    drawStrip(f, client);
    drawTimemarks(f, client);
    drawHighlight(f, client);
    // With a highlight the caret stands at its start, and is hidden when
    // that lies outside the screen.
    if (f.bHighlight) {
        const float x = f.level_index_to_pixel(f.nSelStart);
        f.nCaretX = x >= 0.0f && x <= static_cast<float>(m_screenWidth) ? static_cast<int>(x) : -1;
    }
    drawCaret(f, client);

    f.layout.redrawAll = false;
    f.layout.redrawRuler = false;
    f.layout.sizeChanged = false;
    f.mouse.lineScrollDirection = 0;
}

void WaveformRenderer::drawWaveformBitmap(CChildFrame& f, bool full)
{
    // The bands, grid, full-scale lines and bricks are drawn in window
    // coordinates (the painter scales them to the device); the trace and the
    // centre dots address the device's pixels.
    const int s = m_scale;
    const int bands = bandCount(f);
    const int height = m_wave.height() / s;
    const int from = full ? 0 : std::max(0, (m_lastColumn + s - 1) / s);
    const double fullScale = (displayFullScale(f) - 1.0) * rowsPerValue(f, height, 10);
    {
        QPainter p(&m_wave);
        auto row = [&](int y, const QColor& colour) {
            if (y >= 0 && y < height)
                p.fillRect(QRect(from, y, m_screenWidth - from, 1), colour);
        };
        for (int ch = 0; ch < bands; ++ch) {
            const Band b = bandOf(ch, bands, height);
            const QRect area(from, b.top, m_screenWidth - from, b.height);
            p.fillRect(area, m_colours.background);
            for (int k : {1, 3})
                row(b.top + k * b.height / 4, m_colours.grid);
            row(b.top + b.height - 1, m_colours.grid);
        }
        // Full-scale lines: where the loudest sample of each channel would
        // reach; the top band of each channel goes over everything else.
        for (int ch = 0; ch < bands; ++ch) {
            const Band b = bandOf(ch, bands, height);
            row(static_cast<int>(b.centre() - fullScale), m_colours.wavecrest);
            row(static_cast<int>(b.centre() + fullScale), m_colours.wavecrest);
            row(b.top, kTopBand);
            row(b.top + 1, kTopBand);
        }
    }

    m_maxValuesPerColumn = 0;
    m_columnsDrawn = 0;
    if (f.nTotalSamples > 8)
        traceWaveform(f, full);

    QPainter p(&m_wave);
    p.fillRect(QRect(0, height - 2, m_screenWidth, 1), Qt::black);
    const float end = f.sample_to_pixel(f.nTotalSamples);
    if (end < m_screenWidth) {
        const int x = std::max(0, static_cast<int>(end));
        p.fillRect(QRect(x, 2, m_screenWidth - x, height - 2), QBrush(m_brick));
    }
    p.end();

    // Centre lines: grey dots with gaps in the data colour, a window pixel each.
    const QRgb grey = kCentreGrey.rgb();
    const QRgb gap = m_colours.data.rgb();
    const int stop = std::min(m_screenWidth, std::max(0, static_cast<int>(end))) * s;
    for (int ch = 0; ch < bands; ++ch) {
        const int centre = bandOf(ch, bands, height).centre() * s;
        for (int dy = 0; dy < s; ++dy) {
            auto* line = reinterpret_cast<QRgb*>(m_wave.scanLine(centre + dy));
            for (int x = 0; x < stop; ++x)
                line[x] = ((x / s) & 1) ? gap : grey;
        }
    }
}

void WaveformRenderer::traceWaveform(CChildFrame& f, bool full)
{
    const int c = f.wfx.nChannels;
    const int bps = f.bytesPerSample();
    const int bytesPerFrame = c * bps;
    const std::int64_t mask = bytesPerFrame == 1 ? ~std::int64_t{0} : bytesPerFrame == 2 ? ~std::int64_t{1} : ~std::int64_t{3};
    const int savedLevel = f.nZoomLevel;

    // Where the columns are read from: the working file, the overview (two
    // values per 256 frames and channel) or, for columns wider than 16384
    // frames, the coarse overview. `shift` turns document units into entries.
    enum class Source { Finest, Overview, Coarse };
    Source source = Source::Finest;
    int level = f.nMaxZoomLevel;
    int shift = 0;
    std::int64_t step = 1;
    // The trace goes over the device's columns: `s` of them a window pixel.
    // Where a window pixel holds fewer frames than that, each frame takes
    // `repeat` columns.
    const int s = m_scale;
    int repeat = 1;
    if (f.nTotalSamples < static_cast<std::uint32_t>(m_screenWidth)) {
        // Very short documents always show one unit a column, whatever the zoom.
        f.fZoom = 1.0f;
        full = true;
        repeat = s;
    } else {
        const auto perPixel = static_cast<std::int64_t>(f.fMaxZoom / f.fZoom);
        repeat = perPixel >= s ? 1 : static_cast<int>(s / perPixel);
        const std::int64_t r = std::max<std::int64_t>(1, perPixel / s);
        if (r <= 128) {
            step = r;
        } else if (r <= kCoarseGroupFrames || f.coarseOverview.empty()) {
            source = Source::Overview;
            level = 1;
            shift = 7;
            step = r >> 7;
        } else {
            source = Source::Coarse;
            shift = 13;
            step = r >> 13;
        }
    }
    if (source != Source::Coarse && !f.levels[level].mapped())
        return;
    std::int64_t first = f.nFirstSample >> shift;
    std::int64_t end = static_cast<std::int64_t>(f.pixel_to_sample(static_cast<float>(f.layout.clientWidth))) >> shift;
    std::int64_t last = (static_cast<std::int64_t>(f.nTotalSamples) >> shift) - c - 1;
    const std::int64_t entryBytes =
        source == Source::Finest ? bps : static_cast<std::int64_t>(overview_entry_bytes(f));
    const std::int64_t available =
        source == Source::Coarse ? static_cast<std::int64_t>(f.coarseOverview.size())
                                 : static_cast<std::int64_t>(f.levels[level].mapping.size()) / entryBytes;
    if (f.fZoom == 1.0f)
        end = source == Source::Coarse ? available : f.nLevelLength[level];
    last = std::min(last, available - 1);

    std::int64_t start = (first + 2 * step - 1) / (2 * step) * (2 * step);
    start &= mask;
    const std::int64_t block = step * c;
    int startColumn = 1;
    if (!full) {
        const double startUnits = std::ldexp(static_cast<double>(start), shift);
        startColumn = static_cast<int>(f.level_index_to_pixel(static_cast<std::uint32_t>(startUnits)) * s) + 1;
        startColumn = std::max({1, startColumn, m_lastColumn});
    }

    const int height = m_wave.height();  // device rows
    const int bands = bandCount(f);
    const double scale = rowsPerValue(f, height, 10 * s);
    const QRgb colour = m_colours.data.rgb();
    const std::uint8_t* data8 = f.level8(level);
    const std::int16_t* data16 = source == Source::Coarse ? f.coarseOverview.data() : f.level16(level);
    const bool bytes = bps == 1 && source != Source::Coarse;
    const int offset = bps == 1 ? 128 : 0;  // 8-bit values are stored unsigned
    // 24-bit and float samples of the working file, read where the trace
    // shows single frames.
    const bool wide = bps > 2 && source == Source::Finest;
    const SampleFormat format = f.sampleFormat();
    auto sample = [&](std::int64_t u) {
        if (wide)
            return displayValue(format, data8 + u * bps);
        return (bytes ? data8[u] : data16[u]) - offset;
    };

    std::int64_t index = start;
    if (startColumn > 1 && !full)
        index = start + static_cast<std::int64_t>((startColumn - 1) / repeat) * block;
    bool havePrev = !full && startColumn > 1 && startColumn == m_lastColumn;
    int prevMax[2] = {m_prevMax[0], m_prevMax[1]};
    int x = startColumn;
    bool stop = false;
    const int columns = m_screenWidth * s;
    for (; x < columns && index < end && !stop; x += repeat) {
        int lo[2] = {32767, 32767};
        int hi[2] = {-32767, -32767};
        long read = 0;
        for (int ch = 0; ch < bands && !stop; ++ch) {
            for (std::int64_t u = index + ch; u < index + block; u += c) {
                if (u > last) {
                    stop = true;
                    break;
                }
                const int v = sample(u);
                lo[ch] = std::min(lo[ch], v);
                hi[ch] = std::max(hi[ch], v);
                ++read;
            }
        }
        m_maxValuesPerColumn = std::max(m_maxValuesPerColumn, read);
        if (read == 0)
            break;
        for (int ch = 0; ch < bands; ++ch) {
            if (lo[ch] > hi[ch])
                continue;
            const int centre = bandOf(ch, bands, height).centre();
            const int yMin = centre + static_cast<int>(lo[ch] * scale);
            const int yMax = centre + static_cast<int>(hi[ch] * scale);
            const int yPrev = havePrev ? centre + static_cast<int>(prevMax[ch] * scale) : yMin;
            line(x - repeat, yPrev, x, yMin, colour);
            if (hi[ch] != lo[ch])
                line(x, yMin, x, yMax, colour);
            prevMax[ch] = hi[ch];
        }
        havePrev = true;
        ++m_columnsDrawn;
        index += block;
    }
    m_lastColumn = x;
    m_prevMax[0] = prevMax[0];
    m_prevMax[1] = prevMax[1];
    f.nZoomLevel = savedLevel;
}

// A line on the waveform bitmap's pixels; the trace draws thousands of short
// ones a paint, so it writes the rows directly.
void WaveformRenderer::line(int x0, int y0, int x1, int y1, QRgb colour)
{
    const int w = m_wave.width();
    const int h = m_wave.height();
    // The trace's segments join neighbouring columns and are mostly tall:
    // draw them as one or two vertical runs, the first half of the rise in
    // the left column and the rest in the right one, as the general line does.
    if (std::abs(x1 - x0) <= 1 && std::abs(y1 - y0) > 1) {
        auto run = [&](int x, int from, int to) {
            if (x < 0 || x >= w)
                return;
            from = std::max(from, 0);
            to = std::min(to, h - 1);
            const qsizetype stride = m_wave.bytesPerLine() / static_cast<qsizetype>(sizeof(QRgb));
            QRgb* pixel = reinterpret_cast<QRgb*>(m_wave.scanLine(0)) + x + stride * from;
            for (int y = from; y <= to; ++y, pixel += stride)
                *pixel = colour;
        };
        const int lo = std::min(y0, y1);
        const int hi = std::max(y0, y1);
        if (x0 == x1) {
            run(x0, lo, hi);
        } else {
            const int middle = (y0 + y1) / 2;
            run(x0, std::min(y0, middle), std::max(y0, middle));
            run(x1, std::min(middle, y1), std::max(middle, y1));
        }
        return;
    }
    const int dx = std::abs(x1 - x0);
    const int dy = -std::abs(y1 - y0);
    const int sx = x0 < x1 ? 1 : -1;
    const int sy = y0 < y1 ? 1 : -1;
    int err = dx + dy;
    for (;;) {
        if (x0 >= 0 && x0 < w && y0 >= 0 && y0 < h)
            reinterpret_cast<QRgb*>(m_wave.scanLine(y0))[x0] = colour;
        if (x0 == x1 && y0 == y1)
            break;
        const int e2 = 2 * err;
        if (e2 >= dy) {
            err += dy;
            x0 += sx;
        }
        if (e2 <= dx) {
            err += dx;
            y0 += sy;
        }
    }
}

void WaveformRenderer::drawRuler(CChildFrame& f, int timeFormat)
{
    if (m_ruler.isNull()) {
        m_ruler = QImage(m_screenWidth * m_scale, nRulerHeight * m_scale, QImage::Format_RGB32);
        m_ruler.setDevicePixelRatio(m_scale);
    }
    m_ruler.fill(kRulerGrey);
    QPainter p(&m_ruler);
    QFont font = p.font();
    font.setPixelSize(11);
    p.setFont(font);
    const int width = f.layout.clientWidth;
    const int top = 0;
    const int bottom = nRulerHeight - kStripHeight;  // the rows that are shown

    const std::uint32_t left = f.pixel_to_sample(0.0f);
    const double leftTime = units_to_seconds(f, left);
    const double span = units_to_seconds(f, static_cast<double>(f.pixel_to_sample(static_cast<float>(width))) -
                                                f.nFirstSample);
    double interval = ruler_interval(span);
    const double pixelsPerUnit = f.fZoom / (static_cast<double>(f.wfx.nChannels) * f.fMaxZoom);
    const double unitsPerSecond = static_cast<double>(f.wfx.nSamplesPerSec) * f.wfx.nChannels;
    double spacing = std::max(2.0, interval * unitsPerSecond * pixelsPerUnit);
    if (2 * QFontMetrics(font).horizontalAdvance(QStringLiteral("00:00:00:00")) > spacing) {
        spacing *= 2;
        interval *= 2;
    }
    const std::string secondsFormat = ruler_seconds_format(interval);
    const double firstTick = (std::trunc(leftTime / interval) + 1) * interval;
    double x = (firstTick - leftTime) * unitsPerSecond * pixelsPerUnit;

    auto tick = [&](double at, int length) {
        const int xi = static_cast<int>(at);
        p.setPen(Qt::black);
        p.drawLine(xi, bottom - 1, xi, bottom - length);
        p.setPen(Qt::white);
        p.drawLine(xi + 1, bottom - 1, xi + 1, bottom - length);
    };
    for (int k = 1; k <= 10; ++k) {
        const double minor = x - k * spacing / 10;
        if (minor < 1)
            break;
        tick(minor, 5);
    }
    double t = firstTick;
    for (; x < width; x += spacing, t += interval) {
        char label[64];
        if (timeFormat == 24 || timeFormat == 25 || timeFormat == 30)
            std::snprintf(label, sizeof label, "%s", hms_millis_text(t).c_str());
        else
            std::snprintf(label, sizeof label, secondsFormat.c_str(), t);
        p.setPen(Qt::black);
        // The label's box starts at (x + 2, top + 1); it is not clipped, the
        // tick spacing already leaves room for the widest label.
        p.drawText(QRect(static_cast<int>(x) + 2, top + 1, 200, 15), Qt::AlignLeft | Qt::AlignTop | Qt::TextDontClip,
                   QString::fromLatin1(label).trimmed());
        tick(x, bottom - top - 2);
        for (int k = 1; k <= 10; ++k)
            tick(x + k * spacing / 10, 5);
    }
    const int groove = (top + bottom - 15) / 2 + 1;
    p.setPen(Qt::black);
    p.drawLine(0, groove, m_screenWidth - 1, groove);
    p.setPen(Qt::white);
    p.drawLine(0, groove + 1, m_screenWidth - 1, groove + 1);
}

void WaveformRenderer::drawStrip(const CChildFrame& f, QImage& client)
{
    // The whole document across the window; the part in view is darker.
    QPainter p(&client);
    const QRect strip(0, f.nInfoHeight, f.layout.clientWidth, kStripHeight);
    p.fillRect(strip, QColor(168, 168, 168));
    if (f.nTotalSamples > 0) {
        const double w = f.layout.clientWidth;
        const double from = f.pixel_to_sample(0.0f) * w / f.nTotalSamples;
        const double to = std::min<double>(f.pixel_to_sample(static_cast<float>(w)), f.nTotalSamples) * w /
                          f.nTotalSamples;
        p.fillRect(QRectF(from, strip.top() + 3, std::max(2.0, to - from), kStripHeight - 6), QColor(96, 96, 96));
    }
    if (f.mouse.stripDrag) {
        const int a = std::min(f.mouse.stripDragX1, f.mouse.stripDragX2);
        const int b = std::max(f.mouse.stripDragX1, f.mouse.stripDragX2);
        p.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
        p.fillRect(QRect(a, strip.top(), b - a, kStripHeight), Qt::white);
    }
}

void WaveformRenderer::drawHighlight(const CChildFrame& f, QImage& client)
{
    if (!f.bHighlight)
        return;
    const int a = static_cast<int>(std::floor(std::min(f.fSelStartPixel, f.fSelEndPixel)));
    const int b = static_cast<int>(std::ceil(std::max(f.fSelStartPixel, f.fSelEndPixel)));
    const int waveTop = f.nInfoHeight + nRulerHeight;
    const int waveBottom = f.layout.clientHeight - nControlRowHeight;
    const int middle = waveTop + (waveBottom - waveTop) / 2;
    int top = waveTop;
    int bottom = waveBottom;
    if (f.wfx.nChannels == 2 && !(f.bLeftChannel && f.bRightChannel)) {
        top = f.bLeftChannel ? waveTop : middle;
        bottom = f.bLeftChannel ? middle : waveBottom;
    }
    QPainter p(&client);
    p.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
    p.fillRect(QRect(std::max(0, a), top, std::min(f.layout.clientWidth, std::max(b, a + 1)) - std::max(0, a),
                     bottom - top),
               Qt::white);
}

void WaveformRenderer::drawCaret(const CChildFrame& f, QImage& client)
{
    if (f.nCaretX < 0 || f.nCaretX >= f.layout.clientWidth)
        return;
    const int top = f.nInfoHeight + nRulerHeight;
    const int bottom = f.layout.clientHeight - nControlRowHeight;
    QPainter p(&client);
    for (int y = top; y < bottom; y += 2)
        p.fillRect(QRect(f.nCaretX, y, 1, 1), QColor(255, 0, 0));
}

void WaveformRenderer::drawTimemarks(const CChildFrame& f, QImage& client)
{
    QPainter p(&client);
    QFont font = p.font();
    font.setPixelSize(10);
    p.setFont(font);
    const QFontMetrics metrics(font);
    const int base = f.nInfoHeight + nRulerHeight;
    const int bottom = f.layout.clientHeight - nControlRowHeight;
    for (std::size_t i = 0; i < f.timemarks.size(); ++i) {
        const Timemark& mark = f.timemarks[i];
        const int x = static_cast<int>(f.sample_to_pixel(mark.position));
        if (x < 0 || x >= f.layout.clientWidth)
            continue;
        const bool current = static_cast<int>(i) == f.currentTimemark;
        const QColor fill = current ? m_colours.markerText : m_colours.marker;
        const QColor edge = current ? m_colours.marker : m_colours.markerText;
        // The icon, 9 x 11 with its left edge at x - 4 and its top 13 rows
        // above the ruler's bottom: a pennant pointing into a pair (right
        // for its start, left for its end), a pin for a single mark.
        const int left = x - 4;
        const int top = base - 13;
        QPolygon icon;
        if (mark.second)
            icon << QPoint(left + 8, top) << QPoint(left + 8, top + 10) << QPoint(left, top + 5);
        else if (mark.partner >= 0)
            icon << QPoint(left, top) << QPoint(left, top + 10) << QPoint(left + 8, top + 5);
        else
            icon << QPoint(left, top) << QPoint(left + 8, top) << QPoint(left + 8, top + 6) << QPoint(left + 4, top + 10)
                 << QPoint(left, top + 6);
        p.setPen(edge);
        p.setBrush(fill);
        p.drawPolygon(icon);
        // A dashed line down the waveform, the name in a tag at its top.
        QPen line(m_colours.marker);
        line.setStyle(Qt::DashLine);
        p.setPen(line);
        p.drawLine(x, base, x, bottom - 1);
        const QString name = QString::fromStdString(mark.name.substr(0, 49));
        const int width = metrics.horizontalAdvance(name) + 4;
        const int tagLeft = mark.second ? x - width : x + 1;
        p.fillRect(QRect(tagLeft, base, width, metrics.height()), m_colours.marker);
        p.setPen(m_colours.markerText);
        p.drawText(QRect(tagLeft + 2, base, width, metrics.height()), Qt::AlignLeft | Qt::AlignVCenter, name);
    }
}
