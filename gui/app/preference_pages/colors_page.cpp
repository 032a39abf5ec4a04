#include "app/preference_pages.h"

#include <QComboBox>
#include <QFormLayout>
#include <QPixmap>
#include <QPushButton>

namespace {

QIcon swatch(Rgb colour)
{
    QPixmap pixmap(14, 14);
    pixmap.fill(QColor((colour >> 16) & 0xFF, (colour >> 8) & 0xFF, colour & 0xFF));
    return QIcon(pixmap);
}

// Selects `colour` in the box, adding it when it is not one of the palette's.
void choose(QComboBox* box, Rgb colour)
{
    int index = box->findData(static_cast<uint>(colour));
    if (index < 0) {
        box->addItem(swatch(colour), QString::fromStdString(colour_name(colour)), static_cast<uint>(colour));
        index = box->count() - 1;
    }
    box->setCurrentIndex(index);
}

}  // namespace

CColors::CColors(QWidget* parent) : PreferencePage(parent)
{
    setObjectName(QStringLiteral("CColors"));
    auto* form = new QFormLayout(this);
    const QString labels[kDisplayColourCount] = {tr("&Data:"), tr("&Background:"), tr("&Grid:"),
                                                 tr("&Wave crest:"), tr("&Marker:"), tr("Marker &text:")};
    for (int i = 0; i < kDisplayColourCount; ++i) {
        m_colours[i] = new QComboBox(this);
        for (const auto& [name, value] : colour_palette())
            m_colours[i]->addItem(swatch(value), QString::fromStdString(name), static_cast<uint>(value));
        form->addRow(labels[i], m_colours[i]);
    }
    auto* defaults = new QPushButton(tr("&Default"), this);
    defaults->setObjectName(QStringLiteral("default"));
    connect(defaults, &QPushButton::clicked, this, &CColors::restoreDefaults);
    form->addRow(defaults);
}

void CColors::load(const Preferences& prefs)
{
    for (int i = 0; i < kDisplayColourCount; ++i)
        choose(m_colours[i], prefs.colours[static_cast<size_t>(i)]);
}

void CColors::store(Preferences& prefs) const
{
    for (int i = 0; i < kDisplayColourCount; ++i)
        prefs.colours[static_cast<size_t>(i)] = static_cast<Rgb>(m_colours[i]->currentData().toUInt());
}

void CColors::restoreDefaults()
{
    const auto defaults = Preferences::defaultColours();
    for (int i = 0; i < kDisplayColourCount; ++i)
        choose(m_colours[i], defaults[static_cast<size_t>(i)]);
}
