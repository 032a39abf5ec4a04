#include "wavefile/mp3_export.h"

#include "app/atomic_file.h"
#include "app/messages.h"
#include "wavefile/helper_programs.h"
#include "wavefile/save_request.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

int g_running = 0;

}  // namespace

std::string bladeenc_program() { return helper_program("BLADEENC.EXE", "ONDRAVA_BLADEENC"); }

int save_mp3_export(const SaveRequest& r)
{
    const std::string& name = r.target;
    const std::string encoder = bladeenc_program();
    if (::access(encoder.c_str(), X_OK) != 0) {
        ErrMsg("BLADEENC.EXE missing.");
        return 0;
    }
    // The encoder writes its MP3 beside its WAVE input, under the input's
    // name without ".wav". Both are temporary names beside the chosen one:
    // nothing there is touched, and the chosen name takes the MP3 only when
    // the encoder has finished it.
    AtomicFile staged;
    if (!staged.begin(name)) {
        ErrMsg("Cannot write %s: %s", name.c_str(), std::strerror(errno));
        return 0;
    }
    const std::string mp3 = staged.temporaryPath();
    const std::string wave = mp3 + ".wav";
    if (!r.writeWave(wave))
        return 0;
    // "%s -320 -quit %s" (or the bit rate chosen, or -V and the quality of
    // a variable rate): the encoder runs on by itself; its temporary input
    // goes when it is done.
    auto* process = new QProcess(QCoreApplication::instance());
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    QObject::connect(process, &QProcess::finished, [process, wave, mp3, name](int code, QProcess::ExitStatus status) {
        ::unlink(wave.c_str());
        const bool finished = status == QProcess::NormalExit && code == 0 && sync_file(mp3) &&
                              ::rename(mp3.c_str(), name.c_str()) == 0;
        if (!finished) {
            ::unlink(mp3.c_str());
            ErrMsg("BLADEENC.EXE did not finish %s; nothing was written.", name.c_str());
        }
        --g_running;
        process->deleteLater();
    });
    QObject::connect(process, &QProcess::errorOccurred, [process, wave, mp3](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        ::unlink(wave.c_str());
        ::unlink(mp3.c_str());
        ErrMsg("BLADEENC.EXE missing.");
        --g_running;
        process->deleteLater();
    });
    ++g_running;
    staged.detach();
    const SaveOptions& o = r.options;
    const QString rate = o.mp3Vbr ? QStringLiteral("-V%1").arg(std::clamp(o.mp3VbrQuality, 0, 9))
                                  : QStringLiteral("-%1").arg(std::clamp(o.mp3Bitrate, 8, 320));
    process->start(QString::fromStdString(encoder), {rate, QStringLiteral("-quit"), QString::fromStdString(wave)});
    return 1;
}

bool wait_for_mp3_encoders(int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (g_running > 0 && clock.elapsed() < milliseconds) {
        QCoreApplication::processEvents();
        QThread::msleep(5);
    }
    QCoreApplication::processEvents();
    return g_running == 0;
}
