#pragma once

#include <string>
#include <vector>

struct EffectDialog;
struct MagnifiedPlot;

// The dialogs of effects, plug-ins and the exports that run an effect.
class ModuleDialogs {
public:
    virtual ~ModuleDialogs() = default;

    // An effect's parameter dialog (effect_dialog.h): true for OK with the
    // chosen values in `dialog`.
    virtual bool runEffectDialog(EffectDialog&) { return false; }
    // The magnified plot: the samples of a short selection to redraw with
    // the mouse; true for OK with the redrawn samples in `plot`.
    virtual bool runMagnifiedPlot(MagnifiedPlot&) { return false; }
    // The plug-in host's choice of a plug-in: the index of the one chosen in
    // `names`, or -1 for Cancel.
    virtual int choosePlugin(const std::vector<std::string>&) { return -1; }
    // "JAF_FILE_COMPRESSION": five radio buttons (2000..2004), one on;
    // `button` holds the one on when the dialog opens and the one chosen
    // after OK. false for Cancel.
    virtual bool runJafDialog(int& /*button*/) { return false; }
    // An effect's result would clip: `text` says which and how many samples.
    // Normalize it to -0.1 dBFS, apply it clipped, or Cancel. Without a
    // dialog the text is shown as a message and the answer is Cancel.
    enum class ClipAnswer { Normalize, Clip, Cancel };
    virtual ClipAnswer askClipping(const std::string& text);
};

// The installed dialogs, or these answers when none is installed.
ModuleDialogs& module_dialogs();
void set_module_dialogs(ModuleDialogs* dialogs);
