#include "ui/desktop/OneInstance.h"

#include "ui/desktop/FreedesktopApplication.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>

namespace quorvel::ui {

namespace {

constexpr auto busName = "io.quorvel.Server";
constexpr auto objectPath = "/io/quorvel/Server";
constexpr int patience = 2000; // milliseconds

QString runtimeFile(const char* name) {
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + '/' + name;
}

QString socketPath() {
    return runtimeFile("quorvel-server.socket");
}

void activateByBus(const QString& activationToken) {
    auto call = QDBusMessage::createMethodCall(busName, objectPath, "org.freedesktop.Application",
                                               "Activate");
    QVariantMap platformData;
    if (!activationToken.isEmpty()) {
        platformData.insert("activation-token", activationToken);
        platformData.insert("desktop-startup-id", activationToken);
    }
    call << platformData;
    QDBusConnection::sessionBus().call(call, QDBus::Block, patience);
}

void activateBySocket(const QString& activationToken) {
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(patience)) return;
    socket.write(activationToken.toUtf8() + '\n');
    socket.waitForBytesWritten(patience);
    socket.disconnectFromServer();
}

} // namespace

QString givenActivationToken() {
    QByteArray token;
    for (const auto* variable : {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN"})
        if (qEnvironmentVariableIsSet(variable)) token = qgetenv(variable);
    return QString::fromUtf8(token);
}

OneInstance::OneInstance() {
    new FreedesktopApplication(this, [this](const QString& activationToken) {
        if (onActivate) onActivate(activationToken);
    });
}

OneInstance::~OneInstance() = default;

bool OneInstance::claim(const QString& activationToken) {
    if (!claimLock()) {
        activateBySocket(activationToken);
        return false;
    }
    if (claimBusName(activationToken)) return true;
    lock_.reset();
    return false;
}

bool OneInstance::claimBusName(const QString& activationToken) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return true;
    // The object comes first: clients that wait for the name call the object at once.
    bus.registerObject(objectPath, this);
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        bus.interface()->registerService(busName);
    if (!reply.isValid() || reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return true;
    activateByBus(activationToken);
    return false;
}

bool OneInstance::claimLock() {
    lock_ = std::make_unique<QLockFile>(runtimeFile("quorvel-server.lock"));
    lock_->setStaleLockTime(0); // stale once its process has ended, whatever its age
    if (lock_->tryLock()) {
        listenForOthers();
        return true;
    }
    // A full or read-only runtime folder is no reason not to run.
    return lock_->error() != QLockFile::LockFailedError;
}

void OneInstance::listenForOthers() {
    QLocalServer::removeServer(socketPath());
    server_ = new QLocalServer(this);
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    connect(server_, &QLocalServer::newConnection, this, [this] {
        auto* other = server_->nextPendingConnection();
        connect(other, &QLocalSocket::disconnected, other, [this, other] {
            other->deleteLater();
            if (onActivate) onActivate(QString::fromUtf8(other->readLine().trimmed()));
        });
    });
    server_->listen(socketPath());
}

} // namespace quorvel::ui
