#include "app/alreadyrunningbox.h"
#include "app/endsignals.h"
#include "app/process.h"
#include "app/sessionend.h"
#include "app/singleinstance.h"
#include "app/window/mainwindow.h"
#include "installpaths.h"
#include "util/standarddescriptors.h"

#include <QApplication>
#include <QTranslator>

#include <cstdlib>

int main(int argc, char **argv)
{
    occupyStandardDescriptors();
    prepareProcess();
    // Whether the window grows on a dense screen is for the environment to say; its icons are sharp.
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argc, argv);
    QTranslator translator;
    translator.load(QStringLiteral("vexalin_zh_CN.qm"),
                    QString::fromUtf8(installpaths::kTranslationFolder));
    QCoreApplication::installTranslator(&translator);

    if (getAppIsRunning() == 0) {
        EndSignals endSignals;
        MainWindow window;
        const SessionEnd sessionEnd(window, endSignals);
        window.show();
        return QApplication::exec();
    }
    AlreadyRunningBox().exec();
    std::exit(-1);
}
