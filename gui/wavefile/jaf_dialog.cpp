#include "wavefile/jaf_dialog.h"

#include "app/control_drawing.h"
#include "app/qt_ui_host.h"
#include "wavefile/jaf_file.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

JafDialog::JafDialog(int button, QWidget* parent) : QDialog(parent), m_group(new QButtonGroup(this))
{
    setObjectName(QStringLiteral("JAF_FILE_COMPRESSION"));
    setWindowTitle(tr("JAF File Compression"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Down-sampling ratio:"), this));
    for (int i = 0; i < static_cast<int>(kJafRatios.size()); ++i) {
        const float ratio = kJafRatios[static_cast<std::size_t>(i)];
        auto* radio = new QRadioButton(tr("%1 : 1  (%2 Hz of a 44.1 kHz file)")
                                           .arg(static_cast<double>(ratio), 0, 'g', 5)
                                           .arg(jaf_average_bytes(ratio)),
                                       this);
        radio->setObjectName(QString::number(2000 + i));
        m_group->addButton(radio, 2000 + i);
        layout->addWidget(radio);
    }
    if (QAbstractButton* on = m_group->button(button))
        on->setChecked(true);
    else
        m_group->button(2000)->setChecked(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton* help = buttons->addButton(QDialogButtonBox::Help);
    help->setObjectName(QStringLiteral("1405"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(help, &QPushButton::clicked, this, [this] { new_show_context_help(handle_of(this), 11206); });
    layout->addWidget(buttons);
}

int JafDialog::chosenButton() const { return m_group->checkedId(); }
