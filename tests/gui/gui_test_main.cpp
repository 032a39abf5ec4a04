// Widget tests run on the offscreen platform: real widgets and real events,
// no display.

#include <QApplication>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
        const std::string runtime = "/tmp/runtime-" + std::to_string(getuid());
        mkdir(runtime.c_str(), 0700);
        qputenv("XDG_RUNTIME_DIR", runtime.c_str());
    }
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
