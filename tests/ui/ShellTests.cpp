#include "model/ModelFixture.h"
#include "ui/DesktopApplication.h"
#include "ui/QtMainQueue.h"

#include <QTest>
#include <thread>

namespace quorvel::ui {

using Menu = model::ModelFixture;

TEST_F(Menu, FollowsTheModel) {
    const auto model = makeStartable();
    int opened = 0;
    int quit = 0;
    TrayMenu menu(model, {[&] { ++opened; }, [&] { ++quit; }}, MenuDrawnBy::ourselves);
    const auto expect = [&](const QString& status, const QString& toggle) {
        QStringList lines;
        for (const auto* action : menu.actions())
            lines << (action->isSeparator() ? "-"
                      : action->isEnabled() ? ""
                                            : "disabled ") +
                         action->text();
        const QStringList expected{"disabled " + status, toggle, "-",
                                   "Settings…",          "-",    "Quit Quorvel Server"};
        EXPECT_EQ(lines, expected) << lines.join('\n').toStdString();
    };
    expect("Server stopped", "Start Server");
    menu.actions().at(1)->trigger();
    expect("Starting…", "Stop Server");
    becomeReady();
    expect("Serving http://192.168.1.20:8080/", "Stop Server");
    fail("No & more.");
    expect("Error: No && more.", "Start Server");
    menu.actions().at(3)->trigger();
    menu.actions().at(5)->trigger();
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(quit, 1);
    EXPECT_EQ(menu.actions().at(5)->shortcut(), QKeySequence("Ctrl+Q"));
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

TEST(ClosingRule, NeverLosesTheLastWayToARunningServer) {
    for (const bool active : {false, true}) {
        EXPECT_EQ(closingRule(TrayKind::none, active),
                  active ? Closing::minimises : Closing::quits);
        EXPECT_EQ(closingRule(TrayKind::embedded, active), Closing::hides);
        EXPECT_EQ(closingRule(TrayKind::statusNotifier, active), Closing::hides);
    }
}

TEST(QtMainQueueTests, RunsInOrderOnTheMainThreadAndNeverInTheCall) {
    QtMainQueue queue;
    std::vector<int> ran;
    queue.postAfter(std::chrono::milliseconds(30), [&] { ran.push_back(3); });
    queue.post([&] { ran.push_back(1); });
    std::thread([&] { queue.post([&] { ran.push_back(2); }); }).join();
    EXPECT_TRUE(ran.empty());
    EXPECT_TRUE(QTest::qWaitFor([&] { return ran.size() == 3; }, 5000));
    EXPECT_EQ(ran, (std::vector{1, 2, 3}));
}

} // namespace quorvel::ui
