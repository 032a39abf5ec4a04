#pragma once

#include <QWidget>

// The record dialog's level display: two bars for the left and right peaks
// (-128..127, only the positive part shows) and, beside each, a decibel
// gauge that holds its highest reading until reset.
class RecordVolumeIndicator : public QWidget {
    Q_OBJECT
public:
    explicit RecordVolumeIndicator(QWidget* parent = nullptr);
    void setPeaks(int left, int right);
    void clear() { setPeaks(-128, -128); }
    int left() const { return m_left; }
    int right() const { return m_right; }
    QSize sizeHint() const override { return {260, 44}; }

protected:
    void paintEvent(QPaintEvent*) override;

private:
    int m_left = -128;
    int m_right = -128;
};

// One decibel gauge: the peak in dB below full scale, with its hold.
class DecibelGauge : public QWidget {
    Q_OBJECT
public:
    explicit DecibelGauge(QWidget* parent = nullptr);
    void setPeak(int peak);
    void resetHold();
    double heldDb() const { return m_holdDb; }
    QSize sizeHint() const override { return {90, 22}; }
    // A peak on the -128..127 scale in dB below full scale; silence is -60 dB.
    static double decibels(int peak);

protected:
    void paintEvent(QPaintEvent*) override;

private:
    double m_db = -60.0;
    double m_holdDb = -60.0;
};

// Control 425: red while a peak is at 126 or more, light grey otherwise.
class ClipIndicator : public QWidget {
    Q_OBJECT
public:
    explicit ClipIndicator(QWidget* parent = nullptr);
    void setLit(bool lit);
    bool lit() const { return m_lit; }
    QSize sizeHint() const override { return {40, 22}; }

protected:
    void paintEvent(QPaintEvent*) override;

private:
    bool m_lit = false;
};
