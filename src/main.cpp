#include "platform/Process.h"
#include "platform/network/WorkQueue.h"
#include "ui/desktop/ColorScheme.h"
#include "ui/desktop/CommandLine.h"
#include "ui/desktop/DesktopApplication.h"
#include "ui/desktop/OneInstance.h"
#include "ui/desktop/QtMainQueue.h"
#include "ui/desktop/TerminationSignals.h"
#include "ui/window/SvgIcon.h"

#include <QApplication>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <span>

namespace quorvel::ui {

namespace {

void describeProgram() {
    QCoreApplication::setApplicationName("Quorvel Server");
    QCoreApplication::setApplicationVersion(QUORVEL_VERSION);
    QGuiApplication::setDesktopFileName("io.quorvel.Server");
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setWindowIcon(svgIcon("io.quorvel.Server"));
}

int run(TerminationSignals& signals, const std::shared_ptr<QtMainQueue>& mainQueue,
        const QString& activationToken) {
    OneInstance instance;
    if (!instance.claim(activationToken)) return EXIT_SUCCESS;
    const ColorScheme colorScheme;
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
    const std::span<char* const> all(arguments, static_cast<std::size_t>(argumentCount));
    if (const auto status = ui::answeredWithoutDesktop(all.subspan(all.empty() ? 0 : 1)))
        return *status;
    const QApplication application(argumentCount, arguments);
    if (QCoreApplication::arguments().size() > 1)
        return ui::refused("extra operand", QCoreApplication::arguments().at(1).toStdString());
    Q_INIT_RESOURCE(icons); // a static library's resources are not registered by themselves
    ui::describeProgram();
    // Declared here so that it outlives the servers' threads, which hold references to it.
    const auto mainQueue = std::make_shared<ui::QtMainQueue>();
    const int status = ui::run(signals, mainQueue, activationToken);
    if (platform::waitUntilThreadsEnded(std::chrono::seconds(1))) return status;
    // A thread stuck on an unresponsive disk may still use what leaving main() would destroy.
    std::_Exit(status);
}
