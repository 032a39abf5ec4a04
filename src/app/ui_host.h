#pragma once

#include "app/window_handle.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct EffectDialog;
struct PresetContext;
struct Spectrogram;
struct MagnifiedPlot;
struct CueList;
struct RealMediaSettings;
class CChildFrame;

// Everything the core asks of a user interface: message boxes, the one modeless
// progress box, text painted into dialog controls, help and the wait cursor.
// The Qt program installs a widget implementation; the command line and the
// tests install HeadlessUiHost. The core never talks to a window any other way.

struct ControlTextStyle {
    std::string face;          // font face name, e.g. "Helv"
    int tenthsOfPoint = 80;    // font size in tenths of a point
    std::uint32_t colour = 0;  // 0x00BBGGRR
    unsigned flags = 0;        // draw flags; 100 means bold and embossed
    std::uint32_t background = 0;
    bool ownBackground = false;  // false: the button-face colour
    int weight = 400;
};

// The owner-draw record of a bitmap button, reduced to what painting needs.
struct OwnerDrawItem {
    int controlId = 0;
    bool drawEntire = true;
    bool disabled = false;
    bool selected = false;
    bool focused = false;
    HWND control = nullptr;
};

class UiHost {
public:
    virtual ~UiHost() = default;

    // A modal message box; returns one of the MessageBoxResult values.
    virtual int messageBox(HWND owner, const std::string& text, const std::string& caption,
                           unsigned style) = 0;
    virtual void beep() = 0;
    virtual void setMainWindowTitle(const std::string& title) = 0;

    virtual HWND createProgressBox(const std::string& text, bool showCancel) = 0;
    virtual void destroyProgressBox(HWND box) = 0;
    // Paints the bar control of the box: percent of its width filled, barText on top.
    virtual void drawProgressBar(HWND box, int percent, const std::string& barText) = 0;
    // Takes the next mouse message addressed to the box; true only for a left
    // press strictly inside its Cancel button.
    virtual bool takeCancelClick(HWND box) = 0;

    // The wave converter's box: source (control 100), destination (101), the
    // percentage (102, set with setControlText) and an abort button that
    // takeCancelClick reports.
    virtual HWND createConversionBox(const std::string& source, const std::string& destination) = 0;
    virtual void destroyConversionBox(HWND box) = 0;

    virtual void drawTextOnControl(HWND parent, int controlId, const std::string& text,
                                   const ControlTextStyle& style) = 0;
    // Sets the plain text of a dialog control.
    virtual void setControlText(HWND dialog, int controlId, const std::string& text) = 0;
    virtual void paintBitmapButton(const OwnerDrawItem& item, const std::string& bitmapName,
                                   const std::string& label, bool labelInRightHalf) = 0;
    virtual void centreWindow(HWND window) = 0;

    virtual void showHelp(const std::string& helpFile, int contextId) = 0;
    virtual void setWaitCursor(bool on) = 0;

    // Asks for the name of a file to write (a save dialog titled `title`);
    // empty when cancelled.
    virtual std::string askSaveFileName(const std::string& title, const std::string& suggestion) = 0;

    // The "CREATENEWFILE" dialog: lets the user set channels, bits and rate in
    // the current wave format. Returns false when cancelled.
    virtual bool runNewFileDialog() = 0;

    // An effect's parameter dialog (see modules/effect_dialog.h): true for OK
    // with the chosen values in `dialog`.
    virtual bool runEffectDialog(EffectDialog& dialog) = 0;

    // "NEWSELECT": the presets of the context to pick from (and delete);
    // the dialog's result (1 picked, 2 cancelled, 373 the further button)
    // and the picked name.
    virtual int runPresetSelect(PresetContext& context, std::string& chosen) = 0;
    // "SAVE": a name to store the current settings under; 1 saved, 2 cancelled.
    virtual int runPresetSave(PresetContext& context) = 0;

    // The spectrum display of a selection.
    virtual void showSpectrum(const Spectrogram& spectrogram, const std::string& title) = 0;

    // The magnified plot: the samples of a short selection to redraw with
    // the mouse; true for OK with the redrawn samples in `plot`.
    virtual bool runMagnifiedPlot(MagnifiedPlot& plot) = 0;

    // "ENTERMARKERNAME": a name for the time mark being made, at most 29
    // characters. false for Cancel (an empty name counts as Cancel).
    virtual bool askMarkerName(std::string& name) = 0;
    // The cue list of `frame` changed: the main frame's combo box shows it
    // when `frame` is the active document.
    virtual void refillCueList(const CChildFrame* frame, const CueList& list) = 0;
    // Whether Escape was pressed since the last question (a wait for a
    // helper program ends on it).
    virtual bool escapePressed() = 0;
    // "JAF_FILE_COMPRESSION": five radio buttons (2000..2004), one on;
    // `button` holds the one on when the dialog opens and the one chosen
    // after OK. false for Cancel.
    virtual bool runJafDialog(int& button) = 0;
    // The plug-in host's choice of a plug-in: the index of the one chosen in
    // `names`, or -1 for Cancel.
    virtual int choosePlugin(const std::vector<std::string>& names) = 0;
    // The RealMedia encoding dialog for a document of `channels` channels:
    // codecs, descriptions and sliders; its Encode runs `encode` with the
    // chosen settings and a line for the progress. The result of the
    // encoding, or 0 when cancelled before it.
    using RealMediaEncode =
        std::function<int(const RealMediaSettings&, const std::function<void(const std::string&)>&)>;
    virtual int runRealMediaDialog(RealMediaSettings& settings, int channels, const RealMediaEncode& encode) = 0;
};

// The host in use. Before any host is installed a HeadlessUiHost answers.
UiHost& uiHost();
void setUiHost(UiHost* host);
