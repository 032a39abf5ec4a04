#include "app/timing_trace.h"

#include <QDateTime>
#include <QFile>
#include <cstdlib>

namespace {

const QString& traceFile()
{
    static const QString file = QString::fromLocal8Bit(std::getenv("ONDRAVA_TRACE"));
    return file;
}

}  // namespace

bool timing_trace_enabled() { return !traceFile().isEmpty(); }

void timing_trace(const QString& event, const QString& details)
{
    if (!timing_trace_enabled())
        return;
    QFile file(traceFile());
    if (!file.open(QIODevice::Append | QIODevice::Text))
        return;
    const QString line = QStringLiteral("%1 %2 %3\n")
                             .arg(QDateTime::currentMSecsSinceEpoch())
                             .arg(event, details);
    file.write(line.toUtf8());
}
