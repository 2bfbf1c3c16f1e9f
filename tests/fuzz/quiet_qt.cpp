// Qt tells of every broken picture and setting, thousands of times a second.
#include <QtGlobal>

// The name is libFuzzer's; it is called once, before the first input.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}
