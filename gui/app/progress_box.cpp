#include "app/progress_box.h"

#include "app/cancel_watcher.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

// Control 230: grey, the done part in solid blue, the text in white on top.
class ProgressBox::Bar : public QWidget {
public:
    explicit Bar(QWidget* parent) : QWidget(parent) { setMinimumWidth(220); }
    // Only a change is drawn, and at the next pass of the event loop (the
    // operation lets it run about 30 times a second): an operation that
    // reports every block must not wait for the screen at every block.
    void set(int percent, const QString& text)
    {
        if (percent == m_percent && text == m_text)
            return;
        m_percent = percent;
        m_text = text;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        p.fillRect(rect(), QColor(192, 192, 192));
        p.fillRect(QRect(0, 0, width() * m_percent / 100, height()), QColor(0, 0, 255));
        p.setPen(Qt::white);
        p.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, m_text);
    }

private:
    int m_percent = 0;
    QString m_text;
};

ProgressBox::ProgressBox(QWidget* parent, const QString& text, bool showCancel)
    : QWidget(parent), m_bar(new Bar(this)), m_timeLeft(new QLabel(this)), m_cancel(new QPushButton(tr("Cancel"), this)),
      m_watcher(nullptr)
{
    setObjectName(QStringLiteral("MESSAGEDLG"));
    setAutoFillBackground(true);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(1, 0, 1, 0);
    layout->setSpacing(4);
    layout->addWidget(m_bar, 1);
    layout->addWidget(m_timeLeft);
    layout->addWidget(m_cancel);
    m_cancel->setObjectName(QStringLiteral("2"));
    m_cancel->setFocusPolicy(Qt::NoFocus);
    m_cancel->setVisible(showCancel);
    m_timeLeft->setMinimumWidth(140);
    m_bar->set(0, text);
    m_watcher = new CancelWatcher(m_cancel);
}

void ProgressBox::setBar(int percent, const QString& barText)
{
    m_percent = percent;
    m_bar->set(percent, barText);
}

void ProgressBox::setTimeLeft(const QString& text)
{
    if (m_timeLeft->text() != text)
        m_timeLeft->setText(text);
}
QString ProgressBox::timeLeft() const { return m_timeLeft->text(); }

bool ProgressBox::pollCancel() { return m_watcher->poll(); }
