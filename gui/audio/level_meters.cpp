#include "audio/level_meters.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

RecordVolumeIndicator::RecordVolumeIndicator(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("12001"));
    setMinimumSize(160, 36);
}

void RecordVolumeIndicator::setPeaks(int left, int right)
{
    if (left == m_left && right == m_right)
        return;
    m_left = left;
    m_right = right;
    update();
}

void RecordVolumeIndicator::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), Qt::black);
    const int barHeight = (height() - 6) / 2;
    const int peaks[2] = {m_left, m_right};
    for (int ch = 0; ch < 2; ++ch) {
        const QRect bar(2, 2 + ch * (barHeight + 2), width() - 4, barHeight);
        const double fraction = std::clamp(peaks[ch], 0, 127) / 127.0;
        const int lit = static_cast<int>(bar.width() * fraction);
        // Green up to -6 dB, yellow to the clip level, red above it.
        const int yellowFrom = bar.width() * 64 / 127;
        const int redFrom = bar.width() * 126 / 127;
        p.fillRect(QRect(bar.left(), bar.top(), std::min(lit, yellowFrom), bar.height()), QColor(0, 200, 0));
        if (lit > yellowFrom)
            p.fillRect(QRect(bar.left() + yellowFrom, bar.top(), std::min(lit, redFrom) - yellowFrom, bar.height()),
                       QColor(230, 210, 0));
        if (lit > redFrom)
            p.fillRect(QRect(bar.left() + redFrom, bar.top(), lit - redFrom, bar.height()), QColor(255, 0, 0));
    }
}

DecibelGauge::DecibelGauge(QWidget* parent) : QWidget(parent) { setMinimumSize(80, 20); }

double DecibelGauge::decibels(int peak)
{
    if (peak <= 0)
        return -60.0;
    return std::max(-60.0, 20.0 * std::log10(peak / 127.0));
}

void DecibelGauge::setPeak(int peak)
{
    m_db = decibels(peak);
    m_holdDb = std::max(m_holdDb, m_db);
    update();
}

void DecibelGauge::resetHold()
{
    m_holdDb = m_db;
    update();
}

void DecibelGauge::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), Qt::white);
    p.setPen(Qt::black);
    p.drawRect(rect().adjusted(0, 0, -1, -1));
    p.drawText(rect(), Qt::AlignCenter, QStringLiteral("%1 dB").arg(m_holdDb, 0, 'f', 1));
}

ClipIndicator::ClipIndicator(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("425"));
    setMinimumSize(30, 18);
}

void ClipIndicator::setLit(bool lit)
{
    if (lit == m_lit)
        return;
    m_lit = lit;
    update();
}

void ClipIndicator::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), palette().window());
    p.fillRect(rect().adjusted(2, 2, -2, -2), m_lit ? QColor(255, 0, 0) : QColor(192, 192, 192));
    p.setPen(Qt::black);
    p.drawText(rect(), Qt::AlignCenter, tr("Clip"));
}
