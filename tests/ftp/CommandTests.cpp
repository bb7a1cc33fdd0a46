#include "ftp/FTPFixture.h"

#include <fcntl.h>
#include <future>
#include <random>
#include <sstream>
#include <sys/stat.h>

namespace quorvel::ftp {

using namespace std::chrono_literals;

const std::string ok = "200 OK\r\n";
const std::string loggedIn = "230 Login successful.\r\n";
const std::string loginRequired = "530 Please log in with USER and PASS.\r\n";
const std::string loginIncorrect = "530 Login incorrect.\r\n";
const std::string notImplemented = "502 Command not implemented.\r\n";
const std::string changedTo = "250 Directory changed to ";

/// Commands in order, grouped by their reply.
using Dialogue = std::vector<std::pair<std::string, std::vector<std::string>>>;

static void expectDialogue(FTPClient& client, const Dialogue& dialogue,
                           const std::string& insteadOfAll = {}) {
    for (const auto& [reply, commands] : dialogue)
        for (const auto& command : commands)
            EXPECT_EQ(client.ask(command), insteadOfAll.empty() ? reply : insteadOfAll) << command;
}

const Dialogue forAnyone{
    {ok, {"OPTS UTF8 ON", "NOOP", "CLNT x", "ABOR"}},
    {notImplemented, {"AUTH TLS", "PBSZ 0", "PROT P", "STOR x", "MKD x", "   ", "\tNOOP"}},
    {"257 \"/\" is the current directory\r\n", {"pwd", "XPWD x"}},
    {"215 UNIX Type: L8\r\n", {"syst"}},
    {"200 Type set to \r\n", {"TYPE"}},
    {"200 Type set to L 8 SS\r\n", {"TYPE l 8 ß"}},
    {"200 Mode set to S.\r\n", {"MODE s"}},
    {"504 Only stream mode is supported.\r\n", {"MODE S ", "MODE B"}},
    {"200 Structure set to F.\r\n", {"STRU f"}},
    {"504 Only file structure is supported.\r\n", {"STRU R", "STRU"}},
};

const Dialogue afterLogin{
    {changedTo + "/docs/in \"quotes\"\r\n", {"CWD docs//x/../in \"quotes\"/", "CWD"}},
    {changedTo + "/docs\r\n", {"CDUP away", "XCWD /docs"}},
    {"213 5\r\n", {"SIZE notes.txt", "SIZE /absolute/notes.txt"}},
    {"213 0\r\n", {"SIZE /fifo"}},
    {"213 20240305140709\r\n", {"MDTM notes.txt", "MDTM /fifo"}},
    {"550 Failed to change directory.\r\n",
     {"CWD notes.txt", "CWD /away", "CWD docs", "CWD  /", std::string("CWD /docs\0/x", 12)}},
    {changedTo + "/absolute\r\n", {"CWD ../../../absolute"}},
    {changedTo + "/\r\n", {"XCUP", "CDUP"}},
    {"550 Could not get file size.\r\n", {"SIZE docs", "SIZE away/passwd"}},
    {"550 Could not get modification time.\r\n", {"MDTM away/passwd"}},
    {"550 No such file or directory.\r\n", {"LIST away", "NLST -l My Documents"}},
    {"550 File not found.\r\n",
     {"RETR docs", "RETR away/passwd", "RETR ../../../etc/passwd", "RETR fifo"}},
    {"350 Restart position accepted.\r\n", {"REST +7"}},
    {"501 Invalid REST argument.\r\n", {"REST -1"}},
};

TEST(FTPCommands, AnswerAsTheTableSays) {
    const FTPFolder served;
    served.folder.makeFolder("docs/in \"quotes\"");
    served.folder.link("away", "/etc");
    served.folder.link("absolute", served.folder.path("docs"));
    const std::string fifo = served.folder.path("fifo");
    mkfifo(fifo.c_str(), 0644);
    const timespec times[2] = {{1709647629, 999999999}, {1709647629, 999999999}};
    for (const auto& dated : {fifo, served.folder.write("docs/notes.txt", "12345")})
        utimensat(AT_FDCWD, dated.c_str(), times, 0);
    FTPClient client(served.port);
    expectDialogue(client, forAnyone);
    expectDialogue(client, afterLogin, loginRequired);
    expectDialogue(client, {{loginRequired, {"PASV", "EPSV"}}, {loggedIn, {"PASS"}}});
    expectDialogue(client, forAnyone);
    expectDialogue(client, afterLogin);
    client.ask("CWD docs/in \"quotes\"");
    EXPECT_EQ(client.ask("PWD"), "257 \"/docs/in \"quotes\"\" is the current directory\r\n");
    EXPECT_TRUE(client.ask("MDTM /docs").starts_with("213 20"));
    EXPECT_EQ(client.ask("FEAT", "211 End\r\n"),
              "211-Features:\r\n PASV\r\n EPSV\r\n SIZE\r\n MDTM\r\n REST STREAM\r\n UTF8\r\n"
              "211 End\r\n");
}

TEST(FTPCommands, LoginNeedsBothNameAndPassword) {
    const FTPFolder served(server::Credentials{"caf\u00E9", "s ecret"});
    FTPClient client(served.port);
    expectDialogue(client, {{loginIncorrect, {"PASS s ecret"}},
                            {"331 Password required for  caf\u00E9.\r\n", {"USER  caf\u00E9"}},
                            {loginIncorrect, {"PASS s ecret"}},
                            {"331 Password required for cafe\u0301.\r\n", {"user cafe\u0301"}},
                            {loginIncorrect, {"PASS S ecret"}},
                            {loginRequired, {"CDUP"}},
                            {loggedIn, {"PASS s ecret"}},
                            {changedTo + "/\r\n", {"CDUP"}},
                            {loginIncorrect, {"PASS "}},
                            {loginRequired, {"CDUP"}},
                            {loggedIn, {"PASS s ecret"}},
                            {"331 Password required for .\r\n", {"USER"}},
                            {loginRequired, {"CDUP"}}});
}

TEST(FTPCommands, LinesAreFramedHoweverTheyArrive) {
    const FTPFolder served;
    const std::string syst = "215 UNIX Type: L8\r\n";
    // As clients send it (RFC 959, section 4.1.3): Telnet's interrupt and mark, the latter urgent.
    FTPClient urgent(served.port);
    ::send(urgent.descriptor(), "\xff\xf4\xff\xf2", 4, MSG_OOB);
    EXPECT_EQ(urgent.ask("ABOR\r\nSYST", syst), ok + syst);
    for (const auto& [replies, segments] :
         Dialogue{{ok + ok + syst, {"NOOP\nNOOP\r\n\r\n\n\r\r\nSYST\r\n"}},
                  {ok + syst, {"NO", "OP\r", "\nSYST\n"}},
                  {syst, {"NOOP \xc3\x28\r\n\xff\xfe\r\n\xff\xf5NOOP\r\nNOOP\xff\xf4\r\nSYST\r\n"}},
                  {ok + ok, {"\xff", "\xf4NOOP\r\n\xff\xf2\xff\xf4\r\n\xff\xf2\xff\xf2NOOP\r\n"}},
                  {ok, {std::string(5000, 'x'), "NOOP\r\n"}},
                  {ok, {std::string(4092, ' ') + "NOOP", "\r\n"}},
                  {"", {std::string(4093, ' ') + "NOOP", "\r\n"}},
                  {notImplemented + ok, {std::string(5000, 'x') + "\nNOOP\n"}},
                  {"221 Goodbye.\r\n" + ok + syst, {"QUIT\r\nNOOP\r\nSYST\r\n"}}}) {
        FTPClient client(served.port);
        for (const auto& segment : segments) {
            client.send(segment);
            client.waitUntilTaken();
        }
        if (!segments.front().starts_with("QUIT")) client.finishSending();
        EXPECT_EQ(client.receiveAll(), replies) << segments.front().substr(0, 40);
        EXPECT_FALSE(client.wasReset());
    }
}

TEST(FTPCommands, RepliesHaveTheOrderOfTheCommandsThatArePipelined) {
    const FTPFolder served;
    // Without a client on their data port, LIST and RETR of what exists wait in silence.
    served.folder.write("file", "content");
    const std::vector<std::pair<std::string, std::string>> known{
        {"PASV", "227"},      {"EPSV", "229"},   {"NOOP", "200"},
        {"RETR none", "550"}, {"LIST", ""},      {"REST 3", "350"},
        {"SIZE file", "213"}, {"RETR file", ""}, {"NLST x", "550"}};
    std::mt19937 random(20);
    std::string commands = "USER anyone\r\n";
    std::string expected = "230";
    for (int i = 0; i < 2000; ++i) {
        const auto& [command, reply] = known[random() % known.size()];
        commands += command + "\r\n";
        expected += reply;
    }
    commands += "PASV\r\nQUIT\r\n";
    expected += "227221";
    FTPClient client(served.port);
    const auto sending = std::async(std::launch::async, [&] {
        for (std::string_view rest = commands; !rest.empty();) {
            const auto segment = rest.substr(0, 1 + random() % 300);
            client.send(segment);
            rest.remove_prefix(segment.size());
        }
    });
    std::string codes;
    std::istringstream replies(client.receiveAll());
    for (std::string line; std::getline(replies, line);)
        codes += line.substr(0, 3);
    EXPECT_TRUE(codes == expected);
}

/// Commands ending with QUIT, and their replies; about `size` bytes each.
std::pair<std::string, std::string> commandsAndReplies(std::size_t size) {
    const std::string user(4000, 'x');
    std::string commands;
    std::string replies;
    while (commands.size() < size) {
        commands += "USER " + user + "\n";
        replies += "331 Password required for " + user + ".\r\n";
    }
    return {commands + "QUIT\n", replies + "221 Goodbye.\r\n"};
}

TEST(FTPCommands, WaitForAClientThatDoesNotRead) {
    const FTPFolder served(server::Credentials{"user", "pass"});
    FTPClient silent(served.port);
    const auto [commands, replies] = commandsAndReplies(32 << 20); // more than the kernel buffers
    auto sending = std::async(std::launch::async, [&] { return silent.send(commands); });
    FTPClient other(served.port);
    // All sessions share a thread: it would go on reading between another client's commands.
    EXPECT_TRUE(test::eventually([&] {
        const auto untaken = silent.untaken();
        for (int turn = 0; turn < 20; ++turn)
            EXPECT_EQ(other.ask("NOOP"), ok);
        return untaken > 0 && silent.untaken() == untaken;
    }));
    EXPECT_EQ(sending.wait_for(0s), std::future_status::timeout);
    EXPECT_TRUE(silent.receiveAll() == replies);
    silent.finishSending();
    EXPECT_TRUE(sending.get());
}

TEST(FTPCommands, QuitCutsNoReplyOfAClientThatSendsAhead) {
    const FTPFolder served(server::Credentials{"user", "pass"});
    FTPClient hasty(served.port);
    hasty.limitBuffer(8192);
    const auto [commands, replies] = commandsAndReplies(100'000); // the kernel buffers it
    EXPECT_TRUE(hasty.send(commands));
    hasty.waitUntilFinished();
    EXPECT_TRUE(hasty.send("NOOP\r\n"));
    hasty.waitUntilTaken();
    EXPECT_TRUE(hasty.receiveAll() == replies);
    EXPECT_FALSE(hasty.wasReset());
}

} // namespace quorvel::ftp
