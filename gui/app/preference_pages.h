#pragma once

#include "app/preferences.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QRadioButton;
class QSpinBox;

// The pages of the preference sheet. Each shows its part of the preferences
// and writes it back into a Preferences value.
class PreferencePage : public QWidget {
    Q_OBJECT
public:
    using QWidget::QWidget;
    virtual void load(const Preferences& prefs) = 0;
    virtual void store(Preferences& prefs) const = 0;
};

// Wave devices and the size of the level indicators.
class CWave : public PreferencePage {
    Q_OBJECT
public:
    explicit CWave(QWidget* parent = nullptr);
    void load(const Preferences& prefs) override;
    void store(Preferences& prefs) const override;

private:
    QComboBox* m_input;
    QComboBox* m_output;
    QCheckBox* m_bigIndicators;
    QCheckBox* m_systemMixer;
};

// MIDI devices.
class CMidi : public PreferencePage {
    Q_OBJECT
public:
    explicit CMidi(QWidget* parent = nullptr);
    void load(const Preferences& prefs) override;
    void store(Preferences& prefs) const override;

private:
    QSpinBox* m_input;
    QSpinBox* m_output;
    class QCheckBox* m_compensate;
};

// Tool tips, colour display and the web browser.
class CTool : public PreferencePage {
    Q_OBJECT
public:
    explicit CTool(QWidget* parent = nullptr);
    void load(const Preferences& prefs) override;
    void store(Preferences& prefs) const override;

private:
    QCheckBox* m_toolTips;
    QCheckBox* m_colour;
    QLineEdit* m_browser;
};

// What happens at start-up, and the data directory.
class CStartup : public PreferencePage {
    Q_OBJECT
public:
    explicit CStartup(QWidget* parent = nullptr);
    void load(const Preferences& prefs) override;
    void store(Preferences& prefs) const override;

private:
    QCheckBox* m_logo;
    QCheckBox* m_tip;
    QCheckBox* m_zoomed;
    QLineEdit* m_dataDirectory;
};

// Other switches.
class COptions : public PreferencePage {
    Q_OBJECT
public:
    explicit COptions(QWidget* parent = nullptr);
    void load(const Preferences& prefs) override;
    void store(Preferences& prefs) const override;

private:
    QCheckBox* m_voice;
    QCheckBox* m_bigTime;
    QCheckBox* m_backup;
    QCheckBox* m_markerNames;
};

// Seconds or SMPTE; "SMPTE 30 &Drop" stores 30 like "SMPTE &30".
class CTimeFormat : public PreferencePage {
    Q_OBJECT
public:
    explicit CTimeFormat(QWidget* parent = nullptr);
    void load(const Preferences& prefs) override;
    void store(Preferences& prefs) const override;
    QRadioButton* choice(int index) const { return m_choices[index]; }

private:
    QRadioButton* m_choices[5];
};

// The six display colours, with "&Default".
class CColors : public PreferencePage {
    Q_OBJECT
public:
    explicit CColors(QWidget* parent = nullptr);
    void load(const Preferences& prefs) override;
    void store(Preferences& prefs) const override;
    void restoreDefaults();

private:
    QComboBox* m_colours[kDisplayColourCount];
};
