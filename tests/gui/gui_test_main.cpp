// Widget tests run on the offscreen platform: real widgets and real events,
// no display. The offscreen screen is 1280 x 800 (ONDRAVA_TEST_SCREEN=WxH
// changes it; QT_SCALE_FACTOR scales it as on a high-density display).

#include "app/app_paths.h"
#include "app/application.h"

#include <QDir>
#include <QFile>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ensure_runtime_directory();
    int width = 1280;
    int height = 800;
    if (const char* screen = std::getenv("ONDRAVA_TEST_SCREEN"))
        std::sscanf(screen, "%dx%d", &width, &height);
    const QString config = QDir::temp().filePath(QStringLiteral("ondrava-offscreen-%1.json").arg(getpid()));
    {
        QFile file(config);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(QStringLiteral("{ \"screens\": [ { \"name\": \"test\", \"x\": 0, \"y\": 0, \"width\": %1, "
                                      "\"height\": %2, \"logicalDpi\": 96, \"logicalBaseDpi\": 96 } ] }")
                           .arg(width)
                           .arg(height)
                           .toUtf8());
    }
    qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + config).toUtf8());
    int result = 0;
    {
        OndravaApplication app(argc, argv);
        QFile::remove(config);
        ::testing::InitGoogleTest(&argc, argv);
        result = RUN_ALL_TESTS();
    }
    return result;
}
