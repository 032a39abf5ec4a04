#include "edit/magnified_plot_dialog.h"

#include "modules/magnified_plot.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>

MagnifiedPlotView::MagnifiedPlotView(MagnifiedPlot& plot, QWidget* parent) : QWidget(parent), m_plot(plot)
{
    setObjectName(QStringLiteral("magnifiedPlot"));
    setMinimumSize(300, 160);
    setCursor(Qt::CrossCursor);
}

int MagnifiedPlotView::channelAt(int y) const
{
    const int count = std::max<int>(1, static_cast<int>(m_plot.channels.size()));
    return std::clamp(y * count / std::max(1, height()), 0, count - 1);
}

std::size_t MagnifiedPlotView::frameAt(int x) const
{
    const std::size_t frames = m_plot.frames();
    if (frames <= 1)
        return 0;
    const double f = static_cast<double>(x) / std::max(1, width() - 1) * static_cast<double>(frames - 1);
    return static_cast<std::size_t>(std::clamp(std::lround(f), 0L, static_cast<long>(frames - 1)));
}

float MagnifiedPlotView::valueAt(int channel, int y) const
{
    const int count = std::max<int>(1, static_cast<int>(m_plot.channels.size()));
    const double band = static_cast<double>(height()) / count;
    const double middle = band * (channel + 0.5);
    return static_cast<float>(std::clamp((middle - y) / (band / 2 - 2), -1.0, 1.0));
}

QPoint MagnifiedPlotView::pointOf(int channel, std::size_t frame, float value) const
{
    const int count = std::max<int>(1, static_cast<int>(m_plot.channels.size()));
    const double band = static_cast<double>(height()) / count;
    const std::size_t frames = std::max<std::size_t>(2, m_plot.frames());
    const double x = static_cast<double>(frame) / static_cast<double>(frames - 1) * (width() - 1);
    const double y = band * (channel + 0.5) - value * (band / 2 - 2);
    return {static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y))};
}

void MagnifiedPlotView::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), QColor(0, 0, 64));
    const int count = static_cast<int>(m_plot.channels.size());
    for (int c = 0; c < count; ++c) {
        p.setPen(QColor(80, 80, 140));
        const QPoint zero = pointOf(c, 0, 0.0f);
        p.drawLine(0, zero.y(), width(), zero.y());
        const std::vector<float>& s = m_plot.channels[static_cast<std::size_t>(c)];
        p.setPen(QPen(QColor(0, 255, 0), 1));
        for (std::size_t i = 1; i < s.size(); ++i)
            p.drawLine(pointOf(c, i - 1, s[i - 1]), pointOf(c, i, s[i]));
        // Points for every sample when they are far enough apart to see.
        if (s.size() > 1 && width() / static_cast<int>(s.size()) >= 4) {
            p.setBrush(QColor(255, 255, 0));
            for (std::size_t i = 0; i < s.size(); ++i)
                p.drawEllipse(pointOf(c, i, s[i]), 2, 2);
        }
    }
}

void MagnifiedPlotView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint at = event->position().toPoint();
    m_channel = channelAt(at.y());
    m_lastFrame = frameAt(at.x());
    m_lastValue = valueAt(m_channel, at.y());
    m_plot.drawLine(m_channel, m_lastFrame, m_lastValue, m_lastFrame, m_lastValue);
    update();
}

void MagnifiedPlotView::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || m_channel < 0)
        return;
    const QPoint at = event->position().toPoint();
    const std::size_t frame = frameAt(at.x());
    const float value = valueAt(m_channel, at.y());
    // A line from the last point, so that a quick drag leaves no gaps.
    m_plot.drawLine(m_channel, m_lastFrame, m_lastValue, frame, value);
    m_lastFrame = frame;
    m_lastValue = value;
    update();
}

MagnifiedPlotDialog::MagnifiedPlotDialog(MagnifiedPlot& plot, QWidget* parent)
    : QDialog(parent), m_view(new MagnifiedPlotView(plot, this))
{
    setObjectName(QStringLiteral("MAGNIFIEDPLOT"));
    setWindowTitle(QString::fromStdString(plot.title));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Draw with the left mouse button to change the samples (%1 of them, from %2 s).")
                                     .arg(plot.frames())
                                     .arg(static_cast<double>(plot.firstFrame) / plot.rate, 0, 'f', 3),
                                 this));
    layout->addWidget(m_view, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}
