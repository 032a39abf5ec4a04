#pragma once

#include "app/dialog_slot.h"
#include "app/progress_box.h"
#include "app/ui_host.h"
#include "edit/edit_dialogs.h"
#include "modules/module_dialogs.h"
#include "view/view_dialogs.h"
#include "wavefile/wavefile_dialogs.h"
#include "wavefile/conversion_box.h"

#include <QPointer>
#include <functional>

class QMainWindow;
class QPainter;

// The user interface of the windowed program: message boxes, the progress
// box over the main window's status bar, owner-drawn buttons, help, and every
// subsystem's dialogs, which it answers from when it is made until it goes.
class QtUiHost : public UiHost, public WaveFileDialogs, public ViewDialogs, public EditDialogs, public ModuleDialogs {
public:
    explicit QtUiHost(QMainWindow* mainWindow);
    QtUiHost(const QtUiHost&) = delete;
    QtUiHost& operator=(const QtUiHost&) = delete;

    int messageBox(HWND owner, const std::string& text, const std::string& caption, unsigned style) override;
    void beep() override;
    void setMainWindowTitle(const std::string& title) override;
    HWND createProgressBox(const std::string& text, bool showCancel) override;
    void destroyProgressBox(HWND box) override;
    void drawProgressBar(HWND box, int percent, const std::string& barText) override;
    bool takeCancelClick(HWND box) override;
    void drawTextOnControl(HWND parent, int controlId, const std::string& text, const ControlTextStyle& style) override;
    void setControlText(HWND dialog, int controlId, const std::string& text) override;
    void paintBitmapButton(const OwnerDrawItem& item, const std::string& bitmapName, const std::string& label,
                           bool labelInRightHalf) override;
    void centreWindow(HWND window) override;
    void showHelp(const std::string& helpFile, int contextId) override;
    void setWaitCursor(bool on) override;
    bool runNewFileDialog() override;
    bool runEffectDialog(EffectDialog& dialog) override;
    int runPresetSelect(PresetContext& context, std::string& chosen) override;
    int runPresetSave(PresetContext& context) override;
    void showSpectrum(const Spectrogram& spectrogram, const std::string& title) override;
    bool runMagnifiedPlot(MagnifiedPlot& plot) override;
    HWND createConversionBox(const std::string& source, const std::string& destination) override;
    void destroyConversionBox(HWND box) override;
    std::string askSaveFileName(const std::string& title, const std::string& suggestion) override;
    bool askMarkerName(std::string& name) override;
    void refillCueList(const CChildFrame* frame, const CueList& list) override;
    // Runs the event loop once and reports an Escape key pressed anywhere
    // in the program since the last question.
    bool escapePressed() override;
    bool runJafDialog(int& button) override;
    int choosePlugin(const std::vector<std::string>& names) override;
    int runRealMediaDialog(RealMediaSettings& settings, int channels, const RealMediaEncode& encode) override;
    std::optional<ChannelChoice> askChannelChoice(const std::string& file, int channels) override;
    ClipAnswer askClipping(const std::string& text) override;

    ProgressBox* progressBox() const { return m_progress; }
    // The painter an owner-drawn button is painting with, for the duration of its paint.
    void setButtonPainter(QPainter* painter) { m_buttonPainter = painter; }

private:
    // This host answers every subsystem's dialogs while it lives.
    DialogInstallation<WaveFileDialogs> m_wavefileDialogs{this, wavefile_dialogs, set_wavefile_dialogs};
    DialogInstallation<ViewDialogs> m_viewDialogs{this, view_dialogs, set_view_dialogs};
    DialogInstallation<EditDialogs> m_editDialogs{this, edit_dialogs, set_edit_dialogs};
    DialogInstallation<ModuleDialogs> m_moduleDialogs{this, module_dialogs, set_module_dialogs};
    QMainWindow* m_main;
    QPointer<ProgressBox> m_progress;
    QPointer<ConversionBox> m_conversion;
    QPainter* m_buttonPainter = nullptr;
    class EscapeWatch* m_escape = nullptr;
};

// Window handles and widgets. A widget's handle is its address, remembered
// while the widget lives; a document's handle is the core's token for its
// frame, which the lookup below turns into the document's window. Any other
// handle (or one whose widget has gone) gives no widget.
HWND handle_of(QWidget* widget);
QWidget* widget_of(HWND handle);
void set_document_window_lookup(std::function<QWidget*(HWND)> lookup);
