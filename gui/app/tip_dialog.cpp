#include "app/tip_dialog.h"

#include "app/preference_store.h"
#include "app/preferences.h"

#include <QCheckBox>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

QStringList TipDialog::tips()
{
    return {
        tr("Drag along the strip at the top of a document to select that part and zoom in on it."),
        tr("Click in the upper quarter of a stereo document to select the left channel only, in the "
           "lower quarter for the right channel."),
        tr("Hold Shift and click to move the nearer edge of the highlight."),
        tr("Ctrl+B and Ctrl+E show the beginning and the end of a file; Ctrl+H brings the highlight "
           "into view."),
        tr("Alt+Z zooms in as far as it goes, Alt+U shows the whole file."),
        tr("Drop WAVE files on the main window to open them."),
        tr("Choose seconds or SMPTE time in Options, Preferences, Time Format."),
    };
}

TipDialog::TipDialog(QWidget* parent) : QDialog(parent), m_tip(new QLabel(this)), m_showAtStart(new QCheckBox(this))
{
    setObjectName(QStringLiteral("TipDialog"));
    setWindowTitle(tr("Tip of the Day"));
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel(tr("<b>Did you know...</b>"), this);
    m_tip->setWordWrap(true);
    m_tip->setMinimumSize(360, 80);
    m_showAtStart->setText(tr("&Show tips at startup"));
    m_showAtStart->setChecked(preferences().tipOfTheDay);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* next = buttons->addButton(tr("&Next Tip"), QDialogButtonBox::ActionRole);
    connect(next, &QPushButton::clicked, this, [this] { showTip(m_index + 1); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(title);
    layout->addWidget(m_tip);
    layout->addWidget(m_showAtStart);
    layout->addWidget(buttons);
    showTip(static_cast<int>(QDateTime::currentSecsSinceEpoch() / 86400));
}

void TipDialog::showTip(int index)
{
    const QStringList all = tips();
    m_index = index % static_cast<int>(all.size());
    m_tip->setText(all[m_index]);
}

void TipDialog::done(int result)
{
    if (preferences().tipOfTheDay != m_showAtStart->isChecked()) {
        preferences().tipOfTheDay = m_showAtStart->isChecked();
        write_preferences();
    }
    QDialog::done(result);
}
