#include "ui/Picker.h"
#include "ui/WindowFixture.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QWheelEvent>

namespace quorvel::ui {
namespace {

using model::State;

struct Shown {
    std::string button;
    bool choose, server, start, copy;
    std::string info;

    bool operator==(const Shown&) const = default;
};

void PrintTo(const Shown& shown, std::ostream* out) {
    *out << shown.button << shown.choose << shown.server << shown.start << shown.copy << " "
         << shown.info;
}

class Window : public WindowFixture {
  protected:
    Shown shown() const {
        return {text<QPushButton>("startButton"),
                child("chooseButton").isEnabled(),
                child("serverType").parentWidget()->isEnabled(),
                child("startButton").isEnabled(),
                child("copyRow").isEnabled(),
                child<QPlainTextEdit>("infoText").toPlainText().toStdString()};
    }
};

TEST_F(Window, ShowsEveryStateOfTheModel) {
    open(makeStartable());
    const std::string stopped = "Server is stopped.";
    EXPECT_EQ(shown(), (Shown{"Start", true, true, true, false, stopped}));
    model_->start();
    EXPECT_EQ(shown(), (Shown{"Stop", false, false, true, false, stopped}));
    servers_.last()->onReady();
    queue_->runPosted();
    EXPECT_EQ(shown(), (Shown{"Stop", false, false, true, true, model_->infoText()}));
    servers_.last()->onError("Gone.");
    queue_->runPosted();
    EXPECT_EQ(shown(), (Shown{"Start", true, true, true, false, "Error: Gone."}));
    model_->setPort(0);
    model_->start();
    EXPECT_EQ(shown(),
              (Shown{"Start", true, true, true, false, "Enter a port between 1 and 65535."}));
}

TEST_F(Window, AsksForAFolderFirst) {
    open(makeModel());
    EXPECT_EQ(shown(), (Shown{"Start", true, true, false, false, "Server is stopped."}));
    EXPECT_EQ(text<QLabel>("folderText"), "No folder chosen");
    EXPECT_EQ(child("folderText").foregroundRole(), QPalette::PlaceholderText);
    chooser_->choice = folder_.path();
    QTest::mouseClick(&child("chooseButton"), Qt::LeftButton);
    EXPECT_EQ(text<QLabel>("folderText"), folder_.path());
    EXPECT_EQ(child("folderText").foregroundRole(), QPalette::WindowText);
    EXPECT_TRUE(child("startButton").isEnabled());
}

TEST_F(Window, StoresEveryEditAtOnce) {
    open(makeModel());
    QTest::mouseClick(&child("useAuth"), Qt::LeftButton, {}, {8, 8});
    type("username", "bö b");
    type("password", "s3cret");
    Q_EMIT child<Picker>("serverType").activated(1);
    EXPECT_EQ(text<QLineEdit>("port"), "21");
    type("port", "2121");
    const auto& stored = store_->values();
    EXPECT_EQ(stored.at("server.useAuth"), model::SettingsStore::Value(true));
    EXPECT_EQ(stored.at("server.username"), model::SettingsStore::Value(std::string("bö b")));
    EXPECT_EQ(stored.at("server.password"), model::SettingsStore::Value(std::string("s3cret")));
    EXPECT_EQ(stored.at("server.type"), model::SettingsStore::Value(std::string("FTP")));
    EXPECT_EQ(stored.at("server.port"), model::SettingsStore::Value(std::int64_t{2121}));
}

TEST_F(Window, MasksThePasswordAndKeepsALoginThatIsNotAskedFor) {
    open(makeModel({{"server.username", std::string("bob")},
                    {"server.password", std::string("s3cret")},
                    {"server.useAuth", true}}));
    QTest::mouseClick(&child("useAuth"), Qt::LeftButton, {}, {8, 8});
    for (const auto* field : {"username", "password"})
        EXPECT_FALSE(child(field).isEnabled());
    EXPECT_EQ(text<QLineEdit>("username"), "bob");
    EXPECT_EQ(text<QLineEdit>("password"), "s3cret");
    EXPECT_EQ(child<QLineEdit>("password").displayText().indexOf('s'), -1);
}

TEST_F(Window, TakesAnyNumberAsPortAndLeavesItsJudgementToTheStart) {
    struct Case {
        const char *typed, *whileEditing;
        std::int64_t port;
        const char* afterwards;
    };
    const Case cases[] = {
        {"8080", "8080", 8080, "8080"},
        {"70000", "70000", 70000, "70000"},
        {"", "", 443, "443"},
        {"-", "-", 443, "443"},
        {"-5", "-5", -5, "-5"},
        {"00x21 ", "0021", 21, "21"},
        {"٨٠", "٨٠", 80, "80"},
        {"9223372036854775808", "9223372036854775808", 922337203685477580, "922337203685477580"},
    };
    for (const auto& [typed, whileEditing, port, afterwards] : cases) {
        open(makeModel({{"server.port", std::int64_t{443}}}));
        type("port", typed);
        EXPECT_EQ(text<QLineEdit>("port"), whileEditing);
        model_->setUsername("a change of something else");
        EXPECT_EQ(text<QLineEdit>("port"), whileEditing);
        EXPECT_EQ(model_->port(), port) << typed;
        QTest::keyClick(&child("port"), Qt::Key_Return);
        EXPECT_EQ(text<QLineEdit>("port"), afterwards);
    }
}

TEST_F(Window, StartsAndStopsWithReturnFromEverywhere) {
    open(makeStartable());
    for (const auto* name : {"chooseButton", "serverType", "port", "useAuth", "infoText"}) {
        child(name).setFocus();
        QTest::keyClick(&child(name), Qt::Key_Return);
        EXPECT_EQ(model_->state(), State{State::Case::starting}) << name;
        QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, {}, {}, true);
        QCoreApplication::sendEvent(window_.get(), &held);
        EXPECT_EQ(model_->state(), State{State::Case::starting}) << name;
        QTest::keyClick(window_.get(), Qt::Key_Enter);
        EXPECT_EQ(model_->state(), State{State::Case::stopped}) << name;
    }
}

TEST_F(Window, CopiesWhenAFormatIsPickedAndConfirmsItForAMoment) {
    open(makeStartable());
    Q_EMIT child<Picker>("copyFormat").activated(3);
    EXPECT_TRUE(pasteboard_->texts.empty());
    model_->start();
    servers_.last()->onReady();
    queue_->runPosted();
    Q_EMIT child<Picker>("copyFormat").activated(3);
    QTest::mouseClick(&child("copyButton"), Qt::LeftButton);
    const std::string json = R"({ "url": "http://127.0.0.1:8080/" })";
    EXPECT_EQ(pasteboard_->texts, (std::vector{json, json}));
    EXPECT_EQ(child<Picker>("copyFormat").currentText(), "Local JSON");
    EXPECT_EQ(text<QPushButton>("copyButton"), "Copied");
    queue_->advance(std::chrono::milliseconds(1199));
    EXPECT_EQ(text<QPushButton>("copyButton"), "Copied");
    queue_->advance(std::chrono::milliseconds(1));
    EXPECT_EQ(text<QPushButton>("copyButton"), "Copy");
}

TEST_F(Window, ChoosesNothingByScrolling) {
    open(makeModel({{"server.port", std::int64_t{8080}}}));
    auto& picker = child<Picker>("serverType");
    QWheelEvent wheel({5, 5}, picker.mapToGlobal(QPointF(5, 5)), {}, {0, -120}, {}, {},
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&picker, &wheel);
    EXPECT_EQ(picker.currentText(), "HTTP");
    EXPECT_EQ(model_->port(), 8080);
}

TEST_F(Window, StaysAsWideAsItIs) {
    auto model = makeModel();
    model->setFolderPath("/" + std::string(2000, 'm') + "/<b>last</b>\nline");
    open(model);
    EXPECT_EQ(window_->width(), 460);
    auto& label = child<QLabel>("folderText");
    EXPECT_LT(label.width(), 420);
    EXPECT_LT(label.height(), 2 * label.fontMetrics().height());
    EXPECT_EQ(label.textFormat(), Qt::PlainText);
    EXPECT_EQ(child("infoText").height(), 84);
    EXPECT_EQ(child("port").width(), 90);
}

TEST_F(Window, LeadsTheKeyboardFromTopToBottomAndNamesEveryStop) {
    open(makeModel());
    QStringList names;
    const QWidget* widget = window_.get();
    while ((widget = widget->nextInFocusChain()) != window_.get()) {
        if ((widget->focusPolicy() & Qt::TabFocus) == 0 || !widget->isVisible()) continue;
        names << widget->objectName();
        const auto* button = qobject_cast<const QPushButton*>(widget);
        EXPECT_TRUE(button != nullptr || !widget->accessibleName().isEmpty())
            << qPrintable(names.last());
    }
    const QStringList expected{"chooseButton", "serverType", "port",        "useAuth",
                               "username",     "password",   "startButton", "infoText",
                               "copyFormat",   "copyButton"};
    EXPECT_EQ(names, expected) << names.join(' ').toStdString();
}

TEST_F(Window, TellsItsVersion) {
    const std::string maker = "A local-network companion by Brenvik · ";
    open(makeModel(), "1.2");
    EXPECT_EQ(text<QLabel>("aboutSubtitle"), maker + "1.2");
    open(makeModel(), "");
    EXPECT_EQ(text<QLabel>("aboutSubtitle"), maker + "—");
}

TEST_F(Window, ClosesAsItIsTold) {
    struct Case {
        Closing rule;
        bool visible, minimised;
        int quits;
    };
    const Case cases[] = {{Closing::hides, false, false, 0},
                          {Closing::minimises, true, true, 0},
                          {Closing::quits, false, false, 1}};
    for (const auto& [rule, visible, minimised, quits] : cases) {
        for (const bool byEscape : {false, true}) {
            int quit = 0;
            open(makeModel());
            window_->closing = [rule = rule] { return rule; };
            window_->onQuit = [&quit] { ++quit; };
            if (byEscape)
                QTest::keyClick(window_.get(), Qt::Key_Escape);
            else
                window_->close();
            EXPECT_EQ(window_->isVisible(), visible);
            EXPECT_EQ(window_->isMinimized(), minimised);
            EXPECT_EQ(quit, quits);
        }
    }
}

} // namespace
} // namespace quorvel::ui
