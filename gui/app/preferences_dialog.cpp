#include "app/preferences_dialog.h"

#include "app/preference_pages.h"
#include "app/preference_store.h"

#include <QDialogButtonBox>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

PreferencesDialog::PreferencesDialog(QWidget* parent) : QDialog(parent), m_tabs(new QTabWidget(this))
{
    setObjectName(QStringLiteral("PreferencesDialog"));
    setWindowTitle(tr("Preferences"));
    auto* layout = new QVBoxLayout(this);
    const std::pair<PreferencePage*, QString> pages[] = {
        {new CWave(this), tr("Wave")},       {new CMidi(this), tr("MIDI")},
        {new CTool(this), tr("Tools")},      {new CStartup(this), tr("Startup")},
        {new COptions(this), tr("Options")}, {new CTimeFormat(this), tr("Time Format")},
        {new CColors(this), tr("Colors")},
    };
    for (const auto& [page, title] : pages) {
        page->load(preferences());
        m_tabs->addTab(page, title);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(m_tabs);
    layout->addWidget(buttons);
    // Every tab's title shows at once (no scrolling tab row) and the dialog
    // opens large enough for its largest page.
    m_tabs->tabBar()->setUsesScrollButtons(false);
    m_tabs->tabBar()->setExpanding(false);
    m_tabs->setElideMode(Qt::ElideNone);
    resize(sizeHint().expandedTo(minimumSizeHint()));
}

PreferencePage* PreferencesDialog::page(int index) const
{
    return static_cast<PreferencePage*>(m_tabs->widget(index));
}

void PreferencesDialog::accept()
{
    Preferences& prefs = preferences();
    for (int i = 0; i < m_tabs->count(); ++i)
        page(i)->store(prefs);
    write_preferences();
    // The data directory may have changed; reading back fills in and applies it.
    read_preferences();
    QDialog::accept();
}
