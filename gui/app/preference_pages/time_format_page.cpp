#include "app/preference_pages.h"

#include <QRadioButton>
#include <QVBoxLayout>

namespace {
// The values of the five choices: drop-frame is counted as plain 30.
constexpr int kValues[5] = {1, 24, 25, 30, 30};
}

CTimeFormat::CTimeFormat(QWidget* parent) : PreferencePage(parent)
{
    setObjectName(QStringLiteral("CTimeFormat"));
    auto* layout = new QVBoxLayout(this);
    const QString texts[5] = {QStringLiteral("&Seconds"), QStringLiteral("SMPTE 2&4"), QStringLiteral("SMPTE 2&5"),
                              QStringLiteral("SMPTE &30"), QStringLiteral("SMPTE 30 &Drop")};
    for (int i = 0; i < 5; ++i) {
        m_choices[i] = new QRadioButton(texts[i], this);
        layout->addWidget(m_choices[i]);
    }
    layout->addStretch();
}

void CTimeFormat::load(const Preferences& prefs)
{
    int index = 0;
    for (int i = 0; i < 4; ++i)
        if (kValues[i] == prefs.timeFormat)
            index = i;
    m_choices[index]->setChecked(true);
}

void CTimeFormat::store(Preferences& prefs) const
{
    for (int i = 0; i < 5; ++i)
        if (m_choices[i]->isChecked())
            prefs.timeFormat = kValues[i];
}
