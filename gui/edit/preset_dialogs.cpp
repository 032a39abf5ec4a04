#include "edit/preset_dialogs.h"

#include "app/messages.h"
#include "edit/presets.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

PresetSelectDialog::PresetSelectDialog(PresetContext& context, QWidget* parent)
    : QDialog(parent), m_context(context), m_list(new QListWidget(this))
{
    setObjectName(QStringLiteral("NEWSELECT"));
    setWindowTitle(QString::fromStdString(context.title));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_list);
    auto* row = new QHBoxLayout;
    const auto addButton = [&](const QString& text, const char* name, auto slot) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        connect(b, &QPushButton::clicked, this, slot);
        row->addWidget(b);
    };
    addButton(tr("&Select"), "select", [this] { selectCurrent(); });
    addButton(tr("&Delete"), "delete", [this] { deleteCurrent(); });
    addButton(tr("Delete &all"), "deleteAll", [this] { deleteAll(); });
    addButton(tr("Cancel"), "cancel", [this] { done(2); });
    layout->addLayout(row);
    connect(m_list, &QListWidget::itemDoubleClicked, this, [this] { selectCurrent(); });
    reload();
}

void PresetSelectDialog::reload()
{
    m_list->clear();
    for (const std::string& name : list_presets(m_context))
        m_list->addItem(QString::fromStdString(name));
    if (m_list->count() > 0)
        m_list->setCurrentRow(0);
}

void PresetSelectDialog::selectCurrent()
{
    if (!m_list->currentItem()) {
        message_beep();
        return;
    }
    m_chosen = m_list->currentItem()->text();
    done(1);
}

void PresetSelectDialog::deleteCurrent()
{
    const int row = m_list->currentRow();
    if (row < 0 || !delete_preset(m_context, row)) {
        message_beep();
        return;
    }
    reload();
    m_list->setCurrentRow(std::min(row, m_list->count() - 1));
}

void PresetSelectDialog::deleteAll()
{
    if (!delete_preset_section(m_context)) {
        message_beep();
        return;
    }
    reload();
}

PresetSaveDialog::PresetSaveDialog(PresetContext& context, QWidget* parent)
    : QDialog(parent), m_context(context), m_name(new QLineEdit(this))
{
    setObjectName(QStringLiteral("SAVE"));
    setWindowTitle(QString::fromStdString(context.title));
    m_name->setObjectName(QStringLiteral("260"));
    m_name->setMaxLength(100);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Preset name:"), this));
    layout->addWidget(m_name);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &PresetSaveDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { done(2); });
    layout->addWidget(buttons);
}

void PresetSaveDialog::accept()
{
    const QString name = m_name->text().trimmed();
    if (name.isEmpty()) {
        message_beep();
        return;
    }
    switch (save_preset(m_context, name.toStdString(), m_context.extra)) {
    case SavePresetResult::Saved: done(1); return;
    case SavePresetResult::Kept:
        // Not replaced: the text before this try comes back.
        m_name->setText(m_previous);
        return;
    default: break;
    }
    m_previous = name;
}
