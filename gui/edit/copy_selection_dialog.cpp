#include "edit/copy_selection_dialog.h"

#include "app/control_drawing.h"
#include "app/qt_ui_host.h"
#include "edit/edit_operations.h"
#include "edit/mix.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

QRadioButton* radio(int id, const QString& text, QWidget* parent, QButtonGroup* group)
{
    auto* b = new QRadioButton(text, parent);
    b->setObjectName(QString::number(id));
    group->addButton(b, id);
    return b;
}

// The bars run 0..100 upside down: position = 100 - level x 50.
int barPosition(double level) { return static_cast<int>(100 - level * 50); }

}  // namespace

CopySelectionDialog::CopySelectionDialog(bool destinationHasHighlight, bool monoClipboard, QWidget* parent)
    : QDialog(parent), m_code(2)
{
    setObjectName(QStringLiteral("COPYSELECTION"));
    setWindowTitle(tr("Copy Selection"));
    auto* layout = new QHBoxLayout(this);

    auto* operations = new QGroupBox(tr("Operation"), this);
    auto* opLayout = new QVBoxLayout(operations);
    auto* opGroup = new QButtonGroup(this);
    const std::pair<int, QString> ops[] = {{kCopy, tr("&Insert")},     {kPaste, tr("&Paste")}, {kReplace, tr("&Replace")},
                                           {kMix, tr("Mi&x")},         {kCrossfade, tr("Cross-&fade")}};
    for (const auto& [id, text] : ops)
        opLayout->addWidget(radio(id, text, operations, opGroup));
    connect(opGroup, &QButtonGroup::idClicked, this, &CopySelectionDialog::choose);
    layout->addWidget(operations);

    auto* levels = new QGroupBox(tr("Levels"), this);
    auto* levelLayout = new QGridLayout(levels);
    const std::pair<int, double*> bars[] = {{1000, &mix_settings.clipLevel}, {1001, &mix_settings.destLevel}};
    int column = 0;
    for (const auto& [id, level] : bars) {
        auto* bar = new QSlider(Qt::Vertical, levels);
        bar->setObjectName(QString::number(id));
        bar->setRange(0, 100);
        bar->setInvertedAppearance(true);
        bar->setValue(barPosition(*level));
        double* target = level;
        connect(bar, &QSlider::sliderMoved, this, [target](int position) { *target = (100 - position) * 0.02; });
        levelLayout->addWidget(bar, 0, column);
        levelLayout->addWidget(new QLabel(id == 1000 ? tr("Clipboard") : tr("Destination"), levels), 1, column++);
    }
    layout->addWidget(levels);

    auto* right = new QVBoxLayout;
    auto* curve = new QGroupBox(tr("Cross-fade"), this);
    auto* curveLayout = new QVBoxLayout(curve);
    auto* curveGroup = new QButtonGroup(this);
    curveLayout->addWidget(radio(11513, tr("&Linear"), curve, curveGroup));
    curveLayout->addWidget(radio(11506, tr("&Exponential"), curve, curveGroup));
    button(mix_settings.crossfadeCurve == 1 ? 11513 : 11506)->setChecked(true);
    connect(curveGroup, &QButtonGroup::idClicked, this, [](int id) { mix_settings.crossfadeCurve = id == 11513 ? 1 : 0; });
    right->addWidget(curve);

    auto* channels = new QGroupBox(tr("Channels"), this);
    auto* channelLayout = new QVBoxLayout(channels);
    auto* channelGroup = new QButtonGroup(this);
    channelLayout->addWidget(radio(245, monoClipboard ? tr("&Mix") : tr("&Both"), channels, channelGroup));
    channelLayout->addWidget(radio(246, tr("&Left"), channels, channelGroup));
    channelLayout->addWidget(radio(247, tr("&Right"), channels, channelGroup));
    button(246)->setEnabled(!monoClipboard);
    button(247)->setEnabled(!monoClipboard);
    connect(channelGroup, &QButtonGroup::idClicked, this, [](int id) {
        mix_settings.target = id == 246 ? MixTarget::Left : id == 247 ? MixTarget::Right : MixTarget::Both;
    });
    right->addWidget(channels);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
    buttons->button(QDialogButtonBox::Help)->setObjectName(QStringLiteral("1405"));
    connect(buttons, &QDialogButtonBox::accepted, this, &CopySelectionDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &CopySelectionDialog::reject);
    connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { new_show_context_help(handle_of(this), 0); });
    right->addWidget(buttons);
    layout->addLayout(right);

    // With a highlight in the destination, Paste; without, Insert.
    button(kCopy)->setEnabled(!destinationHasHighlight);
    button(kPaste)->setEnabled(destinationHasHighlight);
    choose(destinationHasHighlight ? kPaste : kCopy);
}

QRadioButton* CopySelectionDialog::button(int id) const { return findChild<QRadioButton*>(QString::number(id)); }
QSlider* CopySelectionDialog::levelBar(int id) const { return findChild<QSlider*>(QString::number(id)); }

void CopySelectionDialog::choose(int code)
{
    m_code = code;
    button(code)->setChecked(true);
    // Choosing an operation puts the channel target back to both.
    mix_settings.target = MixTarget::Both;
    button(245)->setChecked(true);
}

void CopySelectionDialog::accept() { done(m_code); }
void CopySelectionDialog::reject() { done(2); }

SilenceDialog::SilenceDialog(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("SILENCE"));
    setWindowTitle(tr("Insert Silence"));
    auto* layout = new QVBoxLayout(this);
    auto* row = new QHBoxLayout;
    auto* minutes = new QSpinBox(this);
    auto* seconds = new QSpinBox(this);
    minutes->setObjectName(QStringLiteral("minutes"));
    seconds->setObjectName(QStringLiteral("seconds"));
    minutes->setRange(0, 600);
    seconds->setRange(0, 59);
    minutes->setValue(silence_length.minutes);
    seconds->setValue(silence_length.seconds);
    row->addWidget(minutes);
    row->addWidget(new QLabel(tr("min"), this));
    row->addWidget(seconds);
    row->addWidget(new QLabel(tr("sec"), this));
    layout->addLayout(row);
    auto* buttons = new QDialogButtonBox(this);
    QPushButton* ok = buttons->addButton(QDialogButtonBox::Ok);
    QPushButton* asHighlight = buttons->addButton(tr("As long as the &highlight"), QDialogButtonBox::ActionRole);
    asHighlight->setObjectName(QStringLiteral("11518"));
    buttons->addButton(QDialogButtonBox::Cancel);
    connect(ok, &QPushButton::clicked, this, [this, minutes, seconds] {
        silence_length = {minutes->value(), seconds->value()};
        done(kTimeEntered);
    });
    connect(asHighlight, &QPushButton::clicked, this, [this] { done(kHighlightLength); });
    connect(buttons, &QDialogButtonBox::rejected, this, [this] { done(2); });
    layout->addWidget(buttons);
}
