#pragma once

#include <string>

struct Spectrogram;

// The windows the view opens beside a document.
class ViewDialogs {
public:
    virtual ~ViewDialogs() = default;

    // The spectrum display of a selection.
    virtual void showSpectrum(const Spectrogram&, const std::string& /*title*/) {}
};

// The installed dialogs, or these answers when none is installed.
ViewDialogs& view_dialogs();
void set_view_dialogs(ViewDialogs* dialogs);
