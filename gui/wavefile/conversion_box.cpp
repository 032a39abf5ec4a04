#include "wavefile/conversion_box.h"

#include "app/cancel_watcher.h"

#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>

ConversionBox::ConversionBox(QWidget* parent, const QString& source, const QString& destination)
    : QDialog(parent), m_abort(new QPushButton(tr("Abort"), this)), m_watcher(new CancelWatcher(m_abort))
{
    setObjectName(QStringLiteral("ConversionBox"));
    setWindowTitle(QStringLiteral("Halvorn Wave Converter"));
    setWindowModality(Qt::WindowModal);
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setStyleHint(QFont::TypeWriter);
    auto* form = new QFormLayout(this);
    const QString texts[] = {source, destination, QStringLiteral("0%")};
    const QString rows[] = {tr("From:"), tr("To:"), tr("Done:")};
    for (int i = 0; i < 3; ++i) {
        auto* label = new QLabel(texts[i], this);
        label->setObjectName(QString::number(100 + i));
        label->setFont(fixed);
        form->addRow(rows[i], label);
    }
    m_abort->setObjectName(QStringLiteral("2"));
    form->addRow(m_abort);
}

bool ConversionBox::pollAbort() { return m_watcher->poll(); }
