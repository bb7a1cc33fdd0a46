#include "ui/desktop/MenuText.h"
#include "ui/desktop/QtMainQueue.h"

#include <QTest>
#include <array>
#include <gtest/gtest.h>
#include <thread>

namespace quorvel::ui {

TEST(MenuTextTests, ShowsEveryCharacter) {
    using Case = std::array<const char*, 3>;
    for (const auto& [text, ourselves, trayHost] :
         {Case{"a_b", "a_b", "a__b"}, Case{"a&b&c", "a&&b&&c", "a&&b&c"}, Case{"_&", "_&&", "__&&"},
          Case{"", "", ""}}) {
        EXPECT_EQ(menuText(text, MenuDrawnBy::ourselves), ourselves);
        EXPECT_EQ(menuText(text, MenuDrawnBy::trayHost), trayHost);
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
