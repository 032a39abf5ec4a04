#pragma once

#include "audio/record_engine.h"

#include <QDialog>
#include <functional>
#include <utility>
#include <vector>

class CChildFrame;
class ClipIndicator;
class DecibelGauge;
class QAbstractButton;
class QLabel;
class QTimer;
class RecordVolumeIndicator;

// "NewRecord": the modal record dialog on one document. It drives the
// record engine (takes, the level test, play of the take) and shows what the
// engine reports: meters, clip indicator, elapsed, available and recorded
// time. OK hands the take to the document; Cancel throws it away.
class RecordDialog : public QDialog, public RecordHost {
    Q_OBJECT
public:
    // The open documents with their window titles, for "Record To...".
    using DocumentList = std::function<std::vector<std::pair<CChildFrame*, QString>>()>;
    // Shows a time in the big play/record time window (an empty text only
    // shows the window).
    using BigTime = std::function<void(const QString&)>;

    RecordDialog(CChildFrame& frame, DocumentList documents, BigTime bigTime, QWidget* parent = nullptr);
    ~RecordDialog() override;

    void accept() override;
    void reject() override;
    // Runs a control's command, as a click on it does.
    void command(int id);
    QAbstractButton* button(int id) const;
    QLabel* label(int id) const;
    ClipIndicator* clipIndicator() const { return m_clip; }
    RecordVolumeIndicator* volumeIndicator() const { return m_volume; }
    // The "Record To..." menu as it would pop up: item texts, the checked one.
    std::vector<std::pair<QString, bool>> recordToItems() const;
    void chooseRecordTarget(int index);

    // RecordHost
    void showMeters(const Peaks& peaks) override;
    void clearMeters() override;
    void showElapsed(const std::string& text) override;
    void showAvailable(const std::string& text) override;
    void showRecordLength(const std::string& text) override;
    void showTriggerStatus(const std::string& text) override;
    void showRecordPosition(double seconds) override;
    void metronomeTick() override;
    void showTimeWindow() override;
    void captureStateChanged() override;

private:
    QWidget* buildTransport();
    QWidget* buildMeters();
    QWidget* buildOptions();
    QAbstractButton* addButton(QWidget* parent, int id, const QString& text);
    QLabel* addTimeLabel(QWidget* parent, int id, int pointSize, bool bold, const QString& colour);
    void updateButtons();
    // Ends a take, a test or the take's play-back, waiting for the device.
    void stopAll();
    void showRecordToMenu();
    void pollPlayback();

    DocumentList m_documents;
    BigTime m_bigTime;
    RecordVolumeIndicator* m_volume = nullptr;
    DecibelGauge* m_gauges[2] = {nullptr, nullptr};
    ClipIndicator* m_clip = nullptr;
    QTimer* m_playTimer = nullptr;
    bool m_wasPlaying = false;
};
