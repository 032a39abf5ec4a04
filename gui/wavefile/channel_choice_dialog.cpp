#include "wavefile/channel_choice_dialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

ChannelChoiceDialog::ChannelChoiceDialog(const QString& fileName, int channels, QWidget* parent)
    : QDialog(parent),
      m_downmix(new QRadioButton(tr("&Mix down to stereo"), this)),
      m_pick(new QRadioButton(tr("&Take two channels:"), this)),
      m_left(new QSpinBox(this)),
      m_right(new QSpinBox(this))
{
    setWindowTitle(tr("Channels"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("%1 has %2 channels; a document holds one or two.").arg(fileName).arg(channels),
                                 this));
    m_downmix->setObjectName(QStringLiteral("downmix"));
    m_pick->setObjectName(QStringLiteral("pick"));
    m_left->setObjectName(QStringLiteral("left"));
    m_right->setObjectName(QStringLiteral("right"));
    m_downmix->setChecked(true);
    layout->addWidget(m_downmix);
    auto* row = new QHBoxLayout;
    row->addWidget(m_pick);
    for (QSpinBox* box : {m_left, m_right}) {
        box->setRange(1, channels);
        box->setEnabled(false);
        row->addWidget(box);
    }
    m_left->setValue(1);
    m_right->setValue(2);
    row->addStretch();
    layout->addLayout(row);
    connect(m_pick, &QRadioButton::toggled, this, [this](bool on) {
        m_left->setEnabled(on);
        m_right->setEnabled(on);
    });
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

ChannelChoice ChannelChoiceDialog::choice() const
{
    ChannelChoice c;
    if (m_pick->isChecked()) {
        c.kind = ChannelChoice::Kind::Pick;
        c.left = m_left->value() - 1;
        c.right = m_right->value() - 1;
    }
    return c;
}
