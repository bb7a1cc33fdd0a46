#include "ftp/CommandLine.h"
#include "ftp/FTPFileServer.h"
#include "platform/text/Text.h"

#include <algorithm>
#include <iterator>

namespace quorvel::ftp {

namespace {

enum class Access { anyone, loggedIn };

constexpr std::string_view ok = "200 OK\r\n";
constexpr std::string_view loginSuccessful = "230 Login successful.\r\n";
constexpr std::string_view loginIncorrect = "530 Login incorrect.\r\n";
constexpr std::string_view loginRequired = "530 Please log in with USER and PASS.\r\n";
constexpr std::string_view notImplemented = "502 Command not implemented.\r\n";

} // namespace

struct FTPFileServer::Command {
    using Handler = void (FTPFileServer::*)(const SessionPtr&, std::string_view argument);

    std::string_view verb;
    Access access;
    /// None for a command that only answers.
    Handler handler;
    std::string_view reply = {};
};

const FTPFileServer::Command* FTPFileServer::findCommand(std::string_view verb) {
    using Self = FTPFileServer;
    static constexpr Command commands[] = {
        {"USER", Access::anyone, &Self::handleUser},
        {"PASS", Access::anyone, &Self::handlePass},
        {"SYST", Access::anyone, nullptr, "215 UNIX Type: L8\r\n"},
        {"FEAT", Access::anyone, &Self::sendFeatures},
        {"OPTS", Access::anyone, nullptr, ok},
        {"TYPE", Access::anyone, &Self::handleType},
        {"MODE", Access::anyone, &Self::handleMode},
        {"STRU", Access::anyone, &Self::handleStructure},
        {"PWD", Access::anyone, &Self::handlePrintDirectory},
        {"XPWD", Access::anyone, &Self::handlePrintDirectory},
        {"NOOP", Access::anyone, nullptr, ok},
        {"CLNT", Access::anyone, nullptr, ok},
        {"ABOR", Access::anyone, nullptr, ok},
        {"QUIT", Access::anyone, &Self::handleQuit},
        {"CWD", Access::loggedIn, &Self::handleChangeDirectory},
        {"XCWD", Access::loggedIn, &Self::handleChangeDirectory},
        {"CDUP", Access::loggedIn, &Self::handleParentDirectory},
        {"XCUP", Access::loggedIn, &Self::handleParentDirectory},
        {"PASV", Access::loggedIn, &Self::handlePassive},
        {"EPSV", Access::loggedIn, &Self::handleExtendedPassive},
        {"LIST", Access::loggedIn, &Self::handleLongList},
        {"NLST", Access::loggedIn, &Self::handleNameList},
        {"RETR", Access::loggedIn, &Self::handleRetrieve},
        {"SIZE", Access::loggedIn, &Self::handleSize},
        {"MDTM", Access::loggedIn, &Self::handleModificationTime},
        {"REST", Access::loggedIn, &Self::handleRestart},
    };
    const auto* const found = std::ranges::find(commands, verb, &Command::verb);
    return found == std::end(commands) ? nullptr : found;
}

void FTPFileServer::handleCommand(const SessionPtr& session, std::string_view line) {
    const auto [verb, argument] = splitCommandLine(line);
    const Command* const command = findCommand(platform::upperCased(verb));
    if (command == nullptr) return sendReply(*session, std::string(notImplemented));
    if (command->access == Access::loggedIn && !session->authenticated)
        return sendReply(*session, std::string(loginRequired));
    if (command->handler == nullptr) return sendReply(*session, std::string(command->reply));
    (this->*command->handler)(session, argument);
}

void FTPFileServer::handleUser(const SessionPtr& session, std::string_view argument) {
    session->authenticated = !credentials_;
    if (!credentials_) return sendReply(*session, std::string(loginSuccessful));
    session->pendingUser = argument;
    sendReply(*session, "331 Password required for " + *session->pendingUser + ".\r\n");
}

void FTPFileServer::handlePass(const SessionPtr& session, std::string_view argument) {
    session->authenticated = isLogin(*session, argument);
    sendReply(*session, std::string(session->authenticated ? loginSuccessful : loginIncorrect));
}

bool FTPFileServer::isLogin(const Session& session, std::string_view password) const {
    if (!credentials_) return true;
    return session.pendingUser &&
           platform::canonicallyEqual(*session.pendingUser, credentials_->user) &&
           platform::canonicallyEqual(password, credentials_->pass);
}

void FTPFileServer::sendFeatures(const SessionPtr& session, std::string_view) {
    for (const auto* const line : {"211-Features:\r\n", " PASV\r\n", " EPSV\r\n", " SIZE\r\n",
                                   " MDTM\r\n", " REST STREAM\r\n", " UTF8\r\n", "211 End\r\n"})
        sendReply(*session, line);
}

// Transfers send bytes as they are, so what TYPE, MODE and STRU ask for is not kept.
void FTPFileServer::handleType(const SessionPtr& session, std::string_view argument) {
    sendReply(*session, "200 Type set to " + platform::upperCased(argument) + "\r\n");
}

void FTPFileServer::handleMode(const SessionPtr& session, std::string_view argument) {
    sendReply(*session, platform::upperCased(argument) == "S"
                            ? "200 Mode set to S.\r\n"
                            : "504 Only stream mode is supported.\r\n");
}

void FTPFileServer::handleStructure(const SessionPtr& session, std::string_view argument) {
    sendReply(*session, platform::upperCased(argument) == "F"
                            ? "200 Structure set to F.\r\n"
                            : "504 Only file structure is supported.\r\n");
}

void FTPFileServer::handlePrintDirectory(const SessionPtr& session, std::string_view) {
    sendReply(*session, "257 \"" + session->workingDirectory + "\" is the current directory\r\n");
}

void FTPFileServer::handleRestart(const SessionPtr& session, std::string_view argument) {
    const auto offset = restartOffset(argument);
    if (!offset) return sendReply(*session, "501 Invalid REST argument.\r\n");
    session->restartOffset = *offset;
    sendReply(*session, "350 Restart position accepted.\r\n");
}

void FTPFileServer::handleQuit(const SessionPtr& session, std::string_view) {
    session->control->send(
        "221 Goodbye.\r\n", [session](std::error_code) { quitReplied(session); },
        platform::MoreToSend::yes);
}

void FTPFileServer::quitReplied(const SessionPtr& session) {
    session->quitReplied = true;
    // Lines that came with QUIT are still to be answered; linesHandled closes after them.
    if (!session->input.contains('\n')) closeControl(*session);
}

void FTPFileServer::closeControl(const Session& session) {
    const auto input =
        session.sendsAhead ? platform::PeerInput::expected : platform::PeerInput::done;
    // An empty send completes after all replies before it, which a cancel would not wait for.
    session.control->send(
        {}, [control = session.control, input](std::error_code) { control->cancel(input); },
        platform::MoreToSend::yes);
}

} // namespace quorvel::ftp
