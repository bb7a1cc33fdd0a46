#include "ui/desktop/CommandLine.h"
#include "ui/desktop/MenuText.h"
#include "ui/desktop/QtMainQueue.h"

#include <QDeadlineTimer>
#include <QTest>
#include <array>
#include <gmock/gmock.h>
#include <thread>

namespace quorvel::ui {

TEST(CommandLineTests, IsAnsweredWithoutADesktop) {
    for (const auto* const variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        qunsetenv(variable);
    const std::string name = "quorvel-server: ";
    const auto refusal = [&](const std::string& reason) {
        return name + reason + "\nTry 'quorvel-server --help' for more information.\n";
    };
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string beginning;
    };
    for (const auto& [arguments, status, beginning] : std::vector<Case>{
             {{"--help"}, 0, "Usage: quorvel-server [OPTION]\nShare one folder"},
             {{"a", "--version", "-x"}, 0, "quorvel-server "},
             {{"-style", "x", "--wrong"}, 2, refusal("unrecognized option '--wrong'")},
             {{"a", "b"}, 2, refusal("extra operand 'a'")},
             {{}, 1, name + "there is no desktop to run on\n"}}) {
        std::vector<char*> words;
        for (const std::string& argument : arguments)
            words.push_back(strdup(argument.c_str()));
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        EXPECT_EQ(answeredWithoutDesktop(words), status);
        const std::string output = testing::internal::GetCapturedStdout();
        const std::string errors = testing::internal::GetCapturedStderr();
        EXPECT_THAT(status == 0 ? output : errors, testing::StartsWith(beginning));
        EXPECT_EQ(status == 0 ? errors : output, "");
        std::ranges::for_each(words, std::free);
    }
    for (const auto* const variable : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        qputenv(variable, ":0");
        EXPECT_EQ(answeredWithoutDesktop({}), std::nullopt);
        qunsetenv(variable);
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
}

TEST(MenuTextTests, ShowsEveryCharacter) {
    using Case = std::array<const char*, 3>;
    for (const auto& [text, ourselves, trayHost] :
         {Case{"a_b", "a_b", "a__b"}, Case{"a&b&c", "a&&b&&c", "a&&b&c"}, Case{"_&", "_&&", "__&&"},
          Case{"", "", ""}}) {
        EXPECT_EQ(menuText(text, MenuDrawnBy::ourselves), ourselves);
        EXPECT_EQ(menuText(text, MenuDrawnBy::trayHost), trayHost);
    }
}

TEST(MenuTextTests, CutsALongLoginAndNeverTheAddress) {
    const std::string end = "@192.168.1.20:8080/";
    const std::string user(30, 'u');
    for (const auto& [login, shown] : {std::pair{user, user}, std::pair{user + ":" + user, user}})
        for (const std::string scheme : {"Serving http://", "Serving ftp://"}) {
            const auto text = shortStatus(scheme + login + end).toStdString();
            EXPECT_EQ(text.substr(0, scheme.size() + 20), scheme + shown.substr(0, 20));
            EXPECT_TRUE(text.ends_with(shown.substr(0, 20) + end)) << text;
            EXPECT_LE(text.size(), scheme.size() + 43 + end.size());
        }
    EXPECT_EQ(shortStatus("Error: no @ here"), "Error: no @ here");
}

TEST(QtMainQueueTests, RunsInOrderOnTheMainThreadAndNeverInTheCall) {
    QtMainQueue queue;
    const auto mainThread = std::this_thread::get_id();
    std::vector<int> ran;
    const auto run = [&](int task) {
        EXPECT_EQ(std::this_thread::get_id(), mainThread);
        ran.push_back(task);
    };
    queue.post([&] { run(1); });
    std::thread([&] { queue.post([&] { run(2); }); }).join();
    EXPECT_TRUE(ran.empty());
    EXPECT_TRUE(QTest::qWaitFor([&] { return ran == std::vector{1, 2}; }, 20'000));

    const std::chrono::milliseconds delay(30);
    const QDeadlineTimer due(delay, Qt::PreciseTimer);
    queue.postAfter(delay, [&] { run(due.hasExpired() ? 3 : 0); });
    EXPECT_TRUE(QTest::qWaitFor([&] { return ran == std::vector{1, 2, 3}; }, 20'000));
}

} // namespace quorvel::ui
