#include "wavefile/info_editor_dialog.h"

#include "app/control_drawing.h"
#include "app/qt_ui_host.h"
#include "wavefile/riff_info.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// Items with fields of their own: control id = 1000 + table index.
constexpr int kDirectFields[] = {1001, 1003, 1004, 1005, 1009, 1017};

}  // namespace

InfoEditorDialog::InfoEditorDialog(std::shared_ptr<InfoList> list, QWidget* parent)
    : QDialog(parent), m_list(std::move(list)), m_items(new QComboBox(this)), m_help(new QLabel(this)),
      m_value(new QLineEdit(this))
{
    setObjectName(QStringLiteral("DLG_INFOEDIT"));
    setWindowTitle(tr("Edit INFO"));
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    m_items->setObjectName(QStringLiteral("100"));
    m_items->setFont(QFont(QStringLiteral("Monospace")));
    m_help->setObjectName(QStringLiteral("101"));
    m_help->setWordWrap(true);
    m_help->setFont(small);
    m_help->setMinimumHeight(60);
    m_value->setObjectName(QStringLiteral("102"));
    m_value->setFont(small);
    m_value->setMaxLength(255);
    m_value->installEventFilter(this);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_items);
    layout->addWidget(m_help);
    layout->addWidget(m_value);
    auto* form = new QFormLayout;
    for (int id : kDirectFields) {
        auto* edit = new QLineEdit(this);
        edit->setObjectName(QString::number(id));
        edit->setMaxLength(255);
        edit->installEventFilter(this);
        form->addRow(QString::fromLatin1(info_item_definition(id - 1000).name) + ':', edit);
    }
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    rebuildList();
    m_items->setCurrentIndex(0);
    showSelected();
    refreshDirectFields();
    connect(m_items, &QComboBox::currentIndexChanged, this, [this] {
        refreshDirectFields();
        showSelected();
    });
    // Once, 150 ms after opening: an artist of fewer than two characters
    // becomes "Unknown".
    QTimer::singleShot(150, this, [this] {
        QLineEdit* artist = field(1001);
        if (artist && artist->text().size() < 2)
            artist->setText(QStringLiteral("Unknown"));
    });
}

QLineEdit* InfoEditorDialog::field(int controlId) const { return findChild<QLineEdit*>(QString::number(controlId)); }

void InfoEditorDialog::rebuildList()
{
    const int selected = m_items->currentIndex();
    const QSignalBlocker block(m_items);
    m_items->clear();
    for (int i = 0; i < kInfoItemCount; ++i)
        m_items->addItem(QString::fromStdString(info_item_label(*m_list, i)));
    m_items->setCurrentIndex(selected < 0 ? 0 : selected);
}

void InfoEditorDialog::showSelected()
{
    const int index = m_items->currentIndex();
    if (index < 0 || index >= static_cast<int>(m_list->items.size())) {
        m_help->setText(QStringLiteral("Can't FIND iSel"));
        return;
    }
    m_help->setText(QString::fromLatin1(info_item_definition(index).help));
    m_value->setText(QString::fromStdString(info_item_value(*m_list, index).value_or(std::string())));
}

void InfoEditorDialog::refreshDirectFields()
{
    for (int id : kDirectFields)
        if (QLineEdit* edit = field(id))
            edit->setText(QString::fromStdString(info_item_value(*m_list, id - 1000).value_or(std::string())));
}

void InfoEditorDialog::commitField(int controlId)
{
    QLineEdit* edit = field(controlId);
    if (!edit)
        return;
    const int index = controlId == 102 ? m_items->currentIndex() : controlId - 1000;
    if (index < 0 || index >= kInfoItemCount) {
        m_help->setText(QStringLiteral("Can't FIND iSel"));
        return;
    }
    const std::string text = edit->text().left(255).toStdString();
    set_info_item_value(*m_list, index, text.c_str(), INFOCHUNK_EDITED);
    rebuildList();
    if (controlId != 102)
        showSelected();
    else
        refreshDirectFields();
}

bool InfoEditorDialog::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusOut)
        if (auto* edit = qobject_cast<QLineEdit*>(watched))
            commitField(edit->objectName().toInt());
    return QDialog::eventFilter(watched, event);
}

int edit_info_list(QWidget* owner, const std::shared_ptr<InfoList>& list)
{
    if (!list)
        return 2;
    InfoEditorDialog dialog(list, owner);
    center_dialog_box(handle_of(&dialog));
    dialog.exec();
    return 0;
}
