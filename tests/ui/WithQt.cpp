#include <QApplication>
#include <gtest/gtest.h>
#include <memory>

/// One QApplication for all tests, on Qt's offscreen platform.
class WithQt final : public testing::Environment {
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int count = 1;
        static char name[] = "ui_tests";
        static char* arguments[] = {name, nullptr};
        application_ = std::make_unique<QApplication>(count, arguments);
        Q_INIT_RESOURCE(icons);
    }
    void TearDown() override { application_.reset(); }

    std::unique_ptr<QApplication> application_;
};

[[maybe_unused]] static auto* const withQt = testing::AddGlobalTestEnvironment(new WithQt);
