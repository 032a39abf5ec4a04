#pragma once

#include <QDialog>

class QRadioButton;
class QSlider;

// "COPYSELECTION": what a highlight dragged onto another document does. The
// operation radios (11304 insert, 11305 paste, 11306 replace, 11307 mix,
// 11311 cross-fade), the two levels (1000 clipboard, 1001 destination, shown
// inverted), the cross-fade curve (11513 linear, 11506 exponential) and the
// channel target (245 both, 246 left, 247 right). Ends with the chosen
// operation code, or 2.
class CopySelectionDialog : public QDialog {
    Q_OBJECT
public:
    CopySelectionDialog(bool destinationHasHighlight, bool monoClipboard, QWidget* parent = nullptr);

    int chosenCode() const { return m_code; }
    QRadioButton* button(int id) const;
    QSlider* levelBar(int id) const;

    void accept() override;
    void reject() override;

private:
    void choose(int code);
    int m_code;
};

// The "SILENCE" dialog: minutes and seconds of silence, or as long as the
// highlight. Ends with 11500 (the time entered), 11518 (the highlight's
// length) or 2.
class SilenceDialog : public QDialog {
    Q_OBJECT
public:
    explicit SilenceDialog(QWidget* parent = nullptr);
    static constexpr int kTimeEntered = 11500;
    static constexpr int kHighlightLength = 11518;
};
