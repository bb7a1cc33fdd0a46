#include "model/ModelFixture.h"
#include "ui/desktop/DesktopApplication.h"
#include "ui/window/Appearance.h"
#include "ui/window/Contrast.h"
#include "ui/window/Picker.h"
#include "ui/window/SvgIcon.h"

#include <QAccessible>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>
#include <QWheelEvent>

namespace quorvel::ui {

using namespace std::string_literals;

/// A window on a model whose services are fakes.
class Window : public model::ModelFixture {
  protected:
    void open(std::shared_ptr<model::ServerModel> model, const QString& version = "1.0.0") {
        model_ = std::move(model);
        copyAction_ = model::CopyAction::create(model_, pasteboard_, queue_);
        window_ = std::make_unique<SettingsWindow>(model_, copyAction_, version);
        window_->show();
    }

    template <class Widget = QWidget>
    Widget& child(const char* name) const {
        auto* found = dynamic_cast<Widget*>(window_->findChild<QWidget*>(name));
        if (found == nullptr) throw std::invalid_argument(name);
        return *found;
    }

    /// The part of the window that has this name, or shows this text.
    QWidget& part(const QString& words) const {
        for (QWidget* const widget : window_->findChildren<QWidget*>())
            for (const auto* const property : {"objectName", "title", "text"})
                if (widget->property(property).toString() == words) return *widget;
        throw std::invalid_argument(words.toStdString());
    }

    QRect place(const QString& words) const {
        return {part(words).mapTo(window_.get(), QPoint()), part(words).size()};
    }

    std::string text(const char* name) const {
        return child(name).property("text").toString().toStdString();
    }

    QAccessibleInterface& accessible(const QString& name) const {
        return *QAccessible::queryAccessibleInterface(&child(name.toUtf8()));
    }

    /// What a screen reader says: the label's text, or else the control's own name.
    QString spokenName(const QString& name) const {
        for (const auto& [label, relation] : accessible(name).relations(QAccessible::Label))
            if (label->role() == QAccessible::StaticText) return label->text(QAccessible::Name);
        return accessible(name).text(QAccessible::Name);
    }

    /// Replaces the field's text as the user does by typing, without finishing the editing.
    void type(const char* field, const QString& text) const {
        auto& edit = child(field);
        edit.setFocus();
        QTest::keySequence(&edit, QKeySequence::SelectAll);
        QTest::keyClick(&edit, Qt::Key_Delete);
        for (const QChar character : text) {
            QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, {}, character);
            QCoreApplication::sendEvent(&edit, &press);
        }
    }

    /// Checks the start button's title, which controls are enabled, and the information.
    void expectShown(const std::string& button, const std::string& enabled,
                     const std::string& info) const {
        EXPECT_EQ(text("startButton"), button);
        std::string names;
        for (const auto* const name : {"chooseButton", "port", "startButton", "copyRow"})
            if (child(name).isEnabled()) names += std::string(" ") + name;
        EXPECT_EQ(names, enabled);
        EXPECT_EQ(child<QPlainTextEdit>("infoText").toPlainText().toStdString(), info);
        EXPECT_EQ(accessible("startButton").text(QAccessible::Description).toStdString(),
                  model_->statusText());
    }

    std::shared_ptr<model::ServerModel> model_;
    std::shared_ptr<model::CopyAction> copyAction_;
    std::unique_ptr<SettingsWindow> window_;
};

TEST_F(Window, ShowsEveryStateOfTheModel) {
    open(makeStartable());
    const std::string stopped = "Server is stopped.";
    const std::string all = " chooseButton port startButton";
    expectShown("Start", all, stopped);
    model_->start();
    expectShown("Stop", " startButton", stopped);
    becomeReady();
    expectShown("Stop", " startButton copyRow", model_->infoText());
    fail("Gone.");
    expectShown("Start", all, "Error: Gone.");
    model_->setPort(0);
    model_->start();
    expectShown("Start", all, "Enter a port between 1 and 65535.");
}

TEST_F(Window, AsksForAFolderFirst) {
    open(makeModel());
    expectShown("Start", " chooseButton port", "Server is stopped.");
    EXPECT_EQ(text("folderText"), "No folder chosen");
    EXPECT_EQ(child("folderText").foregroundRole(), QPalette::PlaceholderText);
    chooser_->choice = folder_.path();
    QTest::mouseClick(&child("chooseButton"), Qt::LeftButton);
    EXPECT_EQ(text("folderText"), folder_.path());
    EXPECT_EQ(child("folderText").foregroundRole(), QPalette::WindowText);
    expectShown("Start", " chooseButton port startButton", "Server is stopped.");
}

TEST_F(Window, StoresEveryEditAtOnceAndKeepsALoginThatIsNotAskedFor) {
    using Values = platform::SettingsStore::Values;
    open(makeModel());
    QTest::mouseClick(&child("useAuth"), Qt::LeftButton, {}, {8, 8});
    type("username", "bö b");
    type("password", "s3cret");
    EXPECT_EQ(child<QLineEdit>("password").displayText().indexOf('s'), -1);
    Q_EMIT child<Picker>("serverType").activated(1);
    EXPECT_EQ(text("port"), "21");
    type("port", "2121");
    Values stored{{"server.username", "bö b"s},
                  {"server.password", "s3cret"s},
                  {"server.type", "FTP"s},
                  {"server.port", std::int64_t{2121}},
                  {"server.useAuth", true}};
    EXPECT_EQ(store_->values(), stored);
    QTest::mouseClick(&child("useAuth"), Qt::LeftButton, {}, {8, 8});
    stored["server.useAuth"] = false;
    EXPECT_EQ(store_->values(), stored);
    EXPECT_FALSE(child("username").isEnabled() || child("password").isEnabled());
    EXPECT_EQ(text("username") + text("password"), "bö bs3cret");
}

TEST_F(Window, StoresWhatAssistiveTechnologyChangesAndOnlyWhatIsEnabled) {
    using Values = platform::SettingsStore::Values;
    open(makeStartable());
    const auto toggle = [](QAccessibleInterface& item) {
        item.actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QCoreApplication::processEvents();
    };
    auto& protocols = *accessible("serverType").child(0);
    auto& port = accessible("port");
    toggle(accessible("useAuth"));
    toggle(*protocols.child(1));
    accessible("username").setText(QAccessible::Value, "bob");
    accessible("password").setText(QAccessible::Value, "s3cret");
    auto& portText = *port.editableTextInterface();
    portText.deleteText(0, 2);
    portText.insertText(0, "2121");
    portText.insertText(0, "x");
    EXPECT_EQ(text("port"), "2121");
    const Values stored{{"server.username", "bob"s},
                        {"server.password", "s3cret"s},
                        {"server.type", "FTP"s},
                        {"server.port", std::int64_t{2121}},
                        {"server.useAuth", true}};
    EXPECT_EQ(store_->values(), stored);

    port.setText(QAccessible::Value, "");
    model_->start();
    EXPECT_EQ(text("port"), "2121") << "the one that is used";
    for (const auto* const field : {"username", "password", "port"})
        accessible(field).setText(QAccessible::Value, "1");
    toggle(accessible("useAuth"));
    toggle(*protocols.child(0));
    EXPECT_EQ(store_->values(), stored);
    EXPECT_EQ(text("username") + text("password") + text("port"), "bobs3cret2121");
    EXPECT_EQ(child<Picker>("serverType").currentText(), "FTP");
}

TEST_F(Window, TakesAnyNumberAsPortAndLeavesItsJudgementToTheStart) {
    struct Case {
        const char *typed, *whileEditing;
        std::int64_t port;
        const char* afterwards;
    };
    for (const auto& [typed, whileEditing, port, afterwards] :
         {Case{"8080", "8080", 8080, "8080"}, Case{"70000", "70000", 70000, "70000"},
          Case{"", "", 443, "443"}, Case{"-", "-", 443, "443"}, Case{"-5", "-5", -5, "-5"},
          Case{"00x21 ", "0021", 21, "21"}, Case{"٨٠", "٨٠", 80, "80"},
          Case{"9223372036854775808", "9223372036854775808", 922337203685477580,
               "922337203685477580"}}) {
        open(makeModel({{"server.port", std::int64_t{443}}}));
        type("port", typed);
        EXPECT_EQ(text("port"), whileEditing);
        model_->setUsername("a change of something else");
        EXPECT_EQ(text("port"), whileEditing);
        EXPECT_EQ(model_->port(), port) << typed;
        QTest::keyClick(&child("port"), Qt::Key_Return);
        EXPECT_EQ(text("port"), afterwards);
    }
}

TEST_F(Window, StartsAndStopsWithReturnFromEverywhere) {
    const model::State stopped{};
    const model::State starting{model::State::Case::starting};
    open(makeStartable());
    for (const auto* name :
         {"startButton", "chooseButton", "serverType", "port", "useAuth", "infoText"}) {
        child(name).setFocus();
        QTest::keyClick(&child(name), Qt::Key_Return);
        EXPECT_EQ(model_->state(), starting) << name;
        QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, {}, {}, true);
        QCoreApplication::sendEvent(window_.get(), &held);
        EXPECT_EQ(model_->state(), starting) << name;
        QTest::keyClick(window_.get(), Qt::Key_Enter);
        EXPECT_EQ(model_->state(), stopped) << name;
    }
}

TEST_F(Window, CopiesWhenAFormatIsPickedAndConfirmsItForAMoment) {
    open(makeStartable());
    model_->start();
    becomeReady();
    for (int picks = 0; picks < 2; ++picks)
        Q_EMIT child<Picker>("copyFormat").activated(3);
    QTest::mouseClick(&child("copyButton"), Qt::LeftButton);
    const std::string json = R"({ "url": "http://127.0.0.1:8080/" })";
    EXPECT_EQ(pasteboard_->texts, std::vector(3, json));
    EXPECT_EQ(child<Picker>("copyFormat").currentText(), "Local JSON");
    EXPECT_EQ(text("copyButton"), "Copied");
    queue_->advance(model::CopyAction::confirmationTime);
    EXPECT_EQ(text("copyButton"), "Copy");
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
    const auto toolTip = [&] {
        QHelpEvent asks(QEvent::ToolTip, {}, label.mapToGlobal(QPoint()));
        QCoreApplication::sendEvent(&label, &asks);
        return QToolTip::text();
    };
    EXPECT_TRUE(toolTip().contains(QString(40, 'm') + QChar(0x200B) + 'm')) << "is broken anywhere";
    EXPECT_TRUE(toolTip().contains("&lt;b&gt;last"));
    QToolTip::hideText();
    model->setFolderPath("/short");
    EXPECT_FALSE(toolTip().contains("short")) << "all of it shows";
}

TEST_F(Window, LeadsTheKeyboardFromTopToBottomAndNamesEveryStop) {
    open(makeModel());
    QStringList stops;
    const QWidget* widget = window_.get();
    while ((widget = widget->nextInFocusChain()) != window_.get())
        if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->isVisible())
            stops << widget->objectName() + ": " + spokenName(widget->objectName());
    const QStringList expected{"chooseButton: Choose…",
                               "serverType: Serve as",
                               "port: Port",
                               "useAuth: Require username & password",
                               "username: Username",
                               "password: Password",
                               "startButton: Start",
                               "infoText: Info",
                               "copyFormat: Copy",
                               "copyButton: Copy"};
    EXPECT_EQ(stops, expected) << stops.join('\n').toStdString();
}

TEST_F(Window, SaysWhatItDoesFromTopToBottom) {
    open(makeModel());
    std::map<std::pair<int, int>, QString> places; // in rows of controls
    for (const QWidget* const widget : window_->findChildren<QWidget*>()) {
        QStringList words;
        for (const auto* const property : {"title", "text", "placeholderText", "currentText"})
            words << widget->property(property).toString();
        words.removeAll("");
        const QPoint middle = widget->mapTo(window_.get(), widget->rect().center());
        if (widget->isVisible() && !words.isEmpty())
            places[{middle.y() / 8, middle.x()}] = words.join('/');
    }
    QStringList said;
    for (const auto& [place, words] : places)
        said << words;
    const QStringList expected{"Folder Server",
                               "Shared Folder",
                               "No folder chosen",
                               "Choose…",
                               "Serve as",
                               "HTTP",
                               "Port",
                               "80/Port",
                               "Server",
                               "Require username && password",
                               "Username",
                               "Password",
                               "Start",
                               "Info",
                               "Copy",
                               "Network link",
                               "Copy",
                               "About",
                               "Quorvel Server",
                               "A local-network companion by Brenvik · 1.0.0"};
    EXPECT_EQ(said, expected) << said.join('\n').toStdString();
}

TEST_F(Window, KeepsTheDistancesOfItsDesign) {
    open(makeModel());
    struct Case {
        int distance;
        std::vector<const char*> inOrder;
    };
    for (const auto& [distance, column] :
         {Case{16, {"Folder Server", "Shared Folder", "Server", "startButton", "Info", "About"}},
          Case{12, {"serverType", "port", "useAuth", "username", "password"}},
          Case{10, {"infoText", "copyRow"}}, Case{2, {"Quorvel Server", "aboutSubtitle"}}})
        for (std::size_t i = 1; i < column.size(); ++i)
            EXPECT_EQ(place(column[i]).top() - place(column[i - 1]).bottom() - 1, distance)
                << column[i];
    for (const auto& [distance, row] :
         {Case{8, {"folderText", "chooseButton"}}, Case{8, {"copyFormat", "copyButton"}},
          Case{12, {"Serve as", "serverType"}}, Case{12, {"badge", "Quorvel Server"}}})
        for (std::size_t i = 1; i < row.size(); ++i)
            EXPECT_EQ(place(row[i]).left() - place(row[i - 1]).right() - 1, distance) << row[i];
    for (const auto* const group : {"Shared Folder", "Server", "Info", "About"}) {
        QRect within;
        for (const QWidget* const child :
             part(group).findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            within |= child->geometry();
        EXPECT_EQ(within, part(group).contentsRect().marginsRemoved({8, 8, 8, 8})) << group;
    }
    EXPECT_EQ(place("Folder Server").topLeft(), QPoint(20, 20));
    EXPECT_EQ(place("About").bottomRight(), QPoint(window_->width() - 21, window_->height() - 21));
    EXPECT_EQ(place("badge").size(), QSize(38, 38));
    EXPECT_EQ(place("port").width(), 90);
    EXPECT_EQ(place("copyFormat").width(), 220);
    EXPECT_EQ(place("startButton").height(), 36);
}

TEST_F(Window, HasFontsOfTheDesktopsSizeInPointsOrPixels) {
    const auto size = [](const QFont& font) {
        return font.pointSizeF() > 0 ? font.pointSizeF() : font.pixelSize();
    };
    for (const bool inPixels : {false, true}) {
        QFont font = QApplication::font();
        inPixels ? font.setPixelSize(20) : font.setPointSizeF(20);
        QApplication::setFont(font);
        open(makeModel());
        struct Case {
            const char* part;
            double size;
            QFont::Weight weight = QFont::Normal;
        };
        for (const auto& [name, expected, weight] :
             {Case{"Folder Server", 26, QFont::Bold}, Case{"Quorvel Server", 20, QFont::DemiBold},
              Case{"aboutSubtitle", 17}, Case{"startButton", 20, QFont::DemiBold},
              Case{"infoText", 18.5}, Case{"port", 20}}) {
            EXPECT_NEAR(size(part(name).font()), expected, inPixels ? 0.5 : 0.01) << name;
            EXPECT_EQ(part(name).font().weight(), weight) << name;
        }
    }
    QApplication::setFont({});
}

TEST_F(Window, ShowsWhereTheFocusIs) {
    open(makeStartable());
    model_->start();
    becomeReady();
    model_->setUseAuth(true);
    const auto walk = [this](const QStringList& stops) {
        for (const QString& stop : stops) {
            window_->setFocus();
            const QImage before = part(stop).grab().toImage();
            part(stop).setFocus(Qt::TabFocusReason);
            EXPECT_NE(part(stop).grab().toImage(), before) << stop.toStdString();
        }
    };
    window_->setAttribute(Qt::WA_KeyboardFocusChange);
    window_->activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([&] { return window_->isActiveWindow(); }));
    walk({"startButton", "infoText", "copyFormat", "copyButton"});
    model_->stop();
    walk({"chooseButton", "serverType", "port", "useAuth", "username", "password", "startButton"});
}

TEST_F(Window, ColorsItsStartButtonByWhatItDoes) {
    open(makeStartable());
    auto& button = child<QPushButton>("startButton");
    const auto color = [&] { return button.grab().toImage().pixelColor(12, 18); };
    EXPECT_EQ(color(), accentColor(button.palette()));
    button.setDown(true);
    EXPECT_LT(color().lightness(), accentColor(button.palette()).lightness());
    button.setDown(false);
    model_->start();
    EXPECT_EQ(color(), QColor(0xc9, 0x30, 0x2c));
}

TEST_F(Window, ShowsItsCopyButtonsIconInTheColorOfItsText) {
    open(makeStartable());
    auto& button = child<QPushButton>("copyButton");
    const auto icon = [&](QIcon::Mode mode = QIcon::Normal) {
        return button.icon().pixmap(QSize(16, 16), mode).toImage();
    };
    const QImage copy = icon();
    EXPECT_NE(icon(QIcon::Disabled), copy);
    model_->start();
    becomeReady();
    button.click();
    EXPECT_NE(icon(), copy);
    queue_->advance(model::CopyAction::confirmationTime);
    EXPECT_EQ(icon(), copy);
    QPalette palette;
    palette.setColor(QPalette::ButtonText, Qt::darkRed);
    QApplication::setPalette(palette);
    EXPECT_TRUE(QTest::qWaitFor([&] { return icon() != copy; }));
    QApplication::setPalette({});
}

TEST_F(Window, IsLegibleInEveryPalette) {
    using Colors = std::array<QRgb, 6>; // window, its text, base, button, accent, disabled text
    const std::map<std::string, Colors> palettes{
        {"light", {0xffefefef, 0xff000000, 0xffffffff, 0xffefefef, 0xff308cc6, 0xffbebebe}},
        {"dark", {0xff31363b, 0xffeff0f1, 0xff232629, 0xff31363b, 0xff3daee9, 0xff6e7173}},
        {"grey", {0xff808080, 0xff000000, 0xff909090, 0xff888888, 0xff3584e4, 0xff8a8a8a}},
        {"yellow accent", {0xfffafafa, 0xff2e3436, 0xffffffff, 0xffededed, 0xfff5c211, 0xffd0d0d0}},
        {"high contrast",
         {0xff000000, 0xffffffff, 0xff000000, 0xff000000, 0xff00ff00, 0xff303030}}};
    for (const auto& [name, values] : palettes) {
        std::array<QColor, 6> colors;
        std::ranges::copy(values, colors.begin());
        QPalette palette(colors[1], colors[3], Qt::white, Qt::black, Qt::gray, colors[1],
                         colors[2]);
        palette.setColor(QPalette::Window, colors[0]);
        palette.setColor(QPalette::Highlight, colors[4]);
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
            palette.setColor(QPalette::Disabled, role, colors[5]);
        QApplication::setPalette(palette);
        open(makeStartable());
        for (const auto group : {QPalette::Active, QPalette::Disabled}) {
            const auto of = [&](const char* child, QPalette::ColorRole role) {
                return this->child(child).palette().color(group, role);
            };
            EXPECT_GE(contrast(of("useAuth", QPalette::WindowText), colors[0]), legible) << name;
            EXPECT_GE(contrast(of("port", QPalette::Text), colors[2]), legible) << name;
            EXPECT_GE(contrast(of("serverType", QPalette::ButtonText), colors[3]), legible) << name;
            for (const QColor& background : {colors[0], colors[2]})
                EXPECT_GE(contrast(of("port", secondaryText), background), legible) << name;
        }
        EXPECT_GE(contrast(textOn(colors[4]), colors[4]), legible) << name;
        EXPECT_GE(contrast(legibleOn(colors[4], {colors[0]}), colors[0]), legible) << name;
    }
    QApplication::setPalette({});
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 0.01);
    EXPECT_NEAR(contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.01);
}

TEST_F(Window, ShowsFiveWholeLinesHoweverLongAndLargeTheyAre) {
    for (const double size : {9.0, 11.0, 16.0}) {
        QFont font = QApplication::font();
        font.setPointSizeF(size);
        QApplication::setFont(font);
        auto model = makeStartable();
        open(model);
        auto& info = child<QPlainTextEdit>("infoText");
        EXPECT_GE(info.height(), 84);
        EXPECT_TRUE(QFontInfo(info.font()).fixedPitch());
        model->setUseAuth(true);
        model->setUsername(std::string(300, 'u'));
        model->start();
        becomeReady();
        EXPECT_TRUE(QTest::qWaitFor([&] { return info.verticalScrollBar()->maximum() == 0; }));
        EXPECT_GE(info.viewport()->height(), 5 * info.fontMetrics().lineSpacing());
        EXPECT_GT(info.horizontalScrollBar()->maximum(), 0);
        EXPECT_EQ(info.horizontalScrollBar()->value(), 0);
        EXPECT_TRUE(child("errorSign").isHidden());
        fail("Gone.");
        EXPECT_FALSE(child("errorSign").isHidden());
    }
    QApplication::setFont({});
}

TEST_F(Window, DrawsEveryIconItself) {
    const auto isDrawn = [](const QPixmap& pixmap, int side) {
        const QImage image = pixmap.toImage();
        int drawn = 0;
        for (int at = 0; at < image.width() * image.height(); ++at)
            drawn += qAlpha(image.pixel(at % image.width(), at / image.width())) > 0 ? 1 : 0;
        return image.width() == side && drawn > side * side / 20;
    };
    for (const auto* name :
         {"check", "copy", "drive", "drive-check", "drive-connected", "io.quorvel.Server"}) {
        EXPECT_TRUE(isDrawn(svgPixmap(name, 16, 1.5), 24)) << name;
        EXPECT_EQ(svgPixmap(name, 16, 1.5).deviceIndependentSize(), QSizeF(16, 16));
        for (const int size : {16, 22, 64})
            EXPECT_TRUE(isDrawn(svgIcon(name).pixmap(size), size)) << name;
    }
}

TEST_F(Window, TellsItsVersion) {
    const std::string maker = "A local-network companion by Brenvik · ";
    open(makeModel(), "1.2");
    EXPECT_EQ(text("aboutSubtitle"), maker + "1.2");
    open(makeModel(), "");
    EXPECT_EQ(text("aboutSubtitle"), maker + "—");
    EXPECT_EQ(child("aboutSubtitle").foregroundRole(), secondaryText);
}

TEST_F(Window, ClosesWithoutBeingTheLastWayToARunningServer) {
    struct Case {
        TrayKind tray;
        bool serverIsActive, staysMinimised, quits;
    };
    using enum TrayKind;
    for (const auto& [tray, serverIsActive, staysMinimised, quits] :
         {Case{none, false, false, true}, Case{none, true, true, false},
          Case{embedded, true, false, false}, Case{embedded, false, false, false},
          Case{statusNotifier, true, false, false}, Case{statusNotifier, false, false, false}}) {
        bool hasQuit = false;
        open(makeModel());
        window_->closing = [rule = closingRule(tray, serverIsActive)] { return rule; };
        window_->onQuit = [&hasQuit] { hasQuit = true; };
        QTest::keyClick(window_.get(), Qt::Key_Escape);
        EXPECT_EQ(window_->isVisible(), staysMinimised);
        EXPECT_EQ(window_->isMinimized(), staysMinimised);
        EXPECT_EQ(hasQuit, quits);
    }
}

} // namespace quorvel::ui
