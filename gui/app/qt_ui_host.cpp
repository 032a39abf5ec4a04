#include "app/qt_ui_host.h"
#include "app/app_paths.h"
#include "wavefile/channel_choice_dialog.h"

#include "app/help_window.h"
#include "app/preferences.h"

#include "app/main_frame.h"
#include "edit/effect_parameters_dialog.h"
#include "edit/magnified_plot_dialog.h"
#include "edit/preset_dialogs.h"
#include "edit/timemark_dialogs.h"
#include "wavefile/jaf_dialog.h"
#include "wavefile/realmedia_dialog.h"
#include "modules/magnified_plot.h"
#include "view/spectrogram_image.h"

#include <QLabel>
#include <QPixmap>
#include <QVBoxLayout>

#include "app/button_bitmaps.h"
#include "app/control_drawing.h"
#include "app/progress_box.h"
#include "wavefile/new_file_dialog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QInputDialog>
#include <QKeyEvent>
#include <QFileInfo>
#include <QProcess>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QPainter>
#include <QScreen>
#include <QStatusBar>
#include <QUrl>
#include <functional>
#include <unordered_map>

namespace {

// Handles given out for widgets, each watched so that a widget that has gone
// is never used again.
std::unordered_map<HWND, QPointer<QWidget>>& widgetHandles()
{
    static std::unordered_map<HWND, QPointer<QWidget>> handles;
    return handles;
}

std::function<QWidget*(HWND)>& documentWindowLookup()
{
    static std::function<QWidget*(HWND)> lookup;
    return lookup;
}

}  // namespace

HWND handle_of(QWidget* widget)
{
    if (!widget)
        return nullptr;
    const HWND handle = reinterpret_cast<HWND>(widget);
    widgetHandles()[handle] = widget;
    return handle;
}

QWidget* widget_of(HWND handle)
{
    if (!handle)
        return nullptr;
    auto it = widgetHandles().find(handle);
    if (it != widgetHandles().end()) {
        if (it->second)
            return it->second.data();
        widgetHandles().erase(it);
    }
    // Documents are addressed by the core's own tokens: the window that
    // shows the document, when there is one.
    return documentWindowLookup() ? documentWindowLookup()(handle) : nullptr;
}

void set_document_window_lookup(std::function<QWidget*(HWND)> lookup) { documentWindowLookup() = std::move(lookup); }

namespace {

QWidget* findControl(QWidget* parent, int controlId)
{
    if (!parent)
        return nullptr;
    return parent->findChild<QWidget*>(QString::number(controlId));
}

}  // namespace

QtUiHost::QtUiHost(QMainWindow* mainWindow) : m_main(mainWindow) {}

int QtUiHost::messageBox(HWND owner, const std::string& text, const std::string& caption, unsigned style)
{
    QWidget* parent = owner ? widget_of(owner) : m_main;
    QMessageBox box(parent);
    box.setText(QString::fromStdString(text));
    box.setWindowTitle(QString::fromStdString(caption));
    switch (style & kMessageBoxIconMask) {
    case MB_ICONQUESTION: box.setIcon(QMessageBox::Question); break;
    case MB_ICONEXCLAMATION: box.setIcon(QMessageBox::Warning); break;
    case MB_ICONINFORMATION: box.setIcon(QMessageBox::Information); break;
    default: box.setIcon(QMessageBox::NoIcon); break;
    }
    switch (style & kMessageBoxButtonMask) {
    case MB_OKCANCEL: box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel); break;
    case MB_YESNO: box.setStandardButtons(QMessageBox::Yes | QMessageBox::No); break;
    case MB_YESNOCANCEL: box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel); break;
    default: box.setStandardButtons(QMessageBox::Ok); break;
    }
    // A message in the middle of a long operation must be answerable.
    const bool hadOverride = QApplication::overrideCursor() != nullptr;
    if (hadOverride)
        QApplication::setOverrideCursor(Qt::ArrowCursor);
    const int answer = box.exec();
    if (hadOverride)
        QApplication::restoreOverrideCursor();
    switch (answer) {
    case QMessageBox::Yes: return IDYES;
    case QMessageBox::No: return IDNO;
    case QMessageBox::Cancel: return IDCANCEL;
    default: return IDOK;
    }
}

void QtUiHost::beep() { QApplication::beep(); }

void QtUiHost::setMainWindowTitle(const std::string& title) { m_main->setWindowTitle(QString::fromStdString(title)); }

HWND QtUiHost::createProgressBox(const std::string& text, bool showCancel)
{
    delete m_progress;
    m_progress = new ProgressBox(m_main, QString::fromStdString(text), showCancel);
    // Over the status bar: one pixel in from its left edge, its top, its height less one.
    const QStatusBar* status = m_main->statusBar();
    const QRect bar = status->geometry();
    m_progress->setGeometry(bar.left() + 1, bar.top(), std::max(m_progress->sizeHint().width(), bar.width() / 2),
                            bar.height() - 1);
    m_progress->show();
    m_progress->raise();
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    return handle_of(m_progress);
}

void QtUiHost::destroyProgressBox(HWND box)
{
    if (m_progress && box == handle_of(m_progress)) {
        delete m_progress;
        m_progress = nullptr;
    }
}

void QtUiHost::drawProgressBar(HWND box, int percent, const std::string& barText)
{
    if (m_progress && box == handle_of(m_progress))
        m_progress->setBar(percent, QString::fromStdString(barText));
}

bool QtUiHost::takeCancelClick(HWND box)
{
    if (m_conversion && box == handle_of(m_conversion))
        return m_conversion->pollAbort();
    return m_progress && box == handle_of(m_progress) && m_progress->pollCancel();
}

HWND QtUiHost::createConversionBox(const std::string& source, const std::string& destination)
{
    delete m_conversion;
    m_conversion = new ConversionBox(m_main, QString::fromStdString(source), QString::fromStdString(destination));
    m_conversion->show();
    centreWindow(handle_of(m_conversion));
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    return handle_of(m_conversion);
}

void QtUiHost::destroyConversionBox(HWND box)
{
    if (m_conversion && box == handle_of(m_conversion)) {
        delete m_conversion;
        m_conversion = nullptr;
    }
}

void QtUiHost::drawTextOnControl(HWND parent, int controlId, const std::string& text, const ControlTextStyle& style)
{
    if (m_progress && parent == handle_of(m_progress) && controlId == 1039) {
        m_progress->setTimeLeft(QString::fromStdString(text));
        return;
    }
    auto* label = qobject_cast<QLabel*>(findControl(widget_of(parent), controlId));
    if (!label)
        return;
    QFont font(QString::fromStdString(style.face));
    font.setPointSizeF(style.tenthsOfPoint / 10.0);
    font.setWeight(style.weight >= 700 ? QFont::Bold : QFont::Normal);
    label->setFont(font);
    const QColor colour((style.colour) & 0xFF, (style.colour >> 8) & 0xFF, (style.colour >> 16) & 0xFF);
    label->setStyleSheet(QStringLiteral("color: %1;").arg(colour.name()));
    label->setText(QString::fromStdString(text));
}

void QtUiHost::setControlText(HWND dialog, int controlId, const std::string& text)
{
    QWidget* control = findControl(widget_of(dialog), controlId);
    const QString value = QString::fromStdString(text);
    if (auto* label = qobject_cast<QLabel*>(control))
        label->setText(value);
    else if (auto* edit = qobject_cast<QLineEdit*>(control))
        edit->setText(value);
    else if (auto* button = qobject_cast<QAbstractButton*>(control))
        button->setText(value);
}

void QtUiHost::paintBitmapButton(const OwnerDrawItem& item, const std::string& bitmapName, const std::string& label,
                                 bool labelInRightHalf)
{
    QWidget* button = widget_of(item.control);
    if (!m_buttonPainter || !button)
        return;
    paint_bitmap_button(*m_buttonPainter, button->rect(), item, QString::fromStdString(bitmapName),
                        QString::fromStdString(label), labelInRightHalf, button->property("text").toString(),
                        button->font());
}

void QtUiHost::centreWindow(HWND window)
{
    QWidget* w = widget_of(window);
    if (!w)
        return;
    const QRect screen = (w->screen() ? w->screen() : QApplication::primaryScreen())->geometry();
    const Point origin = centred_dialog_origin(screen.width(), screen.height(), w->width(), w->height());
    w->move(origin.x, origin.y);
}

void QtUiHost::showHelp(const std::string& helpFile, int contextId)
{
    // The help file is a set of HTML pages beside the program; the context id
    // is the anchor of the topic.
    QFileInfo info(QString::fromStdString(helpFile));
    const QString page = info.absolutePath() + QStringLiteral("/help/Z32.html");
    if (!QFileInfo::exists(page)) {
        messageBox(nullptr, "Cannot find the help file " + page.toStdString(), "Ondrava", MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    QUrl url = QUrl::fromLocalFile(page);
    url.setFragment(QString::number(contextId));
    // The browser the user chose in the preferences, if it starts; else the
    // program's own help window (never silence when there is no browser).
    const Preferences& prefs = preferences();
    if (prefs.browserChosen && !prefs.preferredBrowser.empty() &&
        QProcess::startDetached(QString::fromStdString(prefs.preferredBrowser), {url.toString()}))
        return;
    HelpWindow::show(m_main, page, QString::number(contextId));
}

void QtUiHost::setWaitCursor(bool on)
{
    if (on)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else if (QApplication::overrideCursor())
        QApplication::restoreOverrideCursor();
}

bool QtUiHost::runNewFileDialog()
{
    NewFileDialog dialog(m_main);
    return dialog.exec() == QDialog::Accepted;
}

std::string QtUiHost::askSaveFileName(const std::string& title, const std::string& suggestion)
{
    return QFileDialog::getSaveFileName(m_main, QString::fromStdString(title), QString::fromStdString(suggestion),
                                        QStringLiteral("Microsoft PCM Files (*.wav)"), nullptr,
                                        QFileDialog::DontUseNativeDialog)
        .toStdString();
}

bool QtUiHost::runEffectDialog(EffectDialog& dialog)
{
    EffectParametersDialog box(dialog, m_main);
    return box.exec() == QDialog::Accepted;
}

int QtUiHost::runPresetSelect(PresetContext& context, std::string& chosen)
{
    PresetSelectDialog dialog(context, m_main);
    const int result = dialog.exec();
    chosen = dialog.chosen().toStdString();
    // The click that closed the dialog must not reach the window below.
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    return result == QDialog::Rejected ? 2 : result;
}

int QtUiHost::runPresetSave(PresetContext& context)
{
    PresetSaveDialog dialog(context, m_main);
    const int result = dialog.exec();
    return result == 1 ? 1 : 2;
}

void QtUiHost::showSpectrum(const Spectrogram& spectrogram, const std::string& title)
{
    // A window of its own that stays while the user goes on working.
    auto* window = new QDialog(m_main);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setObjectName(QStringLiteral("spectrum"));
    window->setWindowTitle(QString::fromStdString(title));
    auto* layout = new QVBoxLayout(window);
    auto* picture = new QLabel(window);
    picture->setObjectName(QStringLiteral("spectrumImage"));
    picture->setPixmap(QPixmap::fromImage(render_spectrogram(spectrogram, 800, 400)));
    layout->addWidget(picture);
    layout->addWidget(new QLabel(QObject::tr("%1 s, 0 to %2 Hz upwards; colour from -100 dB (black) to 0 dB (white)")
                                     .arg(spectrogram.seconds, 0, 'f', 2)
                                     .arg(spectrogram.rate / 2, 0, 'f', 0),
                                 window));
    window->show();
}

bool QtUiHost::runMagnifiedPlot(MagnifiedPlot& plot)
{
    // The dialog draws on a copy; OK hands the copy back.
    MagnifiedPlot edited = plot;
    MagnifiedPlotDialog dialog(edited, m_main);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    plot = edited;
    return true;
}

bool QtUiHost::askMarkerName(std::string& name) { return MarkerNameDialog::ask(m_main, name); }

void QtUiHost::refillCueList(const CChildFrame* frame, const CueList& list)
{
    if (auto* main = qobject_cast<CMainFrame*>(m_main))
        main->refillCueList(frame, list);
}

// Notes Escape presses anywhere in the program.
class EscapeWatch : public QObject {
public:
    using QObject::QObject;
    bool pressed = false;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
            pressed = true;
        return QObject::eventFilter(watched, event);
    }
};

bool QtUiHost::escapePressed()
{
    if (!m_escape) {
        m_escape = new EscapeWatch(m_main);
        QCoreApplication::instance()->installEventFilter(m_escape);
    }
    QCoreApplication::processEvents();
    const bool pressed = m_escape->pressed;
    m_escape->pressed = false;
    return pressed;
}

bool QtUiHost::runJafDialog(int& button)
{
    JafDialog dialog(button, m_main);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    button = dialog.chosenButton();
    return true;
}

int QtUiHost::choosePlugin(const std::vector<std::string>& names)
{
    QStringList items;
    for (const std::string& n : names)
        items << QString::fromStdString(n);
    bool ok = false;
    const QString chosen = QInputDialog::getItem(m_main, QObject::tr("Plug-In"), QObject::tr("Effect plug-in:"), items,
                                                 0, false, &ok);
    return ok ? static_cast<int>(items.indexOf(chosen)) : -1;
}

int QtUiHost::runRealMediaDialog(RealMediaSettings& settings, int channels, const RealMediaEncode& encode)
{
    RealMediaDialog dialog(settings, channels, encode, m_main);
    dialog.exec();
    return dialog.result();
}

std::optional<ChannelChoice> QtUiHost::askChannelChoice(const std::string& file, int channels)
{
    ChannelChoiceDialog dialog(QString::fromStdString(file_name_part(file)), channels, m_main);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.choice();
}

ModuleDialogs::ClipAnswer QtUiHost::askClipping(const std::string& text)
{
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Clipping"), QString::fromStdString(text), QMessageBox::NoButton,
                    m_main);
    box.setObjectName(QStringLiteral("clipping"));
    QPushButton* normalize = box.addButton(QObject::tr("&Normalize to -0.1 dBFS"), QMessageBox::AcceptRole);
    QPushButton* clip = box.addButton(QObject::tr("&Apply anyway"), QMessageBox::DestructiveRole);
    box.addButton(QMessageBox::Cancel);
    normalize->setObjectName(QStringLiteral("normalize"));
    clip->setObjectName(QStringLiteral("clip"));
    box.setDefaultButton(normalize);
    box.exec();
    if (box.clickedButton() == normalize)
        return ClipAnswer::Normalize;
    if (box.clickedButton() == clip)
        return ClipAnswer::Clip;
    return ClipAnswer::Cancel;
}
