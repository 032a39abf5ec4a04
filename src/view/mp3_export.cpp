#include "view/mp3_export.h"

#include "app/messages.h"
#include "view/child_frame.h"
#include "view/document_save.h"
#include "wavefile/helper_programs.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <unistd.h>

namespace {

int g_running = 0;

}  // namespace

std::string bladeenc_program() { return helper_program("BLADEENC.EXE", "ONDRAVA_BLADEENC"); }

int save_mp3_file(CChildFrame& f, const std::string& name, int selectionOnly)
{
    const std::string encoder = bladeenc_program();
    if (::access(encoder.c_str(), X_OK) != 0) {
        ErrMsg("BLADEENC.EXE missing.");
        return 0;
    }
    const std::string wave = name + ".wav";
    if (!save_waveform_file(f, wave, selectionOnly, 0))
        return 0;
    // "%s -320 -quit %s": the encoder runs on by itself; its temporary input
    // goes when it is done.
    auto* process = new QProcess(QCoreApplication::instance());
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    QObject::connect(process, &QProcess::finished, [process, wave] {
        ::unlink(wave.c_str());
        --g_running;
        process->deleteLater();
    });
    QObject::connect(process, &QProcess::errorOccurred, [process, wave](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        ::unlink(wave.c_str());
        --g_running;
        process->deleteLater();
    });
    ++g_running;
    process->start(QString::fromStdString(encoder),
                   {QStringLiteral("-320"), QStringLiteral("-quit"), QString::fromStdString(wave)});
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
