#include "platform/Process.h"
#include "platform/network/WorkQueue.h"
#include "ui/desktop/DesktopApplication.h"
#include "ui/desktop/OneInstance.h"
#include "ui/desktop/QtMainQueue.h"
#include "ui/desktop/TerminationSignals.h"

#include <QApplication>
#include <cstdio>
#include <cstdlib>

namespace quorvel::ui {

namespace {

void describeProgram() {
    QCoreApplication::setApplicationName("Quorvel Server");
    QCoreApplication::setApplicationVersion(QUORVEL_VERSION);
    QGuiApplication::setDesktopFileName("io.quorvel.Server");
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setWindowIcon(QIcon(":/icons/io.quorvel.Server.svg"));
}

int run(TerminationSignals& signals, const std::shared_ptr<QtMainQueue>& mainQueue,
        const QString& activationToken) {
    OneInstance instance;
    if (!instance.claim(activationToken)) return EXIT_SUCCESS;
    DesktopApplication desktop(mainQueue);
    instance.onActivate = [&desktop](const QString& token) { desktop.openSettings(token); };
    const auto listening = signals.onSignal([] { QCoreApplication::exit(); });
    // Launchers give a token to what the user starts, and a session gives none at login.
    desktop.start(!activationToken.isEmpty() || platform::hasTerminal());
    return QCoreApplication::exec();
}

} // namespace

} // namespace quorvel::ui

int main(int argumentCount, char** arguments) {
    using namespace quorvel;
    platform::prepareProcess();
    ui::TerminationSignals signals;
    const QString activationToken = ui::givenActivationToken();
    const QApplication application(argumentCount, arguments);
    if (QCoreApplication::arguments().size() > 1) {
        std::fputs("usage: quorvel-server\n", stderr);
        return 2;
    }
    Q_INIT_RESOURCE(icons); // a static library's resources are not registered by themselves
    ui::describeProgram();
    // Declared here so that it outlives the servers' threads, which hold references to it.
    const auto mainQueue = std::make_shared<ui::QtMainQueue>();
    const int status = ui::run(signals, mainQueue, activationToken);
    if (platform::waitUntilThreadsEnded(std::chrono::seconds(1))) return status;
    // A thread stuck on an unresponsive disk may still use what leaving main() would destroy.
    std::_Exit(status);
}
