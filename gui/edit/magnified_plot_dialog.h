#pragma once

#include <QDialog>
#include <QWidget>

struct MagnifiedPlot;

// The magnified plot's drawing area: each channel in a band of its own, one
// point per sample joined by lines; pressing and dragging the left button
// redraws the samples under the pointer.
class MagnifiedPlotView : public QWidget {
    Q_OBJECT
public:
    MagnifiedPlotView(MagnifiedPlot& plot, QWidget* parent = nullptr);
    QSize sizeHint() const override { return {900, 420}; }
    // The sample and value under a point of the view; the channel band.
    int channelAt(int y) const;
    std::size_t frameAt(int x) const;
    float valueAt(int channel, int y) const;
    QPoint pointOf(int channel, std::size_t frame, float value) const;

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    MagnifiedPlot& m_plot;
    int m_channel = -1;
    std::size_t m_lastFrame = 0;
    float m_lastValue = 0;
};

// The dialog around it: OK commits the redrawn samples, Cancel leaves them.
class MagnifiedPlotDialog : public QDialog {
    Q_OBJECT
public:
    MagnifiedPlotDialog(MagnifiedPlot& plot, QWidget* parent = nullptr);
    MagnifiedPlotView* view() const { return m_view; }

private:
    MagnifiedPlotView* m_view;
};
