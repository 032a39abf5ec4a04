#include "app/preference_pages.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLineEdit>

CStartup::CStartup(QWidget* parent)
    : PreferencePage(parent),
      m_logo(new QCheckBox(this)),
      m_tip(new QCheckBox(this)),
      m_zoomed(new QCheckBox(this)),
      m_dataDirectory(new QLineEdit(this))
{
    setObjectName(QStringLiteral("CStartup"));
    auto* form = new QFormLayout(this);
    m_logo->setText(tr("Show &logo"));
    m_tip->setText(tr("Show &tip of the day"));
    m_zoomed->setText(tr("&Zoomed initial display"));
    form->addRow(m_logo);
    form->addRow(m_tip);
    form->addRow(m_zoomed);
    form->addRow(tr("&Data directory:"), m_dataDirectory);
}

void CStartup::load(const Preferences& prefs)
{
    m_logo->setChecked(prefs.showLogo);
    m_tip->setChecked(prefs.tipOfTheDay);
    m_zoomed->setChecked(prefs.zoomedInitialDisplay);
    m_dataDirectory->setText(QString::fromStdString(prefs.lastUsedDirectory));
}

void CStartup::store(Preferences& prefs) const
{
    prefs.showLogo = m_logo->isChecked();
    prefs.tipOfTheDay = m_tip->isChecked();
    prefs.zoomedInitialDisplay = m_zoomed->isChecked();
    const std::string dir = m_dataDirectory->text().trimmed().toStdString();
    if (!dir.empty())
        prefs.lastUsedDirectory = dir;
}
