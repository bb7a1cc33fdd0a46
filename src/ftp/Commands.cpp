#include "ftp/CommandLine.h"
#include "ftp/Session.h"
#include "platform/text/Text.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace quorvel::ftp {

namespace {

enum class Access { anyone, loggedIn };

constexpr auto ok = "200 OK\r\n";
constexpr auto loginSuccessful = "230 Login successful.\r\n";
constexpr auto loginIncorrect = "530 Login incorrect.\r\n";
constexpr auto loginRequired = "530 Please log in with USER and PASS.\r\n";
constexpr auto notImplemented = "502 Command not implemented.\r\n";

} // namespace

struct FTPFileServer::Session::Command {
    using Handler = void (Session::*)(std::string_view argument);

    std::string_view verb;
    Access access;
    /// Null for a command with a fixed reply.
    Handler handler;
    const char* reply = nullptr;
};

const FTPFileServer::Session::Command* FTPFileServer::Session::findCommand(std::string_view verb) {
    using Self = Session;
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

void FTPFileServer::Session::handleCommand(std::string_view line) {
    const auto [verb, argument] = splitCommandLine(line);
    const Command* const command = findCommand(platform::upperCased(verb));
    if (command == nullptr) return sendReply(notImplemented);
    if (command->access == Access::loggedIn && !authenticated_) return sendReply(loginRequired);
    if (command->handler == nullptr) return sendReply(command->reply);
    (this->*command->handler)(argument);
}

void FTPFileServer::Session::handleUser(std::string_view argument) {
    authenticated_ = !context_->credentials;
    if (!context_->credentials) return sendReply(loginSuccessful);
    pendingUser_ = argument;
    sendReply("331 Password required for " + *pendingUser_ + ".\r\n");
}

void FTPFileServer::Session::handlePass(std::string_view argument) {
    authenticated_ = isLogin(argument);
    sendReply(authenticated_ ? loginSuccessful : loginIncorrect);
}

bool FTPFileServer::Session::isLogin(std::string_view password) const {
    const auto& expected = context_->credentials;
    if (!expected) return true;
    const bool isUser = pendingUser_ && platform::canonicallyEqual(*pendingUser_, expected->user);
    // Compared in any case, so that the time does not tell whether there is such a user.
    return platform::canonicallyEqual(password, expected->pass) && isUser;
}

void FTPFileServer::Session::sendFeatures(std::string_view) {
    for (const auto* const line : {"211-Features:\r\n", " PASV\r\n", " EPSV\r\n", " SIZE\r\n",
                                   " MDTM\r\n", " REST STREAM\r\n", " UTF8\r\n", "211 End\r\n"})
        sendReply(line);
}

// Transfers send bytes unchanged, so that the settings of TYPE, MODE and STRU are not kept.
void FTPFileServer::Session::handleType(std::string_view argument) {
    sendReply("200 Type set to " + platform::upperCased(argument) + "\r\n");
}

void FTPFileServer::Session::handleMode(std::string_view argument) {
    sendReply(platform::upperCased(argument) == "S" ? "200 Mode set to S.\r\n"
                                                    : "504 Only stream mode is supported.\r\n");
}

void FTPFileServer::Session::handleStructure(std::string_view argument) {
    sendReply(platform::upperCased(argument) == "F" ? "200 Structure set to F.\r\n"
                                                    : "504 Only file structure is supported.\r\n");
}

void FTPFileServer::Session::handlePrintDirectory(std::string_view) {
    sendReply("257 \"" + workingDirectory_ + "\" is the current directory\r\n");
}

void FTPFileServer::Session::handleRestart(std::string_view argument) {
    const auto offset = restartOffset(argument);
    if (!offset) return sendReply("501 Invalid REST argument.\r\n");
    restartOffset_ = *offset;
    sendReply("350 Restart position accepted.\r\n");
}

void FTPFileServer::Session::handleQuit(std::string_view) {
    // Lines that came with QUIT are still answered; linesHandled closes after them.
    isQuitting_ = true;
    control_->send("221 Goodbye.\r\n", {}, platform::MoreToSend::yes);
}

} // namespace quorvel::ftp
