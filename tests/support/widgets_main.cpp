#include <QApplication>
#include <gmock/gmock.h>
#include <memory>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

std::unique_ptr<QApplication> makeApplication(int &argc, char **argv)
{
#if defined(__SANITIZE_ADDRESS__)
    // Qt's "offscreen" platform never deletes the screen that it makes with the application
    const __lsan::ScopedDisabler excused;
#endif
    return std::make_unique<QApplication>(argc, argv);
}

} // namespace

int main(int argc, char **argv)
{
    // no display is needed, and none of the user's is disturbed
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleMock(&argc, argv);
    const auto application = makeApplication(argc, argv);
    return RUN_ALL_TESTS();
}
