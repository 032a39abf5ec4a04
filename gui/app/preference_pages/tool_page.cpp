#include "app/preference_pages.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLineEdit>

CTool::CTool(QWidget* parent)
    : PreferencePage(parent), m_toolTips(new QCheckBox(this)), m_colour(new QCheckBox(this)), m_browser(new QLineEdit(this))
{
    setObjectName(QStringLiteral("CTool"));
    auto* form = new QFormLayout(this);
    m_toolTips->setText(tr("Show &tool tips"));
    m_colour->setText(tr("&Colour display"));
    m_browser->setPlaceholderText(tr("none chosen"));
    form->addRow(m_toolTips);
    form->addRow(m_colour);
    form->addRow(tr("Preferred &browser:"), m_browser);
}

void CTool::load(const Preferences& prefs)
{
    m_toolTips->setChecked(prefs.toolTips);
    m_colour->setChecked(prefs.colorDisplay);
    m_browser->setText(QString::fromStdString(prefs.browserChosen ? prefs.preferredBrowser : std::string()));
}

void CTool::store(Preferences& prefs) const
{
    prefs.toolTips = m_toolTips->isChecked();
    prefs.colorDisplay = m_colour->isChecked();
    prefs.preferredBrowser = m_browser->text().trimmed().toStdString();
    prefs.browserChosen = !prefs.preferredBrowser.empty();
}
