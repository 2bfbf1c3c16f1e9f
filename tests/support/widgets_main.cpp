#include <QApplication>
#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    // no display is needed, and none of the user's is disturbed
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleMock(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
