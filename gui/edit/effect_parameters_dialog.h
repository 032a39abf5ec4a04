#pragma once

#include "modules/effect_dialog.h"

#include <QDialog>

class QWidget;

// An effect's parameter dialog on screen: one row per parameter (a number
// box with its unit, a list of choices or a check box), Preview when the
// effect offers one, OK, Cancel and Help. OK writes the values back.
class EffectParametersDialog : public QDialog {
    Q_OBJECT
public:
    EffectParametersDialog(EffectDialog& dialog, QWidget* parent = nullptr);
    void accept() override;
    // The editor of a parameter, by its key.
    QWidget* editor(const std::string& key) const;

private:
    // Copies what the editors show into `dialog`, and back.
    void collect(EffectDialog& dialog) const;
    void showValues(const EffectDialog& dialog);
    EffectDialog& m_dialog;
};
