#include "edit/effect_parameters_dialog.h"

#include "app/control_drawing.h"
#include "app/messages.h"
#include "app/qt_ui_host.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <cmath>
#include <QPushButton>
#include <QVBoxLayout>

EffectParametersDialog::EffectParametersDialog(EffectDialog& dialog, QWidget* parent)
    : QDialog(parent), m_dialog(dialog)
{
    setObjectName(QString::fromStdString("effect-" + dialog.name));
    setWindowTitle(QString::fromStdString(dialog.title));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    // Slider parameters stand side by side, as the bands of a graphic
    // equalizer do.
    auto* sliders = new QHBoxLayout;
    for (const EffectParameter& p : dialog.parameters) {
        if (p.kind == EffectParameter::Kind::Number && p.slider) {
            auto* column = new QVBoxLayout;
            auto* shown = new QLabel(this);
            shown->setAlignment(Qt::AlignCenter);
            auto* slider = new QSlider(Qt::Vertical, this);
            slider->setObjectName(QString::fromStdString(p.key));
            slider->setRange(static_cast<int>(std::lround(p.min / p.step)), static_cast<int>(std::lround(p.max / p.step)));
            slider->setProperty("step", p.step);
            slider->setMinimumHeight(160);
            const auto show = [shown, p](int v) {
                shown->setText(QString::number(v * p.step, 'f', p.decimals) + QString::fromStdString(" " + p.unit));
            };
            connect(slider, &QSlider::valueChanged, this, show);
            slider->setValue(static_cast<int>(std::lround(p.value / p.step)));
            show(slider->value());
            auto* name = new QLabel(QString::fromStdString(p.label), this);
            name->setAlignment(Qt::AlignCenter);
            column->addWidget(shown);
            column->addWidget(slider, 1, Qt::AlignHCenter);
            column->addWidget(name);
            sliders->addLayout(column);
            continue;
        }
        QWidget* editor = nullptr;
        switch (p.kind) {
        case EffectParameter::Kind::Number: {
            auto* box = new QDoubleSpinBox(this);
            box->setDecimals(p.decimals);
            box->setRange(p.min, p.max);
            box->setSingleStep(p.step);
            box->setValue(p.value);
            if (!p.unit.empty())
                box->setSuffix(QString::fromStdString(" " + p.unit));
            editor = box;
            break;
        }
        case EffectParameter::Kind::Choice: {
            auto* box = new QComboBox(this);
            for (const std::string& c : p.choices)
                box->addItem(QString::fromStdString(c));
            box->setCurrentIndex(static_cast<int>(p.value));
            editor = box;
            break;
        }
        case EffectParameter::Kind::Toggle: {
            auto* box = new QCheckBox(this);
            box->setChecked(p.value != 0);
            editor = box;
            break;
        }
        case EffectParameter::Kind::Text: {
            auto* box = new QLineEdit(QString::fromStdString(p.text), this);
            box->setMinimumWidth(260);
            editor = box;
            break;
        }
        }
        editor->setObjectName(QString::fromStdString(p.key));
        form->addRow(QString::fromStdString(p.label), editor);
    }
    layout->addLayout(sliders);
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
    if (dialog.preview) {
        QPushButton* preview = buttons->addButton(tr("&Preview"), QDialogButtonBox::ActionRole);
        preview->setObjectName(QStringLiteral("preview"));
        connect(preview, &QPushButton::clicked, this, [this] {
            EffectDialog values = m_dialog;
            collect(values);
            m_dialog.preview(values);
        });
    }
    if (dialog.presets) {
        QPushButton* pick = buttons->addButton(tr("P&resets..."), QDialogButtonBox::ActionRole);
        pick->setObjectName(QStringLiteral("presets"));
        connect(pick, &QPushButton::clicked, this, [this] {
            EffectDialog values = m_dialog;
            collect(values);
            if (pick_effect_preset(values))
                showValues(values);
        });
        QPushButton* save = buttons->addButton(tr("Sa&ve preset..."), QDialogButtonBox::ActionRole);
        save->setObjectName(QStringLiteral("savePreset"));
        connect(save, &QPushButton::clicked, this, [this] {
            EffectDialog values = m_dialog;
            collect(values);
            save_effect_preset(values);
        });
    }
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::helpRequested, this,
            [this] { new_show_context_help(handle_of(this), m_dialog.helpContext); });
    layout->addWidget(buttons);
}

QWidget* EffectParametersDialog::editor(const std::string& key) const
{
    return findChild<QWidget*>(QString::fromStdString(key));
}

void EffectParametersDialog::collect(EffectDialog& dialog) const
{
    for (EffectParameter& p : dialog.parameters) {
        QWidget* w = editor(p.key);
        if (auto* number = qobject_cast<QDoubleSpinBox*>(w))
            p.value = number->value();
        else if (auto* slider = qobject_cast<QSlider*>(w))
            p.value = slider->value() * p.step;
        else if (auto* choice = qobject_cast<QComboBox*>(w))
            p.value = choice->currentIndex();
        else if (auto* toggle = qobject_cast<QCheckBox*>(w))
            p.value = toggle->isChecked() ? 1 : 0;
        else if (auto* line = qobject_cast<QLineEdit*>(w))
            p.text = line->text().toStdString();
    }
}

void EffectParametersDialog::showValues(const EffectDialog& dialog)
{
    for (const EffectParameter& p : dialog.parameters) {
        QWidget* w = editor(p.key);
        if (auto* number = qobject_cast<QDoubleSpinBox*>(w))
            number->setValue(p.value);
        else if (auto* slider = qobject_cast<QSlider*>(w))
            slider->setValue(static_cast<int>(std::lround(p.value / p.step)));
        else if (auto* choice = qobject_cast<QComboBox*>(w))
            choice->setCurrentIndex(static_cast<int>(p.value));
        else if (auto* toggle = qobject_cast<QCheckBox*>(w))
            toggle->setChecked(p.value != 0);
        else if (auto* line = qobject_cast<QLineEdit*>(w))
            line->setText(QString::fromStdString(p.text));
    }
}

void EffectParametersDialog::accept()
{
    EffectDialog values = m_dialog;
    collect(values);
    // Text settings are checked by the effect before the dialog closes.
    for (const EffectParameter& p : values.parameters)
        if (p.kind == EffectParameter::Kind::Text && p.check)
            if (auto reason = p.check(p.text)) {
                ErrMsg("%s: %s", p.label.c_str(), reason->c_str());
                return;
            }
    m_dialog = values;
    QDialog::accept();
}
