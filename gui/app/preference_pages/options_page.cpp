#include "app/preference_pages.h"

#include <QCheckBox>
#include <QVBoxLayout>

COptions::COptions(QWidget* parent)
    : PreferencePage(parent),
      m_voice(new QCheckBox(tr("&Voice message"), this)),
      m_bigTime(new QCheckBox(tr("Big &time display"), this)),
      m_backup(new QCheckBox(tr("&Backup for undo"), this)),
      m_markerNames(new QCheckBox(tr("&Marker name on the fly"), this))
{
    setObjectName(QStringLiteral("COptions"));
    auto* layout = new QVBoxLayout(this);
    for (QCheckBox* box : {m_voice, m_bigTime, m_backup, m_markerNames})
        layout->addWidget(box);
    layout->addStretch();
}

void COptions::load(const Preferences& prefs)
{
    m_voice->setChecked(prefs.voiceMessage);
    m_bigTime->setChecked(prefs.bigTimeDisplay);
    m_backup->setChecked(prefs.backupForUndo);
    m_markerNames->setChecked(prefs.markerNameOnTheFly);
}

void COptions::store(Preferences& prefs) const
{
    prefs.voiceMessage = m_voice->isChecked();
    prefs.bigTimeDisplay = m_bigTime->isChecked();
    prefs.backupForUndo = m_backup->isChecked();
    prefs.markerNameOnTheFly = m_markerNames->isChecked();
}
