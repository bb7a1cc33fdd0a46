#include "model/ModelFixture.h"
#include "ui/DesktopApplication.h"
#include "ui/QtMainQueue.h"

#include <QTest>
#include <thread>

namespace quorvel::ui {
namespace {

using Menu = model::ModelFixture;

std::vector<std::string> lines(const TrayMenu& menu) {
    std::vector<std::string> lines;
    for (const auto* action : menu.actions())
        lines.push_back(action->isSeparator() ? "-"
                                              : (action->isEnabled() ? "" : "disabled ") +
                                                    action->text().toStdString());
    return lines;
}

TEST_F(Menu, FollowsTheModel) {
    const auto model = makeStartable();
    int opened = 0;
    int quit = 0;
    TrayMenu menu(model, {[&] { ++opened; }, [&] { ++quit; }}, MenuDrawnBy::ourselves);
    const auto expect = [&](const std::string& status, const std::string& toggle) {
        EXPECT_EQ(lines(menu), (std::vector<std::string>{"disabled " + status, toggle, "-",
                                                         "Settings…", "-", "Quit Quorvel Server"}));
    };
    expect("Server stopped", "Start Server");
    menu.actions().at(1)->trigger();
    expect("Starting…", "Stop Server");
    servers_.last()->onReady();
    queue_->runPosted();
    expect("Serving http://192.168.1.20:8080/", "Stop Server");
    servers_.last()->onError("No & more.");
    queue_->runPosted();
    expect("Error: No && more.", "Start Server");
    menu.actions().at(3)->trigger();
    menu.actions().at(5)->trigger();
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(quit, 1);
    EXPECT_EQ(menu.actions().at(5)->shortcut(), QKeySequence("Ctrl+Q"));
}

TEST(MenuTextTests, ShowsEveryCharacter) {
    struct Case {
        const char *text, *ourselves, *trayHost;
    };
    const Case cases[] = {{"a_b", "a_b", "a__b"},
                          {"a&b&c", "a&&b&&c", "a&&b&c"},
                          {"_&", "_&&", "__&&"},
                          {"", "", ""}};
    for (const auto& [text, ourselves, trayHost] : cases) {
        EXPECT_EQ(menuText(text, MenuDrawnBy::ourselves), ourselves);
        EXPECT_EQ(menuText(text, MenuDrawnBy::trayHost), trayHost);
    }
}

TEST(ClosingRule, NeverLosesTheLastWayToARunningServer) {
    EXPECT_EQ(closingRule(TrayKind::none, true), Closing::minimises);
    EXPECT_EQ(closingRule(TrayKind::none, false), Closing::quits);
    for (const auto tray : {TrayKind::embedded, TrayKind::statusNotifier})
        for (const bool active : {false, true})
            EXPECT_EQ(closingRule(tray, active), Closing::hides);
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

} // namespace
} // namespace quorvel::ui
